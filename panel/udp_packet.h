#ifndef VELKOR_PANEL_UDP_PACKET_H
#define VELKOR_PANEL_UDP_PACKET_H

#include <QtCore/QByteArray>

namespace panel {

/// One IPv4 datagram around a UDP payload, headers with lengths and checksums, as a capture shows
/// it. Addresses and ports in host byte order.
QByteArray udpPacket(quint32 sourceAddress, quint16 sourcePort, quint32 targetAddress,
                     quint16 targetPort, const QByteArray& payload);

} // namespace panel

#endif
