#include "host/line/udp_link.h"

#include <QtNetwork/QNetworkProxy>

#include <cerrno>

#include <sys/socket.h>

namespace velkor_host {
namespace {

/// At most so many datagrams in one turn of the event loop, so that a flood cannot hold up the
/// deadline and the screen.
const int DATAGRAMS_PER_TURN = 64;
const int LARGEST_DATAGRAM = 65535;
/// More than the queue of a socket holds.
const int MOST_QUEUED = 1000000;

} // namespace

UdpLink::UdpLink() : m_buffer(LARGEST_DATAGRAM, '\0') {
    // Qt 6 would ask for the system's proxy on a thread of its own, which gets the host's signals.
    m_socket.setProxy(QNetworkProxy::NoProxy);
    QObject::connect(&m_socket, &QUdpSocket::readyRead, &m_socket, [this] { readDatagrams(); });
}

QString UdpLink::bind(const Endpoint& local) {
    // The PLC's address is one of IPv4; a socket for both families would show its own as IPv6.
    const QHostAddress address = local.address.isNull() || local.address == QHostAddress::Any
                                     ? QHostAddress(QHostAddress::AnyIPv4)
                                     : local.address;
    if (!m_socket.bind(address, local.port, QAbstractSocket::DontShareAddress)) {
        return QStringLiteral("cannot use %1 as the local address: %2")
            .arg(endpointText(local), m_socket.errorString());
    }
    return QString();
}

QString UdpLink::connectTo(const Endpoint& plc) {
    m_socket.connectToHost(plc.address, plc.port);
    if (m_socket.state() != QAbstractSocket::ConnectedState) {
        return QStringLiteral("no way to %1: %2").arg(endpointText(plc), m_socket.errorString());
    }
    throwAwayQueued();
    return QString();
}

/// From now on the system lets the PLC's datagrams in only, but it keeps what came before that,
/// from whomever; and what the PLC has sent already answers nothing that this program has asked.
void UdpLink::throwAwayQueued() {
    for (int count = 0; count < MOST_QUEUED; ++count) {
        const bool none = m_socket.readDatagram(m_buffer.data(), m_buffer.size()) < 0;
        // A refusal of a frame that an earlier program has sent from here hides what is behind it.
        if (none && m_socket.error() != QAbstractSocket::ConnectionRefusedError) {
            return;
        }
    }
}

Endpoint UdpLink::local() const {
    return {m_socket.localAddress(), m_socket.localPort()};
}

/// Past Qt, which does not tell most of the system's reasons.
int UdpLink::send(const QByteArray& frame) {
    if (handOver(frame) == 0) {
        return 0;
    }
    // It may have been a refusal of an earlier frame: that is told at the next call, whatever the
    // call is for, and once.
    return handOver(frame);
}

int UdpLink::handOver(const QByteArray& frame) {
    ssize_t sent = -1;
    do {
        sent = ::send(static_cast<int>(m_socket.socketDescriptor()), frame.constData(),
                      static_cast<std::size_t>(frame.size()), MSG_DONTWAIT | MSG_NOSIGNAL);
    } while (sent < 0 && errno == EINTR);
    const int error = sent < 0 ? errno : 0;
    if (error == ECONNREFUSED) {
        onPortRefused();
    }
    return error;
}

void UdpLink::readDatagrams() {
    // Not receiveDatagram(), and no hasPendingDatagrams() before the read: both look at the socket
    // first, which eats a pending refusal unseen and leaves the socket deaf to what comes later.
    for (int turn = 0; turn < DATAGRAMS_PER_TURN; ++turn) {
        const qint64 length = m_socket.readDatagram(m_buffer.data(), m_buffer.size());
        if (length < 0) {
            if (m_socket.error() == QAbstractSocket::ConnectionRefusedError) {
                onPortRefused();
            }
            return;
        }
        onDatagram(m_buffer.left(static_cast<int>(length)));
    }
}

} // namespace velkor_host
