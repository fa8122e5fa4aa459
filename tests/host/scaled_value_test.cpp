#include <velkor/host/scaled_value.h>

#include "panel/text.h"

#include <gtest/gtest.h>

using namespace velkor_host;

namespace {

Scaling by(double scale, double offset = 0, int decimals = -1) {
    Scaling scaling;
    scaling.scale = scale;
    scaling.offset = offset;
    scaling.decimals = decimals;
    return scaling;
}

struct ScaledCase {
    const char* name;
    ValueType type;
    Scaling scaling;
    Items items;
    const char* text;
};

/// Scales that are no short decimal fraction: what is shown has been rounded.
TEST(ScaledValue, parseScaled_whatWasShownOfAnyNumber_givesItBackAndIsWithinALimitOfIt) {
    const double scales[] = {1.0 / 3, 100.0 / 27648, 0.0036168981481481482, 7.0 / 9, 1e-5 / 3};
    quint32 number = 1; // numbers of all lengths: a linear congruential generator's, cut
    for (int round = 0; round < 20000; ++round) {
        number = number * 1664525U + 1013904223U;
        const quint32 raw = number >> (round % 24);
        const Items items{static_cast<quint16>(raw), static_cast<quint16>(raw >> 16)};
        const Scaling scaling = by(scales[round % 5]);
        const QString shown = formatScaled(ValueType::Uint32, items, scaling);
        Items parsed;
        ASSERT_EQ(plain(parseScaled(ValueType::Uint32, {shown}, scaling, 0, &parsed)), "") << raw;
        ASSERT_EQ(parsed, items) << raw;
        Limits limits;
        limits.low = limits.high = shown.toDouble();
        ASSERT_EQ(limitOf(ValueType::Uint32, items, scaling, limits), Limit::Inside) << raw;
    }
}

class ScaledText : public testing::TestWithParam<ScaledCase> {};

TEST_P(ScaledText, formatScaled_knownWords_givesTheValue) {
    EXPECT_EQ(plain(formatScaled(GetParam().type, GetParam().items, GetParam().scaling)),
              GetParam().text);
}

TEST_P(ScaledText, parseScaled_whatWasShown_givesTheWordsBack) {
    Items items;
    const QStringList texts = QString::fromUtf8(GetParam().text).split(QLatin1Char(' '));
    EXPECT_EQ(plain(parseScaled(GetParam().type, texts, GetParam().scaling, 0, &items)), "");
    EXPECT_EQ(items, GetParam().items);
}

const ScaledCase CASES[] = {
    {"tenths", ValueType::Uint16, by(0.1), {706, 0, 65535}, "70.6 0 6553.5"},
    {"tenthsWithDecimals", ValueType::Uint16, by(0.1, 0, 1), {706, 700}, "70.6 70.0"},
    {"negative", ValueType::Int16, by(0.1), {0xFFFF}, "-0.1"},
    {"offset", ValueType::Uint16, by(1, -40), {0, 100}, "-40 60"},
    {"fahrenheit", ValueType::Int16, by(1.8, 32), {100}, "212"},
    {"thousands", ValueType::Uint16, by(1000), {5}, "5000"},
    {"negativeScale", ValueType::Uint16, by(-1), {5}, "-5"},
    // 100000 = 0x000186A0, low word first
    {"doubleWord", ValueType::Uint32, by(0.001), {0x86A0, 0x0001}, "100"},
    // 1234567891 = 0x499602D3 and 4294967295: no digit is left out.
    {"tenDigits", ValueType::Uint32, by(0.01), {0x02D3, 0x4996}, "12345678.91"},
    {"largest", ValueType::Uint32, by(0.1), {0xFFFF, 0xFFFF}, "429496729.5"},
    {"bcd", ValueType::Bcd, by(0.1), {0x0155}, "15.5"},
    // 2.5 is 0x40200000
    {"float", ValueType::Float32, by(2), {0x0000, 0x4020}, "5"},
    {"onlyDecimals", ValueType::Uint16, by(1, 0, 2), {7}, "7.00"},
};

INSTANTIATE_TEST_SUITE_P(Scaled, ScaledText, testing::ValuesIn(CASES),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(Scaled, formatScaled_plain_isTheUnscaledText) {
    EXPECT_EQ(plain(formatScaled(ValueType::Hex, {0x00AB}, Scaling())), "0x00AB");
    EXPECT_EQ(plain(formatScaled(ValueType::Hex, {0x00AB}, by(0.1))), "0x00AB");
}

TEST(Scaled, formatScaled_wordsThatAreNoNumber_areShownAsTheyAre) {
    EXPECT_EQ(plain(formatScaled(ValueType::Bcd, {0x12A4, 0x0010}, by(0.1))), "not-BCD:12A4 1");
    EXPECT_EQ(plain(formatScaled(ValueType::Float32, {0x0000, 0x7FC0}, by(2))), "nan");
}

TEST(Scaled, scaledValues_wordsThatAreNoNumber_haveNone) {
    const auto values = scaledValues(ValueType::Bcd, {0x12A4, 0x0010}, by(0.5));
    ASSERT_EQ(values.size(), 2);
    EXPECT_FALSE(values.at(0));
    EXPECT_EQ(values.at(1), 5.0);
}

struct RefusedCase {
    const char* name;
    ValueType type;
    Scaling scaling;
    const char* text;
    const char* wrong;
};

class ScaledRefusal : public testing::TestWithParam<RefusedCase> {};

TEST_P(ScaledRefusal, parseScaled_noSuchRawNumber_saysWhatIsRightAndKeepsTheItems) {
    Items items{42};
    const QString wrong = parseScaled(GetParam().type, {QString::fromUtf8(GetParam().text)},
                                      GetParam().scaling, 0, &items);
    EXPECT_EQ(plain(wrong), GetParam().wrong);
    EXPECT_EQ(items, Items{42});
}

const RefusedCase REFUSED[] = {
    {"between", ValueType::Uint16, by(0.1), "70.65",
     "\"70.65\" cannot be written exactly; the nearest values are 70.6 and 70.7"},
    {"betweenLargeOnes", ValueType::Uint32, by(0.01), "12345678.914",
     "\"12345678.914\" cannot be written exactly; the nearest values are 12345678.91 and "
     "12345678.92"},
    {"noNumber", ValueType::Uint16, by(0.1), "7l",
     "\"7l\" is no number; right is one such as 12.5"},
    {"infinite", ValueType::Uint16, by(0.1), "inf",
     "\"inf\" is no number; right is one such as 12.5"},
    {"tooLarge", ValueType::Uint16, by(0.1), "7000",
     "\"7000\" is beyond what the PLC's uint16 holds; right is 0 to 6553.5"},
    {"muchTooLarge", ValueType::Int16, by(0.1), "1e300",
     "\"1e300\" is beyond what the PLC's int16 holds; right is -3276.8 to 3276.7"},
    {"turnedTooLarge", ValueType::Uint16, by(-0.1), "0.1",
     "\"0.1\" is beyond what the PLC's uint16 holds; right is -6553.5 to 0"},
    {"betweenTheLastAndNone", ValueType::Bcd, by(0.1), "999.95",
     "\"999.95\" is beyond what the PLC's bcd holds; right is 0 to 999.9"},
    {"turnedBetween", ValueType::Uint16, by(-0.1), "-0.25",
     "\"-0.25\" cannot be written exactly; the nearest values are -0.3 and -0.2"},
    {"floatTooLarge", ValueType::Float32, by(0.5), "1e300",
     "\"1e300\" is beyond what the PLC's float32 holds; right is -1.70141173319264e+38 to "
     "1.70141173319264e+38"},
};

INSTANTIATE_TEST_SUITE_P(Refused, ScaledRefusal, testing::ValuesIn(REFUSED),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(Scaled, formatScaled_roundedToZero_hasNoSign) {
    EXPECT_EQ(plain(formatScaled(ValueType::Int16, {0xFFFC}, by(0.01, 0, 1))), "0.0");
    EXPECT_EQ(plain(formatScaled(ValueType::Int16, {0xFFFB}, by(0.01, 0, 1))), "-0.1");
    EXPECT_EQ(plain(formatScaled(ValueType::Uint16, {0}, by(-0.1, 0, 1))), "0.0");
}

TEST(Scaled, parseScaled_offsetThatLeavesFewDigits_isStillExact) {
    Items items;
    EXPECT_EQ(plain(parseScaled(ValueType::Uint16, {"-4999.9999"}, by(0.0001, -5000), 0, &items)),
              "");
    EXPECT_EQ(items, Items{1});
}

} // namespace
