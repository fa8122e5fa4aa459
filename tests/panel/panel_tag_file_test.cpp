#include "panel/tag_file.h"

#include "panel/fake_catalogue.h"
#include "panel/text.h"

#include <gtest/gtest.h>

using namespace panel;

namespace {

TagList read(const char* rows) {
    return readTags(QByteArray("name,register,address,type,count,unit,comment\n") + rows,
                    FakeCatalogue());
}

TEST(ReadTags, goodRow_givesTheTag) {
    const TagList list = read("level,DM,100,float32,2,mm,\"a, b\"\n");
    ASSERT_EQ(list.errors.size(), 0);
    ASSERT_EQ(list.tags.size(), 1);
    const Tag& tag = list.tags.first();
    EXPECT_EQ(plain(tag.name), "level");
    EXPECT_EQ(plain(tag.reg), "DM");
    EXPECT_EQ(tag.address, 100);
    EXPECT_EQ(tag.type, ValueType::Float32);
    EXPECT_EQ(tag.count, 2);
    EXPECT_EQ(tag.itemCount(), 4);
    EXPECT_EQ(plain(tag.unit), "mm");
    EXPECT_EQ(plain(tag.comment), "a, b");
}

TEST(ReadTags, emptyTypeAndCount_haveTheRegistersDefaults) {
    const TagList list = read("w,DM,1,,,,\nb,CIO_bit,1.5,,,,\n");
    ASSERT_EQ(list.tags.size(), 2);
    EXPECT_EQ(list.tags.at(0).type, ValueType::Uint16);
    EXPECT_EQ(list.tags.at(0).count, 1);
    EXPECT_EQ(list.tags.at(1).type, ValueType::Bool);
    EXPECT_EQ(list.tags.at(1).address, 21); // 1 * 16 + 5
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

TEST(ParseTagArgument, registerAndAddress_givesOneValue) {
    Tag tag;
    EXPECT_EQ(plain(parseTagArgument("DM:100", "", FakeCatalogue(), &tag)), "");
    EXPECT_EQ(plain(tag.name), "DM:100");
    EXPECT_EQ(tag.address, 100);
    EXPECT_EQ(tag.itemCount(), 1);
}

TEST(ParseTagArgument, countAndType_areTaken) {
    Tag tag;
    EXPECT_EQ(plain(parseTagArgument("DM:100:3", "int32", FakeCatalogue(), &tag)), "");
    EXPECT_EQ(tag.itemCount(), 6);
}

TEST(ParseTagArgument, noColon_saysTheForm) {
    Tag tag;
    const QString fault = parseTagArgument("DM100", "", FakeCatalogue(), &tag);
    EXPECT_TRUE(fault.contains("REGISTER:ADDRESS")) << plain(fault);
}

TEST(WordsHolding, bitsThatCrossAWord_takesBothWords) {
    // Bits 1.15 and 2.0 are bit addresses 31 and 32.
    const WordRange range = wordsHolding("CIO_bit", true, 31, 2);
    EXPECT_EQ(plain(range.reg), "CIO");
    EXPECT_EQ(range.address, 1);
    EXPECT_EQ(range.length, 2);
}

TEST(WordsHolding, sixteenBitsOfOneWord_takesOneWord) {
    EXPECT_EQ(wordsHolding("CIO_bit", true, 32, 16).length, 1);
}

} // namespace
