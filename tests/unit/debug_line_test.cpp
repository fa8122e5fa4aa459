#include "driver/debug_line.h"

#include "support/fresh_driver.h"

#include <QtCore/QLocale>

TEST(DebugLine, debugLine_trailingBlankAndQuotes_passedAsTheyStand) {
    MessageRecorder messages;
    debugLine(QLatin1String("step \"CIO_bit\" 35 3 "));
    ASSERT_EQ(messages.lines.size(), 1U);
    EXPECT_EQ(messages.lines[0], "step \"CIO_bit\" 35 3 ");
}

TEST(DebugLine, debugLine_percentSignsAndBackslashes_notInterpreted) {
    MessageRecorder messages;
    debugLine(QLatin1String("100%s %n \\n"));
    ASSERT_EQ(messages.lines.size(), 1U);
    EXPECT_EQ(messages.lines[0], "100%s %n \\n");
}

TEST(DebugLine, debugLine_nulCharacter_endsTheLine) {
    MessageRecorder messages;
    QString line = QLatin1String("write: \"DM\" 1 1 ");
    line.append(QChar(0));
    line.append(QLatin1String(" never seen"));
    debugLine(line);
    ASSERT_EQ(messages.lines.size(), 1U);
    EXPECT_EQ(messages.lines[0], "write: \"DM\" 1 1 ");
}

TEST(DebugLine, text_numbers_inPlainDecimal) {
    DebugLine line;
    line << 0 << " " << 7 << " " << -1 << " " << 10 << " " << 2147483647 << " "
         << (-2147483647 - 1);
    EXPECT_EQ(line.text().toStdString(), "0 7 -1 10 2147483647 -2147483648");
}

TEST(DebugLine, text_numbersUnderALocaleThatGroupsDigits_areNotGrouped) {
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    DebugLine line;
    line << 1234567;
    QLocale::setDefault(QLocale::c());
    EXPECT_EQ(line.text().toStdString(), "1234567");
}

TEST(DebugLine, text_namesAndCharactersBeyondAscii_areKept) {
    DebugLine line;
    line << QString(QChar(0x20AC)) << "\"" << QChar(0xE9) << " ";
    EXPECT_EQ(line.text().toStdString(), "\xE2\x82\xAC\"\xC3\xA9 ");
}

TEST(DebugLine, text_longName_isKeptWhole) {
    const QString name(300, QLatin1Char('x'));
    DebugLine line;
    line << "step \"" << name << "\" " << 5;
    EXPECT_EQ(line.text(), QLatin1String("step \"") + name + QLatin1String("\" 5"));
}
