#include "panel/picture/cells.h"

#include "screen/utf8.h"

#include <gtest/gtest.h>

using namespace panel::screen;

namespace {

/// Measures as a terminal without UTF-8 does, for one test.
class PlainLocale {
public:
    PlainLocale() { std::setlocale(LC_CTYPE, "C"); }
    ~PlainLocale() { std::setlocale(LC_CTYPE, "C.UTF-8"); }
    PlainLocale(const PlainLocale&) = delete;
    PlainLocale& operator=(const PlainLocale&) = delete;
};

TEST(TextWidth, wideAndCombiningCharacters_areMeasuredInColumns) {
    EXPECT_EQ(textWidth("level"), 5);
    EXPECT_EQ(textWidth(u8"水位"), 4);
    EXPECT_EQ(textWidth(u8"re\u0301gulateur"), 10);
    EXPECT_EQ(textWidth(u8"\U0001F600"), 2);
}

TEST(Glyphs, combiningCharacter_staysWithItsBase) {
    const QVector<Glyph> all = glyphs(u8"e\u0301a");
    ASSERT_EQ(all.size(), 2);
    EXPECT_EQ(plain(all.at(0).text), u8"e\u0301");
    EXPECT_EQ(plain(all.at(1).text), "a");
}

TEST(Glyphs, whatWouldMoveTheCursorOrTurnTheLine_isAQuestionMark) {
    QString text;
    for (const Glyph& glyph : glyphs(u8"a\x1b\n\u202E\u0301")) {
        text += glyph.text;
    }
    // Behind a question mark the combining character has a base.
    EXPECT_EQ(plain(text), u8"a???\u0301");
    EXPECT_EQ(plain(glyphs(u8"\u0301").first().text), "?");
}

TEST(Glyphs, characterOutsideTheCharacterSet_isAQuestionMark) {
    const PlainLocale locale;
    QString text;
    for (const Glyph& glyph : glyphs(u8"45 °C 水")) {
        text += glyph.text;
    }
    EXPECT_EQ(plain(text), "45 ?C ?");
    EXPECT_EQ(textWidth(u8"水"), 1);
}

TEST(CutText, textThatFits_isWhole) {
    EXPECT_EQ(plain(cutText("level", 5, true)), "level");
    EXPECT_EQ(plain(cutText(u8"水位", 4, true)), u8"水位");
}

TEST(CutText, longText_isCutVisibly) {
    EXPECT_EQ(plain(cutText("levels", 5, true)), u8"leve…");
    EXPECT_EQ(plain(cutText("levels", 5, false)), "leve~");
    EXPECT_EQ(plain(cutText("levels", 1, false)), "~");
    EXPECT_EQ(plain(cutText("levels", 0, false)), "");
}

TEST(CutText, wideCharacterAtTheEdge_isLeftOutWhole) {
    EXPECT_EQ(plain(cutText(u8"水位計", 4, true)), u8"水…");
}

TEST(WrapText, longText_isBrokenAtBlanks) {
    EXPECT_EQ(wrapText("no answer for 2.6 s", 10, 3, true),
              QStringList({"no answer", "for 2.6 s"}));
    EXPECT_EQ(wrapText("no answer for 2.6 s", 80, 3, true), QStringList({"no answer for 2.6 s"}));
}

TEST(WrapText, moreThanFits_isCutOnTheLastLine) {
    EXPECT_EQ(wrapText("one two three four", 5, 2, false), QStringList({"one", "two ~"}));
    EXPECT_EQ(wrapText("unbreakable", 5, 3, false), QStringList({"unbr~"}));
}

TEST(AgeText, ages_areShownInFittingUnits) {
    EXPECT_EQ(plain(ageText(0)), "0 ms");
    EXPECT_EQ(plain(ageText(999999)), "999 ms");
    EXPECT_EQ(plain(ageText(1500000)), "1.5 s");
    EXPECT_EQ(plain(ageText(59999999)), "59.9 s"); // not 60.0 s
    EXPECT_EQ(plain(ageText(90000000)), "1 min");
    EXPECT_EQ(plain(ageText(7200000000)), "2 h");
}

TEST(Grid, textOverTheEdge_isLeftOut) {
    Grid grid(4, 1);
    EXPECT_EQ(grid.put(2, 0, "abc"), 5);
    EXPECT_EQ(plain(grid.line(0)), "  ab");
    grid.put(0, 1, "below");
    grid.put(-1, 0, "xy");
    EXPECT_EQ(plain(grid.line(0)), "y ab");
}

TEST(Grid, wideCharacterThatDoesNotFit_isNotHalved) {
    Grid grid(3, 1);
    grid.put(0, 0, u8"水位");
    EXPECT_EQ(plain(grid.line(0)), u8"水");
}

TEST(Grid, drawnOverHalfAWideCharacter_blanksTheOtherHalf) {
    Grid grid(4, 1);
    grid.put(0, 0, u8"水位");
    grid.put(1, 0, "ab");
    EXPECT_EQ(plain(grid.line(0)), " ab");
    grid.put(0, 0, u8"水位");
    grid.put(1, 0, u8"計");
    EXPECT_EQ(plain(grid.line(0)), u8" 計");
}

TEST(Grid, putRight_endsBeforeTheColumn) {
    Grid grid(8, 1);
    grid.putRight(8, 0, u8"1 水");
    EXPECT_EQ(plain(grid.line(0)), u8"    1 水");
}

} // namespace
