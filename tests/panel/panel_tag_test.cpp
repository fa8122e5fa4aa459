#include "panel/watch/panel_tag.h"

#include "panel/text.h"

#include <gtest/gtest.h>

using namespace panel;

namespace {

/// Level in tenths of a litre, 20 to 180 l.
PanelTag level() {
    PanelTag tag;
    tag.tag.name = "level";
    tag.tag.reg = "DM";
    tag.tag.scaling.scale = 0.1;
    tag.tag.scaling.decimals = 1;
    tag.unit = "l";
    tag.limits.low = 20;
    tag.limits.high = 180;
    return tag;
}

TEST(PanelTag, limitOf_atAndBeyondTheLimits) {
    EXPECT_EQ(limitOf(level(), {199}), Limit::Below);
    EXPECT_EQ(limitOf(level(), {200}), Limit::Inside);
    EXPECT_EQ(limitOf(level(), {1800}), Limit::Inside);
    EXPECT_EQ(limitOf(level(), {1801}), Limit::Above);
    EXPECT_EQ(limitOf(level(), {1000, 1801}), Limit::Above);
    EXPECT_EQ(limitOf(level(), {}), Limit::Inside);
}

TEST(PanelTag, limitOf_floatThatIsNoNumber_isInsideNoLimits) {
    PanelTag tag;
    tag.tag.type = ValueType::Float32;
    tag.limits.low = 0;
    EXPECT_EQ(limitOf(tag, {0x0000, 0x7F80}), Limit::Above); // infinite
    EXPECT_EQ(limitOf(tag, {0x0000, 0x7FC0}), Limit::Above); // no number
    EXPECT_EQ(limitOf(tag, {0x0000, 0xFF80}), Limit::Below);
    EXPECT_EQ(limitOf(tag, {0x0000, 0xFFC0}), Limit::Above);
    tag.limits.low.reset();
    EXPECT_EQ(limitOf(tag, {0x0000, 0x7F80}), Limit::Inside);
}

TEST(PanelTag, limitOf_withoutLimits_isInside) {
    PanelTag tag = level();
    tag.limits.low.reset();
    tag.limits.high.reset();
    EXPECT_EQ(limitOf(tag, {0}), Limit::Inside);
}

TEST(PanelTag, valueWithUnit_scaledAndNot) {
    EXPECT_EQ(plain(valueWithUnit(level(), {706}, true)), "70.6 l");
    PanelTag tenths;
    tenths.unit = "0.1 l";
    EXPECT_EQ(plain(valueWithUnit(tenths, {241}, false)), "241 x 0.1 l");
    EXPECT_EQ(plain(valueWithUnit(tenths, {241}, true)), "241 \u00D7 0.1 l");
}

TEST(PanelTag, shownValue_notFresh_isNoValue) {
    TagStatus status;
    EXPECT_EQ(plain(shownValue(level(), status)), "not read");
    status.state = TagState::Refused;
    EXPECT_EQ(plain(shownValue(level(), status)), "refused");
    status.state = TagState::Stale;
    EXPECT_TRUE(shownValue(level(), status).startsWith("stale: "));
}

TEST(PanelTag, parseTagValues_inTheTagsUnit) {
    Items items;
    EXPECT_EQ(plain(parseTagValues(level(), {"70.6"}, false, "--force", &items)), "");
    EXPECT_EQ(items, Items{706});
}

TEST(PanelTag, parseTagValues_outsideTheLimits_isRefusedUnlessForced) {
    Items items{1};
    EXPECT_EQ(plain(parseTagValues(level(), {"190"}, false, "--force", &items)),
              "190 lies outside the limits of level, 20 to 180 l; --force writes it all the same");
    EXPECT_EQ(items, Items{1});
    EXPECT_EQ(plain(parseTagValues(level(), {"190"}, true, "--force", &items)), "");
    EXPECT_EQ(items, Items{1900});
}

TEST(PanelTag, parseTagValues_moreThanTheTagHas_isRefused) {
    Items items;
    EXPECT_EQ(plain(parseTagValues(level(), {"70", "71"}, false, "--force", &items)),
              "level takes 1 value");
    EXPECT_EQ(plain(parseTagValues(level(), {}, false, "--force", &items)), "level takes 1 value");
}

TEST(PanelTag, limitsText_ofOneLimit) {
    PanelTag tag = level();
    tag.limits.low.reset();
    EXPECT_EQ(plain(limitsText(tag)), "at most 180 l");
    tag = level();
    tag.limits.high.reset();
    EXPECT_EQ(plain(limitsText(tag)), "at least 20 l");
}

TEST(PanelTag, limitsText_saysEveryDigit) {
    PanelTag tag = level();
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

class PanelTagAtALimit : public testing::TestWithParam<AtALimit> {
protected:
    Limit limitOfText(const char* text) {
        PanelTag tag;
        tag.tag.name = "a";
        tag.tag.type = GetParam().type;
        tag.tag.scaling.scale = GetParam().scale;
        tag.tag.scaling.offset = GetParam().offset;
        tag.limits = {GetParam().low, GetParam().high};
        Items items;
        EXPECT_EQ(plain(parseTagValues(tag, {text}, true, "--force", &items)), "") << text;
        const bool taken = parseTagValues(tag, {text}, false, "--force", &items).isEmpty();
        const Limit limit = limitOf(tag, items);
        EXPECT_EQ(taken, limit == Limit::Inside) << text;
        return limit;
    }
};

TEST_P(PanelTagAtALimit, valueAtTheLimit_isInside) {
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

INSTANTIATE_TEST_SUITE_P(Cases, PanelTagAtALimit, testing::ValuesIn(AT_A_LIMIT),
                         [](const auto& row) { return std::string(row.param.name); });

} // namespace
