// A PLC that is told to be without some of its words.

#include <gtest/gtest.h>

#include "plc/frames.h"
#include "plc/refused_words.h"

namespace {

using plc::Area;
using plc_test::ask;

// Without DM 100 to 110, DM 200 and T 5.
plc::Options without() {
    plc::Options options;
    options.refused = {*plc::parseRefusedWords("DM 100-110"), *plc::parseRefusedWords("DM 200"),
                       *plc::parseRefusedWords("T 5")};
    return options;
}

TEST(PlcRefusedWords, readThatTouchesThem_gets1103) {
    plc::Core core(without());
    EXPECT_EQ(ask(core, "01 01 82 00 63 00 00 01"), "00 00 00 00"); // DM 99
    EXPECT_EQ(ask(core, "01 01 82 00 63 00 00 02"), "11 03");
    EXPECT_EQ(ask(core, "01 01 82 00 6E 00 00 01"), "11 03"); // DM 110
    EXPECT_EQ(ask(core, "01 01 82 00 6F 00 00 01"), "00 00 00 00");
    EXPECT_EQ(ask(core, "01 01 82 00 C8 00 00 01"), "11 03"); // DM 200
}

TEST(PlcRefusedWords, aroundThem_gets1103) {
    plc::Core core(without());
    EXPECT_EQ(ask(core, "01 01 82 00 00 00 00 FF"), "11 03");
}

TEST(PlcRefusedWords, bitsOfThem_get1103) {
    plc::Core core(without());
    EXPECT_EQ(ask(core, "01 01 02 00 63 0F 00 01"), "00 00 00"); // DM 99.15
    EXPECT_EQ(ask(core, "01 01 02 00 63 0F 00 02"), "11 03");
    EXPECT_EQ(ask(core, "01 02 02 00 6E 0F 00 01 01"), "11 03");
}

TEST(PlcRefusedWords, writeAndFill_get1103AndChangeNothing) {
    plc::Core core(without());
    EXPECT_EQ(ask(core, "01 02 82 00 63 00 00 02 00 01 00 02"), "11 03");
    EXPECT_EQ(ask(core, "01 03 82 00 63 00 00 02 00 07"), "11 03");
    EXPECT_EQ(core.memory().word(Area::Dm, 99), 0);
    EXPECT_EQ(core.memory().word(Area::Dm, 100), 0);
}

TEST(PlcRefusedWords, multipleReadOfOne_gets1103) {
    plc::Core core(without());
    EXPECT_EQ(ask(core, "01 04 82 00 63 00 82 00 C8 00"), "11 03");
    EXPECT_EQ(ask(core, "01 04 82 00 63 00 82 00 C9 00"), "00 00 82 00 00 82 00 00");
}

TEST(PlcRefusedWords, timerAndItsFlag_get1103) {
    plc::Core core(without());
    EXPECT_EQ(ask(core, "01 01 89 00 05 00 00 01"), "11 03");
    EXPECT_EQ(ask(core, "01 01 09 00 05 00 00 01"), "11 03");
    EXPECT_EQ(ask(core, "01 01 89 00 06 00 00 01"), "00 00 00 00");
}

TEST(PlcRefusedWords, noItems_touchNothing) {
    plc::Core core(without());
    EXPECT_EQ(ask(core, "01 01 82 00 64 00 00 00"), "00 00");
}

TEST(PlcRefusedWords, rangeText_isReadWithOrWithoutItsEnd) {
    const auto range = plc::parseRefusedWords("  EM0 7 - 9 ");
    ASSERT_TRUE(range.has_value());
    EXPECT_EQ(range->area, Area::Em0);
    EXPECT_EQ(range->first, 7U);
    EXPECT_EQ(range->last, 9U);
    const auto one = plc::parseRefusedWords("CIO 6143");
    ASSERT_TRUE(one.has_value());
    EXPECT_EQ(one->first, 6143U);
    EXPECT_EQ(one->last, 6143U);
}

TEST(PlcRefusedWords, textThatIsNoRange_isNone) {
    for (const char* text :
         {"", "DM", "DM100", "100", "XX 1", "dm 1", "DM 9-8", "DM 1-", "DM -1", "DM 1-2-3",
          "CIO 6144", "DM 100-32768", "DM 99999", "DM 999999999999", "DM 1.5", "CIO_bit 1"}) {
        EXPECT_FALSE(plc::parseRefusedWords(text).has_value()) << text;
    }
}

} // namespace
