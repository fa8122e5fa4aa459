#include "panel/screen/message_line.h"

#include "panel/text.h"

#include <gtest/gtest.h>

using namespace panel::screen;

namespace {

const qint64 SECOND = 1000000;

TEST(ScreenMessageLine, note_isGoneAfterThreeSeconds) {
    MessageLine line;
    line.note("written: DM 5 (1 word)", 10 * SECOND);
    EXPECT_EQ(plain(line.text("", 13 * SECOND - 1)), "written: DM 5 (1 word)");
    EXPECT_EQ(plain(line.text("", 13 * SECOND)), "");
}

TEST(ScreenMessageLine, noteWhileTheValueFails_givesWayToTheFailure) {
    MessageLine line;
    line.note("written: DM 5 (1 word)", 10 * SECOND);
    EXPECT_EQ(plain(line.text("no answer", 10 * SECOND)), "no answer");
}

TEST(ScreenMessageLine, warningWhileTheValueFails_isShownForSixSeconds) {
    MessageLine line;
    line.warn("a whole number", 10 * SECOND);
    EXPECT_EQ(plain(line.text("no answer", 16 * SECOND - 1)), "a whole number");
    EXPECT_EQ(plain(line.text("no answer", 16 * SECOND)), "no answer");
}

TEST(ScreenMessageLine, keyAtANote_clearsIt) {
    MessageLine line;
    line.note("written: DM 5 (1 word)", 10 * SECOND);
    line.keyPressed(10 * SECOND);
    EXPECT_EQ(plain(line.text("", 10 * SECOND)), "");
}

TEST(ScreenMessageLine, keyAtAWarning_clearsItOnceItHasStoodForTwoSeconds) {
    MessageLine line;
    line.warn("a whole number", 10 * SECOND);
    line.keyPressed(12 * SECOND - 1);
    EXPECT_EQ(plain(line.text("no answer", 12 * SECOND - 1)), "a whole number");
    EXPECT_TRUE(line.warns(12 * SECOND - 1));
    line.keyPressed(12 * SECOND);
    EXPECT_EQ(plain(line.text("no answer", 12 * SECOND)), "no answer");
}

TEST(ScreenMessageLine, newerMessage_takesTheWarningsPlaceAtOnce) {
    MessageLine line;
    line.warn("a whole number", 10 * SECOND);
    line.note("writing level ...", 10 * SECOND);
    EXPECT_EQ(plain(line.text("", 10 * SECOND)), "writing level ...");
    line.keyPressed(10 * SECOND);
    EXPECT_EQ(plain(line.text("", 10 * SECOND)), "");
}

} // namespace
