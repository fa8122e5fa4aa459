// The whole screen on a pseudo terminal: what a person sees, and what is left when it has ended.

#include "screen/utf8.h"
#include "support/terminal_program.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstring>
#include <sys/wait.h>

namespace {

const int WIDTH = 80;
const int HEIGHT = 24;

class ScreenTerminal : public testing::Test, protected TerminalProgram {
protected:
    ScreenTerminal() : TerminalProgram(WIDTH, HEIGHT) {}

    void start(QList<QByteArray> arguments = {}, const QVector<Variable>& environment = {}) {
        arguments.prepend(VELKOR_SCREEN_DEMO);
        TerminalProgram::start(arguments, environment);
    }

    void expectEndedWith(int exitCode) {
        const int status = waitForEnd();
        EXPECT_TRUE(WIFEXITED(status)) << status;
        EXPECT_EQ(WEXITSTATUS(status), exitCode);
    }

    /// Normal screen, visible cursor, and the modes as they were.
    void expectRestored() {
        EXPECT_FALSE(screen().isAlternate());
        EXPECT_TRUE(screen().cursorShown());
        const termios before = modesBefore();
        const termios after = modes();
        EXPECT_EQ(after.c_iflag, before.c_iflag);
        EXPECT_EQ(after.c_oflag, before.c_oflag);
        EXPECT_EQ(after.c_lflag, before.c_lflag);
        EXPECT_EQ(memcmp(after.c_cc, before.c_cc, sizeof after.c_cc), 0);
        EXPECT_EQ(plain(screen().unknown().join(' ')), "");
    }

    void expectEndedInOrder() {
        expectEndedWith(0);
        expectRestored();
        EXPECT_EQ(plain(screen().line(0)), "demo ended");
    }
};

TEST_F(ScreenTerminal, table_isShownInLineAndQuitsWithQ) {
    start({"--steady"});
    ASSERT_TRUE(shows("q quits"));
    EXPECT_TRUE(screen().isAlternate());
    EXPECT_FALSE(screen().cursorShown());
    const int head = screen().find("ADDRESS");
    const int state = screen().column(head, "STATE");
    const struct {
        const char* name;
        const char* address;
        const char* state;
    } rows[] = {
        {"pressure_before_filter", "DM 3", "stale"},
        {"spare_word", "DM 4", "refused"},
        {"flow_total", "DM 5", "not read"},
        {"motor_temperature", "DM 6", "HIGH"},
        {"oil_level", "DM 7", "LOW"},
        {"set_point", "DM 8", "writing"},
        {u8"タンク水位", "DM 9", "1234"},
        {u8"re\u0301gulateur_œuvre", "DM 10", "12 k"},
    };
    for (const auto& row : rows) {
        const int y = screen().find(QString::fromUtf8(row.name));
        ASSERT_GE(y, 0) << row.name;
        EXPECT_EQ(screen().column(y, row.address), screen().column(head, "ADDRESS")) << row.name;
        const bool value = isdigit(row.state[0]) != 0;
        EXPECT_EQ(screen().column(y, row.state), value ? screen().column(head, "VALUE") : state)
            << row.name;
    }
    type("q");
    expectEndedInOrder();
}

TEST_F(ScreenTerminal, keys_selectFilterAndWrite) {
    start({"--steady"});
    ASSERT_TRUE(shows(">  level"));
    type("\x1bOB");
    EXPECT_TRUE(shows(">  temperature"));
    type("\x1b[6~");
    EXPECT_TRUE(hides(">  temperature"));
    type(u8"/水");
    EXPECT_TRUE(shows(u8"filter by name: 水"));
    EXPECT_TRUE(shows(u8">  タンク水位"));
    EXPECT_TRUE(screen().cursorShown());
    type("\x1b");
    EXPECT_TRUE(shows("spare_word"));
    type("\x1b[H\r95\r");
    EXPECT_TRUE(shows("95 is above the high limit 70 of level; 95! writes it all the same"));
    type("\r!\r");
    EXPECT_TRUE(
        waitUntil([this] { return screen().line(screen().find(">  level")).contains("writing"); }));
    type("q");
    expectEndedInOrder();
}

TEST_F(ScreenTerminal, trendAndHelp_areShownAndLeft) {
    start({"--steady"});
    ASSERT_TRUE(shows(">  level"));
    type("t");
    EXPECT_TRUE(shows("trend of 1 tag, last 2 minutes"));
    EXPECT_TRUE(shows(u8"high 70┤"));
    type("?");
    EXPECT_TRUE(shows("any key: back"));
    type("xt");
    EXPECT_TRUE(shows(">  level"));
    type("q");
    expectEndedInOrder();
}

TEST_F(ScreenTerminal, resized_drawsToTheNewSize) {
    start({"--steady"});
    ASSERT_TRUE(shows("q quits"));
    for (const auto& size : {std::make_pair(200, 60), std::make_pair(30, 8)}) {
        resize(size.first, size.second);
        // The last line is at the new bottom, and the first column at the left.
        EXPECT_TRUE(waitUntil([this, &size] {
            return screen().line(size.second - 1).startsWith("? help") ||
                   screen().line(size.second - 1).contains("level");
        })) << plain(screen().lines().join('\n'));
        EXPECT_TRUE(waitUntil([this] { return screen().line(0).startsWith("192.168.250.1"); }));
        EXPECT_TRUE(shows(">  l"));
    }
    type("q");
    expectEndedInOrder();
}

TEST_F(ScreenTerminal, redrawKey_drawsEverythingAgain) {
    start({"--steady"});
    ASSERT_TRUE(shows("q quits"));
    screen().resize(WIDTH, HEIGHT); // as if something had written over it
    type("\f");
    EXPECT_TRUE(shows("192.168.250.1:9600"));
    EXPECT_TRUE(shows("oil_level"));
    type("q");
    expectEndedWith(0);
}

TEST_F(ScreenTerminal, colours_areSentUnlessUnwanted) {
    start();
    ASSERT_TRUE(shows("q quits"));
    EXPECT_TRUE(screen().hasSentColours());
    type("q");
    expectEndedInOrder();
}

TEST_F(ScreenTerminal, noColor_sendsNone) {
    start({}, {{"NO_COLOR", "1"}});
    ASSERT_TRUE(shows("q quits"));
    EXPECT_TRUE(shows("refused"));
    EXPECT_FALSE(screen().hasSentColours());
    type("q");
    expectEndedInOrder();
}

TEST_F(ScreenTerminal, emptyNoColor_isAsNone) {
    start({}, {{"NO_COLOR", ""}});
    ASSERT_TRUE(shows("q quits"));
    EXPECT_TRUE(screen().hasSentColours());
    type("q");
    expectEndedInOrder();
}

TEST_F(ScreenTerminal, localeWithoutUtf8_getsAsciiAlone) {
    start({}, {{"LC_ALL", "C"}});
    ASSERT_TRUE(shows("45.0 ?C"));
    type("t");
    ASSERT_TRUE(shows("high 70+"));
    EXPECT_FALSE(screen().hasSentMoreThanAscii());
    type("q");
    expectEndedInOrder();
}

TEST_F(ScreenTerminal, oldTerminal_showsTheSame) {
    start({"--steady"}, {{"TERM", "vt100"}});
    ASSERT_TRUE(shows("q quits"));
    EXPECT_GE(screen().find(u8"タンク水位"), 0);
    EXPECT_FALSE(screen().hasSentColours());
    type("q");
    expectEndedWith(0);
    EXPECT_EQ(modes().c_lflag, modesBefore().c_lflag);
}

TEST_F(ScreenTerminal, terminalThatCannotMoveItsCursor_isRefusedAndLeftAsItIs) {
    start({}, {{"TERM", "dumb"}});
    expectEndedWith(3);
    expectRestored();
    EXPECT_EQ(plain(screen().line(0)),
              "no screen: a terminal \"dumb\" (TERM) cannot move its cursor");
}

TEST_F(ScreenTerminal, unknownTerminal_isRefused) {
    start({}, {{"TERM", "nope"}});
    expectEndedWith(3);
    EXPECT_TRUE(
        screen().line(0).startsWith("no screen: this system knows no terminal \"nope\" (TERM)"));
}

TEST_F(ScreenTerminal, noTerminalName_isRefused) {
    start({}, {{"TERM", nullptr}});
    expectEndedWith(3);
    EXPECT_TRUE(screen().line(0).startsWith("no screen: the environment variable TERM"));
}

TEST_F(ScreenTerminal, ctrlC_endsInOrder) {
    start();
    ASSERT_TRUE(shows("q quits"));
    type("\x03");
    expectEndedInOrder();
}

TEST_F(ScreenTerminal, ctrlBackslash_endsInOrder) {
    start();
    ASSERT_TRUE(shows("q quits"));
    type("\x1c");
    expectEndedInOrder();
}

TEST_F(ScreenTerminal, ctrlZAndCtrlS_changeNothing) {
    start({"--steady"});
    ASSERT_TRUE(shows(">  level"));
    type("\x1a\x13\x1bOB");
    EXPECT_TRUE(shows(">  temperature"));
    type("q");
    expectEndedInOrder();
}

TEST_F(ScreenTerminal, terminalGone_endsTheProgram) {
    start();
    ASSERT_TRUE(shows("q quits"));
    hangUp();
    expectEndedWith(0);
}

TEST_F(ScreenTerminal, exceptionThatNobodyCatches_givesTheTerminalBack) {
    start({"--throw"});
    ASSERT_TRUE(shows(">  level"));
    type("\r5\r");
    const int status = waitForEnd();
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGABRT);
    expectRestored();
    EXPECT_GE(screen().find("thrown by the demo"), 0) << plain(screen().lines().join('\n'));
}

TEST_F(ScreenTerminal, abort_givesTheTerminalBack) {
    start({"--abort"});
    ASSERT_TRUE(shows(">  level"));
    type("\r5\r");
    const int status = waitForEnd();
    EXPECT_TRUE(WIFSIGNALED(status));
    expectRestored();
}

class ScreenTerminalSignal : public ScreenTerminal, public testing::WithParamInterface<int> {};

TEST_P(ScreenTerminalSignal, signal_endsInOrder) {
    start();
    ASSERT_TRUE(shows("q quits"));
    ASSERT_TRUE(sendSignal(GetParam()));
    expectEndedInOrder();
}

INSTANTIATE_TEST_SUITE_P(Each, ScreenTerminalSignal,
                         testing::Values(SIGINT, SIGTERM, SIGQUIT, SIGHUP),
                         [](const auto& row) { return "signal" + std::to_string(row.param); });

} // namespace
