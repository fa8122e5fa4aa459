#include "host/poll/tag_board.h"

#include "panel/text.h"

#include <gtest/gtest.h>

using namespace velkor_host;

namespace {

/// Level in tenths of a litre, 20 to 180 l.
Tag level() {
    Tag tag;
    tag.name = "level";
    tag.reg = "DM";
    tag.scaling.scale = 0.1;
    tag.scaling.decimals = 1;
    tag.unit = "l";
    tag.limits.low = 20;
    tag.limits.high = 180;
    return tag;
}

TEST(TagText, limitOf_atAndBeyondTheLimits) {
    EXPECT_EQ(limitOf(level(), {199}), Limit::Below);
    EXPECT_EQ(limitOf(level(), {200}), Limit::Inside);
    EXPECT_EQ(limitOf(level(), {1800}), Limit::Inside);
    EXPECT_EQ(limitOf(level(), {1801}), Limit::Above);
    EXPECT_EQ(limitOf(level(), {1000, 1801}), Limit::Above);
    EXPECT_EQ(limitOf(level(), {}), Limit::Inside);
}

TEST(TagText, limitOf_eachOfSeveralValues_isJudged) {
    EXPECT_EQ(limitOf(level(), {1801, 1000, 199}), Limit::BelowAndAbove);
    EXPECT_EQ(limitOf(level(), {199, 1000, 198}), Limit::Below);
    Tag turned = level();
    turned.scaling.scale = -0.1;
    turned.limits.low = -180;
    turned.limits.high = -20;
    EXPECT_EQ(limitOf(turned, {199}), Limit::Above);
    EXPECT_EQ(limitOf(turned, {1801}), Limit::Below);
    EXPECT_EQ(limitOf(turned, {199, 1801}), Limit::BelowAndAbove);
}

const Items INFINITE{0x0000, 0x7F80};
const Items MINUS_INFINITE{0x0000, 0xFF80};
const Items NOT_A_NUMBER{0x0000, 0x7FC0};

Tag floatBetween(std::optional<double> low, std::optional<double> high, double scale = 1) {
    Tag tag;
    tag.type = ValueType::Float32;
    tag.scaling.scale = scale;
    tag.limits = {low, high};
    return tag;
}

TEST(TagText, limitOf_floatThatIsNoNumber_isNeverInsideLimits) {
    const Tag tags[] = {floatBetween(0, 100), floatBetween(0, std::nullopt),
                        floatBetween(std::nullopt, 100), floatBetween(0, 100, -1)};
    for (const Tag& tag : tags) {
        EXPECT_EQ(limitOf(tag, NOT_A_NUMBER), Limit::NoNumber);
        EXPECT_EQ(limitOf(tag, {0x0000, 0xFFC0}), Limit::NoNumber);
        EXPECT_EQ(limitOf(tag, {0x0001, 0x7F80}), Limit::NoNumber);
    }
    EXPECT_EQ(limitOf(floatBetween(std::nullopt, std::nullopt), NOT_A_NUMBER), Limit::Inside);
    EXPECT_EQ(limitOf(floatBetween(0, 100), NOT_A_NUMBER + INFINITE), Limit::Above);
}

TEST(TagText, limitOf_infiniteFloat_liesBeyondTheLimitOfItsSideOnly) {
    EXPECT_EQ(limitOf(floatBetween(0, 100), INFINITE), Limit::Above);
    EXPECT_EQ(limitOf(floatBetween(0, 100), MINUS_INFINITE), Limit::Below);
    EXPECT_EQ(limitOf(floatBetween(0, std::nullopt), INFINITE), Limit::NoNumber);
    EXPECT_EQ(limitOf(floatBetween(0, std::nullopt), MINUS_INFINITE), Limit::Below);
    EXPECT_EQ(limitOf(floatBetween(std::nullopt, 100), INFINITE), Limit::Above);
    EXPECT_EQ(limitOf(floatBetween(std::nullopt, 100), MINUS_INFINITE), Limit::NoNumber);
    EXPECT_EQ(limitOf(floatBetween(0, 100, -1), INFINITE), Limit::Below);
    EXPECT_EQ(limitOf(floatBetween(0, std::nullopt, -1), MINUS_INFINITE), Limit::NoNumber);
}

TEST(TagText, limitOf_wordThatIsNoBcd_isNoNumber) {
    Tag tag = level();
    tag.type = ValueType::Bcd;
    EXPECT_EQ(limitOf(tag, {0x0A00}), Limit::NoNumber);
    EXPECT_EQ(limitOf(tag, {0x0500, 0x0A00}), Limit::NoNumber);
}

TEST(TagText, parseTagValues_oneOfSeveralOutsideTheLimits_isNamed) {
    Tag tag = level();
    tag.count = 3;
    Items items;
    EXPECT_EQ(plain(parseTagValues(tag, {"30", "190", "40"}, &items, false, QString())),
              "190 lies outside the limits of level, 20 to 180 l");
}

TEST(TagText, limitOf_withoutLimits_isInside) {
    Tag tag = level();
    tag.limits.low.reset();
    tag.limits.high.reset();
    EXPECT_EQ(limitOf(tag, {0}), Limit::Inside);
}

TEST(TagText, valueText_scaledAndNot) {
    EXPECT_EQ(plain(valueText(level(), {706}, true)), "70.6 l");
    EXPECT_EQ(plain(valueText(level(), {}, true)), "") << "nothing was read: no unit alone";
    Tag tenths;
    tenths.unit = "0.1 l";
    EXPECT_EQ(plain(valueText(tenths, {241}, false)), "241 x 0.1 l");
    EXPECT_EQ(plain(valueText(tenths, {241}, true)), "241 \u00D7 0.1 l");
}

/// Of the tag when its word has been read as `word`, a while ago or just now.
TagStatus readAs(const Tag& tag, quint16 word, bool longAgo = false) {
    TagBoard board({tag});
    board.wordsRead(
        board.words().first(), [word](const WordRange&) { return Items{word}; }, 0, 0);
    board.timePasses(longAgo ? 2000 : 10, 1000);
    return board.at(0);
}

TEST(TagText, freshValue_hasItsUnitAndSaysOfTheLimits) {
    EXPECT_EQ(plain(tagText(level(), readAs(level(), 706))), "70.6 l");
    EXPECT_EQ(plain(tagText(level(), readAs(level(), 1900))), "190.0 l (high)");
    EXPECT_EQ(plain(tagText(level(), readAs(level(), 100))), "10.0 l (low)");
}

TEST(TagText, notFresh_isNoValue) {
    TagStatus status;
    EXPECT_EQ(plain(tagText(level(), status)), "not read");
    status.state = TagState::Refused;
    EXPECT_EQ(plain(tagText(level(), status)), "refused");
    EXPECT_EQ(plain(tagText(level(), readAs(level(), 1900, true))), "stale: 190.0 l");
}

TEST(TagText, limitMark_ofAValueThatIsNotFresh_isNone) {
    EXPECT_EQ(plain(limitMark(level(), readAs(level(), 1900))), "high");
    EXPECT_EQ(plain(limitMark(level(), readAs(level(), 1900, true))), "");
}

TEST(TagText, parseTagText_valuesStandApartByBlanks) {
    Tag two = level();
    two.count = 2;
    Items items;
    EXPECT_EQ(plain(parseTagText(two, " 70.6   20 ", &items)), "");
    EXPECT_EQ(items, (Items{706, 200}));
    EXPECT_EQ(plain(parseTagText(two, "20 21 22", &items)), "level takes 2 values");
    EXPECT_EQ(items, (Items{706, 200}));
}

TEST(TagText, parseTagText_ofAString_takesItWholeAndFillsItUp) {
    Tag text;
    text.name = "code";
    text.reg = "DM";
    text.type = ValueType::String;
    text.count = 3;
    Items items;
    EXPECT_EQ(plain(parseTagText(text, "A  B", &items)), "");
    EXPECT_EQ(items, (Items{0x4120, 0x2042, 0}));
}

TEST(TagText, parseTagText_thatDoesNotFitTheType_saysWhatWouldBeRight) {
    Items items{1};
    EXPECT_EQ(plain(parseTagText(level(), "full", &items)),
              "\"full\" is no number; right is one such as 12.5");
    EXPECT_EQ(plain(parseTagText(level(), "", &items)),
              "\"\" is no number; right is one such as 12.5");
    EXPECT_EQ(items, Items{1});
}

TEST(TagText, parseTagText_outsideTheLimits_saysHowToForceOnlyWhereThereIsAWay) {
    Items items{1};
    EXPECT_EQ(plain(parseTagText(level(), "190", &items)),
              "190 lies outside the limits of level, 20 to 180 l");
    EXPECT_EQ(plain(parseTagText(level(), "190", &items, false, "\"!\" behind it")),
              "190 lies outside the limits of level, 20 to 180 l; \"!\" behind it writes it all "
              "the same");
    EXPECT_EQ(items, Items{1});
    EXPECT_EQ(plain(parseTagText(level(), "190", &items, true)), "");
    EXPECT_EQ(items, Items{1900});
}

TEST(TagText, parseTagValues_inTheTagsUnit) {
    Items items;
    EXPECT_EQ(plain(parseTagValues(level(), {"70.6"}, &items, false, "--force")), "");
    EXPECT_EQ(items, Items{706});
}

TEST(TagText, parseTagValues_outsideTheLimits_isRefusedUnlessForced) {
    Items items{1};
    EXPECT_EQ(plain(parseTagValues(level(), {"190"}, &items, false, "--force")),
              "190 lies outside the limits of level, 20 to 180 l; --force writes it all the same");
    EXPECT_EQ(items, Items{1});
    EXPECT_EQ(plain(parseTagValues(level(), {"190"}, &items, true, "--force")), "");
    EXPECT_EQ(items, Items{1900});
}

TEST(TagText, parseTagValues_moreThanTheTagHas_isRefused) {
    Items items;
    EXPECT_EQ(plain(parseTagValues(level(), {"70", "71"}, &items, false, "--force")),
              "level takes 1 value");
    EXPECT_EQ(plain(parseTagValues(level(), {}, &items, false, "--force")), "level takes 1 value");
}

TEST(TagText, limitsText_ofOneLimit) {
    Tag tag = level();
    tag.limits.low.reset();
    EXPECT_EQ(plain(limitsText(tag)), "at most 180 l");
    tag = level();
    tag.limits.high.reset();
    EXPECT_EQ(plain(limitsText(tag)), "at least 20 l");
}

TEST(TagText, limitsText_ofATagWithoutLimits_isEmpty) {
    EXPECT_EQ(plain(limitsText(Tag())), "");
}

TEST(TagText, limitsText_saysEveryDigit) {
    Tag tag = level();
    tag.limits.high = 1234567890;
    EXPECT_EQ(plain(limitsText(tag)), "20 to 1234567890 l");
}

struct AtALimit {
    const char* name;
    ValueType type;
    double scale;
    double offset;
    double low;
    double high;
    const char* lowest; ///< texts of values that are at the limits
    const char* highest;
    const char* below; ///< and just outside
    const char* above;
};

class TagAtALimit : public testing::TestWithParam<AtALimit> {
protected:
    Limit limitOfText(const char* text) {
        Tag tag;
        tag.name = "a";
        tag.type = GetParam().type;
        tag.scaling.scale = GetParam().scale;
        tag.scaling.offset = GetParam().offset;
        tag.limits = {GetParam().low, GetParam().high};
        Items items;
        EXPECT_EQ(plain(parseTagValues(tag, {text}, &items, true, "--force")), "") << text;
        const bool taken = parseTagValues(tag, {text}, &items, false, "--force").isEmpty();
        const Limit limit = limitOf(tag, items);
        EXPECT_EQ(taken, limit == Limit::Inside) << text;
        return limit;
    }
};

TEST_P(TagAtALimit, valueAtTheLimit_isInside) {
    EXPECT_EQ(limitOfText(GetParam().lowest), Limit::Inside);
    EXPECT_EQ(limitOfText(GetParam().highest), Limit::Inside);
    EXPECT_EQ(limitOfText(GetParam().below), Limit::Below);
    EXPECT_EQ(limitOfText(GetParam().above), Limit::Above);
}

const AtALimit AT_A_LIMIT[] = {
    {"tenths", ValueType::Uint16, 0.1, 0, 0.3, 0.7, "0.3", "0.7", "0.2", "0.8"},
    {"turned", ValueType::Uint16, -0.1, 0, -0.7, -0.3, "-0.7", "-0.3", "-0.8", "-0.2"},
    {"offset", ValueType::Int16, 0.1, -40, -39.7, 0.3, "-39.7", "0.3", "-39.8", "0.4"},
    {"betweenTwo", ValueType::Uint16, 0.1, 0, 0.35, 0.65, "0.4", "0.6", "0.3", "0.7"},
    {"float", ValueType::Float32, 1, 0, 0.1, 0.7, "0.1", "0.7", "0.09999999", "0.7000001"},
    {"scaledFloat", ValueType::Float32, 0.1, 0, 0.1, 0.3, "0.1", "0.3", "0.0999999", "0.3000001"},
    {"beyondFloat", ValueType::Float32, 1, 0, -1, 1e300, "-1", "3e38", "-1.1", "inf"},
};

INSTANTIATE_TEST_SUITE_P(Cases, TagAtALimit, testing::ValuesIn(AT_A_LIMIT),
                         [](const auto& row) { return std::string(row.param.name); });

} // namespace
