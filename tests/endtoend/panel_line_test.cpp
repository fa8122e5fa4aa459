// Datagrams that answer nothing: late ones, and ones of others.

#include "endtoend/fake_plc.h"

#include "host/line/udp_link.h"

#include <QtCore/QFile>

#include <csignal>
#include <fcntl.h>
#include <functional>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

class PanelLine : public Programs {
protected:
    FakePlc& fakePlc() {
        m_port = m_fake.port();
        return m_fake;
    }

    /// Runs the event loop until the condition holds.
    static bool comes(const std::function<bool()>& condition) {
        QElapsedTimer timer;
        timer.start();
        while (!condition() && timer.elapsed() < PATIENCE_MS) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
        }
        return condition();
    }

    FakePlc m_fake;
};

/// The local port is fixed, so a reply that the PLC sends to a process that has gone arrives at the
/// next one.
TEST_F(PanelLine, lateReplyToAnEarlierProcess_isNotTaken) {
    FakePlc& plc = fakePlc();
    const QString local = QString("127.0.0.1:%1").arg(freePort());
    for (int round = 0; round < 4; ++round) { // two processes begin alike once in 255 times
        EXPECT_EQ(panel({"--bind", local, "--timeout", "1", "--retries", "1", "read", "DM", "100"})
                      .exitCode,
                  1);
        const QNetworkDatagram first = plc.next();
        Running second;
        startPanel(&second, {"--bind", local, "--format", "csv", "read", "DM", "200"});
        const QNetworkDatagram frame = plc.next();
        plc.send(frame, FakePlc::replyTo(first, 0, "1267")); // 4711
        plc.send(frame, FakePlc::replyTo(frame, 0, "002A"));
        const Ended ended = second.waitForEnd();
        if (FakePlc::sidOf(first) != FakePlc::sidOf(frame)) {
            EXPECT_EQ(plain(ended.out), "register,address,value\nDM,200,42\n");
            return;
        }
    }
    FAIL() << "each process begins with the same service ID";
}

TEST_F(PanelLine, processes_beginWithServiceIdsOfTheirOwn) {
    FakePlc& plc = fakePlc();
    QSet<int> ids;
    for (int process = 0; process < 6; ++process) {
        panel({"--timeout", "1", "--retries", "1", "read", "DM", "100"});
        ids.insert(FakePlc::sidOf(plc.next()));
    }
    // Fewer than three different ones among six happen once in a hundred million runs.
    EXPECT_GE(ids.size(), 3);
}

/// A PLC in PROGRAM mode: its reply to the first change of mode says that it failed, and the PLC
/// has not changed; the second one works. The driver fails the write all the same, twice.
TEST_F(PanelLine, modeChangeThatWorksTheSecondTime_isWritten) {
    FakePlc& plc = fakePlc();
    Running write;
    startPanel(&write, {"--allow-mode-change", "write", "DM", "100", "5"});
    int changes = 0;
    int value = 0;
    plc.serve(&write, [&](const QNetworkDatagram& frame) {
        if (frame.data().mid(10, 2) == QByteArray::fromHex("0401")) {
            return FakePlc::replyTo(frame, ++changes == 1 ? 0x2201 : 0);
        }
        value = changes < 2 ? 0 : frame.data().at(19);
        return FakePlc::replyTo(frame, changes < 2 ? 0x2203 : 0);
    });
    const Ended ended = write.waitForEnd();
    EXPECT_EQ(value, 5);
    EXPECT_EQ(ended.exitCode, 0) << plain(ended.out);
    EXPECT_TRUE(ended.out.endsWith("written: DM 100 (1 word)\n")) << plain(ended.out);
}

TEST_F(PanelLine, datagramsOfOthersBeforeTheSocketIsConnected_areThrownAway) {
    velkor_host::UdpLink link;
    QVector<QByteArray> taken;
    link.onDatagram = [&](const QByteArray& datagram) { taken.append(datagram); };
    ASSERT_TRUE(link.bind({QHostAddress(QHostAddress::LocalHost), 0}).isEmpty());
    QUdpSocket other;
    for (int count = 0; count < 100; ++count) {
        ASSERT_EQ(other.writeDatagram("forged", link.local().address, link.local().port), 6);
    }
    QUdpSocket plc;
    ASSERT_TRUE(plc.bind(QHostAddress(QHostAddress::LocalHost), 0));
    plc.writeDatagram("too early", link.local().address, link.local().port);
    ASSERT_TRUE(link.connectTo({plc.localAddress(), plc.localPort()}).isEmpty());
    plc.writeDatagram("right", link.local().address, link.local().port);
    EXPECT_TRUE(comes([&] { return taken.contains("right"); }));
    EXPECT_EQ(taken, QVector<QByteArray>{"right"});
}

/// A time as captures and gettimeofday() tell it, in microseconds.
qint64 wallClock() {
    timeval now = {};
    gettimeofday(&now, nullptr);
    return qint64(now.tv_sec) * 1000000 + now.tv_usec;
}

/// The times in a capture, in its order.
QVector<qint64> captureTimes(const QString& path) {
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    file.skip(24); // the file's header
    QVector<qint64> times;
    for (;;) {
        quint32 record[4] = {}; // seconds, microseconds, length in the file, whole length
        if (file.read(reinterpret_cast<char*>(record), sizeof record) != sizeof record) {
            return times;
        }
        times.append(qint64(record[0]) * 1000000 + record[1]);
        file.skip(record[2]);
    }
}

TEST_F(PanelLine, capture_showsNoFrameLaterThanThePlcHasGotIt) {
    FakePlc& plc = fakePlc();
    Running probe;
    startPanel(&probe, {"--timeout", "5000", "--pcap", path("probe.pcap"), "probe"});
    QVector<qint64> got;
    plc.serve(&probe, [&](const QNetworkDatagram& frame) {
        got.append(wallClock());
        return FakePlc::replyTo(frame, 0, "0000");
    });
    EXPECT_EQ(probe.waitForEnd().exitCode, 0) << plain(probe.output());
    const QVector<qint64> times = captureTimes(path("probe.pcap"));
    ASSERT_EQ(got.size(), 50);
    ASSERT_EQ(times.size(), 100);
    for (int exchange = 0; exchange < 50; ++exchange) {
        EXPECT_LE(times.at(2 * exchange), got.at(exchange)) << exchange;
        EXPECT_GE(times.at(2 * exchange + 1), got.at(exchange)) << exchange;
    }
}

class PanelCaptureFile : public Programs {
protected:
    /// Runs the panel where, from its first frame on, no file may grow beyond 4096 bytes.
    Ended panelWithLittleRoom(const QStringList& arguments) {
        FakePlc plc;
        Running panel;
        panel.start("/bin/sh",
                    QStringList{"-c", "trap '' XFSZ; exec \"$@\"", "sh", VELKOR_PANEL_PROGRAM,
                                "--plc", QString("127.0.0.1:%1").arg(plc.port())} +
                        arguments);
        plc.serve(&panel, [&](const QNetworkDatagram& frame) {
            const rlimit little = {4096, 4096};
            EXPECT_EQ(prlimit(static_cast<pid_t>(panel.pid()), RLIMIT_FSIZE, &little, nullptr), 0);
            return FakePlc::replyTo(frame, 0, "0000");
        });
        return panel.waitForEnd();
    }
};

TEST_F(PanelCaptureFile, onAFullDisk_isSaidBeforeAnythingIsSent) {
    startPlc();
    const Ended ended = panel({"--pcap", "/dev/full", "read", "DM", "0"});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_TRUE(ended.err.contains("cannot write the capture /dev/full: No space left on device"))
        << plain(ended.err);
    EXPECT_EQ(plcRequests(), 0);
}

TEST_F(PanelCaptureFile, onADiskThatFillsUp_isToldWhenTheWorkIsDone) {
    const Ended ended = panelWithLittleRoom({"--pcap", path("c.pcap"), "probe"});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_TRUE(ended.out.contains("answers: 50 of 50")) << plain(ended.out);
    EXPECT_TRUE(ended.out.contains("c.pcap is not whole: behind ")) << plain(ended.out);
    EXPECT_TRUE(ended.out.contains(" nothing more could be written: File too large"))
        << plain(ended.out);
}

TEST_F(PanelCaptureFile, onADiskThatFillsUp_endsAWatch) {
    const Ended ended =
        panelWithLittleRoom({"--pcap", path("c.pcap"), "watch", "DM:0", "--scan-interval", "10"});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_TRUE(ended.out.contains("c.pcap is not whole: behind ")) << plain(ended.out);
}

/// A thread that the panel does not know of would be ended by the signals that the panel holds.
TEST_F(PanelLine, watch_whileItPolls_hasOneThread) {
    startPlc();
    Running watch;
    startPanel(&watch, {"watch", "DM:0", "--scan-interval", "20"});
    ASSERT_TRUE(watch.waitFor("DM:0")) << plain(watch.output());
    EXPECT_EQ(watch.threads(), 1);
    EXPECT_EQ(m_plc.threads(), 1);
}

TEST_F(PanelLine, watch_tagsFromAPipeThatStaysSilent_isEndedBySigterm) {
    ASSERT_EQ(mkfifo(path("tags").toLocal8Bit().constData(), 0600), 0);
    startPlc();
    Running watch;
    startPanel(&watch, {"watch", path("tags")});
    // Until the panel has opened it there is no reader, and this fails.
    int pipe = -1;
    EXPECT_TRUE(comes([&] {
        pipe = ::open(path("tags").toLocal8Bit().constData(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
        return pipe >= 0 || watch.hasEnded();
    }));
    watch.stop(SIGTERM);
    EXPECT_TRUE(watch.hasEnded());
    ::close(pipe);
}

} // namespace
