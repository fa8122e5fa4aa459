#include "host/line_fixture.h"

#include <QtCore/QTimer>

using namespace velkor_host;

LoopbackPlc::LoopbackPlc() {
    EXPECT_TRUE(m_socket.bind(QHostAddress(QHostAddress::LocalHost), 0));
    QObject::connect(&m_socket, &QUdpSocket::readyRead, &m_socket, [this] { readAll(); });
}

void LoopbackPlc::readAll() {
    while (m_socket.hasPendingDatagrams()) {
        const QNetworkDatagram datagram = m_socket.receiveDatagram();
        m_clientPort = static_cast<quint16>(datagram.senderPort());
        m_frames.append(datagram.data());
        if (answering) {
            answerLast();
        }
    }
}

void LoopbackPlc::set(int dmWord, quint16 value) {
    m_core.memory().setWord(plc::Area::Dm, static_cast<quint32>(dmWord), value);
}

int LoopbackPlc::count(const char* command) const {
    int found = 0;
    for (const QByteArray& frame : m_frames) {
        found += frame.mid(10, 2).toHex() == command ? 1 : 0;
    }
    return found;
}

void LoopbackPlc::answerLast() {
    sendTo(m_clientPort, replyTo(m_frames.last()));
}

QByteArray LoopbackPlc::replyTo(const QByteArray& frame) {
    const std::optional<plc::Bytes> reply = m_core.handle(plc::Bytes(frame.begin(), frame.end()));
    EXPECT_TRUE(reply.has_value());
    return QByteArray(reinterpret_cast<const char*>(reply->data()),
                      static_cast<int>(reply->size()));
}

void LoopbackPlc::sendTo(quint16 port, const QByteArray& datagram) {
    m_socket.writeDatagram(datagram, QHostAddress(QHostAddress::LocalHost), port);
}

bool waitUntil(const std::function<bool()>& done) {
    bool late = false;
    QTimer patience;
    QObject::connect(&patience, &QTimer::timeout, &patience, [&late] { late = true; });
    patience.start(PATIENCE_MS);
    while (!done() && !late) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return done();
}

Tag wordTag(int address, int count, const char* reg) {
    Tag tag;
    tag.reg = QString::fromLatin1(reg);
    tag.address = address;
    tag.count = count;
    return tag;
}

quint16 freePort() {
    QUdpSocket probe;
    EXPECT_TRUE(probe.bind(QHostAddress(QHostAddress::LocalHost), 0));
    return probe.localPort();
}

LineFixture::LineFixture() = default;

LineFixture::~LineFixture() = default;

LineSettings LineFixture::settings() const {
    LineSettings settings;
    settings.plc = plc.endpoint();
    settings.scanMs = 10;
    settings.driverFile = QStringLiteral(VELKOR_LIBRARY);
    return settings;
}
