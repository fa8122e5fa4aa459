#include "host/watch/udp_packet.h"

#include <QtCore/QtEndian>

namespace velkor_host {
namespace {

const int IP_HEADER = 20;
const int UDP_HEADER = 8;
const int IP_CHECKSUM_OFFSET = 10;
const int UDP_CHECKSUM_OFFSET = 6;
const char PROTOCOL_UDP = 17;

void putWord(QByteArray* bytes, quint32 value) {
    bytes->append(static_cast<char>((value >> 8) & 0xFFU));
    bytes->append(static_cast<char>(value & 0xFFU));
}

void putAddress(QByteArray* bytes, quint32 address) {
    putWord(bytes, address >> 16);
    putWord(bytes, address & 0xFFFFU);
}

/// The Internet checksum: the complement of the ones' complement sum of all words.
quint16 checksum(const QByteArray& bytes) {
    quint32 sum = 0;
    for (int index = 0; index < bytes.size(); index += 2) {
        const quint32 high = static_cast<unsigned char>(bytes.at(index));
        const quint32 low =
            index + 1 < bytes.size() ? static_cast<unsigned char>(bytes.at(index + 1)) : 0;
        sum += high << 8 | low;
    }
    while (sum > 0xFFFFU) {
        sum = (sum & 0xFFFFU) + (sum >> 16);
    }
    return static_cast<quint16>(~sum & 0xFFFFU);
}

void setWord(QByteArray* bytes, int offset, quint16 value) {
    qToBigEndian(value, bytes->data() + offset);
}

} // namespace

QByteArray udpPacket(quint32 sourceAddress, quint16 sourcePort, quint32 targetAddress,
                     quint16 targetPort, const QByteArray& payload) {
    const auto udpLength = static_cast<quint32>(UDP_HEADER + payload.size());

    QByteArray udp;
    putWord(&udp, sourcePort);
    putWord(&udp, targetPort);
    putWord(&udp, udpLength);
    putWord(&udp, 0);
    udp += payload;
    QByteArray pseudoHeader;
    putAddress(&pseudoHeader, sourceAddress);
    putAddress(&pseudoHeader, targetAddress);
    pseudoHeader.append('\0');
    pseudoHeader.append(PROTOCOL_UDP);
    putWord(&pseudoHeader, udpLength);
    const quint16 sum = checksum(pseudoHeader + udp);
    // A sum of zero is sent as its other form: zero would mean "no checksum".
    setWord(&udp, UDP_CHECKSUM_OFFSET, sum == 0 ? 0xFFFF : sum);

    QByteArray ip;
    ip.append('\x45'); // version 4, five words of header
    ip.append('\0');
    putWord(&ip, static_cast<quint32>(IP_HEADER) + udpLength);
    putWord(&ip, 0);      // identification
    putWord(&ip, 0x4000); // not to be fragmented
    ip.append('\x40');    // time to live
    ip.append(PROTOCOL_UDP);
    putWord(&ip, 0);
    putAddress(&ip, sourceAddress);
    putAddress(&ip, targetAddress);
    setWord(&ip, IP_CHECKSUM_OFFSET, checksum(ip));
    return ip + udp;
}

} // namespace velkor_host
