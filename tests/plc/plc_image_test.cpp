#include <gtest/gtest.h>

#include "plc/image.h"

namespace {

using plc::Area;

TEST(PlcImage, text_emptyMemory_isTheHeadingAlone) {
    EXPECT_EQ(
        plc::imageText(plc::Memory()),
        "# Memory of velkor-plc: area, first address, words in hex. What is not named is 0.\n");
}

TEST(PlcImage, text_someValues_isEightWordsALine) {
    plc::Memory memory;
    memory.setWord(Area::Dm, 8, 0x04D2);
    memory.setWord(Area::Dm, 15, 0xFFFF);
    memory.setWord(Area::Cio, 6143, 1);
    memory.setFlag(Area::Counter, 1, true);
    EXPECT_EQ(plc::imageText(memory).substr(plc::imageText(memory).find('\n') + 1),
              "CIO 6136: 0000 0000 0000 0000 0000 0000 0000 0001\n"
              "C-flag 0: 0 1 0 0 0 0 0 0\n"
              "DM 8: 04D2 0000 0000 0000 0000 0000 0000 FFFF\n");
}

TEST(PlcImage, read_ownText_isTheSameMemory) {
    plc::Memory memory;
    for (const plc::AreaFacts& facts : plc::areaTable()) {
        memory.setWord(facts.area, 0, 0x0102);
        memory.setWord(facts.area, facts.size - 1, 0xA0B0);
    }
    memory.setFlag(Area::Timer, 4095, true);
    plc::Memory loaded;
    loaded.setWord(Area::Dm, 500, 7); // is replaced, too
    EXPECT_FALSE(plc::readImage(plc::imageText(memory), loaded).has_value());
    for (const plc::AreaFacts& facts : plc::areaTable()) {
        EXPECT_EQ(loaded.word(facts.area, 0), 0x0102) << facts.name;
        EXPECT_EQ(loaded.word(facts.area, facts.size - 1), 0xA0B0) << facts.name;
    }
    EXPECT_TRUE(loaded.flag(Area::Timer, 4095));
    EXPECT_EQ(loaded.word(Area::Dm, 500), 0);
}

TEST(PlcImage, read_commentsBlankLinesAndLineEnds_areTaken) {
    plc::Memory memory;
    EXPECT_FALSE(
        plc::readImage("# all\n\n  DM 10: 00ff 0A0a # two\r\nT-flag 3: 1\n", memory).has_value());
    EXPECT_EQ(memory.word(Area::Dm, 10), 0x00FF);
    EXPECT_EQ(memory.word(Area::Dm, 11), 0x0A0A);
    EXPECT_TRUE(memory.flag(Area::Timer, 3));
}

TEST(PlcImage, read_byteOrderMark_isSkipped) {
    plc::Memory memory;
    EXPECT_FALSE(plc::readImage("\xEF\xBB\xBF"
                                "DM 10: 00FF\n",
                                memory)
                     .has_value());
    EXPECT_EQ(memory.word(Area::Dm, 10), 0x00FF);
}

TEST(PlcImage, read_nulByte_isRefusedWithItsPlace) {
    using namespace std::string_literals;
    for (const std::string& text : {"DM 0: 0001\nDM 1:\0 0002\n"s, "\n# 456\0 comment\n"s}) {
        plc::Memory memory;
        const auto error = plc::readImage(text, memory);
        ASSERT_TRUE(error.has_value());
        EXPECT_EQ(error->line, 2);
        EXPECT_EQ(error->message.substr(0, 22), "column 6 is a NUL byte");
        EXPECT_EQ(memory.word(Area::Dm, 0), 0);
    }
}

TEST(PlcImage, read_longNonsense_isQuotedInPart) {
    plc::Memory memory;
    const auto error = plc::readImage(std::string(100000, 'x'), memory);
    ASSERT_TRUE(error.has_value());
    EXPECT_LT(error->message.size(), 200U);
    EXPECT_NE(error->message.find("xxx...' is no area"), std::string::npos) << error->message;
}

struct ErrorCase {
    const char* text;
    int line;
    const char* says;
};

TEST(PlcImage, read_wrong_saysLineAndChangesNothing) {
    for (const ErrorCase& expected : {
             ErrorCase{"XX 0: 0001", 1, "'XX' is no area; expected CIO,"},
             ErrorCase{"DM 0: 0001\nDM-flag 0: 1", 2, "'DM-flag' is no area"},
             ErrorCase{"DM 0 0001", 1, "'0' is no address; expected a number and a colon"},
             ErrorCase{"DM", 1, "'' is no address"},
             ErrorCase{"DM -1: 0001", 1, "'-1:' is no address"},
             ErrorCase{"DM 0:", 1, "no value follows"},
             ErrorCase{"# x\n\nDM 0: 1", 3, "'1' is no word; expected four hex digits"},
             ErrorCase{"DM 0: 00G1", 1, "'00G1' is no word"},
             ErrorCase{"WR 511: 0001 0002", 1, "WR ends at 511"},
             ErrorCase{"WR 999999: 0001", 1, "WR ends at 511"},
             ErrorCase{"T-flag 0: 2", 1, "'2' is no flag; expected 0 or 1"},
         }) {
        SCOPED_TRACE(expected.text);
        plc::Memory memory;
        memory.setWord(Area::Dm, 1, 0x1111);
        const auto error = plc::readImage(expected.text, memory);
        ASSERT_TRUE(error.has_value());
        EXPECT_EQ(error->line, expected.line);
        EXPECT_NE(error->message.find(expected.says), std::string::npos) << error->message;
        EXPECT_EQ(memory.word(Area::Dm, 0), 0);
        EXPECT_EQ(memory.word(Area::Dm, 1), 0x1111);
    }
}

} // namespace
