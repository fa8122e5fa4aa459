#ifndef VELKOR_TESTS_HOST_LINE_FIXTURE_H
#define VELKOR_TESTS_HOST_LINE_FIXTURE_H

/// Lines as a host uses them, over loopback UDP, and a PLC in the test's hand at the other end.

#include "plc/plc_core.h"

#include <velkor/host/line.h>

#include <gtest/gtest.h>

#include <QtCore/QCoreApplication>
#include <QtNetwork/QNetworkDatagram>
#include <QtNetwork/QUdpSocket>

#include <functional>

/// The simulated PLC's core behind a socket of the test's own, on the thread that made it.
class LoopbackPlc {
public:
    LoopbackPlc();

    velkor_host::Endpoint endpoint() const {
        return {m_socket.localAddress(), m_socket.localPort()};
    }
    plc::Core& core() { return m_core; }
    void set(int dmWord, quint16 value);
    quint16 dm(int word) const { return m_core.memory().word(plc::Area::Dm, quint32(word)); }

    /// While false, frames are taken and nothing is executed.
    bool answering = true;
    /// The frames that have come, and who sent the last one.
    const QVector<QByteArray>& frames() const { return m_frames; }
    quint16 clientPort() const { return m_clientPort; }
    /// How many frames had this command, such as "0102".
    int count(const char* command) const;
    /// Executes the last frame and sends its reply.
    void answerLast();
    /// The reply to a frame, executed now; not sent.
    QByteArray replyTo(const QByteArray& frame);
    void sendTo(quint16 port, const QByteArray& datagram);

private:
    void readAll();

    plc::Core m_core;
    QUdpSocket m_socket;
    QVector<QByteArray> m_frames;
    quint16 m_clientPort = 0;
};

/// Handles events until `done` holds; false when it does not within `PATIENCE_MS`.
bool waitUntil(const std::function<bool()>& done);
/// Long enough for a busy machine; nothing waits for it to pass.
constexpr int PATIENCE_MS = 20000;

velkor_host::Tag wordTag(int address, int count = 1, const char* reg = "DM");

/// A UDP port of this computer that nobody uses now.
quint16 freePort();

class LineFixture : public testing::Test {
protected:
    LineFixture();
    ~LineFixture() override;

    /// Of a line to `plc`, fast enough for a test.
    velkor_host::LineSettings settings() const;

    int argc = 1;
    char name[5] = "line";
    char* argv[2] = {name, nullptr};
    QCoreApplication application{argc, argv};
    LoopbackPlc plc;
};

#endif
