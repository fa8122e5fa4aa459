// The PLC's UDP socket. QUdpSocket binds it and words what goes wrong with that; datagrams are read
// and sent by the system's own calls, because a simulated PLC that is slower than the network is of
// no use for measuring a driver.
#pragma once

#include <QtCore/QSocketNotifier>
#include <QtNetwork/QHostAddress>

#include <functional>
#include <memory>

#include "plc/bytes.h"
#include "plc/faulty_line.h"

namespace plc {

class DatagramSocket {
public:
    // `receive` is called by the event loop for each datagram that has come.
    explicit DatagramSocket(std::function<void(const Bytes&, const Peer&)> receive);
    ~DatagramSocket();
    DatagramSocket(const DatagramSocket&) = delete;
    DatagramSocket& operator=(const DatagramSocket&) = delete;

    // Empty, or why it cannot listen there and what to do about it. Port 0 takes a free one.
    QString bind(const QHostAddress& address, quint16 port);
    // Nothing is received any more; what has come lies where it is.
    void stop();

    // Where it listens.
    const QHostAddress& address() const { return address_; }
    quint16 port() const { return port_; }

    // Empty, or the system's words for why it was not sent.
    QString send(const Bytes& bytes, const Peer& to) const;

private:
    void receiveWhatIsThere();

    std::function<void(const Bytes&, const Peer&)> receive_;
    std::unique_ptr<QSocketNotifier> notifier_;
    QHostAddress address_;
    quint16 port_ = 0;
    int descriptor_ = -1;
    bool stopped_ = false;
};

} // namespace plc
