// Writes that meet the PLC in the wrong mode: the switch of the mode, and each of its frames going
// wrong once.

#include "host/simulated_line.h"

#include <algorithm>

using namespace velkor_host;

namespace {

LineSettings modeAllowed() {
    LineSettings settings = lineSettings();
    settings.allowModeChange = true;
    return settings;
}

TEST(LineWrite, refusedByTheMode_forbidden_neverSwitches) {
    SimulatedLine line(lineSettings());
    line.machine.core.setMode(plc::Mode::Program);
    line.machine.core.setWritesOnlyIn(plc::Mode::Monitor);
    line.write("DM", 100, {7});
    ASSERT_TRUE(line.settle());
    line.run(1000000);
    EXPECT_EQ(line.writes.at(0).result, WriteResult::Refused);
    EXPECT_EQ(line.writes.at(0).last.endCode, 0x2203);
    EXPECT_FALSE(line.writes.at(0).modeSwitched);
    EXPECT_EQ(line.machine.core.mode(), plc::Mode::Program);
    EXPECT_TRUE(std::none_of(line.frames.begin(), line.frames.end(), isModeChangeFrame));
}

TEST(LineWrite, refusedByTheMode_allowed_isExecutedExactlyOnce) {
    SimulatedLine line(modeAllowed());
    line.machine.core.setMode(plc::Mode::Program);
    line.machine.core.setWritesOnlyIn(plc::Mode::Monitor);
    line.write("DM", 100, {7});
    line.write("DM", 101, {8});
    ASSERT_TRUE(line.settle());
    ASSERT_EQ(line.writes.size(), 2U);
    EXPECT_EQ(line.writes.at(0).result, WriteResult::Taken);
    EXPECT_TRUE(line.writes.at(0).modeSwitched);
    EXPECT_EQ(line.writes.at(1).result, WriteResult::Taken);
    EXPECT_FALSE(line.writes.at(1).modeSwitched);
    EXPECT_EQ(line.machine.writes.size(), 2U);
    EXPECT_EQ(line.machine.modeChanges.size(), 1U);
    EXPECT_EQ(line.frames.size(), 4U); // refused, mode, again; the second write
}

/// Each of the frames of a write that switches the mode goes wrong once.
class ModeSwitch : public testing::TestWithParam<int> {};

TEST_P(ModeSwitch, withOneReplyLost_neverTellsWhatIsNotSo) {
    SimulatedLine line(modeAllowed());
    line.machine.core.setMode(plc::Mode::Program);
    line.machine.core.setWritesOnlyIn(plc::Mode::Monitor);
    line.fate = [](const QByteArray&, int number) {
        Fate fate;
        fate.loseReply = number == GetParam();
        return fate;
    };
    line.write("DM", 100, {7});
    ASSERT_TRUE(line.settle());
    ASSERT_EQ(line.writes.size(), 1U);
    EXPECT_EQ(line.writes.at(0).result, WriteResult::Taken);
    EXPECT_EQ(line.machine.dm(100), 7);
    // A resend after a lost reply is the one thing that can make two of it.
    EXPECT_EQ(line.machine.writes.size(), GetParam() == 3 ? 2U : 1U);
}

TEST_P(ModeSwitch, withOneRequestLost_isExecutedExactlyOnce) {
    SimulatedLine line(modeAllowed());
    line.machine.core.setMode(plc::Mode::Program);
    line.machine.core.setWritesOnlyIn(plc::Mode::Monitor);
    line.fate = [](const QByteArray&, int number) {
        Fate fate;
        fate.loseRequest = number == GetParam();
        return fate;
    };
    line.write("DM", 100, {7});
    ASSERT_TRUE(line.settle());
    EXPECT_EQ(line.writes.at(0).result, WriteResult::Taken);
    EXPECT_EQ(line.machine.writes.size(), 1U);
}

TEST_P(ModeSwitch, withOneReplyDoubled_isExecutedExactlyOnce) {
    SimulatedLine line(modeAllowed());
    line.machine.core.setMode(plc::Mode::Program);
    line.machine.core.setWritesOnlyIn(plc::Mode::Monitor);
    line.fate = [](const QByteArray&, int number) {
        Fate fate;
        fate.replies = number == GetParam() ? 2 : 1;
        return fate;
    };
    line.write("DM", 100, {7});
    ASSERT_TRUE(line.settle());
    line.run(1000000);
    EXPECT_EQ(line.writes.at(0).result, WriteResult::Taken);
    EXPECT_EQ(line.machine.writes.size(), 1U);
}

INSTANTIATE_TEST_SUITE_P(Frames, ModeSwitch, testing::Values(1, 2, 3));

TEST(LineWrite, modeChangeRefused_isRefusedAndNotExecuted) {
    SimulatedLine line(modeAllowed());
    line.machine.core.setMode(plc::Mode::Program);
    line.machine.core.setWritesOnlyIn(plc::Mode::Monitor);
    line.fate = [](const QByteArray& frame, int) {
        Fate fate;
        fate.endCode = isModeChangeFrame(frame) ? 0x3001 : 0;
        return fate;
    };
    line.write("DM", 100, {7});
    ASSERT_TRUE(line.settle());
    EXPECT_EQ(line.writes.at(0).result, WriteResult::Refused);
    EXPECT_FALSE(line.writes.at(0).modeSwitched);
    EXPECT_EQ(line.writes.at(0).last.modeChangeEnd, 0x3001);
    EXPECT_TRUE(line.machine.writes.empty());
}

TEST(LineWrite, modeChangeNeverAnswered_isRefusedAndNotExecuted) {
    SimulatedLine line(modeAllowed());
    line.machine.core.setMode(plc::Mode::Program);
    line.machine.core.setWritesOnlyIn(plc::Mode::Monitor);
    line.fate = [](const QByteArray& frame, int) {
        Fate fate;
        fate.loseReply = isModeChangeFrame(frame);
        return fate;
    };
    line.write("DM", 100, {7});
    ASSERT_TRUE(line.settle());
    EXPECT_EQ(line.writes.at(0).result, WriteResult::Refused);
    EXPECT_TRUE(line.writes.at(0).last.modeChange);
    EXPECT_TRUE(line.machine.writes.empty());
    EXPECT_FALSE(line.writes.at(0).modeSwitched);
    EXPECT_TRUE(line.writes.at(0).modeUnknown);
}

TEST(LineWrite, longWriteThatMeetsTheWrongModeInItsMiddle_executesEachPieceOnce) {
    LineSettings settings = modeAllowed();
    settings.wordsPerFrame = 4;
    SimulatedLine line(settings);
    line.machine.core.setWritesOnlyIn(plc::Mode::Monitor);
    line.machine.core.setMode(plc::Mode::Monitor);
    line.fate = [&line](const QByteArray&, int number) {
        if (number == 2) {
            line.machine.core.setMode(plc::Mode::Run);
        }
        return Fate();
    };
    line.write("DM", 0, counting(12, 1));
    ASSERT_TRUE(line.settle());
    EXPECT_EQ(line.writes.at(0).result, WriteResult::Taken);
    EXPECT_EQ(line.writes.at(0).taken, 12);
    EXPECT_TRUE(line.writes.at(0).modeSwitched);
    EXPECT_EQ(line.machine.writes.size(), 3U);
}

TEST(LineWrite, plcThatFallsBackIntoItsModeEachTime_isNotSwitchedForEver) {
    SimulatedLine line(modeAllowed());
    line.machine.core.setWritesOnlyIn(plc::Mode::Monitor);
    line.fate = [&line](const QByteArray& frame, int) {
        if (isWriteFrame(frame)) {
            line.machine.core.setMode(plc::Mode::Run);
        }
        return Fate();
    };
    line.write("DM", 0, {5});
    ASSERT_TRUE(line.settle());
    EXPECT_EQ(line.writes.at(0).result, WriteResult::Refused);
    EXPECT_TRUE(line.writes.at(0).modeSwitched);
    EXPECT_TRUE(line.machine.writes.empty());
    EXPECT_LE(line.machine.modeChanges.size(), 3U);
}

} // namespace
