#include "plc/datagram_socket.h"

#include <QtNetwork/QNetworkProxy>
#include <QtNetwork/QUdpSocket>

#include <array>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace plc {

namespace {

constexpr std::size_t kLargestDatagram = 65536;
// After so many the event loop has its turn, so that a flood stops neither signals nor the process.
constexpr int kMostInOneTurn = 100;

} // namespace

DatagramSocket::DatagramSocket(std::function<void(const Bytes&, const Peer&)> receive)
    : receive_(std::move(receive)) {}

DatagramSocket::~DatagramSocket() {
    notifier_.reset();
    if (descriptor_ >= 0) {
        ::close(descriptor_);
    }
}

QString DatagramSocket::bind(const QHostAddress& address, quint16 port) {
    QUdpSocket socket;
    // Qt 6 would ask for the system's proxy on a thread of its own, which gets our signals.
    socket.setProxy(QNetworkProxy::NoProxy);
    // Without sharing, so that a second PLC on the port is told instead of stealing datagrams.
    if (!socket.bind(address, port, QAbstractSocket::DontShareAddress)) {
        const QString where = QStringLiteral("%1:%2").arg(address.toString()).arg(port);
        return socket.error() == QAbstractSocket::AddressInUseError
                   ? QStringLiteral("%1 is in use by another program; end that program, or choose "
                                    "another port with --listen (port 0 takes a free one)")
                         .arg(where)
                   : QStringLiteral("cannot listen on %1: %2; choose an address of this machine "
                                    "with --listen")
                         .arg(where, socket.errorString());
    }
    address_ = socket.localAddress();
    port_ = socket.localPort();
    descriptor_ = ::fcntl(static_cast<int>(socket.socketDescriptor()), F_DUPFD_CLOEXEC, 0);
    if (descriptor_ < 0) {
        return QStringLiteral("cannot keep the socket: %1")
            .arg(QString::fromLocal8Bit(std::strerror(errno)));
    }
    notifier_ = std::make_unique<QSocketNotifier>(descriptor_, QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(),
                     [this] { receiveWhatIsThere(); });
    return QString();
}

void DatagramSocket::stop() {
    stopped_ = true; // the notifier may be the caller, and is kept
    notifier_->setEnabled(false);
}

QString DatagramSocket::send(const Bytes& bytes, const Peer& to) const {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(to.address);
    address.sin_port = htons(to.port);
    ssize_t sent = 0;
    do {
        sent = ::sendto(descriptor_, bytes.data(), bytes.size(), 0,
                        reinterpret_cast<const sockaddr*>(&address), sizeof address);
    } while (sent < 0 && errno == EINTR);
    return sent < 0 ? QString::fromLocal8Bit(std::strerror(errno)) : QString();
}

void DatagramSocket::receiveWhatIsThere() {
    static std::array<std::uint8_t, kLargestDatagram> buffer;
    for (int i = 0; i < kMostInOneTurn && !stopped_; ++i) {
        sockaddr_in address = {};
        socklen_t size = sizeof address;
        const ssize_t length = ::recvfrom(descriptor_, buffer.data(), buffer.size(), MSG_DONTWAIT,
                                          reinterpret_cast<sockaddr*>(&address), &size);
        if (length < 0) {
            return; // nothing more, or a signal: the event loop calls again when there is something
        }
        receive_(Bytes(buffer.begin(), buffer.begin() + length),
                 Peer{ntohl(address.sin_addr.s_addr), ntohs(address.sin_port)});
    }
}

} // namespace plc
