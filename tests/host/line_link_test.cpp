// What a line's socket sends and takes.

#include "host/line_fixture.h"

#include "host/line/udp_link.h"

#include <cerrno>

using namespace velkor_host;

namespace {

class LineLink : public LineFixture {};

TEST_F(LineLink, link_datagramsFromBeforeConnecting_areThrownAway) {
    UdpLink link;
    QVector<QByteArray> taken;
    link.onDatagram = [&](const QByteArray& datagram) { taken.append(datagram); };
    link.onPortRefused = [] {};
    ASSERT_EQ(link.bind({QHostAddress(QHostAddress::LocalHost), 0}).toStdString(), "");
    plc.sendTo(link.local().port, "early");
    QUdpSocket stranger;
    ASSERT_EQ(stranger.writeDatagram("strange", link.local().address, link.local().port), 7);
    ASSERT_EQ(link.connectTo(plc.endpoint()).toStdString(), "");
    plc.sendTo(link.local().port, "late");
    ASSERT_TRUE(waitUntil([&] { return !taken.isEmpty(); }));
    EXPECT_EQ(taken, QVector<QByteArray>{"late"});
}

TEST_F(LineLink, link_moreDatagramsThanATurnTakes_allAreTaken) {
    UdpLink link;
    int taken = 0;
    link.onDatagram = [&](const QByteArray& datagram) {
        EXPECT_EQ(datagram.toInt(), taken); // in the order of their coming
        ++taken;
    };
    link.onPortRefused = [] {};
    ASSERT_EQ(link.bind({QHostAddress(QHostAddress::LocalHost), 0}).toStdString(), "");
    ASSERT_EQ(link.connectTo(plc.endpoint()).toStdString(), "");
    const int many = 150; // what the system's queue of a socket holds for sure
    for (int number = 0; number < many; ++number) {
        plc.sendTo(link.local().port, QByteArray::number(number));
    }
    EXPECT_TRUE(waitUntil([&] { return taken == many; }));
}

TEST_F(LineLink, frameThatTheSystemDoesNotTake_isSaidWithItsReason) {
    UdpLink link;
    ASSERT_EQ(link.bind({QHostAddress(QHostAddress::LocalHost), 0}).toStdString(), "");
    ASSERT_EQ(link.connectTo({QHostAddress(QHostAddress::LocalHost), 9}).toStdString(), "");
    EXPECT_EQ(link.send(QByteArray(70000, 'x')), EMSGSIZE);
}

/// Notes every datagram that the line has seen.
class Seen : public FrameWitness {
public:
    void sent(const QByteArray& /*frame*/, int /*attempt*/) override {}
    void received(const QByteArray& datagram, Verdict verdict) override {
        datagrams.append(datagram);
        verdicts.append(verdict);
    }
    void timedOut(const QByteArray& /*frame*/) override {}
    void portRefused() override {}

    QVector<QByteArray> datagrams;
    QVector<Verdict> verdicts;
};

TEST_F(LineLink, replyOfAnotherAddressOrPort_isNeverTaken) {
    Seen seen;
    plc.answering = false;
    Line line(settings());
    line.addWitness(&seen);
    ReadOutcome read;
    line.onRead = [&](const ReadOutcome& outcome) { read = outcome; };
    ASSERT_EQ(line.open().toStdString(), "");
    ASSERT_NE(line.read("DM", 1, 1), 0U);
    ASSERT_TRUE(waitUntil([&] { return !plc.frames().isEmpty(); }));
    plc.set(1, 666);
    const QByteArray forged = plc.replyTo(plc.frames().last());
    for (const char* address : {"127.0.0.1", "127.0.0.9"}) {
        QUdpSocket stranger;
        ASSERT_TRUE(stranger.bind(QHostAddress(address), 0));
        ASSERT_EQ(stranger.writeDatagram(forged, QHostAddress(QHostAddress::LocalHost),
                                         line.localEndpoint().port),
                  forged.size());
    }
    plc.set(1, 7);
    plc.answerLast();
    ASSERT_TRUE(waitUntil([&] { return read.id != 0; }));
    EXPECT_EQ(read.items, Items{7});
    EXPECT_EQ(seen.datagrams.size(), 1);
    line.removeWitness(&seen);
}

TEST_F(LineLink, witness_isKeptWhenReopenedAndNotCalledOnceRemoved) {
    Seen seen;
    Line line(settings());
    line.addWitness(&seen);
    int reads = 0;
    line.onRead = [&](const ReadOutcome&) { ++reads; };
    for (int opened = 1; opened <= 2; ++opened) {
        ASSERT_EQ(line.open().toStdString(), "");
        ASSERT_NE(line.read("DM", 1, 1), 0U);
        ASSERT_TRUE(waitUntil([&] { return reads == opened; }));
        EXPECT_EQ(seen.verdicts, QVector<Verdict>(opened, Verdict::Reply));
        line.close();
    }
    ASSERT_EQ(line.open().toStdString(), "");
    line.removeWitness(&seen);
    ASSERT_NE(line.read("DM", 1, 1), 0U);
    ASSERT_TRUE(waitUntil([&] { return reads == 3; }));
    EXPECT_EQ(seen.verdicts.size(), 2);
}

TEST_F(LineLink, reopening_onAPortOfTheHostsChoice_getsItAgain) {
    LineSettings fixed = settings();
    fixed.local = {QHostAddress(QHostAddress::LocalHost), freePort()};
    Line line(fixed);
    int reads = 0;
    line.onRead = [&](const ReadOutcome& outcome) { reads += outcome.ok ? 1 : 0; };
    for (int opened = 1; opened <= 5; ++opened) {
        ASSERT_EQ(line.open().toStdString(), "");
        EXPECT_EQ(line.localEndpoint().port, fixed.local.port);
        ASSERT_NE(line.read("DM", 1, 1), 0U);
        ASSERT_TRUE(waitUntil([&] { return reads == opened; }));
        line.close();
    }
}

TEST_F(LineLink, portUnreachable_isToldAndOvercomeWhenThePlcIsThere) {
    LineSettings nobody = settings();
    nobody.plc.port = freePort();
    nobody.timeoutMs = 20;
    Line line(nobody);
    RequestEnd failed;
    line.onRequest = [&](const RequestEnd& end) { failed = end.ok ? failed : end; };
    ASSERT_EQ(line.open().toStdString(), "");
    ASSERT_EQ(line.setTags({wordTag(1)}).toStdString(), "");
    ASSERT_TRUE(waitUntil([&] { return failed.tries == 3; }));
    EXPECT_GT(failed.refusedPort, 0);
    ASSERT_TRUE(waitUntil([&] { return !line.status(0).reason.isEmpty(); }));
    EXPECT_TRUE(line.status(0).reason.startsWith("port unreachable: "))
        << qPrintable(line.status(0).reason);
    EXPECT_EQ(line.status(0).state, TagState::NotRead);
    EXPECT_FALSE(line.status(0).value().has_value());

    QUdpSocket late;
    ASSERT_TRUE(late.bind(QHostAddress(QHostAddress::LocalHost), nobody.plc.port));
    QObject::connect(&late, &QUdpSocket::readyRead, &late, [&] {
        while (late.hasPendingDatagrams()) {
            const QNetworkDatagram frame = late.receiveDatagram();
            late.writeDatagram(plc.replyTo(frame.data()), frame.senderAddress(),
                               static_cast<quint16>(frame.senderPort()));
        }
    });
    EXPECT_TRUE(waitUntil([&] { return line.allFresh(); }));
    EXPECT_TRUE(line.status(0).reason.isEmpty());
}

} // namespace
