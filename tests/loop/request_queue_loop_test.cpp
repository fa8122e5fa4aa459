/// Writes and condition reads that wait: what is replaced, what a failure takes with it, and what
/// the host is told.

#include "loop/loop_fixture.h"

namespace {

using Notices = std::vector<Notice>;

const Notice answered = {-1, -1, "-1", 0};
const Notice failedRead = {-1, -1, "-1", -1};
const Notice statusWritten = {0, -1, "LW", 122022};
const Notice statusDetailWritten = {0, -1, "LW", 122023};

class RequestQueueLoop : public LoopFixture {
protected:
    void failRequest() {
        EXPECT_EQ(8, silentTurn());
        EXPECT_EQ(8, silentTurn());
        EXPECT_EQ(2, silentTurn());
    }

    /// Runs until idle and returns how many commands the PLC was given.
    unsigned long commandsUntilIdle() {
        const unsigned long before = plc.counters().commands;
        runUntilIdle();
        return plc.counters().commands - before;
    }
};

// Condition reads

TEST_F(RequestQueueLoop, conditionReadThatIsNotTheLastFails_allGoAndNoEndIsTold) {
    conditionRead({"DM", 0, 1});
    conditionRead({"DM", 10, 1});
    conditionRead({"DM", 20, 1});
    failRequest();
    EXPECT_EQ((Notices{statusWritten, statusDetailWritten}), takeNotices());
    EXPECT_EQ(0U, commandsUntilIdle());
    EXPECT_TRUE(takeNotices().empty());
}

TEST_F(RequestQueueLoop, conditionReadThatIsTheLastFails_itsEndIsTold) {
    conditionRead({"DM", 0, 1});
    conditionRead({"DM", 10, 1});
    goodTurns(1);
    failRequest();
    EXPECT_EQ((Notices{statusWritten, statusDetailWritten, failedRead}), takeNotices());
}

TEST_F(RequestQueueLoop, writeFails_conditionReadsGoOn) {
    conditionRead({"DM", 10, 1});
    conditionRead({"DM", 20, 1});
    writeWords("DM", 0, {1});
    failRequest();
    takeNotices();
    EXPECT_EQ(2U, commandsUntilIdle());
    EXPECT_EQ((Notices{answered}), takeNotices());
}

TEST_F(RequestQueueLoop, cyclicReadFails_conditionReadsAndWritesGoOn) {
    poll({{"DM", 0, 1}});
    ASSERT_TRUE(ask()); // the cyclic read is on its way
    conditionRead({"DM", 10, 1});
    writeWords("DM", 20, {5});
    EXPECT_EQ(8, reply({}));
    EXPECT_EQ(8, silentTurn());
    EXPECT_EQ(2, silentTurn());
    takeNotices();
    goodTurns(2);
    EXPECT_EQ((Notices{answered}), takeNotices());
    EXPECT_EQ(5, plcWord(plc::Area::Dm, 20));
}

TEST_F(RequestQueueLoop, conditionReadFails_writesGoOn) {
    conditionRead({"DM", 10, 1});
    ASSERT_TRUE(ask());
    writeWords("DM", 20, {5});
    EXPECT_EQ(8, reply({}));
    EXPECT_EQ(8, silentTurn());
    EXPECT_EQ(2, silentTurn());
    EXPECT_EQ(1U, commandsUntilIdle());
    EXPECT_EQ(5, plcWord(plc::Area::Dm, 20));
}

TEST_F(RequestQueueLoop, threeEqualConditionReadsBehindAnother_areOne) {
    conditionRead({"DM", 0, 1});
    for (int i = 0; i < 3; ++i) {
        conditionRead({"DM", 10, 1});
    }
    EXPECT_EQ(2U, commandsUntilIdle());
    EXPECT_EQ((Notices{answered}), takeNotices());
}

TEST_F(RequestQueueLoop, twoEqualConditionReadsOfWhichTheFirstIsServed_giveTwoNotices) {
    conditionRead({"DM", 10, 1});
    conditionRead({"DM", 10, 1});
    EXPECT_EQ(2U, commandsUntilIdle());
    EXPECT_EQ((Notices{answered, answered}), takeNotices());
}

TEST_F(RequestQueueLoop, conditionReadReplacedInItsPlace_isToldBeforeTheOnesBehindIt) {
    for (const int addr : {0, 10, 20, 10}) { // the second is replaced by the fourth
        conditionRead({"DM", addr, 1});
    }
    goodTurns(2);
    EXPECT_EQ((Notices{answered}), takeNotices());
    EXPECT_EQ(1U, commandsUntilIdle()) << "though one still waits";
    EXPECT_TRUE(takeNotices().empty());
}

// Writes

TEST_F(RequestQueueLoop, pulseOfOneBitBehindAnotherWrite_leavesThe0Alone) {
    std::vector<int> sentToTheBit;
    writeWords("DM", 0, {1});
    writeBits("CIO_bit", 35, {1});
    writeBits("CIO_bit", 35, {0});
    while (ask()) {
        if (out.var.regName == QLatin1String("CIO_bit")) {
            sentToTheBit.push_back(out.frame[18]);
        }
        ASSERT_EQ(1, reply(askPlc()));
    }
    EXPECT_EQ((std::vector<int>{0}), sentToTheBit);
}

TEST_F(RequestQueueLoop, pulseOfOneBitWithNothingBeforeIt_sendsBoth) {
    writeBits("CIO_bit", 35, {1});
    writeBits("CIO_bit", 35, {0});
    EXPECT_EQ(2U, commandsUntilIdle());
}

TEST_F(RequestQueueLoop, secondWriteToAWordBehindAFailedOne_waitsUnseenAndIsMadeUntold) {
    setPlcWord(plc::Area::Dm, 100, 0x1111);
    goodTurns(poll({{"DM", 100, 1}}));
    writeWords("DM", 100, {0x2222});
    writeWords("DM", 100, {0x3333});
    EXPECT_EQ(0x3333, hostWord("DM", 100));
    failRequest();
    EXPECT_EQ(0x1111, hostWord("DM", 100)) << "the first has failed, the second still waits";
    takeNotices();
    goodTurns(1);
    EXPECT_EQ(0x3333, plcWord(plc::Area::Dm, 100));
    EXPECT_EQ(0x3333, hostWord("DM", 100));
    EXPECT_TRUE(takeNotices().empty());
}

TEST_F(RequestQueueLoop, firstOfTwoWritesToAWordIsTaken_secondCountsAsThePlcsBeforeItIsSent) {
    goodTurns(poll({{"DM", 100, 1}}));
    writeWords("DM", 100, {0x2222});
    writeWords("DM", 100, {0x3333});
    goodTurns(1);
    EXPECT_EQ(0x2222, plcWord(plc::Area::Dm, 100));
    takeNotices();
    failRequest();
    EXPECT_EQ((Notices{statusWritten, statusDetailWritten}), takeNotices());
    EXPECT_EQ(0x3333, hostWord("DM", 100)) << "never in the PLC";
    goodTurns(1); // the polling puts it right
    EXPECT_EQ(0x2222, hostWord("DM", 100));
    EXPECT_EQ((Notices{{7, 1, "DM", 100}}), takeNotices());
}

TEST_F(RequestQueueLoop, writeDisabled_localValueStaysUntilThePlcsChanges) {
    bind("7#1#0#3#64");
    setPlcWord(plc::Area::Dm, 100, 0x1111);
    goodTurns(poll({{"DM", 100, 1}}));
    writeWords("DM", 100, {0x2222});
    goodTurns(10);
    EXPECT_EQ(0x2222, hostWord("DM", 100)) << "ten reads later";
    EXPECT_EQ(0x1111, plcWord(plc::Area::Dm, 100));
    setPlcWord(plc::Area::Dm, 100, 0x1112);
    takeNotices();
    goodTurns(1);
    EXPECT_EQ(0x1112, hostWord("DM", 100));
    EXPECT_EQ((Notices{{7, 1, "DM", 100}}), takeNotices());
}

TEST_F(RequestQueueLoop, everyReplyOfAWriteIsLost_plcMakesItOncePerTryAndTheHostIsToldItFailed) {
    writeBits("CIO_bit", 35, {1});
    for (const int result : {8, 8, 2}) {
        ASSERT_TRUE(ask());
        askPlc(); // executed; its reply does not come
        EXPECT_EQ(result, reply({}));
    }
    EXPECT_EQ(3U, plc.counters().commands);
    EXPECT_EQ(0, hostBit("CIO_bit", 35));
    EXPECT_EQ(0x0008, plcWord(plc::Area::Cio, 2));
}

// Words per frame

TEST_F(RequestQueueLoop, wordsPerFrame0OrLess_writesAreCutAt503WordsAnd1006Bits) {
    for (const int wordsPerFrame : {0, -1}) {
        init(3, wordsPerFrame);
        writeWords("DM", 0, std::vector<int>(504, 1));
        writeBits("CIO_bit", 0, std::vector<int>(1007, 1));
        std::vector<int> lengths;
        while (ask()) {
            lengths.push_back(out.var.len);
            ASSERT_EQ(1, reply(askPlc()));
        }
        EXPECT_EQ((std::vector<int>{503, 1, 1006, 1}), lengths) << wordsPerFrame;
    }
}

TEST_F(RequestQueueLoop, wordsPerFrame0OrLess_conditionReadsAreNotCutAndThePlcRefuses) {
    for (const int wordsPerFrame : {0, -1}) {
        init(3, wordsPerFrame);
        conditionRead({"DM", 0, 1200});
        ASSERT_TRUE(ask());
        EXPECT_EQ(1200, out.var.len);
        const plc::Bytes refusal = askPlc();
        ASSERT_EQ(14U, refusal.size());
        EXPECT_EQ(0x11, refusal[12]);
        EXPECT_EQ(0x0B, refusal[13]);
    }
}

} // namespace
