/// A PLC that takes writes in one operating mode only.

#include "loop/loop_fixture.h"

namespace {

class ModeLoop : public LoopFixture {
protected:
    ModeLoop() { poll({{"DM", 100, 1}}); }
};

TEST_F(ModeLoop, plcInRunTakingWritesInMonitor_isSwitchedAndLaterWritesAreTakenAtOnce) {
    plc.setWritesOnlyIn(plc::Mode::Monitor);
    writeWords("DM", 100, {0x1234});
    EXPECT_EQ(8, turn()); // refused
    EXPECT_EQ(plc::Mode::Run, plc.mode());
    EXPECT_EQ(1, turn()); // the mode change
    EXPECT_EQ(plc::Mode::Monitor, plc.mode());
    EXPECT_EQ(0, plcWord(plc::Area::Dm, 100));
    // The write goes out again with its old service ID: the PLC takes it, the driver does not
    // recognise the reply, and gives the write up.
    EXPECT_EQ(8, turn());
    EXPECT_EQ(0x1234, plcWord(plc::Area::Dm, 100));
    EXPECT_EQ(8, turn());
    EXPECT_EQ(2, turn());
    EXPECT_EQ("14,1,100,DM", message);
    EXPECT_EQ(0, hostWord("DM", 100));
    EXPECT_EQ(1, turn()); // the polling brings what the PLC took
    EXPECT_EQ(0x1234, hostWord("DM", 100));
    writeWords("DM", 100, {0x5678});
    EXPECT_EQ(1, turn());
    EXPECT_EQ(0x5678, plcWord(plc::Area::Dm, 100));
}

TEST_F(ModeLoop, plcInProgram_isSwitchedToo) {
    plc.setWritesOnlyIn(plc::Mode::Monitor);
    plc.setMode(plc::Mode::Program);
    writeWords("DM", 100, {1});
    EXPECT_EQ(8, turn());
    EXPECT_EQ(1, turn());
    EXPECT_EQ(plc::Mode::Monitor, plc.mode());
}

TEST_F(ModeLoop, plcInDebug_isSwitchedToo) {
    plc.setWritesOnlyIn(plc::Mode::Monitor);
    plc.setMode(plc::Mode::Debug);
    writeWords("DM", 100, {1});
    EXPECT_EQ(8, turn());
    EXPECT_EQ(1, turn());
    EXPECT_EQ(plc::Mode::Monitor, plc.mode());
}

TEST_F(ModeLoop, plcRefusingWritesInMonitor_isNotSwitchedAndTheWriteCountsAsDone) {
    plc.setMode(plc::Mode::Monitor);
    plc.setWritesOnlyIn(plc::Mode::Run);
    writeWords("DM", 100, {0x1234});
    EXPECT_EQ(1, turn()); // 2205 is none of the refusals that lead to a mode change
    EXPECT_EQ(plc::Mode::Monitor, plc.mode());
    EXPECT_EQ(0, plcWord(plc::Area::Dm, 100));
    EXPECT_EQ(0x1234, hostWord("DM", 100));
    takeNotices();
    EXPECT_EQ(1, turn()); // the polling puts it right
    EXPECT_EQ(0, hostWord("DM", 100));
    EXPECT_EQ((std::vector<Notice>{{7, 1, "DM", 100}}), takeNotices());
}

TEST_F(ModeLoop, pollingWhileTheModeIsWrong_goesOn) {
    plc.setWritesOnlyIn(plc::Mode::Monitor);
    setPlcWord(plc::Area::Dm, 100, 7);
    goodTurns(3);
    EXPECT_EQ(7, hostWord("DM", 100));
    EXPECT_EQ(plc::Mode::Run, plc.mode());
}

TEST_F(ModeLoop, bitWriteAndDownload_areSwitchedForAsWell) {
    plc.setWritesOnlyIn(plc::Mode::Monitor);
    writeBits("CIO_bit", 35, {1});
    EXPECT_EQ(8, turn());
    EXPECT_EQ(1, turn());
    EXPECT_EQ(plc::Mode::Monitor, plc.mode());
    init(3, 64);
    plc.setMode(plc::Mode::Run);
    recipe({recipeVariable("DM", 200, 1, 0)});
    recipeBuffer[0] = 0x0A0A;
    hostBlock[60115] = 1;
    EXPECT_EQ(8, turn());
    EXPECT_EQ(1, turn());
    EXPECT_EQ(plc::Mode::Monitor, plc.mode());
    EXPECT_EQ(8, turn());
    EXPECT_EQ(8, turn());
    EXPECT_EQ(2, turn());
    EXPECT_EQ(0, hostBlock[60115]);
    EXPECT_EQ(0x0A0A, plcWord(plc::Area::Dm, 200));
}

TEST_F(ModeLoop, afterARefusal_nextFrameIsTheModeChangeAndNotTheSameBytes) {
    plc.setWritesOnlyIn(plc::Mode::Monitor);
    writeWords("DM", 100, {1});
    ASSERT_TRUE(ask());
    const plc::Bytes write(out.frame, out.frame + out.sendLen);
    EXPECT_EQ(8, reply(askPlc()));
    ASSERT_TRUE(ask());
    EXPECT_NE(write, plc::Bytes(out.frame, out.frame + out.sendLen));
    EXPECT_EQ(4, out.frame[10]); // 0401
    EXPECT_EQ(1, out.frame[11]);
}

TEST_F(ModeLoop, refusalHandedOverAsAnEmptyReply_plcIsNeverSwitchedAndTheWriteFails) {
    plc.setWritesOnlyIn(plc::Mode::Monitor);
    plc.setMode(plc::Mode::Program);
    writeWords("DM", 100, {1});
    for (const int result : {8, 8, 2}) {
        ASSERT_TRUE(ask());
        EXPECT_EQ(2, out.frame[11]) << "always the write";
        const plc::Bytes refusal = askPlc();
        EXPECT_EQ(0x22, refusal[12]);
        EXPECT_EQ(result, reply({}));
    }
    EXPECT_EQ("0,1,100,DM", message);
    EXPECT_EQ(plc::Mode::Program, plc.mode());
    EXPECT_EQ(0, hostWord("DM", 100));
    goodTurns(1);
    EXPECT_EQ(plc::Mode::Program, plc.mode());
}

TEST_F(ModeLoop, oneTryOnly_refusalFailsTheWriteAndThePlcIsNotSwitched) {
    init(1, 64);
    plc.setWritesOnlyIn(plc::Mode::Monitor);
    writeWords("DM", 100, {1});
    EXPECT_EQ(2, turn());
    EXPECT_EQ("14,0,0,", message);
    EXPECT_EQ(-1, turn());
    EXPECT_EQ(plc::Mode::Run, plc.mode());
}

TEST_F(ModeLoop, refusedWriteWithThreeTries_isExecutedThreeTimesAndOnceMoreIfWrittenAgain) {
    plc.setWritesOnlyIn(plc::Mode::Monitor);
    poll({});
    writeBits("CIO_bit", 35, {1});
    int taken = 0;
    bool failed = false;
    while (ask()) {
        const bool isWrite = out.frame[10] == 1 && out.frame[11] == 2;
        const plc::Bytes answer = askPlc();
        taken += isWrite && answer[12] == 0 && answer[13] == 0 ? 1 : 0;
        if (reply(answer) == 2 && !failed) {
            failed = true;
            EXPECT_EQ(3, taken);
            EXPECT_EQ(0, hostBit("CIO_bit", 35)) << "the host is told that it failed";
            writeBits("CIO_bit", 35, {1}); // the host's own second attempt
        }
    }
    EXPECT_TRUE(failed);
    EXPECT_EQ(4, taken);
    EXPECT_EQ(1, hostBit("CIO_bit", 35));
}

TEST_F(ModeLoop, modeChangeNotAnswered_failureTextNamesNoRequest) {
    plc.setWritesOnlyIn(plc::Mode::Monitor);
    writeWords("DM", 100, {1});
    EXPECT_EQ(8, turn());
    EXPECT_EQ(8, silentTurn());
    EXPECT_EQ(2, silentTurn());
    EXPECT_EQ("0,0,0,", message);
    EXPECT_EQ(0, hostWord("DM", 100));
}

TEST_F(ModeLoop, refusalWithTheAlarmBitMaskedByTheHost_leadsToTheModeChange) {
    plc.setAlarm(true);
    plc.setWritesOnlyIn(plc::Mode::Monitor);
    writeWords("DM", 100, {0x1234});
    ASSERT_TRUE(ask());
    plc::Bytes refusal = askPlc();
    ASSERT_EQ(0x46, refusal[13]); // 2246: 2206 and the alarm's bit
    refusal[12] &= 0x7F;
    refusal[13] &= 0x3F;
    EXPECT_EQ(8, reply(refusal));
    EXPECT_EQ(1, turn());
    EXPECT_EQ(plc::Mode::Monitor, plc.mode());
}

} // namespace
