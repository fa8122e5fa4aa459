/// The socket of docs/host-guide.md on loopback: what it throws away, what it hears of a closed
/// port, and what makes it deaf.

#include "host_guide_code.inc"

#include <gtest/gtest.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QEventLoop>
#include <QtCore/QTimer>

#include <functional>
#include <memory>

namespace {

const QHostAddress loopback(QHostAddress::LocalHost);

class HostGuideSocket : public ::testing::Test {
protected:
    HostGuideSocket() { EXPECT_TRUE(socket.bind(loopback, quint16(0))); }

    /// Turns of the event loop until it holds; fails the test after five seconds without.
    static void waitUntil(const char* what, const std::function<bool()>& holds) {
        QEventLoop loop;
        QTimer limit;
        QTimer look;
        QObject::connect(&limit, &QTimer::timeout, &loop, &QEventLoop::quit);
        QObject::connect(&look, &QTimer::timeout, &loop, [&] {
            if (holds()) {
                loop.quit();
            }
        });
        limit.start(5000);
        look.start(1);
        loop.exec();
        EXPECT_TRUE(holds()) << "waited in vain for " << what;
    }

    /// A port of loopback at which nothing listens now.
    static quint16 closedPort() {
        QUdpSocket probe;
        EXPECT_TRUE(probe.bind(loopback, quint16(0)));
        return probe.localPort();
    }

    /// A PLC that answers each datagram with the datagram.
    std::unique_ptr<QUdpSocket> echoAt(quint16 port) {
        auto echo = std::make_unique<QUdpSocket>();
        EXPECT_TRUE(echo->bind(loopback, port));
        QUdpSocket* at = echo.get();
        QObject::connect(at, &QUdpSocket::readyRead, [at] {
            QByteArray bytes(100, '\0');
            QHostAddress sender;
            quint16 senderPort = 0;
            const qint64 length =
                at->readDatagram(bytes.data(), bytes.size(), &sender, &senderPort);
            if (length >= 0) {
                at->writeDatagram(bytes.left(static_cast<int>(length)), sender, senderPort);
            }
        });
        return echo;
    }

    static FRAME_PRO frameOf(char byte) {
        FRAME_PRO frame = FRAME_PRO();
        frame.frame[0] = static_cast<unsigned char>(byte);
        frame.sendLen = 1;
        return frame;
    }

    /// The guide's receive for each readyRead.
    void listen() {
        QObject::connect(&socket, &QUdpSocket::readyRead, [this] {
            bool refused = false;
            const QByteArray datagram = receive(socket, refused);
            refusals += refused ? 1 : 0;
            if (!datagram.isEmpty()) {
                received.append(datagram);
            }
        });
    }

    int argc = 1;
    char name[5] = "test";
    char* argv[2] = {name, nullptr};
    QCoreApplication application{argc, argv};
    QUdpSocket socket;
    QList<QByteArray> received;
    int refusals = 0;
};

TEST_F(HostGuideSocket, whatArrivedBeforeItWasConnected_isThrownAway) {
    QUdpSocket stranger;
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(1, stranger.writeDatagram("x", 1, loopback, socket.localPort()));
    }
    ASSERT_TRUE(socket.waitForReadyRead(5000));
    const std::unique_ptr<QUdpSocket> plc = echoAt(0);
    listen();
    connectTo(socket, loopback, plc->localPort());
    ASSERT_TRUE(send(socket, frameOf('a')));
    waitUntil("the answer", [this] { return !received.isEmpty(); });
    EXPECT_EQ((QList<QByteArray>{QByteArray("a")}), received);
}

TEST_F(HostGuideSocket, onceConnected_hearsNobodyElse) {
    const std::unique_ptr<QUdpSocket> plc = echoAt(0);
    listen();
    connectTo(socket, loopback, plc->localPort());
    QUdpSocket stranger;
    stranger.writeDatagram("x", 1, loopback, socket.localPort());
    ASSERT_TRUE(send(socket, frameOf('a')));
    waitUntil("the answer", [this] { return !received.isEmpty(); });
    EXPECT_EQ((QList<QByteArray>{QByteArray("a")}), received);
}

TEST_F(HostGuideSocket, portUnreachable_isHeardAndTheSocketGoesOnHearing) {
    const quint16 port = closedPort();
    listen();
    connectTo(socket, loopback, port);
    for (int i = 1; i <= 3; ++i) {
        ASSERT_TRUE(send(socket, frameOf('a')));
        waitUntil("port unreachable", [this, i] { return refusals == i; });
    }
    const std::unique_ptr<QUdpSocket> plc = echoAt(port);
    for (int i = 1; i <= 3; ++i) {
        ASSERT_TRUE(send(socket, frameOf('b')));
        waitUntil("the answer", [this, i] { return received.size() == i; });
    }
}

TEST_F(HostGuideSocket, refusalStillPendingWhenTheNextFrameGoesOut_frameIsSentAllTheSame) {
    const quint16 port = closedPort();
    connectTo(socket, loopback, port); // nobody listens to readyRead: the refusal stays pending
    ASSERT_TRUE(send(socket, frameOf('a')));
    const std::unique_ptr<QUdpSocket> plc = echoAt(port);
    listen();
    ASSERT_TRUE(send(socket, frameOf('b')));
    waitUntil("the answer", [this] { return !received.isEmpty(); });
    EXPECT_EQ((QList<QByteArray>{QByteArray("b")}), received);
}

// The traps themselves, so that nobody takes the guide's way for a matter of taste.

TEST_F(HostGuideSocket, hasPendingDatagramsAfterARefusal_makesTheSocketDeaf) {
    const quint16 port = closedPort();
    int fired = 0;
    QObject::connect(&socket, &QUdpSocket::readyRead, [this, &fired] {
        ++fired;
        while (socket.hasPendingDatagrams()) {
            QByteArray datagram(100, '\0');
            socket.readDatagram(datagram.data(), datagram.size());
            received.append(datagram);
        }
    });
    connectTo(socket, loopback, port);
    ASSERT_TRUE(send(socket, frameOf('a')));
    waitUntil("the signal of the refusal", [&fired] { return fired == 1; });
    const std::unique_ptr<QUdpSocket> plc = echoAt(port);
    ASSERT_TRUE(send(socket, frameOf('b')));
    ASSERT_TRUE(send(socket, frameOf('c')));
    // Another socket's answer, asked for last, is there; then this one's would be, too.
    QUdpSocket other;
    ASSERT_TRUE(other.bind(loopback, quint16(0)));
    connectTo(other, loopback, port);
    ASSERT_TRUE(send(other, frameOf('d')));
    bool heard = false;
    QObject::connect(&other, &QUdpSocket::readyRead, [&heard] { heard = true; });
    waitUntil("the other's answer", [&heard] { return heard; });
    EXPECT_TRUE(received.isEmpty());
}

TEST_F(HostGuideSocket, readyReadWithoutARead_isTheLast) {
    const std::unique_ptr<QUdpSocket> plc = echoAt(0);
    int fired = 0;
    QObject::connect(&socket, &QUdpSocket::readyRead, [&fired] { ++fired; });
    connectTo(socket, loopback, plc->localPort());
    ASSERT_TRUE(send(socket, frameOf('a')));
    waitUntil("the first signal", [&fired] { return fired == 1; });
    ASSERT_TRUE(send(socket, frameOf('b')));
    QUdpSocket other;
    ASSERT_TRUE(other.bind(loopback, quint16(0)));
    connectTo(other, loopback, plc->localPort());
    bool heard = false;
    QObject::connect(&other, &QUdpSocket::readyRead, [&heard] { heard = true; });
    ASSERT_TRUE(send(other, frameOf('c')));
    waitUntil("the other's answer", [&heard] { return heard; });
    EXPECT_EQ(1, fired);
}

} // namespace
