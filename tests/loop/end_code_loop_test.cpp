/// A PLC that answers with end codes other than normal.

#include "loop/loop_fixture.h"

namespace {

const std::uint16_t endCodes[] = {
    0x0001, 0x0101, 0x0102, 0x0103, 0x0104, 0x0105, 0x0106, 0x0201, 0x0202, 0x0204, 0x0205,
    0x0301, 0x0302, 0x0304, 0x0401, 0x0402, 0x0501, 0x0502, 0x0503, 0x0504, 0x1001, 0x1002,
    0x1003, 0x1004, 0x1005, 0x1101, 0x1102, 0x1103, 0x1104, 0x1109, 0x110A, 0x110B, 0x110C,
    0x2002, 0x2003, 0x2004, 0x2005, 0x2006, 0x2101, 0x2102, 0x2103, 0x2108, 0x2201, 0x2202,
    0x2203, 0x2204, 0x2205, 0x2206, 0x2301, 0x2302, 0x2303, 0x2401, 0x2502, 0x2503, 0x3001};

class EndCodeLoop : public LoopFixture, public ::testing::WithParamInterface<std::uint16_t> {
protected:
    /// Those that say "not in this operating mode" and lead to a mode change.
    static bool isModeRefusal(int endCode) {
        return endCode == 0x2203 || endCode == 0x2204 || endCode == 0x2206;
    }
};

std::string hexName(const ::testing::TestParamInfo<std::uint16_t>& info) {
    char text[8];
    std::snprintf(text, sizeof text, "%04X", static_cast<unsigned int>(info.param));
    return text;
}

TEST_P(EndCodeLoop, readAnsweredSo_isTooShortAndIsReadAgain) {
    setPlcWord(plc::Area::Dm, 100, 0x1234);
    poll({{"DM", 100, 1}});
    plc.forceEndCode(GetParam(), 1);
    EXPECT_EQ(8, turn());
    EXPECT_EQ(0, hostWord("DM", 100));
    EXPECT_EQ(1, turn());
    EXPECT_EQ(0x1234, hostWord("DM", 100));
    EXPECT_EQ(plc::Mode::Run, plc.mode());
}

TEST_P(EndCodeLoop, readAnsweredSoAlways_failsAndTheOtherBlocksGoOn) {
    poll({{"DM", 100, 1}, {"DM", 1000, 1}});
    plc.forceEndCode(GetParam(), 3);
    EXPECT_EQ(8, turn());
    EXPECT_EQ(8, turn());
    EXPECT_EQ(2, turn());
    EXPECT_EQ("14,1,100,DM", message);
    goodTurns(2);
}

TEST_P(EndCodeLoop, writeAnsweredSo_countsAsDoneUnlessItIsAModeRefusal) {
    poll({{"DM", 100, 1}});
    writeWords("DM", 100, {0x1234});
    plc.forceEndCode(GetParam(), 1);
    if (isModeRefusal(GetParam())) {
        EXPECT_EQ(8, turn());
        EXPECT_EQ(1, turn());
        EXPECT_EQ(plc::Mode::Monitor, plc.mode());
    } else {
        EXPECT_EQ(1, turn());
        EXPECT_EQ(0x1234, hostWord("DM", 100));
        EXPECT_EQ(0, plcWord(plc::Area::Dm, 100));
        EXPECT_EQ(1, turn()); // the polling puts it right
        EXPECT_EQ(0, hostWord("DM", 100));
        EXPECT_EQ(plc::Mode::Run, plc.mode());
    }
}

INSTANTIATE_TEST_SUITE_P(EndCodes, EndCodeLoop, ::testing::ValuesIn(endCodes), hexName);

class AlarmLoop : public LoopFixture {};

TEST_F(AlarmLoop, plcWithANonFatalError_isReadAndWrittenAsUsual) {
    plc.setAlarm(true); // every reply carries 0040
    setPlcWord(plc::Area::Dm, 100, 0x1234);
    poll({{"DM", 100, 1}});
    goodTurns(1);
    EXPECT_EQ(0x1234, hostWord("DM", 100));
    writeWords("DM", 100, {0x5678});
    goodTurns(1);
    EXPECT_EQ(0x5678, plcWord(plc::Area::Dm, 100));
    EXPECT_EQ(0x5678, hostWord("DM", 100));
}

TEST_F(AlarmLoop, modeRefusalFromAPlcWithANonFatalError_isTakenForDone) {
    // 2246 is not 2206: the code is compared as it stands.
    plc.setAlarm(true);
    plc.setWritesOnlyIn(plc::Mode::Monitor);
    writeWords("DM", 100, {0x1234});
    EXPECT_EQ(1, turn());
    EXPECT_EQ(plc::Mode::Run, plc.mode());
    EXPECT_EQ(0, plcWord(plc::Area::Dm, 100));
}

TEST_F(AlarmLoop, addressOutsideTheArea_failsAsAReadAndCountsAsDoneAsAWrite) {
    poll({{"DM", 40000, 1}});
    EXPECT_EQ(8, turn());
    EXPECT_EQ(8, turn());
    EXPECT_EQ(2, turn());
    EXPECT_EQ("14,1,40000,DM", message);
    writeWords("DM", 40000, {1});
    EXPECT_EQ(1, turn());
}

TEST_F(AlarmLoop, writeToWordsThatThePlcProtects_countsAsDoneAndIsPutRightByThePolling) {
    poll({{"AR", 10, 1}});
    goodTurns(1);
    writeWords("AR", 10, {7});
    goodTurns(1);
    EXPECT_EQ(7, hostWord("AR", 10));
    goodTurns(1);
    EXPECT_EQ(0, hostWord("AR", 10));
}

} // namespace
