// velkor-panel's live table on a pseudo terminal.

#include "endtoend/programs.h"
#include "support/stuck_pipe.h"
#include "support/terminal_program.h"

#include <QtCore/QRegularExpression>

#include <csignal>
#include <poll.h>
#include <sys/wait.h>

namespace {

class PanelTerminal : public Programs, protected TerminalProgram {
protected:
    PanelTerminal() : TerminalProgram(100, 24) {}

    void watch(const QStringList& arguments) {
        QList<QByteArray> words{"--plc", plcAddress().toUtf8(), "watch", "--scan-interval", "20"};
        for (const QString& argument : arguments) {
            words.append(argument.toUtf8());
        }
        run(words);
    }

    void run(QList<QByteArray> words) {
        words.prepend(VELKOR_PANEL_PROGRAM);
        start(words, {}, m_mostFiles);
    }

    /// The exit code, once the program has ended and all it showed has been read.
    int exitCode() {
        const int status = waitForEnd();
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    /// Normal screen, visible cursor, echo and line mode; on it one line that says what has been.
    void expectRestored() {
        EXPECT_FALSE(screen().isAlternate());
        EXPECT_TRUE(screen().cursorShown());
        EXPECT_TRUE(QRegularExpression("^watched 1 tag: \\d+ scans?, \\d+ exchanges?, 0 retries, "
                                       "0 failures, 0 dropped$")
                        .match(screen().lines().first())
                        .hasMatch())
            << plain(screen().lines().join('\n'));
        EXPECT_EQ(modes().c_lflag & static_cast<tcflag_t>(ICANON | ECHO),
                  static_cast<tcflag_t>(ICANON | ECHO));
    }

    /// Starts a watch that fills a page, has it draw and reads nothing of that until it waits for
    /// room.
    void watchUnread(QStringList arguments) {
        for (int word = 0; word < 20; ++word) {
            arguments.append(QString("DM:%1").arg(word));
        }
        watch(arguments);
        ASSERT_TRUE(shows("last end code"));
        bool stuck = false;
        for (int drawn = 1; drawn < 1000 && !stuck; ++drawn) {
            type("\x0c");
            ::poll(nullptr, 0, 10); // more at once would be drawn once
            stuck = isStuck(pid(), device());
            if (drawn % 30 == 0 && !stuck) {
                readSome(); // a terminal without any room at all is not drawn on
            }
        }
        ASSERT_TRUE(stuck);
    }

    void expectEndedUnread(int code) {
        const int status = waitForEndUnread();
        EXPECT_EQ(WIFEXITED(status) ? WEXITSTATUS(status) : -1, code);
        EXPECT_EQ(modes().c_lflag & static_cast<tcflag_t>(ICANON | ECHO),
                  static_cast<tcflag_t>(ICANON | ECHO));
    }

    int m_mostFiles = 0; ///< file descriptors of the program; 0: as many as the test
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
    EXPECT_LT(screen().find("written: AR"), 0);
}

/// One read, then nothing until the write, none of whose tries arrives.
TEST_F(PanelTerminal, watch_writeWithoutAnswer_isPendingAndThenNotKnown) {
    startPlc({"--faults", "silent 2-4"});
    watch({"DM:5", "--scan-interval", "60000", "--timeout", "600"});
    ASSERT_TRUE(shows("last end code 0000 normal"));
    type("\r77\r");
    EXPECT_TRUE(waitUntil([&] { return screen().line(2).contains("writing"); }));
    EXPECT_TRUE(waitUntil([&] { return screen().line(2).contains("stale"); }));
    EXPECT_TRUE(shows("writing DM 5 (1 word) failed; perhaps written: DM 5 (1 word), though no"));
    EXPECT_FALSE(screen().line(2).contains("77"));
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
    EXPECT_TRUE(hides("; for it the PLC")); // no switch this time
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

TEST_F(PanelTerminal, watch_trendOfSeveralValues_saysThatTheFirstIsDrawn) {
    startPlc();
    watch({"DM:5:3"});
    ASSERT_TRUE(shows("0 0 0"));
    type("t");
    EXPECT_TRUE(shows("DM:5:3  DM 5  first of 3 drawn: 0 0 0"));
    type("q");
    EXPECT_EQ(exitCode(), 0);
}

TEST_F(PanelTerminal, watch_resized_drawsToTheNewWidth) {
    startPlc();
    watch({"DM:5"});
    ASSERT_TRUE(shows("last end code"));
    resize(40, 10);
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

/// The second scan would begin after a minute.
TEST_F(PanelTerminal, watch_twoPlcs_endTellsTheScansOfEach) {
    startPlc();
    EXPECT_EQ(panel({"write", "DM", "5", "4711"}).exitCode, 0);
    EXPECT_EQ(panel({"write", "DM", "6", "1147"}).exitCode, 0);
    run({"--plc", "left=" + plcAddress().toUtf8(), "--plc", "right=" + plcAddress().toUtf8(),
         "watch", "--scan-interval", "60000", "left/DM:5", "right/DM:6"});
    EXPECT_TRUE(shows("4711"));
    EXPECT_TRUE(shows("1147"));
    type("q");
    EXPECT_EQ(exitCode(), 0);
    EXPECT_EQ(plain(screen().lines().first()),
              "watched 2 tags: 1 scan of left, 1 scan of right, 2 exchanges, 0 retries, 0 "
              "failures, 0 dropped");
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

TEST_F(PanelTerminal, watch_terminalThatNobodyReads_isEndedBySigterm) {
    startPlc();
    watchUnread({});
    ASSERT_TRUE(sendSignal(SIGTERM));
    expectEndedUnread(0);
}

/// What it says at its end is lost.
TEST_F(PanelTerminal, watchWithSeconds_terminalThatNobodyReads_ends) {
    startPlc();
    watchUnread({"--seconds", "6"});
    expectEndedUnread(1);
}

TEST_F(PanelTerminal, watchStartedWithTheSignalIgnored_goesOn) {
    startPlc();
    start({"/bin/sh", "-c", "trap '' INT; exec \"$@\"", "sh", VELKOR_PANEL_PROGRAM, "--plc",
           plcAddress().toUtf8(), "watch", "DM:5"});
    ASSERT_TRUE(shows("last end code"));
    ASSERT_TRUE(sendSignal(SIGINT));
    EXPECT_EQ(panel({"write", "DM", "5", "4711"}).exitCode, 0);
    EXPECT_TRUE(shows("4711"));
    type("q");
    EXPECT_EQ(exitCode(), 0);
}

class PanelTerminalFewFiles : public PanelTerminal, public testing::WithParamInterface<int> {};

/// It ends when it is told to, or says why it cannot run: it never holds signals that it cannot
/// receive.
TEST_P(PanelTerminalFewFiles, watch_withSoManyDescriptors_isNotDeafToSignals) {
#ifdef VELKOR_SANITIZED
    GTEST_SKIP() << "the sanitizer needs descriptors of its own";
#endif
    startPlc();
    m_mostFiles = GetParam();
    watch({"DM:5"});
    if (shows("DM:5")) { // in the table, or in a line for each change
        ASSERT_TRUE(sendSignal(SIGTERM));
        EXPECT_EQ(exitCode(), 0);
    } else {
        EXPECT_TRUE(printed().contains("Too many open files") || printed().contains("Error 24"))
            << printed().constData();
        EXPECT_GT(exitCode(), 0);
    }
}

INSTANTIATE_TEST_SUITE_P(Each, PanelTerminalFewFiles, testing::Range(4, 13));

class PanelTerminalSignal : public PanelTerminal, public testing::WithParamInterface<int> {};

TEST_P(PanelTerminalSignal, watch_endedByASignal_restoresTheTerminal) {
    startPlc();
    watch({"DM:5"});
    ASSERT_TRUE(shows("last end code"));
    ASSERT_TRUE(sendSignal(GetParam()));
    EXPECT_EQ(exitCode(), 0);
    expectRestored();
}

INSTANTIATE_TEST_SUITE_P(Each, PanelTerminalSignal,
                         testing::Values(SIGINT, SIGTERM, SIGQUIT, SIGHUP),
                         [](const auto& row) { return "signal" + std::to_string(row.param); });

} // namespace
