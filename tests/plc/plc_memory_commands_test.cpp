#include <gtest/gtest.h>

#include "plc/frames.h"

namespace {

using plc::Area;
using plc_test::ask;
using plc_test::zeros;

TEST(PlcRead, read_tenWords_highByteFirst) {
    plc::Core core;
    for (std::uint16_t i = 0; i < 10; ++i) {
        core.memory().setWord(Area::Dm, 100U + i, static_cast<std::uint16_t>(0x0A00 + i));
    }
    EXPECT_EQ(ask(core, "01 01 82 00 64 00 00 0A"),
              "00 00 0A 00 0A 01 0A 02 0A 03 0A 04 0A 05 0A 06 0A 07 0A 08 0A 09");
}

TEST(PlcRead, read_zeroWords_isNormalWithoutData) {
    plc::Core core;
    EXPECT_EQ(ask(core, "01 01 82 00 64 00 00 00"), "00 00");
}

TEST(PlcRead, read_oneByteShort_gets1002) {
    plc::Core core;
    EXPECT_EQ(ask(core, "01 01 82 00 64 00 00"), "10 02");
}

TEST(PlcRead, read_oneByteLong_gets1001) {
    plc::Core core;
    EXPECT_EQ(ask(core, "01 01 82 00 64 00 00 01 00"), "10 01");
}

TEST(PlcRead, read_unknownArea_gets1101) {
    plc::Core core;
    for (const char* area : {"00", "83", "A1", "B4", "80", "FF"}) {
        EXPECT_EQ(ask(core, std::string("01 01 ") + area + " 00 00 00 00 01"), "11 01") << area;
    }
}

// 14 bytes before the data, so 2012 bytes carry 999 words.
TEST(PlcRead, read_999Words_fitsTheLongestReply) {
    plc::Core core;
    const auto reply = core.handle(plc_test::command("01 01 82 00 00 00 03 E7"));
    ASSERT_TRUE(reply.has_value());
    EXPECT_EQ(reply->size(), 2012U);
}

TEST(PlcRead, read_1000Words_gets110B) {
    plc::Core core;
    EXPECT_EQ(ask(core, "01 01 82 00 00 00 03 E8"), "11 0B");
}

TEST(PlcRead, read_1999Bits_gets110BAnd1998Not) {
    plc::Core core;
    EXPECT_EQ(ask(core, "01 01 30 00 00 00 07 CF"), "11 0B");
    EXPECT_EQ(ask(core, "01 01 30 00 00 00 07 CE"), "00 00" + zeros(1998));
}

TEST(PlcWrite, write_twoWords_highByteFirst) {
    plc::Core core;
    EXPECT_EQ(ask(core, "01 02 82 00 00 00 00 02 12 34 AB CD"), "00 00");
    EXPECT_EQ(core.memory().word(Area::Dm, 0), 0x1234);
    EXPECT_EQ(core.memory().word(Area::Dm, 1), 0xABCD);
}

TEST(PlcWrite, write_996Words_isTaken) {
    plc::Core core;
    EXPECT_EQ(ask(core, "01 02 82 00 00 00 03 E4" + zeros(2 * 996)), "00 00");
}

TEST(PlcWrite, write_overLongestMessage_gets1001) {
    plc::Core core;
    EXPECT_EQ(ask(core, "01 02 82 00 00 00 03 E6" + zeros(2 * 998)), "10 01");
}

TEST(PlcWrite, write_withoutCount_gets1002) {
    plc::Core core;
    EXPECT_EQ(ask(core, "01 02 82 00 00 00 00"), "10 02");
}

TEST(PlcWrite, write_countAndDataDiffer_gets1003) {
    plc::Core core;
    EXPECT_EQ(ask(core, "01 02 82 00 00 00 00 02 11 11"), "10 03");
    EXPECT_EQ(ask(core, "01 02 82 00 00 00 00 01 11 11 22 22"), "10 03");
    EXPECT_EQ(ask(core, "01 02 82 00 00 00 00 01 11"), "10 03");
    EXPECT_EQ(ask(core, "01 02 30 00 00 00 00 02 01"), "10 03");
    EXPECT_EQ(core.memory().word(Area::Dm, 0), 0);
}

TEST(PlcWrite, write_zeroWords_isNormal) {
    plc::Core core;
    EXPECT_EQ(ask(core, "01 02 82 00 00 00 00 00"), "00 00");
}

TEST(PlcWrite, write_unknownArea_gets1101) {
    plc::Core core;
    EXPECT_EQ(ask(core, "01 02 83 00 00 00 00 01 00 00"), "11 01");
}

TEST(PlcWrite, write_beyondTheEnd_gets1103) {
    plc::Core core;
    EXPECT_EQ(ask(core, "01 02 82 80 00 00 00 01 00 00"), "11 03");
}

TEST(PlcWrite, write_lastReadOnlyWord_gets2101) {
    plc::Core core;
    EXPECT_EQ(ask(core, "01 02 B3 01 BF 00 00 01 00 01"), "21 01");
    EXPECT_EQ(ask(core, "01 02 B3 01 BF 00 00 02 00 01 00 01"), "21 01");
    EXPECT_EQ(core.memory().word(Area::Auxiliary, 448), 0);
}

TEST(PlcWrite, write_firstWritableAuxiliaryWord_isTaken) {
    plc::Core core;
    EXPECT_EQ(ask(core, "01 02 B3 01 C0 00 00 01 00 01"), "00 00");
    EXPECT_EQ(core.memory().word(Area::Auxiliary, 448), 1);
}

TEST(PlcWrite, write_readOnlyBit_gets2101AndTheNextNot) {
    plc::Core core;
    EXPECT_EQ(ask(core, "01 02 33 01 BF 0F 00 01 01"), "21 01");
    EXPECT_EQ(ask(core, "01 02 33 01 C0 00 00 01 01"), "00 00");
}

TEST(PlcFill, fill_threeWords_setsThemAlone) {
    plc::Core core;
    EXPECT_EQ(ask(core, "01 03 82 00 0A 00 00 03 12 34"), "00 00");
    EXPECT_EQ(core.memory().word(Area::Dm, 9), 0);
    EXPECT_EQ(core.memory().word(Area::Dm, 10), 0x1234);
    EXPECT_EQ(core.memory().word(Area::Dm, 12), 0x1234);
    EXPECT_EQ(core.memory().word(Area::Dm, 13), 0);
}

TEST(PlcFill, fill_wholeArea_isTaken) {
    plc::Core core;
    EXPECT_EQ(ask(core, "01 03 82 00 00 00 80 00 00 07"), "00 00");
    EXPECT_EQ(core.memory().word(Area::Dm, 32767), 7);
}

TEST(PlcFill, fill_wrong_getsItsEndCode) {
    plc::Core core;
    EXPECT_EQ(ask(core, "01 03 82 00 00 00 00 01 12"), "10 02");
    EXPECT_EQ(ask(core, "01 03 82 00 00 00 00 01 12 34 56"), "10 01");
    EXPECT_EQ(ask(core, "01 03 30 00 00 00 00 01 00 01"), "11 01");
    EXPECT_EQ(ask(core, "01 03 83 00 00 00 00 01 00 01"), "11 01");
    EXPECT_EQ(ask(core, "01 03 82 80 00 00 00 01 00 01"), "11 03");
    EXPECT_EQ(ask(core, "01 03 82 7F FF 00 00 02 00 01"), "11 04");
    EXPECT_EQ(ask(core, "01 03 B3 00 00 00 00 01 00 01"), "21 01");
}

TEST(PlcMultipleRead, read_wordBitAndFlag_eachAfterItsAreaCode) {
    plc::Core core;
    core.memory().setWord(Area::Dm, 100, 0x1234);
    core.memory().setBit(Area::Cio, 5, 3, true);
    core.memory().setFlag(Area::Counter, 1, true);
    EXPECT_EQ(ask(core, "01 04 82 00 64 00 30 00 05 03 09 80 01 00 89 80 01 00"),
              "00 00 82 12 34 30 01 09 01 89 00 00");
}

TEST(PlcMultipleRead, read_wrong_getsItsEndCode) {
    plc::Core core;
    EXPECT_EQ(ask(core, "01 04"), "10 02");
    EXPECT_EQ(ask(core, "01 04 82 00 64"), "10 02");
    EXPECT_EQ(ask(core, "01 04 82 00 64 00 82"), "10 02");
    EXPECT_EQ(ask(core, "01 04 82 00 64 00 83 00 00 00"), "11 01");
    EXPECT_EQ(ask(core, "01 04 82 80 00 00"), "11 03");
}

TEST(PlcMultipleRead, read_replyTooLong_gets110B) {
    plc::Options options;
    options.maxMessage = 20;
    plc::Core core(options);
    EXPECT_EQ(ask(core, "01 04 82 00 00 00 82 00 01 00"), "00 00 82 00 00 82 00 00");
    options.maxMessage = 19;
    plc::Core smaller(options);
    EXPECT_EQ(ask(smaller, "01 04 82 00 00 00"), "00 00 82 00 00");
    EXPECT_EQ(ask(smaller, "01 04 82 00 00 00 82 00 01 00"), "10 01");
}

} // namespace
