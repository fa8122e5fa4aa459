/// Lines that fail: silence, lost and late replies, a fresh start in mid-flight.

#include "loop/loop_fixture.h"

#include <random>

namespace {

class OutageLoop : public LoopFixture {};

TEST_F(OutageLoop, plcSilentThenBack_valuesFollowAgain) {
    const int blocks = poll({{"DM", 0, 1}, {"DM", 1000, 1}});
    setPlcWord(plc::Area::Dm, 0, 1);
    setPlcWord(plc::Area::Dm, 1000, 2);
    goodTurns(blocks);
    takeNotices();
    for (int request = 0; request < 4; ++request) {
        EXPECT_EQ(8, silentTurn());
        EXPECT_EQ(8, silentTurn());
        EXPECT_EQ(2, silentTurn());
        EXPECT_EQ(request % 2 == 0 ? "0,1,0,DM" : "0,1,1000,DM", message);
        EXPECT_EQ((std::vector<Notice>{{0, -1, "LW", 122022}, {0, -1, "LW", 122023}}),
                  takeNotices());
    }
    EXPECT_EQ(4, statusBlock[122022]);
    EXPECT_EQ(0, statusBlock[122023]);
    EXPECT_EQ(1, hostWord("DM", 0)) << "the last value stays";
    setPlcWord(plc::Area::Dm, 0, 11);
    setPlcWord(plc::Area::Dm, 1000, 12);
    goodTurns(blocks);
    EXPECT_EQ(11, hostWord("DM", 0));
    EXPECT_EQ(12, hostWord("DM", 1000));
    EXPECT_EQ((std::vector<Notice>{{7, 1, "DM", 0}, {7, 1, "DM", 1000}}), takeNotices());
}

TEST_F(OutageLoop, writeDuringSilence_isGivenUpAndTheHostSeesThePlcsValueAgain) {
    setPlcWord(plc::Area::Dm, 0, 1);
    const int blocks = poll({{"DM", 0, 1}});
    goodTurns(blocks);
    writeWords("DM", 0, {99});
    EXPECT_EQ(99, hostWord("DM", 0));
    takeNotices();
    silentTurn();
    silentTurn();
    EXPECT_EQ(2, silentTurn());
    EXPECT_EQ(1, hostWord("DM", 0));
    EXPECT_EQ((std::vector<Notice>{{0, -1, "LW", 122022}, {0, -1, "LW", 122023}, {7, 1, "DM", 0}}),
              takeNotices());
    goodTurns(3);
    EXPECT_EQ(1, plcWord(plc::Area::Dm, 0)) << "a write that was given up is not made later";
}

TEST_F(OutageLoop, conditionReadsDuringSilence_areGivenUpTogether) {
    for (int i = 0; i < 10; ++i) {
        conditionRead({"DM", 10 * i, 1});
    }
    silentTurn();
    silentTurn();
    EXPECT_EQ(2, silentTurn());
    EXPECT_EQ(-1, turn());
    conditionRead({"DM", 500, 1});
    takeNotices();
    goodTurns(1);
    EXPECT_EQ((std::vector<Notice>{{-1, -1, "-1", 0}}), takeNotices());
}

TEST_F(OutageLoop, replyOfTheFirstTryComingAfterTheSecond_isNotTakenForTheNextRequests) {
    setPlcWord(plc::Area::Dm, 0, 1);
    setPlcWord(plc::Area::Dm, 1000, 2);
    poll({{"DM", 0, 1}, {"DM", 1000, 1}});
    ASSERT_TRUE(ask());
    const plc::Bytes late = askPlc();
    EXPECT_EQ(8, reply({})); // too late for the host's patience
    EXPECT_EQ(1, turn());    // sent again and answered
    ASSERT_TRUE(ask());      // DM 1000
    EXPECT_EQ(8, reply(late));
    EXPECT_EQ(1, turn());
    EXPECT_EQ(1, hostWord("DM", 0));
    EXPECT_EQ(2, hostWord("DM", 1000));
}

TEST_F(OutageLoop, duplicateReplyWithNothingOnItsWay_isIgnored) {
    poll({{"DM", 0, 1}});
    ASSERT_TRUE(ask());
    const plc::Bytes twice = askPlc();
    EXPECT_EQ(1, reply(twice));
    EXPECT_EQ(0, reply(twice));
    goodTurns(1);
}

TEST_F(OutageLoop, cutReply_isRejectedAndReadAgain) {
    setPlcWord(plc::Area::Dm, 0, 0x1234);
    poll({{"DM", 0, 2}});
    ASSERT_TRUE(ask());
    plc::Bytes cut = askPlc();
    cut.pop_back();
    EXPECT_EQ(8, reply(cut));
    EXPECT_EQ(0, hostWord("DM", 0));
    EXPECT_EQ(1, turn());
    EXPECT_EQ(0x1234, hostWord("DM", 0));
}

TEST_F(OutageLoop, restartInMidFlight_oldReplyIsNotExpectedAndTheExchangeStartsAfresh) {
    setPlcWord(plc::Area::Dm, 0, 5);
    poll({{"DM", 0, 1}});
    goodTurns(1);
    writeWords("HR", 3, {1});
    conditionRead({"HR", 9, 1});
    ASSERT_TRUE(ask());
    const plc::Bytes late = askPlc();
    init(5, 32);
    EXPECT_EQ(0, reply(late));
    EXPECT_EQ(-1, turn());
    EXPECT_EQ(0, hostWord("DM", 0)) << "the cache starts empty";
    goodTurns(poll({{"DM", 0, 1}}));
    EXPECT_EQ(5, hostWord("DM", 0));
    for (int bad = 1; bad < 5; ++bad) {
        EXPECT_EQ(8, silentTurn());
    }
    EXPECT_EQ(2, silentTurn());
}

TEST_F(OutageLoop, restartBetweenTwoRecipeBlocks_goesOnWithTheBlockThatWasNext) {
    recipe({recipeVariable("DM", 100, 1, 0), recipeVariable("DM", 200, 1, 1)});
    recipeBuffer[0] = 0x0A0A;
    recipeBuffer[1] = 0x0B0B;
    hostBlock[60115] = 1;
    goodTurns(1);
    init(3, 64);
    setPlcWord(plc::Area::Dm, 100, 0);
    goodTurns(1);
    EXPECT_EQ(0, hostBlock[60115]);
    EXPECT_EQ(0, plcWord(plc::Area::Dm, 100));
    EXPECT_EQ(0x0B0B, plcWord(plc::Area::Dm, 200));
}

TEST_F(OutageLoop, badLine_onceItIsGoodAgainHostAndPlcAgree) {
    std::mt19937 random(99);
    poll({{"DM", 0, 40}, {"DM", 1000, 40}, {"HR", 0, 40}});
    for (int i = 0; i < 3000; ++i) {
        if (random() % 4 == 0) {
            writeWords("DM", static_cast<int>(random() % 40), {static_cast<int>(random() % 65536)});
        }
        if (random() % 8 == 0) {
            setPlcWord(plc::Area::Holding, static_cast<int>(random() % 40),
                       static_cast<int>(random() % 65536));
        }
        ASSERT_TRUE(ask());
        plc::Bytes answer;
        switch (random() % 6) {
        case 0: // the request is lost
            break;
        case 1: // the reply is lost
            askPlc();
            break;
        case 2: // the reply is cut
            answer = askPlc();
            answer.resize(answer.size() - 1);
            break;
        default:
            answer = askPlc();
        }
        const int result = reply(answer);
        ASSERT_TRUE(result == 1 || result == 2 || result == 8) << result;
    }
    for (int turns = 0; turns < 800; ++turns) {
        ASSERT_EQ(1, turn());
    }
    for (int i = 0; i < 40; ++i) {
        EXPECT_EQ(plcWord(plc::Area::Dm, i), hostWord("DM", i)) << i;
        EXPECT_EQ(plcWord(plc::Area::Holding, i), hostWord("HR", i)) << i;
    }
}

} // namespace
