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
    tag.low = 20;
    tag.high = 180;
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
    tag.low = 0;
    EXPECT_EQ(limitOf(tag, {0x0000, 0x7F80}), Limit::Above); // infinite
    EXPECT_EQ(limitOf(tag, {0x0000, 0x7FC0}), Limit::Above); // no number
    tag.low.reset();
    EXPECT_EQ(limitOf(tag, {0x0000, 0x7F80}), Limit::Inside);
}

TEST(PanelTag, limitOf_withoutLimits_isInside) {
    PanelTag tag = level();
    tag.low.reset();
    tag.high.reset();
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
    tag.low.reset();
    EXPECT_EQ(plain(limitsText(tag)), "at most 180 l");
    tag = level();
    tag.high.reset();
    EXPECT_EQ(plain(limitsText(tag)), "at least 20 l");
}

} // namespace
