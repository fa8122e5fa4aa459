#ifndef VELKOR_HOST_LINE_UDP_LINK_H
#define VELKOR_HOST_LINE_UDP_LINK_H

/// The UDP socket to one PLC. It is connected, so only datagrams from the PLC's address and port
/// arrive, and a host where nothing listens on the port says so. While there is no way to the PLC
/// it is not, and takes none.

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
    /// It has been connected again, perhaps from another address or port: see local().
    std::function<void()> onMoved;

    /// Two steps, in this order; the results are empty or say why the socket cannot be used. What
    /// has arrived before the socket is connected is thrown away: anybody can have sent it. That
    /// this computer has no way to the PLC, which may come yet, is no fault of the socket: send()
    /// says so until there is one.
    QString bind(const Endpoint& local);
    QString connectTo(const Endpoint& plc);
    /// The address is 0.0.0.0 while there is no way to the PLC and none was asked for.
    Endpoint local() const;

    /// A connected socket keeps the address of this computer that it began with, though the
    /// computer may have got another since. So after a frame that found no way the socket is
    /// connected anew. A port that was asked for stays; another may become another.
    void prepare() override;
    int send(const QByteArray& frame) override;

private:
    int connectSocket();
    int descriptor() const { return static_cast<int>(m_socket.socketDescriptor()); }
    void throwAwayQueued();
    void readDatagrams();
    int handOver(const QByteArray& frame);

    QByteArray m_buffer;
    QUdpSocket m_socket;
    Endpoint m_plc;
    bool m_connected = false;
    int m_noWay = 0; ///< why the last frame, or connecting for the next, found no way to the PLC
};

} // namespace velkor_host

#endif
