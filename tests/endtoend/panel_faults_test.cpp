// What goes wrong on the line or at the PLC, and what the panel makes of it.

#include "endtoend/fake_plc.h"
#include "endtoend/programs.h"

#include <QtNetwork/QUdpSocket>

#include <csignal>

namespace {

struct Fault {
    const char* name;
    const char* script;
};

/// Twenty words that hold 1 to 20, read one word a frame.
class PanelFaults : public Programs {
protected:
    void startNumberedPlc(const QStringList& arguments) {
        QByteArray image = "DM 0:";
        for (int value = 1; value <= 20; ++value) {
            image += ' ' + QByteArray::number(0x10000 + value, 16).mid(1);
        }
        startPlc(arguments + QStringList{"--image", file("image.txt", image + '\n')});
    }

    Ended readNumbers() {
        return panel({"--timeout", "100", "--retries", "8", "--words-per-frame", "1", "--format",
                      "csv", "read", "DM", "0", "20"});
    }

    static QStringList numbers() {
        QStringList lines{"register,address,value"};
        for (int value = 1; value <= 20; ++value) {
            lines.append(QString("DM,%1,%2").arg(value - 1).arg(value));
        }
        lines.append(QString());
        return lines;
    }
};

class PanelFault : public PanelFaults, public testing::WithParamInterface<Fault> {};

TEST_P(PanelFault, onTheLine_everyValueIsReadRightAllTheSame) {
    startNumberedPlc({"--faults", GetParam().script});
    const Ended ended = readNumbers();
    EXPECT_EQ(ended.exitCode, 0) << plain(ended.err);
    EXPECT_EQ(plain(ended.out), plain(numbers().join('\n')));
}

const Fault FAULTS[] = {
    {"drop", "drop 3"},
    {"duplicate", "duplicate 5-6"},
    {"duplicateAll", "duplicate 1-1000"},
    {"truncate", "truncate 8 to 13"},
    {"truncateToNothing", "truncate 8 to 0"},
    {"truncateToHeader", "truncate 8 to 10"},
    {"delay", "delay 9 by 300ms"},
    {"delayMany", "delay 2-5 by 150ms"},
    {"late", "late 12"},
    {"lateMany", "late 3-8"},
    {"sidTooHigh", "sid+1 10"},
    {"sidTooLow", "sid-1 10-12"},
    {"silent", "silent 4-6"},
    {"dropShare", "drop 10%"},
    {"everything", "drop 3; duplicate 5-6; truncate 8 to 13; delay 9 by 300ms; late 12; sid+1 10; "
                   "silent 20-22; drop 10%"},
};

INSTANTIATE_TEST_SUITE_P(EachKind, PanelFault, testing::ValuesIn(FAULTS),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(PanelFaults, corruptReply_spoilsAtMostItsOwnValue) {
    for (const char* seed : {"1", "2", "3", "4", "5"}) {
        startNumberedPlc({"--faults", "corrupt 11", "--seed", seed});
        const Ended ended = readNumbers();
        EXPECT_EQ(ended.exitCode, 0) << plain(ended.err);
        QStringList lines = ended.out.split('\n');
        QStringList right = numbers();
        ASSERT_EQ(lines.size(), right.size());
        lines.removeAt(11);
        right.removeAt(11);
        EXPECT_EQ(plain(lines.join('\n')), plain(right.join('\n')));
    }
}

TEST_F(PanelFaults, duplicates_causeNoResend) {
    startNumberedPlc({"--faults", "duplicate 1-1000"});
    EXPECT_EQ(panel({"--words-per-frame", "1", "read", "DM", "0", "20"}).exitCode, 0);
    EXPECT_EQ(plcRequests(), 20);
}

TEST_F(PanelFaults, lateReplies_causeNoAvalanche) {
    startNumberedPlc({"--faults", "late 3"});
    EXPECT_EQ(readNumbers().exitCode, 0);
    // The one that was late is asked once more; its second reply is dropped, not answered.
    EXPECT_EQ(plcRequests(), 21);
}

TEST_F(PanelFaults, silentPlc_failsAndSaysWhatToCheck) {
    startPlc({"--faults", "silent 1-100"});
    const Ended ended = panel({"--timeout", "100", "--retries", "2", "read", "DM", "100", "3"});
    EXPECT_EQ(ended.exitCode, 1);
    for (const QString& part :
         {QString("reading DM 100 (3 words) failed"), plcAddress(),
          QString("in 2 tries of 100 ms each"), QString("1. a wrong address or port"),
          QString("2. wrong node numbers: the PLC is asked as node 1, this host is node 1 too")}) {
        EXPECT_TRUE(ended.err.contains(part)) << plain(part) << " in " << plain(ended.err);
    }
}

TEST_F(PanelFaults, wrongNode_isSilenceToo) {
    startPlc({"--node", "7"});
    const Ended ended = panel({"--timeout", "50", "--nodes", "0,9,0,0,1,0", "probe"});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_TRUE(ended.err.contains("asked as node 9")) << plain(ended.err);
}

TEST_F(PanelFaults, wrongPort_isSaidWithoutSpinning) {
    startPlc();
    m_plc.kill(); // its port is free now
    const Ended ended = panel({"--timeout", "100", "read", "DM", "0"});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_TRUE(ended.err.contains(QString("nothing listens on UDP port %1").arg(m_port)))
        << plain(ended.err);

    Running watch;
    startPanel(&watch, {"watch", "DM:0", "--timeout", "50", "--trace"});
    ASSERT_TRUE(watch.waitFor([](const QString& output) { return output.count("icmp") >= 20; }))
        << plain(watch.output());
    // Twenty tries of 50 ms: a second of waiting, and next to nothing of work.
    EXPECT_LT(watch.cpuSeconds(), 0.5);
    // One datagram for each try: no refusal has caused another one.
    EXPECT_LE(watch.output().count("icmp"), watch.output().count("send") + 1);
    EXPECT_EQ(watch.stop(SIGTERM).exitCode, 0);
}

TEST_F(PanelFaults, probe_plcThatStopsAnswering_isSaidAfterThreeRequests) {
    startPlc({"--faults", "silent 3-100000"});
    const Ended ended = panel({"--timeout", "50", "--retries", "2", "probe"});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_TRUE(ended.out.contains("answers: 2 of 5 requests")) << plain(ended.out);
    EXPECT_TRUE(ended.err.contains("no usable answer")) << plain(ended.err);
}

TEST_F(PanelFaults, probe_lostReplies_areCountedAsRetriesInEveryFormat) {
    for (const char* format : {"csv", "json", "table"}) {
        startPlc({"--faults", "drop 3, 7-8"});
        const Ended ended = panel({"--timeout", "200", "--format", format, "probe"});
        EXPECT_EQ(ended.exitCode, 0) << plain(ended.err);
        const QString out = ended.out;
        EXPECT_TRUE(out.endsWith(",3,0,0\n") ||
                    out.endsWith("\"retries\": 3, \"dropped\": 0, \"unsent\": 0}\n") ||
                    out.contains("\nretries     3: "))
            << plain(out);
    }
}

/// A PLC that hears nobody's first try. It tells a try by what came before it and not by its
/// number, so that a try more on a busy machine changes nothing.
TEST_F(PanelFaults, probe_everyFirstTryLost_hasNoRoundTrip) {
    FakePlc plc;
    m_port = plc.port();
    Running probe;
    startPanel(&probe, {"--timeout", "20", "--retries", "100", "probe"});
    QByteArray last;
    QByteArray lastAnswered;
    for (int answered = 0; answered < 50;) {
        const QNetworkDatagram frame = plc.next();
        ASSERT_TRUE(frame.isValid()) << plain(probe.output());
        if (frame.data() == last) {
            plc.send(frame, FakePlc::replyTo(frame, 0, "0000"));
            answered += frame.data() != lastAnswered ? 1 : 0;
            lastAnswered = frame.data();
        }
        last = frame.data();
    }
    const Ended ended = probe.waitForEnd();
    EXPECT_EQ(ended.exitCode, 0) << plain(ended.out);
    EXPECT_TRUE(ended.out.contains("answers: 50 of 50 requests")) << plain(ended.out);
    EXPECT_TRUE(ended.out.contains("round trip  unknown")) << plain(ended.out);
    const QString retries = ended.out.section("retries     ", 1).section(':', 0, 0);
    EXPECT_GE(retries.toInt(), 50) << plain(ended.out);
}

TEST_F(PanelFaults, probe_plcThatRefusesEverything_isNotSaidToGiveNoUsableReply) {
    startPlc({"--end-code", "1103"});
    const Ended ended = panel({"probe"});
    EXPECT_EQ(ended.exitCode, 0) << plain(ended.err);
    EXPECT_TRUE(ended.out.contains("answers: 50 of 50 requests")) << plain(ended.out);
    EXPECT_TRUE(ended.out.contains("end code    1103 address out of range")) << plain(ended.out);
    EXPECT_TRUE(ended.out.contains("\nretries     100: frames sent again because the PLC answered "
                                   "with an error\n"))
        << plain(ended.out);
    EXPECT_FALSE(ended.out.contains("no usable reply")) << plain(ended.out);
}

TEST_F(PanelFaults, probe_refusalsAndLostReplies_areToldApart) {
    startPlc({"--end-code", "1103", "--faults", "drop 1, 5"});
    const Ended ended = panel({"--timeout", "300", "probe"});
    EXPECT_TRUE(ended.out.contains("\nretries     100: frames sent again: 98 because the PLC "
                                   "answered with an error, 2 that had no usable reply\n"))
        << plain(ended.out);
}

TEST_F(PanelFaults, repliesCutBeforeTheirEndCode_areWaitedOut) {
    startPlc({"--faults", "truncate 1-3 to 13"});
    const Ended ended = panel({"--timeout", "300", "read", "DM", "0"});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_TRUE(ended.err.contains("in 3 tries of 300 ms each ")) << plain(ended.err);
    EXPECT_TRUE(ended.err.contains("; 3 datagrams came that were no reply to it"))
        << plain(ended.err);
}

TEST_F(PanelFaults, addressOfTooManyParts_isWrongUsage) {
    const Ended ended = bare({"--plc", "127.0.0.1:47406:1:2", "read", "DM", "0"});
    EXPECT_EQ(ended.exitCode, 2);
    EXPECT_TRUE(ended.err.contains("right is HOST or HOST:PORT")) << plain(ended.err);
}

TEST_F(PanelFaults, addressThatIsNotOfFourNumbers_isWrongUsage) {
    for (const char* address : {"127.1", "127.0.0.256", "0x7f000001", "2130706433", "127.0.0.01",
                                "127.0.0.1.1", "127.1:9600", "left=127.0.0.300:9600"}) {
        const Ended ended = bare({"--plc", address, "read", "DM", "0"});
        EXPECT_EQ(ended.exitCode, 2) << address;
        EXPECT_TRUE(ended.err.contains("an IPv4 address of four numbers")) << plain(ended.err);
    }
}

TEST_F(PanelFaults, ipv6Address_isWrongUsage) {
    for (const char* address : {"::1", "[::1]:9600"}) {
        const Ended ended = bare({"--plc", address, "read", "DM", "0"});
        EXPECT_EQ(ended.exitCode, 2);
        EXPECT_TRUE(ended.err.contains("not an IPv6 address")) << plain(ended.err);
    }
}

TEST_F(PanelFaults, unknownHost_isSaid) {
    const Ended ended = bare({"--plc", "no-such-plc.invalid", "read", "DM", "0"});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_TRUE(ended.err.contains("no computer of the name \"no-such-plc.invalid\""))
        << plain(ended.err);
}

TEST_F(PanelFaults, addressInUse_isSaid) {
    startPlc();
    QUdpSocket other;
    ASSERT_TRUE(other.bind(QHostAddress(QHostAddress::LocalHost), 0));
    const Ended ended =
        panel({"--bind", QString("127.0.0.1:%1").arg(other.localPort()), "read", "DM", "0"});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_TRUE(ended.err.contains("cannot use 127.0.0.1")) << plain(ended.err);
}

TEST_F(PanelFaults, garbageFromAThirdSocket_changesNothing) {
    startPlc();
    QUdpSocket third;
    ASSERT_TRUE(third.bind(QHostAddress(QHostAddress::LocalHost), 0));
    quint16 panelPort = 0;
    {
        QUdpSocket probe; // a port that is free now
        ASSERT_TRUE(probe.bind(QHostAddress(QHostAddress::LocalHost), 0));
        panelPort = probe.localPort();
    }
    Running watch;
    startPanel(&watch, {"--bind", QString("127.0.0.1:%1").arg(panelPort), "watch", "DM:5",
                        "--scan-interval", "20"});
    ASSERT_TRUE(watch.waitFor("DM 5  0")) << plain(watch.output());
    for (int sid = 0; sid < 256; ++sid) {
        // A reply to a read of one word, value 0x4242, for every service ID.
        QByteArray forged = QByteArray::fromHex("C0000200010000010000010100004242");
        forged[9] = static_cast<char>(sid);
        third.writeDatagram(forged, QHostAddress(QHostAddress::LocalHost), panelPort);
    }
    EXPECT_EQ(panel({"write", "DM", "5", "99"}).exitCode, 0);
    EXPECT_TRUE(watch.waitFor("DM 5  99")) << plain(watch.output());
    EXPECT_FALSE(watch.output().contains("16962")); // 0x4242
    EXPECT_EQ(watch.stop(SIGTERM).exitCode, 0);
}

TEST_F(PanelFaults, garbageFromThePlcsAddress_isDroppedAndTheReplyTaken) {
    FakePlc plc;
    m_port = plc.port();
    Running read;
    startPanel(&read, {"--trace", "read", "DM", "0"});
    const QNetworkDatagram request = plc.next();
    const QByteArray reply = FakePlc::replyTo(request, 0, "002A");
    QByteArray otherSid = reply;
    otherSid[9] = static_cast<char>(otherSid.at(9) + 1);
    for (const QByteArray& datagram :
         {QByteArray("x"), request.data(), otherSid, QByteArray(1400, '\xC0'), reply}) {
        plc.send(request, datagram);
    }
    const Ended ended = read.waitForEnd();
    EXPECT_EQ(ended.exitCode, 0) << plain(ended.out);
    EXPECT_TRUE(ended.out.contains("DM        0        42")) << plain(ended.out);
    EXPECT_EQ(ended.out.count("drop"), 4) << plain(ended.out);
    EXPECT_EQ(ended.out.count("send"), 1) << plain(ended.out);
}

TEST_F(PanelFaults, plcKilledAndStarted_everyTagIsFreshAgainWithinTwoSeconds) {
    startPlc();
    const quint16 port = m_port;
    QStringList arguments{"watch", "--timeout",         "200", "--scan-interval", "50", "--format",
                          "csv",   "--words-per-frame", "16"};
    const int tags = 10;
    for (int tag = 0; tag < tags; ++tag) {
        arguments.append(QString("DM:%1").arg(100 * tag)); // ten blocks
    }
    Running watch;
    startPanel(&watch, arguments);
    const auto lines = [&watch](const char* state) { return watch.output().count(state); };
    ASSERT_TRUE(watch.waitFor([&](const QString&) { return lines(",read,") == tags; }));
    m_plc.kill();
    ASSERT_TRUE(watch.waitFor([&](const QString&) { return lines(",stale,") == tags; }))
        << plain(watch.output());
    startPlc({}, port);
    QElapsedTimer timer;
    timer.start();
    ASSERT_TRUE(watch.waitFor([&](const QString&) { return lines(",read,") == 2 * tags; }))
        << plain(watch.output());
    EXPECT_LE(timer.elapsed(), 2000);
    EXPECT_EQ(watch.stop(SIGTERM).exitCode, 0);
}

} // namespace
