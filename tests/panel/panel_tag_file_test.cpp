#include "panel/files/tag_file.h"

#include "host/values/word_range.h"

#include "panel/fake_catalogue.h"
#include "panel/text.h"

#include <gtest/gtest.h>

using namespace panel;

namespace {

TagList read(const char* rows) {
    return readTags(QByteArray("name,register,address,type,count,unit,comment\n") + rows,
                    FakeCatalogue(), {QString()});
}

TEST(ReadTags, goodRow_givesTheTag) {
    const TagList list = read("level,DM,100,float32,2,mm,\"a, b\"\n");
    ASSERT_EQ(list.errors.size(), 0);
    ASSERT_EQ(list.tags.size(), 1);
    const Tag& tag = list.tags.first().tag;
    EXPECT_EQ(plain(tag.name), "level");
    EXPECT_EQ(plain(tag.reg), "DM");
    EXPECT_EQ(tag.address, 100);
    EXPECT_EQ(tag.type, ValueType::Float32);
    EXPECT_EQ(tag.count, 2);
    EXPECT_EQ(tag.itemCount(), 4);
    EXPECT_EQ(plain(list.tags.first().tag.unit), "mm");
    EXPECT_EQ(plain(list.tags.first().comment), "a, b");
}

TEST(ReadTags, emptyTypeAndCount_haveTheRegistersDefaults) {
    const TagList list = read("w,DM,1,,,,\nb,CIO_bit,1.5,,,,\n");
    ASSERT_EQ(list.tags.size(), 2);
    EXPECT_EQ(list.tags.at(0).tag.type, ValueType::Uint16);
    EXPECT_EQ(list.tags.at(0).tag.count, 1);
    EXPECT_EQ(list.tags.at(1).tag.type, ValueType::Bool);
    EXPECT_EQ(list.tags.at(1).tag.address, 21); // 1 * 16 + 5
}

struct BadRow {
    const char* name;
    const char* row;
    int column;
    const char* says;
};

class ReadTagsFault : public testing::TestWithParam<BadRow> {};

TEST_P(ReadTagsFault, badRow_isNamedByLineAndColumnWithWhatWouldBeRight) {
    const TagList list = read((std::string("ok,DM,1,uint16,1,,\n") + GetParam().row).c_str());
    ASSERT_EQ(list.errors.size(), 1);
    EXPECT_EQ(list.errors.first().line, 3);
    EXPECT_EQ(list.errors.first().column, GetParam().column);
    EXPECT_TRUE(list.errors.first().text.contains(GetParam().says))
        << plain(list.errors.first().text);
}

const BadRow BAD_ROWS[] = {
    {"noName", ",DM,1,uint16,1,,\n", 1, "name: is empty"},
    {"sameName", "ok,DM,1,uint16,1,,\n", 1, "there twice"},
    {"unknownRegister", "a,DX,1,uint16,1,,\n", 3, "the registers are CIO_bit, HR, DM"},
    {"addressOutOfRange", "a,DM,32768,uint16,1,,\n", 6, "from 0 to 32767 (ddddd)"},
    {"blockLeavesRegister", "a,DM,32767,uint32,1,,\n", 6, "with 2 words"},
    {"addressSyntax", "a,CIO_bit,5,bool,1,,\n", 11, "word.bit"},
    {"unknownType", "a,DM,1,double,1,,\n", 8, "the types are bool, uint16"},
    {"boolInWordRegister", "a,DM,1,bool,1,,\n", 8, "word register"},
    {"wordTypeInBitRegister", "a,CIO_bit,1.0,int16,1,,\n", 15, "its type is bool"},
    {"nameOverTwoLines", "\"a\nb\",DM,1,uint16,1,,\n", 1, "name: goes over two lines"},
    {"unitOverTwoLines", "a,DM,1,uint16,1,\"k\nW\",\n", 17, "unit: goes over two lines"},
    {"countZero", "a,DM,1,uint16,0,,\n", 15, "from 1 to 32768"},
    {"countNoNumber", "a,DM,1,uint16,two,,\n", 15, "\"two\" is no count"},
};

INSTANTIATE_TEST_SUITE_P(Panel, ReadTagsFault, testing::ValuesIn(BAD_ROWS),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(ReadTags, severalBadRows_areAllNamed) {
    EXPECT_EQ(read("a,DX,1,,,,\nb,DM,x,,,,\n").errors.size(), 2);
}

TEST(ReadTags, noRow_isAnError) {
    EXPECT_EQ(read("").errors.size(), 1);
}

QString parse(const char* argument, const char* type, PanelTag* tag,
              const QStringList& plcs = {QString()}) {
    return parseTagArgument(argument, type, FakeCatalogue(), plcs, tag);
}

TEST(ParseTagArgument, registerAndAddress_givesOneValue) {
    PanelTag tag;
    EXPECT_EQ(plain(parse("DM:100", "", &tag)), "");
    EXPECT_EQ(plain(tag.tag.name), "DM:100");
    EXPECT_EQ(tag.tag.address, 100);
    EXPECT_EQ(tag.tag.itemCount(), 1);
}

TEST(ParseTagArgument, countAndType_areTaken) {
    PanelTag tag;
    EXPECT_EQ(plain(parse("DM:100:3", "int32", &tag)), "");
    EXPECT_EQ(tag.tag.itemCount(), 6);
}

TEST(ParseTagArgument, noColon_saysTheForm) {
    PanelTag tag;
    const QString fault = parse("DM100", "", &tag);
    EXPECT_TRUE(fault.contains("REGISTER:ADDRESS")) << plain(fault);
}

TEST(ParseTagArgument, severalPlcs_wantsOneOfTheirNames) {
    PanelTag tag;
    EXPECT_EQ(plain(parse("right/DM:1", "", &tag, {"left", "right"})), "");
    EXPECT_EQ(plain(tag.plc), "right");
    EXPECT_EQ(tag.tag.address, 1);
    EXPECT_TRUE(parse("DM:1", "", &tag, {"left", "right"}).contains("the PLCs are left, right"));
    EXPECT_TRUE(parse("up/DM:1", "", &tag).contains("--plc up=HOST"));
    EXPECT_EQ(plain(parse("DM:1", "", &tag, {"left"})), ""); // the only one
    EXPECT_EQ(plain(tag.plc), "left");
}

TagList readScaled(const char* row, const QStringList& plcs = {QString()}) {
    return readTags(
        QByteArray("name,register,address,type,scale,offset,decimals,low,high,unit,plc\n") + row,
        FakeCatalogue(), plcs);
}

TEST(ReadTags, scaleAndLimits_areTaken) {
    const TagList list = readScaled("level,DM,0,uint16,0.1,-5,1,0,200.5,l,\n");
    ASSERT_EQ(list.errors.size(), 0) << plain(list.errors.first().text);
    const PanelTag& tag = list.tags.first();
    EXPECT_DOUBLE_EQ(tag.tag.scaling.scale, 0.1);
    EXPECT_DOUBLE_EQ(tag.tag.scaling.offset, -5);
    EXPECT_EQ(tag.tag.scaling.decimals, 1);
    EXPECT_EQ(tag.tag.limits.low, 0.0);
    EXPECT_EQ(tag.tag.limits.high, 200.5);
}

TEST(ReadTags, emptyScaleAndLimits_leaveTheValueAsItIs) {
    const TagList list = readScaled("name,DM,0,string,,,,,,,\n");
    ASSERT_EQ(list.errors.size(), 0) << plain(list.errors.first().text);
    EXPECT_TRUE(list.tags.first().tag.scaling.isPlain());
    EXPECT_FALSE(list.tags.first().tag.limits.low);
    EXPECT_FALSE(list.tags.first().tag.limits.high);
}

TEST(ReadTags, lineThatEndsBeforeScaleOrLimits_isAFault) {
    for (const char* cut : {"level,DM,0,uint16", "level,DM,0,uint16,0.1,-5,1,0"}) {
        const TagList list = readScaled(cut);
        ASSERT_EQ(list.errors.size(), 1) << cut;
        EXPECT_TRUE(list.errors.first().text.contains("the line ends before it")) << cut;
        EXPECT_TRUE(list.tags.isEmpty());
    }
    EXPECT_EQ(readScaled("level,DM,0,uint16,0.1,-5,1,0,200").errors.size(), 0);
    EXPECT_EQ(read("a,DM,0,\n").errors.size(), 0); // a file without such columns
}

TEST(ReadTags, oneNameInTwoPlcs_isFine) {
    const TagList list = readScaled("a,DM,0,,,,,,,,left\na,DM,0,,,,,,,,right\n", {"left", "right"});
    ASSERT_EQ(list.errors.size(), 0) << plain(list.errors.first().text);
    EXPECT_EQ(plain(list.tags.at(1).plc), "right");
}

TEST(ReadTags, emptyPlc_isTheOnlyOne) {
    const TagList list = readScaled("a,DM,0,,,,,,,,\nb,DM,0,,,,,,,,left\n", {"left"});
    ASSERT_EQ(list.errors.size(), 0) << plain(list.errors.first().text);
    EXPECT_EQ(plain(list.tags.at(0).plc), "left");
    EXPECT_EQ(plain(list.tags.at(1).plc), "left");
}

TEST(ReadTags, sameNameInTheOnlyPlcOnceNamedOnceNot_isThereTwice) {
    const TagList list = readScaled("level,DM,0,,,,,,,,\nlevel,DM,1,,,,,,,,left\n", {"left"});
    ASSERT_EQ(list.errors.size(), 1);
    EXPECT_EQ(list.errors.first().line, 3);
    EXPECT_EQ(list.errors.first().column, 1);
    EXPECT_EQ(plain(list.errors.first().text),
              "name: \"level\" is there twice; a tag has a name of its own");
}

TEST(ReadTags, emptyPlcOfSeveral_isAFault) {
    const TagList list = readScaled("a,DM,0,,,,,,,,\n", {"left", "right"});
    ASSERT_EQ(list.errors.size(), 1);
    EXPECT_EQ(plain(list.errors.first().text), "plc: \"\" is no PLC; the PLCs are left, right");
}

TEST(ReadTags, severalPlcsAndNoColumnOfTheirs_isOneFault) {
    const TagList list = readTags("name,register,address,type\na,DM,0,\nb,DM,1,\n", FakeCatalogue(),
                                  {"left", "right"});
    ASSERT_EQ(list.errors.size(), 1);
    EXPECT_EQ(plain(list.errors.first().text),
              "there is no column plc; with several PLCs it says whose each tag is: left, right");
    EXPECT_TRUE(list.tags.isEmpty());
}

struct BadNumbers {
    const char* name;
    const char* row;
    const char* says;
};

class ReadTagsNumberFault : public testing::TestWithParam<BadNumbers> {};

TEST_P(ReadTagsNumberFault, badRow_saysWhatWouldBeRight) {
    const TagList list = readScaled(GetParam().row);
    ASSERT_EQ(list.errors.size(), 1);
    EXPECT_TRUE(list.errors.first().text.contains(GetParam().says))
        << plain(list.errors.first().text);
    EXPECT_TRUE(list.tags.isEmpty());
}

const BadNumbers BAD_NUMBERS[] = {
    {"scaleNoNumber", "a,DM,0,,x,,,,,,\n", "scale: \"x\" is no number"},
    {"scaleZero", "a,DM,0,,0,,,,,,\n", "scale: is 0"},
    {"offsetInfinite", "a,DM,0,,,inf,,,,,\n", "offset: \"inf\" is no number"},
    {"decimals", "a,DM,0,,,,10,,,,\n", "from 0 to 9"},
    {"lowAboveHigh", "a,DM,0,,,,,5,4,,\n", "low: lies above high"},
    {"scaledText", "a,DM,0,string,2,,,,,,\n", "string has no scale"},
    {"limitOfABit", "a,CIO_bit,0.0,bool,,,,0,,,\n", "bool has no scale"},
    {"unknownPlc", "a,DM,0,,,,,,,,left\n", "--plc left=HOST"},
};

INSTANTIATE_TEST_SUITE_P(Panel, ReadTagsNumberFault, testing::ValuesIn(BAD_NUMBERS),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(WordsHolding, bitsThatCrossAWord_takesBothWords) {
    // Bits 1.15 and 2.0 are bit addresses 31 and 32.
    const velkor_host::WordRange range = velkor_host::wordsHolding("CIO_bit", true, 31, 2);
    EXPECT_EQ(plain(range.reg), "CIO");
    EXPECT_EQ(range.address, 1);
    EXPECT_EQ(range.length, 2);
}

TEST(WordsHolding, sixteenBitsOfOneWord_takesOneWord) {
    EXPECT_EQ(velkor_host::wordsHolding("CIO_bit", true, 32, 16).length, 1);
}

} // namespace
