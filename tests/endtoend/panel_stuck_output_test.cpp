// The panel's outputs when their reader has stopped reading: it still ends when it is told to, or
// when its time is up, and tells nothing that is not so.

#include "endtoend/programs.h"
#include "support/process_signal.h"
#include "support/stuck_pipe.h"

#include <csignal>
#include <poll.h>

namespace {

class PanelStuckOutput : public Programs {
protected:
    /// Starts it with a redirection of its output.
    void startInto(const QString& redirection, const QStringList& arguments) {
        m_panel.start("/bin/sh", QStringList{"-c", "exec \"$@\" " + redirection, "sh",
                                             VELKOR_PANEL_PROGRAM, "--plc", plcAddress()} +
                                     arguments);
    }

    /// Starts it with standard output into the pipe, and ends it when it waits there.
    Ended stuckAndEnded(const StuckPipe& pipe, const QStringList& arguments) {
        startInto(">" + pipe.path(), arguments);
        EXPECT_TRUE(waitUntilStuck(m_panel.pid(), pipe.path())) << plain(arguments.join(' '));
        return m_panel.stop(SIGTERM);
    }

    const QString m_lost = "velkor-panel: the output could not be written: its reader has stopped "
                           "reading\n";
    Running m_panel;
};

TEST_F(PanelStuckOutput, watch_readerThatStopsReading_sigtermEndsItAndTheLastRecordIsWhole) {
    startPlc({"--process", "tank"});
    const StuckPipe pipe(path("pipe"), StuckPipe::Empty);
    const Ended ended =
        stuckAndEnded(pipe, {"watch", "DM:0:20", "DM:1:20", "DM:2:20", "DM:3:20", "DM:4:20",
                             "DM:5:20", "DM:6:20", "--scan-interval", "10", "--format", "json"});
    EXPECT_EQ(ended.exitCode, 0);
    EXPECT_EQ(plain(ended.out), "");
    const QByteArray records = pipe.take();
    EXPECT_TRUE(records.endsWith("\"}\n")) << records.right(100).constData();
    for (const QByteArray& record : records.trimmed().split('\n')) {
        EXPECT_TRUE(record.startsWith("{\"time\"") && record.endsWith('}')) << record.constData();
    }
}

TEST_F(PanelStuckOutput, watch_headerThatNobodyTakes_sigtermEndsIt) {
    startPlc();
    const StuckPipe pipe(path("pipe"), StuckPipe::Full);
    const Ended ended = stuckAndEnded(pipe, {"watch", "DM:5", "--format", "csv"});
    EXPECT_EQ(ended.exitCode, 0);
    EXPECT_EQ(plain(ended.out), "");
}

TEST_F(PanelStuckOutput, watch_traceThatNobodyTakes_sigtermEndsIt) {
    startPlc();
    const StuckPipe pipe(path("pipe"), StuckPipe::Full);
    startInto(">/dev/null 2>" + pipe.path(), {"--trace", "watch", "DM:5"});
    ASSERT_TRUE(waitUntilStuck(m_panel.pid(), pipe.path()));
    EXPECT_EQ(m_panel.stop(SIGTERM).exitCode, 0);
}

TEST_F(PanelStuckOutput, resultThatNobodyTakes_sigtermEndsItAndTheLossIsTold) {
    startPlc();
    const QString recipe = file("recipe.csv", "name,register,address\na,DM,501\n");
    const QString values = file("values.csv", "a,7\n");
    const StuckPipe pipe(path("pipe"), StuckPipe::Full);
    const QStringList commands[] = {
        {"write", "DM", "500", "7"},
        {"write", "DM", "500", "7", "--format", "json"},
        {"recipe", "download", recipe, "--values", values},
    };
    for (const QStringList& command : commands) {
        const Ended ended = stuckAndEnded(pipe, command);
        EXPECT_EQ(ended.exitCode, 1) << plain(command.join(' '));
        EXPECT_EQ(plain(ended.out), plain(m_lost)) << plain(command.join(' '));
    }
    EXPECT_TRUE(
        panel({"read", "DM", "500", "2", "--format", "csv"}).out.endsWith("500,7\nDM,501,7\n"));
    EXPECT_EQ(pipe.take(), QByteArray(4096, 'x'));
}

TEST_F(PanelStuckOutput, writeWhoseTraceNobodyTakes_sigtermEndsItWithoutSuccess) {
    startPlc();
    const StuckPipe pipe(path("pipe"), StuckPipe::Full);
    startInto("2>" + pipe.path(), {"--trace", "write", "DM", "500", "7"});
    ASSERT_TRUE(waitUntilStuck(m_panel.pid(), pipe.path()));
    EXPECT_EQ(m_panel.stop(SIGTERM).exitCode, 1);
}

/// A command that changes nothing is ended by the signal itself.
TEST_F(PanelStuckOutput, otherResultThatNobodyTakes_isEndedBySigterm) {
    startPlc();
    const StuckPipe pipe(path("pipe"), StuckPipe::Full);
    for (const QStringList& command : {QStringList{"read", "DM", "5"}, QStringList{"--help"}}) {
        startInto(">" + pipe.path(), command);
        ASSERT_TRUE(waitUntilStuck(m_panel.pid(), pipe.path())) << plain(command.join(' '));
        EXPECT_EQ(m_panel.stop(SIGTERM).exitCode, -1) << plain(command.join(' '));
        EXPECT_TRUE(m_panel.hasEnded()) << plain(command.join(' '));
    }
}

TEST_F(PanelStuckOutput, captureThatNobodyTakes_sigtermEndsItAndTheLossIsTold) {
    startPlc();
    const StuckPipe pipe(path("pipe"), StuckPipe::Empty);
    startInto(">/dev/null", {"--pcap", pipe.path(), "watch", "DM:5", "--scan-interval", "10"});
    ASSERT_TRUE(waitUntilStuck(m_panel.pid(), pipe.path()));
    const Ended ended = m_panel.stop(SIGTERM);
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_TRUE(ended.out.contains("is not whole: behind 66 datagrams nothing more could be "
                                   "written: its reader has stopped reading\n"))
        << plain(ended.out);
    EXPECT_EQ(pipe.take().size(), 24 + 66 * (16 + 28) + 33 * (18 + 16)); // file, packets, FINS
}

TEST_F(PanelStuckOutput, watchWithSeconds_readerThatStopsReading_endsAndTellsTheLoss) {
    startPlc();
    const StuckPipe pipe(path("pipe"), StuckPipe::Full);
    startInto(">" + pipe.path(), {"watch", "DM:5", "--format", "csv", "--seconds", "1"});
    const Ended ended = m_panel.waitForEnd();
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_EQ(plain(ended.out), plain(m_lost));
}

TEST_F(PanelStuckOutput, watchWithSeconds_traceThatNobodyTakes_endsWithoutSuccess) {
    startPlc();
    const StuckPipe pipe(path("pipe"), StuckPipe::Full);
    startInto(">/dev/null 2>" + pipe.path(), {"--trace", "watch", "DM:5", "--seconds", "1"});
    EXPECT_EQ(m_panel.waitForEnd().exitCode, 1);
}

TEST_F(PanelStuckOutput, watchWithSeconds_captureThatNobodyTakes_endsAndTellsTheLoss) {
    startPlc();
    const StuckPipe pipe(path("pipe"), StuckPipe::Empty);
    startInto(">/dev/null",
              {"--pcap", pipe.path(), "watch", "DM:5", "--scan-interval", "10", "--seconds", "3"});
    const Ended ended = m_panel.waitForEnd();
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_TRUE(ended.out.contains("its reader has stopped reading\n")) << plain(ended.out);
}

/// As one sets it who shares the pipe, and may not know.
TEST_F(PanelStuckOutput, pipeThatDoesNotWait_isWaitedFor) {
    QProcess process;
    const Ended ended = runToEnd(
        &process, "python3",
        {"-c",
         "import os, subprocess, sys, time\n"
         "r, w = os.pipe()\n"
         "os.set_blocking(w, False)\n"
         "p = subprocess.Popen([sys.argv[1], 'layout', 'DM', '0', '32767', '1'], stdout=w)\n"
         "os.close(w)\n"
         "print(open(r).read().count('\\n'), p.wait())\n",
         VELKOR_PANEL_PROGRAM});
    EXPECT_EQ(plain(ended.out), "32768 0\n") << plain(ended.err);
}

TEST_F(PanelStuckOutput, watchStartedWithTheSignalIgnored_goesOn) {
    startPlc({"--process", "tank"});
    for (const int ignored : {SIGHUP, SIGINT}) {
        m_panel.start("/bin/sh", {"-c", QString("trap '' %1; exec \"$@\"").arg(ignored), "sh",
                                  VELKOR_PANEL_PROGRAM, "--plc", plcAddress(), "watch", "DM:0:20"});
        ASSERT_TRUE(m_panel.waitFor("\n"));
        ASSERT_TRUE(signalProcess(m_panel.pid(), ignored));
        const auto before = m_panel.output().count('\n');
        EXPECT_TRUE(m_panel.waitFor([before](const QString& output) {
            return output.count('\n') > before + 5;
        })) << ignored;
        EXPECT_EQ(m_panel.stop(SIGTERM).exitCode, 0);
    }
}

/// Both are there when the program looks again; not one value has been read.
TEST_F(PanelStuckOutput, watch_signalAndEndOfSecondsInOneTurn_signalCounts) {
    startPlc({"--faults", "silent 1-1000000"});
    startPanel(&m_panel, {"watch", "DM:5", "--format", "csv", "--seconds", "1"});
    ASSERT_TRUE(m_panel.waitFor("\n"));
    ASSERT_TRUE(signalProcess(m_panel.pid(), SIGSTOP));
    ::poll(nullptr, 0, 1500); // its time is up
    ASSERT_TRUE(signalProcess(m_panel.pid(), SIGTERM));
    ASSERT_TRUE(signalProcess(m_panel.pid(), SIGCONT));
    const Ended ended = m_panel.waitForEnd();
    EXPECT_EQ(ended.exitCode, 0);
    EXPECT_EQ(ended.out.count('\n'), 1) << plain(ended.out);
}

} // namespace
