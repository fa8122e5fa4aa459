// The whole screen on a pseudo terminal: what a person sees, and what is left when it has ended.

#include "screen/terminal_emulator.h"

#include "endtoend/process_signal.h"
#include "screen/utf8.h"

#include <gtest/gtest.h>

#include <QtCore/QElapsedTimer>

#include <cstring>
#include <functional>
#include <poll.h>
#include <pty.h>
#include <stdexcept>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>
#include <utmp.h>

namespace {

/// Long enough for a busy machine; nothing waits for it to pass.
const int PATIENCE_MS = 20000;
const int WIDTH = 80;
const int HEIGHT = 24;

struct Variable {
    const char* name;
    const char* value; ///< null: unset
};

class ScreenTerminal : public testing::Test {
protected:
    ~ScreenTerminal() override {
        if (signalProcess(m_pid, SIGKILL)) {
            waitpid(m_pid, nullptr, 0);
        }
        hangUp();
    }

    void start(QList<QByteArray> arguments = {}, const QVector<Variable>& environment = {}) {
        arguments.prepend(VELKOR_SCREEN_DEMO);
        std::vector<char*> argv;
        for (QByteArray& argument : arguments) {
            argv.push_back(argument.data());
        }
        argv.push_back(nullptr);
        winsize size = {};
        size.ws_row = HEIGHT;
        size.ws_col = WIDTH;
        int slave = -1;
        if (openpty(&m_terminal, &slave, nullptr, nullptr, &size) != 0) {
            throw std::runtime_error("no pseudo terminal");
        }
        tcgetattr(slave, &m_before);
        m_pid = fork();
        if (m_pid == 0) {
            close(m_terminal);
            login_tty(slave);
            setenv("LC_ALL", "C.UTF-8", 1);
            setenv("TERM", "xterm-256color", 1);
            unsetenv("NO_COLOR");
            for (const Variable& variable : environment) {
                variable.value == nullptr ? unsetenv(variable.name)
                                          : setenv(variable.name, variable.value, 1);
            }
            execv(argv.front(), argv.data());
            _exit(127);
        }
        close(slave);
        if (m_pid < 0) {
            throw std::runtime_error("the demo did not start");
        }
    }

    /// Reads on until `seen` holds of what is shown.
    bool waitUntil(const std::function<bool()>& seen) {
        QElapsedTimer timer;
        timer.start();
        while (!seen()) {
            if (timer.elapsed() > PATIENCE_MS || !readSome()) {
                return seen();
            }
        }
        return true;
    }

    bool shows(const char* text) {
        return waitUntil([this, text] { return m_shown.find(QString::fromUtf8(text)) >= 0; });
    }

    bool hides(const char* text) {
        return waitUntil([this, text] { return m_shown.find(QString::fromUtf8(text)) < 0; });
    }

    /// False when the program has closed the terminal.
    bool readSome() {
        pollfd wait = {m_terminal, POLLIN, 0};
        if (::poll(&wait, 1, 100) <= 0) {
            return true;
        }
        char buffer[4096];
        const ssize_t length = ::read(m_terminal, buffer, sizeof buffer);
        if (length <= 0) {
            return false;
        }
        m_shown.feed(QByteArray(buffer, static_cast<int>(length)));
        return true;
    }

    void type(const char* keys) {
        ASSERT_EQ(::write(m_terminal, keys, strlen(keys)), static_cast<ssize_t>(strlen(keys)));
    }

    void hangUp() {
        if (m_terminal >= 0) {
            close(m_terminal);
            m_terminal = -1;
        }
    }

    /// How waitpid() tells the end, once all that was written has been read; -1: no end.
    int waitForEnd() {
        QElapsedTimer timer;
        timer.start();
        int status = 0;
        while (timer.elapsed() < PATIENCE_MS) {
            const bool open = m_terminal >= 0 && readSome();
            if (waitpid(m_pid, &status, open ? WNOHANG : 0) == m_pid) {
                while (m_terminal >= 0 && readSome()) {
                }
                m_pid = -1;
                return status;
            }
        }
        return -1;
    }

    void expectEndedWith(int exitCode) {
        const int status = waitForEnd();
        EXPECT_TRUE(WIFEXITED(status)) << status;
        EXPECT_EQ(WEXITSTATUS(status), exitCode);
    }

    /// Normal screen, visible cursor, and the modes as they were.
    void expectRestored() {
        EXPECT_FALSE(m_shown.isAlternate());
        EXPECT_TRUE(m_shown.cursorShown());
        termios after = {};
        ASSERT_EQ(tcgetattr(m_terminal, &after), 0);
        EXPECT_EQ(after.c_iflag, m_before.c_iflag);
        EXPECT_EQ(after.c_oflag, m_before.c_oflag);
        EXPECT_EQ(after.c_lflag, m_before.c_lflag);
        EXPECT_EQ(memcmp(after.c_cc, m_before.c_cc, sizeof after.c_cc), 0);
        EXPECT_EQ(plain(m_shown.unknown().join(' ')), "");
    }

    void expectEndedInOrder() {
        expectEndedWith(0);
        expectRestored();
        EXPECT_EQ(plain(m_shown.line(0)), "demo ended");
    }

    pid_t m_pid = -1;
    int m_terminal = -1;
    termios m_before = {};
    TerminalEmulator m_shown{WIDTH, HEIGHT};
};

TEST_F(ScreenTerminal, table_isShownInLineAndQuitsWithQ) {
    start({"--steady"});
    ASSERT_TRUE(shows("q quits"));
    EXPECT_TRUE(m_shown.isAlternate());
    EXPECT_FALSE(m_shown.cursorShown());
    const int head = m_shown.find("ADDRESS");
    const int state = m_shown.column(head, "STATE");
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
        const int y = m_shown.find(QString::fromUtf8(row.name));
        ASSERT_GE(y, 0) << row.name;
        EXPECT_EQ(m_shown.column(y, row.address), m_shown.column(head, "ADDRESS")) << row.name;
        const bool value = isdigit(row.state[0]) != 0;
        EXPECT_EQ(m_shown.column(y, row.state), value ? m_shown.column(head, "VALUE") : state)
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
    EXPECT_TRUE(m_shown.cursorShown());
    type("\x1b");
    EXPECT_TRUE(shows("spare_word"));
    type("\x1b[H\r95\r");
    EXPECT_TRUE(shows("95 is above the high limit 70 of level; 95! writes it all the same"));
    type("\r!\r");
    EXPECT_TRUE(
        waitUntil([this] { return m_shown.line(m_shown.find(">  level")).contains("writing"); }));
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
        winsize window = {};
        window.ws_col = static_cast<unsigned short>(size.first);
        window.ws_row = static_cast<unsigned short>(size.second);
        m_shown.resize(size.first, size.second);
        ASSERT_EQ(ioctl(m_terminal, TIOCSWINSZ, &window), 0);
        // The last line is at the new bottom, and the first column at the left.
        EXPECT_TRUE(waitUntil([this, &size] {
            return m_shown.line(size.second - 1).startsWith("? help") ||
                   m_shown.line(size.second - 1).contains("level");
        })) << plain(m_shown.lines().join('\n'));
        EXPECT_TRUE(waitUntil([this] { return m_shown.line(0).startsWith("192.168.250.1"); }));
        EXPECT_TRUE(shows(">  l"));
    }
    type("q");
    expectEndedInOrder();
}

TEST_F(ScreenTerminal, redrawKey_drawsEverythingAgain) {
    start({"--steady"});
    ASSERT_TRUE(shows("q quits"));
    m_shown.resize(WIDTH, HEIGHT); // as if something had written over it
    type("\f");
    EXPECT_TRUE(shows("192.168.250.1:9600"));
    EXPECT_TRUE(shows("oil_level"));
    type("q");
    expectEndedWith(0);
}

TEST_F(ScreenTerminal, colours_areSentUnlessUnwanted) {
    start();
    ASSERT_TRUE(shows("q quits"));
    EXPECT_TRUE(m_shown.hasSentColours());
    type("q");
    expectEndedInOrder();
}

TEST_F(ScreenTerminal, noColor_sendsNone) {
    start({}, {{"NO_COLOR", "1"}});
    ASSERT_TRUE(shows("q quits"));
    EXPECT_TRUE(shows("refused"));
    EXPECT_FALSE(m_shown.hasSentColours());
    type("q");
    expectEndedInOrder();
}

TEST_F(ScreenTerminal, emptyNoColor_isAsNone) {
    start({}, {{"NO_COLOR", ""}});
    ASSERT_TRUE(shows("q quits"));
    EXPECT_TRUE(m_shown.hasSentColours());
    type("q");
    expectEndedInOrder();
}

TEST_F(ScreenTerminal, localeWithoutUtf8_getsAsciiAlone) {
    start({}, {{"LC_ALL", "C"}});
    ASSERT_TRUE(shows("45.0 ?C"));
    type("t");
    ASSERT_TRUE(shows("high 70+"));
    EXPECT_FALSE(m_shown.hasSentMoreThanAscii());
    type("q");
    expectEndedInOrder();
}

TEST_F(ScreenTerminal, oldTerminal_showsTheSame) {
    start({"--steady"}, {{"TERM", "vt100"}});
    ASSERT_TRUE(shows("q quits"));
    EXPECT_GE(m_shown.find(u8"タンク水位"), 0);
    EXPECT_FALSE(m_shown.hasSentColours());
    type("q");
    expectEndedWith(0);
    termios after = {};
    ASSERT_EQ(tcgetattr(m_terminal, &after), 0);
    EXPECT_EQ(after.c_lflag, m_before.c_lflag);
}

TEST_F(ScreenTerminal, terminalThatCannotMoveItsCursor_isRefusedAndLeftAsItIs) {
    start({}, {{"TERM", "dumb"}});
    expectEndedWith(3);
    expectRestored();
    EXPECT_EQ(plain(m_shown.line(0)),
              "no screen: a terminal \"dumb\" (TERM) cannot move its cursor");
}

TEST_F(ScreenTerminal, unknownTerminal_isRefused) {
    start({}, {{"TERM", "nope"}});
    expectEndedWith(3);
    EXPECT_TRUE(
        m_shown.line(0).startsWith("no screen: this system knows no terminal \"nope\" (TERM)"));
}

TEST_F(ScreenTerminal, noTerminalName_isRefused) {
    start({}, {{"TERM", nullptr}});
    expectEndedWith(3);
    EXPECT_TRUE(m_shown.line(0).startsWith("no screen: the environment variable TERM"));
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
    EXPECT_GE(m_shown.find("thrown by the demo"), 0) << plain(m_shown.lines().join('\n'));
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
    ASSERT_TRUE(signalProcess(m_pid, GetParam()));
    expectEndedInOrder();
}

INSTANTIATE_TEST_SUITE_P(Each, ScreenTerminalSignal,
                         testing::Values(SIGINT, SIGTERM, SIGQUIT, SIGHUP),
                         [](const auto& row) { return "signal" + std::to_string(row.param); });

} // namespace
