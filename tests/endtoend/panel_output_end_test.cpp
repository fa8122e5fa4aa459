// The panel's standard output when nobody reads it, when it cannot be written, and when it is not
// there.

#include "endtoend/programs.h"

#include <QtCore/QFile>

#include <csignal>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

class PanelOutputEnd : public Programs {
protected:
    /// A watch of a value that does not change, into a reader that leaves after one line; on
    /// standard error the exit code that a shell sees.
    Ended watchIntoHead(const QString& before = QString()) {
        return panelInShell(before + "{",
                            {"watch", "DM:5", "--scan-interval", "20", "--seconds", "15"},
                            "; echo \"exit code $?\" >&2; } | head -n 1");
    }

    /// Runs the panel with standard output on a full disk.
    Ended intoFull(const QStringList& arguments) {
        QProcess process;
        process.setStandardOutputFile("/dev/full");
        return runToEnd(&process, VELKOR_PANEL_PROGRAM,
                        QStringList{"--plc", plcAddress()} + arguments);
    }
};

TEST_F(PanelOutputEnd, watch_readerLeaves_endsAsOtherToolsDo) {
    startPlc();
    const Ended ended = watchIntoHead();
    EXPECT_TRUE(ended.out.endsWith("DM 5  0\n")) << plain(ended.out);
    EXPECT_EQ(plain(ended.err), "exit code 141\n"); // 128 and SIGPIPE
}

TEST_F(PanelOutputEnd, watch_readerLeavesAndTheSignalIsIgnored_saysSo) {
    startPlc();
    const Ended ended = watchIntoHead("trap '' PIPE; ");
    EXPECT_EQ(plain(ended.err), "velkor-panel: the output could not be written: nobody reads it "
                                "any more\nexit code 1\n");
}

/// Nothing has been read yet that could be printed, and nothing will be for some time.
TEST_F(PanelOutputEnd, watchOfASilentPlc_readerLeaves_endsAsOtherToolsDo) {
    startPlc({"--faults", "silent 1-1000000"});
    const Ended ended = panelInShell("{",
                                     {"watch", "DM:5", "--format", "csv", "--timeout", "20000",
                                      "--retries", "9", "--seconds", "15"},
                                     "; echo \"exit code $?\" >&2; } | head -n 1");
    EXPECT_EQ(plain(ended.err), "exit code 141\n");
}

TEST_F(PanelOutputEnd, longOutput_readerLeaves_endsAsOtherToolsDo) {
    const Ended ended = panelInShell("{", {"layout", "DM", "0", "32767", "1"},
                                     "; echo \"exit code $?\" >&2; } | head -n 1");
    EXPECT_EQ(plain(ended.err), "exit code 141\n");
}

TEST_F(PanelOutputEnd, watch_readerThatStopsReading_isEndedBySigterm) {
    startPlc({"--process", "tank"});
    const QByteArray pipe = path("pipe").toLocal8Bit();
    ASSERT_EQ(mkfifo(pipe.constData(), 0600), 0);
    const int reader = ::open(pipe.constData(), O_RDWR | O_NONBLOCK);
    ASSERT_GE(reader, 0);
    ASSERT_GT(::fcntl(reader, F_SETPIPE_SZ, 4096), 0); // a page, which is soon full
    Running watch;
    watch.start("/bin/sh",
                {"-c", "exec \"$0\" \"$@\" > '" + path("pipe") + "'", VELKOR_PANEL_PROGRAM, "--plc",
                 plcAddress(), "watch", "DM:0:20", "--scan-interval", "10", "--format", "json"});
    // Values change ten times a second: when nothing has come for two, it is stuck.
    QElapsedTimer still;
    still.start();
    int bytes = 0;
    while (bytes == 0 ? still.elapsed() < PATIENCE_MS : still.elapsed() < 2000) {
        int now = 0;
        ::poll(nullptr, 0, 20);
        ::ioctl(reader, FIONREAD, &now);
        if (now != bytes) {
            bytes = now;
            still.restart();
        }
    }
    ASSERT_GT(bytes, 0);
    const Ended ended = watch.stop(SIGTERM);
    EXPECT_EQ(ended.exitCode, 0) << plain(ended.err);
    ::close(reader);
}

TEST_F(PanelOutputEnd, watch_intoAFullDisk_endsAndSaysWhy) {
    startPlc();
    for (const char* format : {"table", "csv", "json"}) {
        const Ended ended =
            intoFull({"watch", "DM:5", "--scan-interval", "20", "--format", format});
        EXPECT_EQ(ended.exitCode, 1) << format;
        EXPECT_EQ(plain(ended.err), "velkor-panel: the output could not be written: No space left "
                                    "on device\n");
    }
}

TEST_F(PanelOutputEnd, fileThatMayNotGrow_isToldAsAFullDisk) {
    startPlc();
    // A limit that leaves room for the panel's own copy of the driver; the output, of which hardly
    // anything is on the disk, has reached it.
    QFile output(path("output"));
    ASSERT_TRUE(output.open(QIODevice::WriteOnly));
    ASSERT_TRUE(output.resize(200 * 1024 * 1024));
    const Ended ended =
        panelInShell("ulimit -f 200000;", {"read", "DM", "0"}, ">> '" + path("output") + "'");
    EXPECT_EQ(ended.exitCode, 1); // and no signal
    EXPECT_TRUE(ended.err.contains("the output could not be written")) << plain(ended.err);
}

TEST_F(PanelOutputEnd, everyCommand_intoAFullDisk_isNoSuccess) {
    startPlc();
    const QString recipe = file("recipe.csv", "name,register,address\na,DM,1\n");
    const QString values = file("values.csv", "a,1\n");
    const QStringList commands[] = {
        {"--help"},
        {"--version"},
        {"registers"},
        {"check", "DM", "1"},
        {"layout", "DM", "1", "2", "1"},
        {"read", "DM", "1"},
        {"write", "DM", "1", "2"},
        {"probe"},
        {"recipe", "download", recipe, "--values", values},
        {"recipe", "upload", recipe},
        {"recipe", "upload", recipe, "--values", path("out.csv")},
        {"recipe", "upload", recipe, "--values", "/dev/stdout"},
    };
    for (const QStringList& command : commands) {
        const Ended ended = intoFull(command);
        EXPECT_EQ(ended.exitCode, 1) << plain(command.join(' '));
        EXPECT_TRUE(ended.err.contains("the output could not be written: No space left on device"))
            << plain(command.join(' ')) << ": " << plain(ended.err);
    }
}

/// Each would write over the other.
TEST_F(PanelOutputEnd, captureIntoTheFileOfAnOutput_isWrongUsage) {
    startPlc();
    for (const char* output : {">", "2>"}) {
        for (const QString& capture :
             {path("both"), QString(*output == '2' ? "/dev/stderr" : "/dev/stdout")}) {
            const Ended ended =
                panelInShell("", {"--pcap", capture, "read", "DM", "5"},
                             output + ("'" + path("both") + "'; echo \"exit code $?\""));
            EXPECT_EQ(plain(ended.out), "exit code 2\n") << output << plain(capture);
        }
    }
    EXPECT_EQ(panel({"--pcap", path("both"), "read", "DM", "5"}).exitCode, 0);
    EXPECT_EQ(panel({"--pcap", "/dev/null", "read", "DM", "5"}).exitCode, 0);
}

/// The next file or socket to be opened would get the number of standard output, and what is
/// printed.
TEST_F(PanelOutputEnd, outputClosed_isNoSuccessAndThePlcIsNotSentTheOutput) {
    startPlc();
    const Ended ended = panelInShell("exec", {"read", "DM", "5"}, "<&- >&-");
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_TRUE(ended.err.contains("the output could not be written")) << plain(ended.err);
    const QString plc = m_plc.stop(SIGTERM).out;
    EXPECT_TRUE(plc.contains("stopped: requests 1, replies 1, refused 0, ignored 0;"))
        << plain(plc);
}

} // namespace
