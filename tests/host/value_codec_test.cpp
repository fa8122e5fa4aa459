#include <velkor/host/value.h>

#include "host/values/item_bytes.h"
#include "panel/text.h"

#include <gtest/gtest.h>

using namespace velkor_host;

namespace {

struct FormatCase {
    const char* name;
    ValueType type;
    Items items;
    const char* text;
};

class FormatItems : public testing::TestWithParam<FormatCase> {};

TEST_P(FormatItems, knownWords_givesTheValue) {
    EXPECT_EQ(plain(formatItems(GetParam().type, GetParam().items)), GetParam().text);
}

const FormatCase FORMAT_CASES[] = {
    {"bool", ValueType::Bool, {0, 1, 1}, "0 1 1"},
    {"uint16", ValueType::Uint16, {0, 65535}, "0 65535"},
    {"int16", ValueType::Int16, {0x8000, 0xFFFF, 0x7FFF}, "-32768 -1 32767"},
    {"hex", ValueType::Hex, {0x00AB}, "0x00AB"},
    {"bcd", ValueType::Bcd, {0x1234, 0x0009}, "1234 9"},
    {"bcdWithALetter", ValueType::Bcd, {0x12A4}, "not-BCD:12A4"},
    // 0x00012345 stands low word first: 0x2345, 0x0001.
    {"uint32", ValueType::Uint32, {0x2345, 0x0001}, "74565"},
    {"uint32Highest", ValueType::Uint32, {0xFFFF, 0xFFFF}, "4294967295"},
    {"int32", ValueType::Int32, {0xFFFE, 0xFFFF}, "-2"},
    // 1.0 is 0x3F800000, -21.5 is 0xC1AC0000, 0.1 is 0x3DCCCCCD.
    {"float32",
     ValueType::Float32,
     {0x0000, 0x3F80, 0x0000, 0xC1AC, 0xCCCD, 0x3DCC},
     "1 -21.5 0.1"},
    {"floatNotANumber", ValueType::Float32, {0x0000, 0x7FC0}, "nan"},
    {"floatInfinite", ValueType::Float32, {0x0000, 0xFF80}, "-inf"},
    {"halfADoubleWord", ValueType::Uint32, {0x2345}, ""},
    // "AB" is 0x41 0x42, the first character in the high byte.
    {"string", ValueType::String, {0x4142, 0x4300, 0x4444}, "ABC"},
    {"stringUnprintable", ValueType::String, {0x4107}, "A?"},
    {"nothing", ValueType::Uint16, {}, ""},
};

INSTANTIATE_TEST_SUITE_P(Panel, FormatItems, testing::ValuesIn(FORMAT_CASES),
                         [](const auto& row) { return std::string(row.param.name); });

struct ParseCase {
    const char* name;
    ValueType type;
    QStringList texts;
    Items items;
};

class ParseValues : public testing::TestWithParam<ParseCase> {};

TEST_P(ParseValues, goodText_givesTheItems) {
    Items items;
    EXPECT_EQ(plain(parseValues(GetParam().type, GetParam().texts, 0, &items)), "");
    EXPECT_EQ(items, GetParam().items);
}

const ParseCase PARSE_CASES[] = {
    {"bool", ValueType::Bool, {"1", "off", "TRUE"}, {1, 0, 1}},
    {"uint16", ValueType::Uint16, {"65535", "0x10"}, {65535, 16}},
    {"int16", ValueType::Int16, {"-1", "-32768"}, {0xFFFF, 0x8000}},
    {"hex", ValueType::Hex, {"ab", "0xFFFF"}, {0xAB, 0xFFFF}},
    {"bcd", ValueType::Bcd, {"9999", "12"}, {0x9999, 0x0012}},
    {"uint32", ValueType::Uint32, {"4294967295"}, {0xFFFF, 0xFFFF}},
    {"int32", ValueType::Int32, {"-2"}, {0xFFFE, 0xFFFF}},
    {"float32", ValueType::Float32, {"-21.5"}, {0x0000, 0xC1AC}},
    // 2^24 + 2 is 0x4B800001; 0.1 has no float of its own, and is not written as a whole number.
    {"float32LargeWhole", ValueType::Float32, {"16777218"}, {0x0001, 0x4B80}},
    {"float32Nearest", ValueType::Float32, {"0.1"}, {0xCCCD, 0x3DCC}},
    {"float32Exponent", ValueType::Float32, {"1.6777217e7"}, {0x0000, 0x4B80}},
    {"string", ValueType::String, {"ABC"}, {0x4142, 0x4300}},
    {"stringWithComma", ValueType::String, {"A,"}, {0x412C}},
    {"stringEmpty", ValueType::String, {""}, {0}},
};

INSTANTIATE_TEST_SUITE_P(Panel, ParseValues, testing::ValuesIn(PARSE_CASES),
                         [](const auto& row) { return std::string(row.param.name); });

struct FaultCase {
    const char* name;
    ValueType type;
    QStringList texts;
    const char* says; ///< part of the message: what would be right
};

class ParseValuesFault : public testing::TestWithParam<FaultCase> {};

TEST_P(ParseValuesFault, badText_saysWhatWouldBeRightAndChangesNothing) {
    Items items{7};
    const QString fault = parseValues(GetParam().type, GetParam().texts, 0, &items);
    EXPECT_TRUE(fault.contains(GetParam().says)) << plain(fault);
    EXPECT_EQ(items, Items{7});
}

const FaultCase FAULT_CASES[] = {
    {"bool", ValueType::Bool, {"2"}, "0 or 1"},
    {"uint16TooLarge", ValueType::Uint16, {"65536"}, "0 to 65535"},
    {"uint16Negative", ValueType::Uint16, {"-1"}, "0 to 65535"},
    {"secondIsBad", ValueType::Uint16, {"1", "x"}, "\"x\""},
    {"int16", ValueType::Int16, {"32768"}, "-32768 to 32767"},
    {"hex", ValueType::Hex, {"10000"}, "0000 to FFFF"},
    {"bcd", ValueType::Bcd, {"10000"}, "0 to 9999"},
    {"uint32", ValueType::Uint32, {"4294967296"}, "4294967295"},
    {"int32", ValueType::Int32, {"-2147483649"}, "-2147483648"},
    {"float32", ValueType::Float32, {"1,5"}, "21.5"},
    {"float32WholeBetweenTwo", ValueType::Float32, {"16777217"}, "16777216 or 16777218"},
    {"float32NegativeWhole", ValueType::Float32, {"-16777219"}, "-16777220 or -16777218"},
    {"stringTwice", ValueType::String, {"a", "b"}, "quotes"},
    {"stringOtherAlphabet", ValueType::String, {QString(QChar(0x20AC))}, "Latin-1"},
    {"empty", ValueType::Uint16, {""}, "0 to 65535"},
};

INSTANTIATE_TEST_SUITE_P(Panel, ParseValuesFault, testing::ValuesIn(FAULT_CASES),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(ParseValues, wholeNumberBeyondTheType_isToldInASentenceThatHolds) {
    Items items;
    EXPECT_EQ(plain(parseValues(ValueType::Int16, {"0x8000"}, 0, &items)),
              "\"0x8000\" is no int16 value; right is a whole number from -32768 to 32767, in "
              "decimal or behind 0x in hexadecimal");
    EXPECT_EQ(plain(parseValues(ValueType::Float32, {"16777217"}, 0, &items)),
              "\"16777217\" is no float32 value; right is 16777216 or 16777218: between them a "
              "float32 holds nothing");
}

TEST(ParseValuesString, withRoom_isFilledWithZeros) {
    Items items;
    EXPECT_EQ(plain(parseValues(ValueType::String, {"AB"}, 3, &items)), "");
    EXPECT_EQ(items, (Items{0x4142, 0, 0}));
}

TEST(ParseValuesString, tooLong_saysHowManyCharactersFit) {
    Items items;
    const QString fault = parseValues(ValueType::String, {"ABCDE"}, 2, &items);
    EXPECT_TRUE(fault.contains("5 characters; 2 words hold 4")) << plain(fault);
}

TEST(DriverBytes, words_standLowByteFirst) {
    EXPECT_EQ(toDriverBytes({0x1234, 0xABCD}, false), bytes("3412CDAB"));
    EXPECT_EQ(fromDriverBytes(bytes("3412CDAB"), false), (Items{0x1234, 0xABCD}));
}

TEST(DriverBytes, bits_takeOneByteEach) {
    EXPECT_EQ(toDriverBytes({1, 0, 1}, true), bytes("010001"));
    EXPECT_EQ(fromDriverBytes(bytes("010001"), true), (Items{1, 0, 1}));
}

TEST(NumericValue, notBcd_isNoNumber) {
    EXPECT_FALSE(numericValue(ValueType::Bcd, {0x00AA}).has_value());
    EXPECT_EQ(numericValue(ValueType::Bcd, {0x0042}).value_or(0), 42);
}

TEST(NumericValue, severalValues_takesTheFirst) {
    EXPECT_EQ(numericValue(ValueType::Int16, {0xFFFF, 5}).value_or(0), -1);
}

TEST(TypeFitsRegister, bool_fitsBitRegistersOnly) {
    EXPECT_TRUE(typeFitsRegister(ValueType::Bool, true));
    EXPECT_FALSE(typeFitsRegister(ValueType::Bool, false));
    EXPECT_FALSE(typeFitsRegister(ValueType::Uint16, true));
}

TEST(ValueTypeFromName, everyName_isKnownAgain) {
    for (const QString& name : valueTypeNames().split(", ")) {
        const std::optional<ValueType> type = valueTypeFromName(name);
        ASSERT_TRUE(type.has_value()) << plain(name);
        EXPECT_EQ(plain(valueTypeName(*type)), plain(name));
    }
    EXPECT_FALSE(valueTypeFromName("double").has_value());
}

} // namespace
