#include "driver/debug_line.h"

#include "support/fresh_driver.h"

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
