#include "host/watch/udp_packet.h"

#include "panel/text.h"

#include <gtest/gtest.h>

using namespace velkor_host;

namespace {

/// The ones' complement sum of 16-bit words; over data with a right checksum it is 0xFFFF.
unsigned sum(const QByteArray& data) {
    unsigned total = 0;
    for (int index = 0; index < data.size(); ++index) {
        const unsigned byte = static_cast<unsigned char>(data.at(index));
        total += index % 2 == 0 ? byte << 8 : byte;
    }
    while (total > 0xFFFF) {
        total = (total & 0xFFFF) + (total >> 16);
    }
    return total;
}

const quint32 SOURCE = 0x7F000001; // 127.0.0.1
const quint32 TARGET = 0xC0A8FA01; // 192.168.250.1

TEST(UdpPacket, headers_holdLengthsAddressesAndPorts) {
    const QByteArray packet = udpPacket(SOURCE, 50000, TARGET, 9600, bytes("01020304"));
    ASSERT_EQ(packet.size(), 20 + 8 + 4);
    EXPECT_EQ(packet.left(4), bytes("45 00 0020")); // 32 bytes in all
    EXPECT_EQ(packet.mid(8, 2), bytes("40 11"));    // time to live, UDP
    EXPECT_EQ(packet.mid(12, 8), bytes("7F000001 C0A8FA01"));
    EXPECT_EQ(packet.mid(20, 6), bytes("C350 2580 000C")); // 50000, 9600, 12 bytes
    EXPECT_EQ(packet.mid(28), bytes("01020304"));
}

TEST(UdpPacket, ipChecksum_isRight) {
    EXPECT_EQ(sum(udpPacket(SOURCE, 1, TARGET, 2, bytes("01")).left(20)), 0xFFFFU);
}

TEST(UdpPacket, udpChecksum_isRightForEvenAndOddLengths) {
    for (const char* payload : {"", "01", "0102", "FFFFFF", "0102030405"}) {
        const QByteArray packet = udpPacket(SOURCE, 50000, TARGET, 9600, bytes(payload));
        QByteArray covered = packet.mid(12, 8) + bytes("0011") + packet.mid(24, 2);
        covered += packet.mid(20);
        EXPECT_EQ(sum(covered), 0xFFFFU) << payload;
    }
}

TEST(UdpPacket, checksumOfZero_isSentAsItsOtherForm) {
    // Ports and payload chosen so that all words of the sum add up to 0xFFFF: with addresses 0 the
    // sum is protocol 0x0011 + length 0x000A + again 0x000A + payload 0xFFDA.
    const QByteArray packet = udpPacket(0, 0, 0, 0, bytes("FFDA"));
    EXPECT_EQ(packet.mid(26, 2), bytes("FFFF"));
}

} // namespace
