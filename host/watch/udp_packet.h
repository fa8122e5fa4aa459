#ifndef VELKOR_HOST_WATCH_UDP_PACKET_H
#define VELKOR_HOST_WATCH_UDP_PACKET_H

#include <QtCore/QByteArray>

namespace velkor_host {

/// One IPv4 datagram around a UDP payload, headers with lengths and checksums, as a capture shows
/// it. Addresses and ports in host byte order.
QByteArray udpPacket(quint32 sourceAddress, quint16 sourcePort, quint32 targetAddress,
                     quint16 targetPort, const QByteArray& payload);

} // namespace velkor_host

#endif
