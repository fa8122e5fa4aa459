#include "host/line/udp_link.h"

#include <QtNetwork/QNetworkProxy>

#include <cerrno>
#include <cstring>

#include <netinet/in.h>
#include <sys/socket.h>

namespace velkor_host {
namespace {

/// At most so many datagrams in one turn of the event loop, so that a flood cannot hold up the
/// deadline and the screen.
const int DATAGRAMS_PER_TURN = 64;
const int LARGEST_DATAGRAM = 65535;
/// Whether what keeps frames from the PLC may pass by itself: no route, no interface, no address.
bool mayPass(int error) {
    return error == ENETUNREACH || error == EHOSTUNREACH || error == ENETDOWN ||
           error == EADDRNOTAVAIL;
}

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
    m_plc = plc;
    const int error = connectSocket();
    if (error != 0 && !mayPass(error)) {
        return QStringLiteral("no way to %1: %2")
            .arg(endpointText(plc), QString::fromLocal8Bit(std::strerror(error)));
    }
    m_noWay = error;
    return QString();
}

/// 0 or the system's error number. Past Qt, which closes a socket that cannot be connected.
int UdpLink::connectSocket() {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(m_plc.address.toIPv4Address());
    address.sin_port = htons(m_plc.port);
    m_connected =
        ::connect(descriptor(), reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    if (!m_connected) {
        return errno;
    }
    throwAwayQueued();
    return 0;
}

void UdpLink::prepare() {
    if (m_noWay == 0) {
        return;
    }
    sockaddr nowhere = {};
    nowhere.sa_family = AF_UNSPEC;
    (void)::connect(descriptor(), &nowhere, sizeof nowhere); // it dissolves whatever there is
    m_noWay = connectSocket();
    if (m_connected) {
        onMoved();
    }
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

/// Past Qt, which remembers how it was bound.
Endpoint UdpLink::local() const {
    sockaddr_in address = {};
    socklen_t length = sizeof address;
    if (::getsockname(descriptor(), reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        return Endpoint();
    }
    return {QHostAddress(ntohl(address.sin_addr.s_addr)), ntohs(address.sin_port)};
}

/// Past Qt, which does not tell most of the system's reasons.
int UdpLink::send(const QByteArray& frame) {
    if (m_noWay != 0 || handOver(frame) == 0) {
        return m_noWay;
    }
    // It may have been a refusal of an earlier frame: that is told at the next call, whatever the
    // call is for, and once.
    const int error = handOver(frame);
    m_noWay = mayPass(error) || error == EINVAL ? error : 0;
    return error;
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
        if (!m_connected) {
            continue; // anybody can have sent it
        }
        onDatagram(m_buffer.left(static_cast<int>(length)));
    }
}

} // namespace velkor_host
