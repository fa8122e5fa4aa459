// A long run over a bad line: what the panel said, held against what the PLC did.
//
// Many panels, one after the other at one local port, read and write words through a line that
// drops, doubles, cuts, delays and reorders requests and replies. The PLC's trace is the truth: it
// says what was executed in which order, so that an old write that is executed after a newer one is
// known too. Every written value is another one.
//
// VELKOR_TRUTH_SEED=N chooses another run. What is chosen and what goes wrong is the same for a
// seed; how the panels' tries meet it hangs on the time that they take.

#include "endtoend/panel_claims.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QHash>
#include <QtCore/QRegularExpression>
#include <QtNetwork/QUdpSocket>

#include <csignal>
#include <random>
#include <stdexcept>
#include <unistd.h>

namespace {

const int READS_AND_WRITES = 2000; // pieces: each is one read or write of the PLC's memory
const int MOST_WORDS = 24;
const int WORDS_PER_FRAME[] = {1, 2, 4}; // the trace shows the data of up to eight
const QStringList FAULTS{"drop 5%",
                         "duplicate 5%",
                         "truncate 5% to 13",
                         "delay 5% by 50ms",
                         "late 5%",
                         "silent 5%",
                         "duplicate-request 5%",
                         "truncate-request 5% to 17",
                         "delay-request 5% by 50ms",
                         "late-request 5%"};

class TruthRun : public Programs {
protected:
    /// Its output goes to a file: a pipe that is not read while a panel runs would hold it up.
    void startPlcOnABadLine() {
        m_plc.start("sh", {"-c", "exec \"$@\" >\"$0\"", path("trace.txt"), VELKOR_PLC_PROGRAM,
                           "--listen", "127.0.0.1:0", "--trace", "--seed", QString::number(m_seed),
                           "--faults", FAULTS.join("; "), "--image", path("memory.txt")});
        const QString listening = "listening on 127.0.0.1:";
        if (!m_plc.waitFor([&](const QString&) { return trace().contains('\n'); }) ||
            !trace().startsWith(listening)) {
            throw std::runtime_error(plain("velkor-plc does not listen: " + trace()));
        }
        m_port = trace().mid(listening.size()).section('\n', 0, 0).toUShort();
        m_localPort = unusedPort();
    }

    /// Each fault has met a share of the requests that is near its own.
    void endPlc() {
        EXPECT_EQ(m_plc.stop(SIGTERM).exitCode, 0);
        const QString counts = trace().section("stopped: ", 1);
        const int requests = counts.section("requests ", 1).section(',', 0, 0).toInt();
        EXPECT_GE(requests, READS_AND_WRITES);
        for (const QString& fault : FAULTS) {
            const QString verb = ' ' + fault.section(' ', 0, 0) + ' ';
            const QString count =
                counts.section(verb, 1).section(QRegularExpression("[,\n]"), 0, 0);
            EXPECT_GE(count.toInt(), requests * 3 / 100) << plain(fault) << plain(counts);
        }
    }

    QString trace() const {
        QFile file(path("trace.txt"));
        return file.open(QIODevice::ReadOnly) ? QString::fromLatin1(file.readAll()) : QString();
    }

    QString traceOf(const PanelRun& run) const {
        return trace().mid(static_cast<int>(run.span.begin),
                           static_cast<int>(run.span.end - run.span.begin));
    }

    /// Outside of what the system hands out, so that nobody takes it between two panels.
    static quint16 unusedPort() {
        QUdpSocket socket;
        for (int port = 20000 + getpid() % 10000; port < 32000; ++port) {
            if (socket.bind(QHostAddress(QHostAddress::LocalHost), static_cast<quint16>(port))) {
                return static_cast<quint16>(port);
            }
        }
        throw std::runtime_error("no local port is free");
    }

    int upTo(int most) { return std::uniform_int_distribution<int>(1, most)(m_random); }

    PanelRun chooseRun() {
        PanelRun run;
        run.write = upTo(2) == 1;
        run.range.area = upTo(8) == 1 ? "AR" : "DM";
        run.range.address = run.range.area == "AR" ? READ_ONLY_END - 6 + upTo(10) : upTo(40);
        run.range.count = upTo(MOST_WORDS);
        run.wordsPerFrame = WORDS_PER_FRAME[upTo(3) - 1];
        for (int i = 0; run.write && i < run.range.count; ++i) {
            run.values.append(++m_lastValue);
        }
        return run;
    }

    void carryOut(PanelRun* run) {
        const int tries = upTo(2) == 1 ? 2 : 12; // some are to fail
        QStringList arguments = QString("--bind 127.0.0.1:%1 --timeout 20 --retries %2 "
                                        "--words-per-frame %3")
                                    .arg(m_localPort)
                                    .arg(tries)
                                    .arg(run->wordsPerFrame)
                                    .split(' ');
        arguments +=
            {run->write ? "write" : "read", run->range.area, QString::number(run->range.address)};
        for (const quint16 value : run->values) {
            arguments.append(QString::number(value));
        }
        if (!run->write) {
            arguments << QString::number(run->range.count) << "--format"
                      << "csv";
        }
        run->span.begin = QFileInfo(path("trace.txt")).size();
        run->ended = panel(arguments);
        run->span.end = QFileInfo(path("trace.txt")).size();
    }

    /// A PLC without faults that has loaded the image tells the words that the trace comes to.
    void expectMemoryOf(const PlcDeeds& deeds) {
        startPlc({"--image", path("memory.txt")});
        for (const TracedRange& range :
             {TracedRange{"DM", 0, 100}, TracedRange{"AR", 0, READ_ONLY_END + 100}}) {
            const Ended ended =
                panel({"--format", "csv", "read", range.area, QString::number(range.address),
                       QString::number(range.count)});
            EXPECT_EQ(ended.exitCode, 0) << plain(ended.err);
            QString expected = "register,address,value\n";
            const QVector<quint16> words = deeds.words(range);
            for (int i = 0; i < range.count; ++i) {
                expected +=
                    QString("%1,%2,%3\n").arg(range.area).arg(range.address + i).arg(words.at(i));
            }
            EXPECT_EQ(plain(ended.out), plain(expected));
        }
    }

    const unsigned m_seed = qEnvironmentVariableIntValue("VELKOR_TRUTH_SEED") & 0xFFFF;
    std::mt19937 m_random{m_seed};
    quint16 m_localPort = 0;
    quint16 m_lastValue = 0;
};

TEST_F(TruthRun, badLine_whatWasToldIsWhatThePlcDid) {
    startPlcOnABadLine();
    QVector<PanelRun> runs;
    for (int pieces = 0; pieces < READS_AND_WRITES;
         pieces += static_cast<int>(runs.constLast().pieces().size())) {
        runs.append(chooseRun());
        carryOut(&runs.last());
    }
    endPlc();
    const PlcDeeds deeds(trace());
    int strays = 0;
    int taken = 0; // a stray reply for an own one
    QHash<QString, int> outcomes;
    for (const PanelRun& run : runs) {
        const QString untruth = untruthOf(run, deeds);
        // A reply to an earlier panel that has the service ID of the request in flight is taken for
        // its reply, by any host: the ID is all there is to tell them apart.
        const bool excused = !untruth.isEmpty() && deeds.twinReplies(run.span) > 0;
        if (!untruth.isEmpty()) {
            const std::string report = plain(untruth) + '\n' + run.text() + plain(traceOf(run));
            EXPECT_TRUE(excused) << report;
            std::printf("%s\n", report.c_str());
        }
        strays += deeds.strayReplies(run.span);
        taken += excused ? 1 : 0;
        ++outcomes[QString("%1 %2").arg(run.write ? "write" : "read").arg(run.ended.exitCode)];
    }
    EXPECT_LE(taken, 2); // one in 255 strays at most
    expectMemoryOf(deeds);
    // Both ends of both came often, and replies to earlier panels too: the run has been worth it.
    for (const char* outcome : {"read 0", "read 1", "write 0", "write 1"}) {
        EXPECT_GE(outcomes.value(outcome), runs.size() / 20) << outcome;
    }
    EXPECT_GE(strays, runs.size() / 20);
    std::printf("%d panels; %d reads and %d writes done, %d and %d failed; %d stray replies, "
                "%d taken\n",
                static_cast<int>(runs.size()), outcomes["read 0"], outcomes["write 0"],
                outcomes["read 1"], outcomes["write 1"], strays, taken);
}

} // namespace
