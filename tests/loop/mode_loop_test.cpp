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

} // namespace
