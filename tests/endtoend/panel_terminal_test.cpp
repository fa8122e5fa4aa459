// velkor-panel's live table on a pseudo terminal.

#include "endtoend/process_signal.h"
#include "endtoend/programs.h"
#include "screen/terminal_emulator.h"

#include <QtCore/QRegularExpression>

#include <cstring>
#include <poll.h>
#include <pty.h>
#include <stdexcept>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>
#include <vector>

namespace {

class PanelTerminal : public Programs {
protected:
    ~PanelTerminal() override {
        if (signalProcess(m_pid, SIGKILL)) {
            waitpid(m_pid, nullptr, 0);
        }
        if (m_terminal >= 0) {
            close(m_terminal);
        }
    }

    void watch(const QStringList& arguments) {
        QList<QByteArray> words{"--plc", plcAddress().toUtf8(), "watch", "--scan-interval", "20"};
        for (const QString& argument : arguments) {
            words.append(argument.toUtf8());
        }
        run(words);
    }

    void run(QList<QByteArray> words) {
        words.prepend(VELKOR_PANEL_PROGRAM);
        std::vector<char*> argv;
        for (QByteArray& word : words) {
            argv.push_back(word.data());
        }
        argv.push_back(nullptr);
        winsize size = {};
        size.ws_row = 24;
        size.ws_col = 100;
        m_pid = forkpty(&m_terminal, nullptr, nullptr, &size);
        if (m_pid < 0) {
            throw std::runtime_error("velkor-panel did not start");
        }
        if (m_pid == 0) {
            if (m_mostFiles > 0) {
                const rlimit most = {m_mostFiles, m_mostFiles};
                setrlimit(RLIMIT_NOFILE, &most);
            }
            setenv("LC_ALL", "C.UTF-8", 1);
            setenv("TERM", "xterm-256color", 1);
            execv(argv.front(), argv.data());
            _exit(127);
        }
        tcgetattr(m_terminal, &m_before);
    }

    /// Reads on until `text` stands on the screen.
    bool shows(const QString& text) {
        return waitFor([&] { return m_screen.find(text) >= 0; });
    }
    /// Reads on until it stands there no longer.
    bool showsNoLonger(const QString& text) {
        return waitFor([&] { return m_screen.find(text) < 0; });
    }

    template <typename Condition> bool waitFor(Condition holds) {
        QElapsedTimer timer;
        timer.start();
        while (!holds()) {
            if (timer.elapsed() > PATIENCE_MS || !readSome()) {
                return false;
            }
        }
        return true;
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
        m_printed.append(buffer, static_cast<int>(length));
        m_screen.feed(QByteArray(buffer, static_cast<int>(length)));
        return true;
    }

    void type(const char* keys) {
        ASSERT_EQ(::write(m_terminal, keys, strlen(keys)), static_cast<ssize_t>(strlen(keys)));
    }

    /// The exit code, once the program has ended and all it showed has been read.
    int exitCode() {
        QElapsedTimer timer;
        timer.start();
        while (readSome() && timer.elapsed() < PATIENCE_MS) {
        }
        int status = 0;
        const pid_t ended = waitpid(m_pid, &status, timer.elapsed() < PATIENCE_MS ? 0 : WNOHANG);
        if (ended != m_pid) {
            return -1;
        }
        m_pid = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    /// Normal screen, visible cursor, echo and line mode; on it one line that says what has been.
    void expectRestored() {
        EXPECT_FALSE(m_screen.isAlternate());
        EXPECT_TRUE(m_screen.cursorShown());
        EXPECT_TRUE(QRegularExpression("^watched 1 tag: \\d+ scans?, \\d+ exchanges?, 0 retries, "
                                       "0 failures, 0 dropped$")
                        .match(m_screen.lines().first())
                        .hasMatch())
            << plain(m_screen.lines().join('\n'));
        termios after = {};
        if (tcgetattr(m_terminal, &after) == 0) {
            EXPECT_EQ(after.c_lflag & static_cast<tcflag_t>(ICANON | ECHO),
                      static_cast<tcflag_t>(ICANON | ECHO));
        }
    }

    rlim_t m_mostFiles = 0; ///< file descriptors of the program; 0: as many as the test
    pid_t m_pid = -1;
    int m_terminal = -1;
    termios m_before = {};
    QByteArray m_printed; ///< as it came, before the screen has broken it into lines
    TerminalEmulator m_screen{100, 24};
};

TEST_F(PanelTerminal, watch_showsTheTableAndQuitsWithQ) {
    startPlc();
    EXPECT_EQ(panel({"write", "DM", "5", "4711"}).exitCode, 0);
    watch({"DM:5"});
    EXPECT_TRUE(shows("NAME"));
    EXPECT_TRUE(shows("4711"));
    EXPECT_TRUE(shows("round trip"));
    EXPECT_TRUE(shows("last end code 0000 normal"));
    type("q");
    EXPECT_EQ(exitCode(), 0);
    expectRestored();
}

TEST_F(PanelTerminal, watch_arrowEnterValue_writesTheSelectedTag) {
    startPlc();
    watch({"DM:5", "DM:6"});
    ASSERT_TRUE(shows("DM:6"));
    type("\x1b[B\r");
    ASSERT_TRUE(shows("write DM:6 (DM 6, uint16):"));
    type("123\r");
    EXPECT_TRUE(shows("written: DM 6 (1 word)"));
    EXPECT_TRUE(panel({"read", "DM", "6", "--format", "csv"}).out.endsWith("DM,6,123\n"));
    type("q");
    EXPECT_EQ(exitCode(), 0);
}

TEST_F(PanelTerminal, watch_badValue_saysWhatWouldBeRightAndWritesNothing) {
    startPlc();
    watch({"DM:5"});
    ASSERT_TRUE(shows("DM:5"));
    type("\r70000\r");
    EXPECT_TRUE(shows("a whole number from 0 to 65535"));
    EXPECT_TRUE(panel({"read", "DM", "5", "--format", "csv"}).out.endsWith("DM,5,0\n"));
    type("q");
    EXPECT_EQ(exitCode(), 0);
}

TEST_F(PanelTerminal, watch_refusedWrite_saysTheEndCode) {
    startPlc();
    watch({"AR:5"});
    ASSERT_TRUE(shows("AR:5"));
    type("\r1\r");
    EXPECT_TRUE(shows("writing AR 5 (1 word) failed: the PLC refused: end code 2101"));
    type("q");
    EXPECT_EQ(exitCode(), 0);
}

TEST_F(PanelTerminal, watch_longWriteWhoseFirstPieceIsRefused_saysSoAndWritesNothingMore) {
    startPlc();
    watch({"AR:446:4", "--words-per-frame", "2"}); // read-only up to AR 447
    ASSERT_TRUE(shows("AR:446:4"));
    type("\r1 2 3 4\r");
    EXPECT_TRUE(shows("writing AR 446 (2 words) failed; not written: AR 446 (4 words): the PLC"));
    EXPECT_TRUE(panel({"read", "AR", "448", "--format", "csv"}).out.endsWith("AR,448,0\n"));
    type("q");
    EXPECT_EQ(exitCode(), 0);
    EXPECT_LT(m_screen.find("written: AR"), 0);
}

/// One read, then nothing until the write, none of whose tries arrives.
TEST_F(PanelTerminal, watch_writeWithoutAnswer_isPendingAndThenNotKnown) {
    startPlc({"--faults", "silent 2-4"});
    watch({"DM:5", "--scan-interval", "60000", "--timeout", "600"});
    ASSERT_TRUE(shows("last end code 0000 normal"));
    type("\r77\r");
    EXPECT_TRUE(waitFor([&] { return m_screen.line(2).contains("writing"); }));
    EXPECT_TRUE(waitFor([&] { return m_screen.line(2).contains("stale"); }));
    EXPECT_TRUE(shows("writing DM 5 (1 word) failed; perhaps written: DM 5 (1 word), though no"));
    EXPECT_FALSE(m_screen.line(2).contains("77"));
    type("q");
    EXPECT_EQ(exitCode(), 0);
}

TEST_F(PanelTerminal, watch_writeThatNeedsMonitorMode_isDoneAndTheSwitchIsTold) {
    startPlc({"--mode", "program", "--writes-in", "monitor"});
    watch({"--allow-mode-change", "DM:5"});
    ASSERT_TRUE(shows("DM:5"));
    type("\r8\r");
    EXPECT_TRUE(shows("written: DM 5 (1 word); for it the PLC was switched to MONITOR mode"));
    type("\r8\r");
    EXPECT_TRUE(showsNoLonger("; for it the PLC")); // no switch this time
    EXPECT_TRUE(shows("written: DM 5 (1 word)"));
    EXPECT_TRUE(panel({"read", "DM", "5", "--format", "csv"}).out.endsWith("DM,5,8\n"));
    type("q");
    EXPECT_EQ(exitCode(), 0);
}

TEST_F(PanelTerminal, watch_plcGone_saysWhyEvenAfterAWrite) {
    startPlc();
    watch({"DM:5"});
    ASSERT_TRUE(shows("last end code 0000 normal"));
    type("\r8\r");
    EXPECT_TRUE(shows("written: DM 5 (1 word)"));
    m_plc.kill();
    EXPECT_TRUE(shows("stale"));
    EXPECT_TRUE(shows("port unreachable for "));
    EXPECT_TRUE(shows(": nothing listens on " + plcAddress()));
    type("q");
    EXPECT_EQ(exitCode(), 0);
}

TEST_F(PanelTerminal, watch_plcNeverThere_saysWhyNothingIsRead) {
    startPlc();
    m_plc.kill(); // its port is free now
    watch({"DM:5"});
    EXPECT_TRUE(shows("not read"));
    EXPECT_TRUE(shows("port unreachable for "));
    type("q");
    EXPECT_EQ(exitCode(), 0);
}

TEST_F(PanelTerminal, watch_refusedWord_isShownAsSuch) {
    startPlc({"--end-code", "1103"});
    watch({"DM:5"});
    EXPECT_TRUE(shows("refused"));
    EXPECT_TRUE(shows("end code 1103"));
    type("q");
    EXPECT_EQ(exitCode(), 0);
}

TEST_F(PanelTerminal, watch_resized_drawsToTheNewWidth) {
    startPlc();
    watch({"DM:5"});
    ASSERT_TRUE(shows("last end code"));
    winsize size = {};
    size.ws_row = 10;
    size.ws_col = 40;
    m_screen.resize(40, 10);
    ASSERT_EQ(ioctl(m_terminal, TIOCSWINSZ, &size), 0);
    EXPECT_TRUE(shows(plcAddress() + "  1 tag"));
    EXPECT_TRUE(shows("DM:5"));
    type("q");
    EXPECT_EQ(exitCode(), 0);
}

TEST_F(PanelTerminal, watch_twoPlcs_showsBothAndTheSilentOneSlowsNoTag) {
    startPlc();
    Running other;
    other.start(VELKOR_PLC_PROGRAM, {"--listen", "127.0.0.1:0"});
    ASSERT_TRUE(other.waitFor([](const QString& output) { return output.endsWith('\n'); }));
    const QByteArray address = other.output().section(' ', 2, 2).trimmed().toUtf8();
    other.kill(); // its port is free now
    EXPECT_EQ(panel({"write", "DM", "5", "4711"}).exitCode, 0);
    run({"--plc", "left=" + plcAddress().toUtf8(), "--plc", "right=" + address, "watch",
         "left/DM:5", "right/DM:6"});
    EXPECT_TRUE(shows("4711"));
    EXPECT_TRUE(shows("not read"));
    EXPECT_EQ(panel({"write", "DM", "5", "815"}).exitCode, 0);
    EXPECT_TRUE(shows("815"));
    type("q");
    EXPECT_EQ(exitCode(), 0);
}

TEST_F(PanelTerminal, watch_scaledTag_isShownAndWrittenInItsUnit) {
    startPlc();
    watch({file("tags.csv", "name,register,address,type,unit,scale,decimals,low,high\n"
                            "level,DM,7,uint16,l,0.1,1,20,180\n")});
    ASSERT_TRUE(shows("0.0 l"));
    type("\r70.6\r");
    EXPECT_TRUE(shows("70.6 l"));
    EXPECT_TRUE(panel({"read", "DM", "7", "--format", "csv"}).out.endsWith("DM,7,706\n"));
    type("\r190\r");
    EXPECT_TRUE(shows("outside the limits of level, 20 to 180 l"));
    EXPECT_TRUE(panel({"read", "DM", "7", "--format", "csv"}).out.endsWith("DM,7,706\n"));
    type("\r!\r"); // what was refused is there again
    EXPECT_TRUE(shows("190.0 l"));
    type("q");
    EXPECT_EQ(exitCode(), 0);
}

class PanelTerminalFewFiles : public PanelTerminal, public testing::WithParamInterface<int> {};

/// It ends when it is told to, or says why it cannot run: it never holds signals that it cannot
/// receive.
TEST_P(PanelTerminalFewFiles, watch_withSoManyDescriptors_isNotDeafToSignals) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer needs descriptors of its own";
#endif
    startPlc();
    m_mostFiles = static_cast<rlim_t>(GetParam());
    watch({"DM:5"});
    if (shows("DM:5")) { // in the table, or in a line for each change
        ASSERT_TRUE(signalProcess(m_pid, SIGTERM));
        EXPECT_EQ(exitCode(), 0);
    } else {
        EXPECT_TRUE(m_printed.contains("Too many open files") || m_printed.contains("Error 24"))
            << m_printed.constData();
        EXPECT_GT(exitCode(), 0);
    }
}

INSTANTIATE_TEST_SUITE_P(Each, PanelTerminalFewFiles, testing::Range(4, 13));

class PanelTerminalSignal : public PanelTerminal, public testing::WithParamInterface<int> {};

TEST_P(PanelTerminalSignal, watch_endedByASignal_restoresTheTerminal) {
    startPlc();
    watch({"DM:5"});
    ASSERT_TRUE(shows("last end code"));
    ASSERT_TRUE(signalProcess(m_pid, GetParam()));
    EXPECT_EQ(exitCode(), 0);
    expectRestored();
}

INSTANTIATE_TEST_SUITE_P(Each, PanelTerminalSignal,
                         testing::Values(SIGINT, SIGTERM, SIGQUIT, SIGHUP),
                         [](const auto& row) { return "signal" + std::to_string(row.param); });

} // namespace
