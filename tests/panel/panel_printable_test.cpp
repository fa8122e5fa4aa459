#include "panel/output/printable.h"

#include "panel/text.h"

#include <gtest/gtest.h>

using namespace panel;

namespace {

TEST(Printable, ordinaryText_staysAsItIs) {
    const QString text = QString::fromUtf8("Füllstand °C \\ 水 😀");
    EXPECT_EQ(plain(printable(text)), plain(text));
}

TEST(Printable, controlCharacters_areWrittenOut) {
    const QString text = QString("a") + QChar(0x1B) + "[2J" + QChar(0) + QChar(7) + QChar(0x7F) +
                         QChar(0x9B) + "\tb";
    EXPECT_EQ(plain(printable(text)), "a\\x1B[2J\\x00\\x07\\x7F\\x9B\\x09b");
}

TEST(Printable, charactersThatTurnTheLineRound_areWrittenOut) {
    EXPECT_EQ(plain(printable(QString(QChar(0x202E)) + "x")), "\\u202Ex");
    const char32_t tag = 0xE0041;
    EXPECT_EQ(plain(printable(QString::fromUcs4(&tag, 1))), "\\U000E0041");
}

TEST(Printable, halfAPair_isNotPassedOn) {
    EXPECT_FALSE(printable(QString(QChar(0xD83D))).contains(QChar(0xD83D)));
}

TEST(Printable, lineEnds_areWrittenOutUnlessTheTextHasLines) {
    EXPECT_EQ(plain(printable("a\nb\r")), "a\\x0Ab\\x0D");
    EXPECT_EQ(plain(printableLines("a\nb\r\n")), "a\nb\\x0D\n");
}

TEST(Shortened, shortText_staysAsItIs) {
    EXPECT_EQ(plain(shortened("0123456789", 10)), "0123456789");
}

TEST(Shortened, longText_keepsBeginningAndEnd) {
    EXPECT_EQ(plain(shortened("0123456789abcdef", 11)), "012 ... def");
    EXPECT_EQ(plain(shortened("0123456789abcdef", 12)), "0123 ... def");
}

} // namespace
