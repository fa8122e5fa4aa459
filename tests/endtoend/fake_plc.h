#ifndef VELKOR_TESTS_ENDTOEND_FAKE_PLC_H
#define VELKOR_TESTS_ENDTOEND_FAKE_PLC_H

/// A PLC in the test's hand: it sees each frame and answers what and when it likes.

#include "endtoend/programs.h"

#include <QtNetwork/QNetworkDatagram>
#include <QtNetwork/QUdpSocket>

#include <functional>

class FakePlc {
public:
    FakePlc() { EXPECT_TRUE(m_socket.bind(QHostAddress(QHostAddress::LocalHost), 0)); }

    quint16 port() const { return m_socket.localPort(); }

    /// The next frame; an invalid one when none comes.
    QNetworkDatagram next() {
        if (!m_socket.hasPendingDatagrams()) {
            EXPECT_TRUE(m_socket.waitForReadyRead(PATIENCE_MS)) << "no frame has come";
        }
        return m_socket.receiveDatagram();
    }

    void send(const QNetworkDatagram& to, const QByteArray& bytes) {
        m_socket.writeDatagram(bytes, to.senderAddress(), static_cast<quint16>(to.senderPort()));
    }

    /// Answers each frame until the program has ended.
    void serve(Running* program, const std::function<QByteArray(const QNetworkDatagram&)>& answer) {
        QElapsedTimer timer;
        timer.start();
        while (!program->hasEnded() && timer.elapsed() < PATIENCE_MS) {
            if (m_socket.hasPendingDatagrams() || m_socket.waitForReadyRead(SLICE_MS)) {
                const QNetworkDatagram frame = m_socket.receiveDatagram();
                send(frame, answer(frame));
            }
        }
    }

    /// A reply to a frame: source and destination changed round, the end code, then data in hex.
    static QByteArray replyTo(const QNetworkDatagram& frame, int endCode, const char* data = "") {
        const QByteArray asked = frame.data();
        QByteArray reply = QByteArray::fromHex("C00002");
        reply += asked.mid(6, 3) + asked.mid(3, 3) + asked.mid(9, 3);
        reply.append(static_cast<char>(endCode >> 8));
        reply.append(static_cast<char>(endCode & 0xFF));
        return reply + QByteArray::fromHex(data);
    }

    static int sidOf(const QNetworkDatagram& frame) {
        return static_cast<unsigned char>(frame.data().at(9));
    }

private:
    static const int SLICE_MS = 20; ///< between looks at the program

    QUdpSocket m_socket;
};

/// A UDP port of this computer that nobody uses now.
inline quint16 freePort() {
    QUdpSocket probe;
    EXPECT_TRUE(probe.bind(QHostAddress(QHostAddress::LocalHost), 0));
    return probe.localPort();
}

#endif
