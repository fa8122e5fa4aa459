#include <gtest/gtest.h>

#include <stdexcept>

#include "plc/frames.h"

namespace {

using plc::Area;
using plc_test::ask;

// First and last word of an area as the wire names them, and the first address beyond.
struct Range {
    const char* name;
    const char* first;
    const char* last;
    const char* beyond;
};

const Range kWordRanges[] = {
    {"CIO", "B0 00 00 00", "B0 17 FF 00", "B0 18 00 00"},
    {"WR", "B1 00 00 00", "B1 01 FF 00", "B1 02 00 00"},
    {"HR", "B2 00 00 00", "B2 05 FF 00", "B2 06 00 00"},
    {"AR", "B3 00 00 00", "B3 03 BF 00", "B3 03 C0 00"},
    {"DM", "82 00 00 00", "82 7F FF 00", "82 80 00 00"},
    {"T", "89 00 00 00", "89 0F FF 00", "89 10 00 00"},
    {"C", "89 80 00 00", "89 8F FF 00", "89 90 00 00"},
    {"EM0", "A0 00 00 00", "A0 7F FF 00", "A0 80 00 00"},
};

const Range kBitRanges[] = {
    {"CIO", "30 00 00 00", "30 17 FF 0F", "30 18 00 00"},
    {"WR", "31 00 00 00", "31 01 FF 0F", "31 02 00 00"},
    {"HR", "32 00 00 00", "32 05 FF 0F", "32 06 00 00"},
    {"AR", "33 00 00 00", "33 03 BF 0F", "33 03 C0 00"},
    {"DM", "02 00 00 00", "02 7F FF 0F", "02 80 00 00"},
    {"T flags", "09 00 00 00", "09 0F FF 00", "09 10 00 00"},
    {"C flags", "09 80 00 00", "09 8F FF 00", "09 90 00 00"},
    {"EM0", "20 00 00 00", "20 7F FF 0F", "20 80 00 00"},
};

class Ranges : public testing::TestWithParam<Range> {};
class WordRanges : public Ranges {};
class BitRanges : public Ranges {};

std::string nameOf(const testing::TestParamInfo<Range>& info) {
    std::string name = info.param.name;
    for (char& c : name) {
        c = c == ' ' ? '_' : c;
    }
    return name;
}

TEST_P(WordRanges, read_firstAndLastWord_areThere) {
    plc::Core core;
    const Area area = plc::areaNamed(GetParam().name).value();
    core.memory().setWord(area, 0, 0x0102);
    core.memory().setWord(area, plc::factsOf(area).size - 1, 0xF1F2);
    EXPECT_EQ(ask(core, std::string("01 01 ") + GetParam().first + " 00 01"), "00 00 01 02");
    EXPECT_EQ(ask(core, std::string("01 01 ") + GetParam().last + " 00 01"), "00 00 F1 F2");
}

TEST_P(WordRanges, read_fromBeyondTheEnd_gets1103) {
    plc::Core core;
    EXPECT_EQ(ask(core, std::string("01 01 ") + GetParam().beyond + " 00 01"), "11 03");
}

TEST_P(WordRanges, read_fromLastWordOverTheEnd_gets1104) {
    plc::Core core;
    EXPECT_EQ(ask(core, std::string("01 01 ") + GetParam().last + " 00 02"), "11 04");
}

TEST_P(WordRanges, write_lastWord_isReadBack) {
    plc::Core core;
    EXPECT_EQ(ask(core, std::string("01 02 ") + GetParam().last + " 00 01 A5 5A"), "00 00");
    EXPECT_EQ(ask(core, std::string("01 01 ") + GetParam().last + " 00 01"), "00 00 A5 5A");
}

TEST_P(WordRanges, write_overTheEnd_gets1104AndChangesNothing) {
    plc::Core core;
    EXPECT_EQ(ask(core, std::string("01 02 ") + GetParam().last + " 00 02 A5 5A 11 11"), "11 04");
    EXPECT_EQ(ask(core, std::string("01 01 ") + GetParam().last + " 00 01"), "00 00 00 00");
}

INSTANTIATE_TEST_SUITE_P(Areas, WordRanges, testing::ValuesIn(kWordRanges), nameOf);

TEST_P(BitRanges, read_firstAndLastBit_areThere) {
    plc::Core core;
    EXPECT_EQ(ask(core, std::string("01 01 ") + GetParam().first + " 00 01"), "00 00 00");
    EXPECT_EQ(ask(core, std::string("01 01 ") + GetParam().last + " 00 01"), "00 00 00");
}

TEST_P(BitRanges, read_fromBeyondTheEnd_gets1103) {
    plc::Core core;
    EXPECT_EQ(ask(core, std::string("01 01 ") + GetParam().beyond + " 00 01"), "11 03");
}

TEST_P(BitRanges, read_fromLastBitOverTheEnd_gets1104) {
    plc::Core core;
    EXPECT_EQ(ask(core, std::string("01 01 ") + GetParam().last + " 00 02"), "11 04");
}

TEST_P(BitRanges, write_lastBit_isReadBack) {
    plc::Core core;
    EXPECT_EQ(ask(core, std::string("01 02 ") + GetParam().last + " 00 01 01"), "00 00");
    EXPECT_EQ(ask(core, std::string("01 01 ") + GetParam().last + " 00 01"), "00 00 01");
}

INSTANTIATE_TEST_SUITE_P(Areas, BitRanges, testing::ValuesIn(kBitRanges), nameOf);

// Area, its bit code, its word code.
struct Codes {
    Area area;
    const char* bit;
    const char* word;
};

TEST(PlcMemory, writeBit_everyArea_isABitOfItsWord) {
    for (const Codes& codes : {Codes{Area::Cio, "30", "B0"}, Codes{Area::Work, "31", "B1"},
                               Codes{Area::Holding, "32", "B2"}, Codes{Area::Dm, "02", "82"},
                               Codes{Area::Em0, "20", "A0"}}) {
        plc::Core core;
        core.memory().setWord(codes.area, 2, 0x8001);
        EXPECT_EQ(ask(core, std::string("01 02 ") + codes.bit + " 00 02 03 00 01 01"), "00 00");
        EXPECT_EQ(ask(core, std::string("01 01 ") + codes.word + " 00 02 00 00 01"), "00 00 80 09");
        EXPECT_EQ(ask(core, std::string("01 02 ") + codes.bit + " 00 02 0F 00 01 00"), "00 00");
        EXPECT_EQ(core.memory().word(codes.area, 2), 0x0009);
    }
}

TEST(PlcMemory, writeWord_isSeenInItsBits) {
    plc::Core core;
    EXPECT_EQ(ask(core, "01 02 B3 01 C0 00 00 01 80 05"), "00 00");
    EXPECT_EQ(ask(core, "01 01 33 01 C0 00 00 10"),
              "00 00 01 00 01 00 00 00 00 00 00 00 00 00 00 00 00 01");
}

TEST(PlcMemory, bits_runOnIntoTheNextWord) {
    plc::Core core;
    EXPECT_EQ(ask(core, "01 02 30 00 0A 0E 00 04 01 01 01 00"), "00 00");
    EXPECT_EQ(core.memory().word(Area::Cio, 10), 0xC000);
    EXPECT_EQ(core.memory().word(Area::Cio, 11), 0x0001);
}

TEST(PlcMemory, readBit_bit16_gets1103) {
    plc::Core core;
    EXPECT_EQ(ask(core, "01 01 30 00 00 10 00 01"), "11 03");
}

TEST(PlcMemory, timersAndCounters_areDifferentMemory) {
    plc::Core core;
    EXPECT_EQ(ask(core, "01 02 89 00 05 00 00 01 11 11"), "00 00");
    EXPECT_EQ(ask(core, "01 02 89 80 05 00 00 01 22 22"), "00 00");
    EXPECT_EQ(core.memory().word(Area::Timer, 5), 0x1111);
    EXPECT_EQ(core.memory().word(Area::Counter, 5), 0x2222);
}

TEST(PlcMemory, completionFlag_isNoBitOfThePresentValue) {
    plc::Core core;
    core.memory().setWord(Area::Timer, 7, 0xFFFF);
    EXPECT_EQ(ask(core, "01 01 09 00 07 00 00 01"), "00 00 00");
    core.memory().setFlag(Area::Timer, 7, true);
    EXPECT_EQ(ask(core, "01 01 09 00 06 00 00 03"), "00 00 00 01 00");
    EXPECT_EQ(core.memory().word(Area::Timer, 7), 0xFFFF);
}

TEST(PlcMemory, betweenTimersAndCounters_gets1103) {
    plc::Core core;
    EXPECT_EQ(ask(core, "01 01 89 7F FF 00 00 01"), "11 03");
}

TEST(PlcMemory, areaNamed_unknown_isNone) {
    EXPECT_FALSE(plc::areaNamed("D").has_value());
    EXPECT_FALSE(plc::areaNamed("dm").has_value());
}

TEST(PlcMemory, directAccess_outsideTheArea_throws) {
    plc::Core core;
    EXPECT_THROW(core.memory().word(Area::Work, 512), std::out_of_range);
    EXPECT_THROW(core.memory().setWord(Area::Cio, 6144, 1), std::out_of_range);
    EXPECT_THROW(core.memory().setBit(Area::Cio, 0, 16, true), std::out_of_range);
    EXPECT_THROW(core.memory().flag(Area::Dm, 0), std::out_of_range);
}

} // namespace
