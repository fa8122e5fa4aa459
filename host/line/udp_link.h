#ifndef VELKOR_HOST_LINE_UDP_LINK_H
#define VELKOR_HOST_LINE_UDP_LINK_H

/// The UDP socket to one PLC. It is connected, so only datagrams from the PLC's address and port
/// arrive, and a host where nothing listens on the port says so.

#include "host/wire/exchange.h"

#include <velkor/host/endpoint.h>

#include <QtNetwork/QHostAddress>
#include <QtNetwork/QUdpSocket>

#include <functional>

namespace velkor_host {

class UdpLink : public Link {
public:
    UdpLink();

    std::function<void(const QByteArray&)> onDatagram;
    std::function<void()> onPortRefused;

    /// Two steps, in this order; the results are empty or say why the socket cannot be used. What
    /// has arrived before the socket is connected is thrown away: anybody can have sent it.
    QString bind(const Endpoint& local);
    QString connectTo(const Endpoint& plc);
    Endpoint local() const;

    int send(const QByteArray& frame) override;

private:
    void throwAwayQueued();
    void readDatagrams();
    int handOver(const QByteArray& frame);

    QByteArray m_buffer;
    QUdpSocket m_socket;
};

} // namespace velkor_host

#endif
