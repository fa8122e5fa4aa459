// velkor-plc where it cannot say what it has to say, or lacks what it needs to work.
#include "endtoend/plc_program.h"
#include "support/stuck_pipe.h"

#include <QtCore/QTemporaryDir>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const char* const kOutputToFullDevice = "exec \"$@\" >/dev/full";
const char* const kOutputClosed = "exec \"$@\" >&-";

class PlcOutput : public PlcProgram {
protected:
    void expectFailure(const QStringList& arguments, const char* says) {
        start(arguments);
        ASSERT_TRUE(process_.waitForFinished(kPatienceMs));
        expectEnd(1);
        const QString told = complaint();
        EXPECT_TRUE(told.contains(latin(says))) << qPrintable(told);
    }

    // Serves with an output that nobody reads any more after the first line.
    void serveWhoReadsOneLine(const QStringList& arguments) {
        const QString fifo = folder_.filePath(latin("output"));
        ASSERT_EQ(mkfifo(qPrintable(fifo), 0600), 0);
        const int output = open(qPrintable(fifo), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        ASSERT_GE(output, 0);
        startThrough(qPrintable(latin("exec \"$@\" >'%1'").arg(fifo)));
        start(QStringList{latin("--listen"), latin("127.0.0.1:0")} + arguments);
        pollfd wait = {output, POLLIN, 0};
        EXPECT_EQ(poll(&wait, 1, kPatienceMs), 1);
        QByteArray line(1000, '\0');
        line.resize(static_cast<int>(qMax(ssize_t(0), read(output, line.data(), 1000))));
        close(output);
        meet(QString::fromLatin1(line).trimmed());
    }

    QTemporaryDir folder_;
    QString image_ = folder_.filePath(latin("memory.txt"));
};

TEST_F(PlcOutput, helpAndVersion_thatCannotBeWritten_fail) {
    for (const char* redirection : {kOutputToFullDevice, kOutputClosed}) {
        startThrough(redirection);
        expectFailure({latin("--help")}, "cannot write to the standard output: ");
        expectFailure({latin("--version")}, "cannot write to the standard output: ");
    }
}

TEST_F(PlcOutput, listeningLine_thatCannotBeWritten_endsItAtOnce) {
    for (const char* redirection : {kOutputToFullDevice, kOutputClosed}) {
        startThrough(redirection);
        expectFailure({latin("--listen"), latin("127.0.0.1:0")},
                      "cannot write to the standard output: ");
    }
}

TEST_F(PlcOutput, lastLine_thatNobodyReads_failsButTheImageIsSaved) {
    serveWhoReadsOneLine({latin("--image"), image_});
    send("01 0102 82000000 0001 1234");
    EXPECT_EQ(receive(), "01 01 02 00 00");
    stop(SIGTERM);
    expectEnd(1);
    EXPECT_TRUE(complaint().contains(latin("cannot write to the standard output: Broken pipe")));
    EXPECT_TRUE(contentOf(image_).contains("DM 0: 1234"));
}

TEST_F(PlcOutput, trace_thatNobodyReads_endsItInOrder) {
    serveWhoReadsOneLine({latin("--trace"), latin("--image"), image_});
    send("01 0102 82000000 0001 1234");
    ASSERT_TRUE(process_.waitForFinished(kPatienceMs));
    expectEnd(1);
    EXPECT_EQ(complaint().count(latin("cannot write to the standard output: Broken pipe")), 1);
    EXPECT_TRUE(contentOf(image_).contains("DM 0: 1234"));
}

TEST_F(PlcOutput, listeningLine_thatIsNotTaken_sigtermEndsIt) {
    const StuckPipe pipe(folder_.filePath(latin("pipe")), StuckPipe::Full);
    startThrough(qPrintable(latin("exec \"$@\" >'%1'").arg(pipe.path())));
    start({latin("--listen"), latin("127.0.0.1:0")});
    ASSERT_TRUE(waitUntilStuck(process_.processId(), pipe.path()));
    stop(SIGTERM);
    expectEnd(1);
    EXPECT_TRUE(complaint().contains(
        latin("cannot write to the standard output: its reader has stopped reading")));
}

TEST_F(PlcOutput, trace_thatIsNotTaken_sigtermEndsItAndTheImageIsSaved) {
    const StuckPipe pipe(folder_.filePath(latin("pipe")), StuckPipe::Empty);
    startThrough(qPrintable(latin("exec \"$@\" >'%1'").arg(pipe.path())));
    start({latin("--listen"), latin("127.0.0.1:0"), latin("--trace"), latin("--image"), image_});
    QByteArray line;
    QElapsedTimer timer;
    timer.start();
    while (!line.endsWith('\n') && timer.elapsed() < kPatienceMs) {
        process_.waitForFinished(5); // it goes on; what comes is looked for again
        line += pipe.take();
    }
    meet(QString::fromLatin1(line).trimmed());
    for (int i = 0; i < 60; ++i) { // more than a page of lines
        send("01 0102 82000000 0001 1234");
    }
    ASSERT_TRUE(waitUntilStuck(process_.processId(), pipe.path()));
    stop(SIGTERM);
    expectEnd(1);
    EXPECT_TRUE(complaint().contains(
        latin("cannot write to the standard output: its reader has stopped reading")));
    EXPECT_TRUE(contentOf(image_).contains("DM 0: 1234"));
    EXPECT_TRUE(pipe.take().endsWith('\n'));
}

// The terminal has been closed: nobody reads any more either.
TEST_F(PlcOutput, hangUp_isAnEndThatSavesTheImage) {
    serveWhoReadsOneLine({latin("--image"), image_});
    send("01 0102 82000000 0001 1234");
    EXPECT_EQ(receive(), "01 01 02 00 00");
    stop(SIGHUP);
    expectEnd(1);
    EXPECT_TRUE(contentOf(image_).contains("DM 0: 1234"));
}

TEST_F(PlcOutput, imageInTheFileOfAnOutput_isRefused) {
    for (const char* redirection : {"exec \"$@\" >'%1'", "exec \"$@\" 2>'%1'"}) {
        startThrough(qPrintable(latin(redirection).arg(image_)));
        start({latin("--listen"), latin("127.0.0.1:0"), latin("--image"), image_});
        ASSERT_TRUE(process_.waitForFinished(kPatienceMs));
        expectEnd(1);
        const QString told = complaint() + QString::fromLatin1(contentOf(image_));
        EXPECT_TRUE(told.contains(latin("the standard output or error is directed into it")))
            << qPrintable(told);
    }
}

TEST_F(PlcOutput, interruptIgnoredAtTheStart_isNoEnd) {
    startThrough("trap '' INT; exec \"$@\"");
    serve();
    ASSERT_TRUE(signalProcess(process_.processId(), SIGINT));
    send("01 0102 82000000 0001 1234");
    EXPECT_EQ(receive(), "01 01 02 00 00");
    send("02 0102 82000000 0001 1234");
    EXPECT_EQ(receive(), "02 01 02 00 00");
    stop(SIGTERM);
    expectEnd(0);
}

TEST_F(PlcOutput, wrongArguments_areToldWithoutTheirControlCharacters) {
    expectRefusal({latin("--mode"), latin("\x1b[31mred")}, 2,
                  {latin("\"\\x1b[31mred\": expected")});
    expectRefusal({latin("\x1b]0;title\a")}, 2, {latin("\"\\x1b]0;title\\x07\": expected")});
    expectRefusal({latin("--faults"), latin("drop \x1b 3")}, 2,
                  {latin("column 6:"), latin("\n  drop ? 3\n       ^\n")});
}

TEST_F(PlcOutput, everyLimitOfDescriptors_isEnoughOrTold) {
    const int notLoaded = 127; // the system's loader has run out of them, and says so
    int told = 0;
    int served = 0;
    for (int limit = 4; limit <= 32; ++limit) {
        SCOPED_TRACE(limit);
        QFile::remove(image_);
        startThrough(qPrintable(QStringLiteral("ulimit -n %1; exec \"$@\"").arg(limit)));
        start({latin("--listen"), latin("127.0.0.1:0"), latin("--image"), image_});
        if (readLine().startsWith(latin("listening on "))) {
            stop(SIGTERM);
            expectEnd(0);
            EXPECT_TRUE(QFile::exists(image_));
            ++served;
            continue;
        }
        ASSERT_TRUE(process_.state() == QProcess::NotRunning ||
                    process_.waitForFinished(kPatienceMs));
        if (process_.exitCode() != notLoaded) {
            expectEnd(1);
            const QString complained = complaint();
            EXPECT_TRUE(complained.contains(latin("too few file descriptors")))
                << qPrintable(complained);
            ++told;
        }
    }
    EXPECT_GT(told, 0);
    EXPECT_GT(served, 0);
}

} // namespace
