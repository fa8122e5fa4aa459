#include "host/wire/fins_decode.h"

#include "panel/text.h"

#include <gtest/gtest.h>

using namespace velkor_host;

namespace {

TEST(DecodeFins, read_givesHeaderAndAddress) {
    const FinsFrame frame = decodeFins(bytes("800002 000500 000A00 07 0101 820064 00 0003"));
    EXPECT_FALSE(frame.isReply());
    EXPECT_EQ(frame.da1, 5);
    EXPECT_EQ(frame.sa1, 10);
    EXPECT_EQ(frame.sid, 7);
    EXPECT_EQ(frame.command, FINS_MEMORY_READ);
    EXPECT_EQ(plain(memoryText(frame)), "DM 100");
    EXPECT_EQ(frame.count, 3);
    EXPECT_EQ(frame.endCode, -1);
}

TEST(DecodeFins, bitWrite_namesTheBit) {
    const FinsFrame frame = decodeFins(bytes("800002 000500 000A00 07 0102 300002 0B 0001 01"));
    EXPECT_EQ(plain(memoryText(frame)), "CIO_bit 2.11");
}

TEST(DecodeFins, counterAddress_isFreedOfItsBase) {
    const FinsFrame frame = decodeFins(bytes("800002 000500 000A00 07 0101 898005 00 0001"));
    EXPECT_EQ(plain(memoryText(frame)), "C 5");
}

TEST(DecodeFins, timerAddress_staysATimer) {
    const FinsFrame frame = decodeFins(bytes("800002 000500 000A00 07 0101 890005 00 0001"));
    EXPECT_EQ(plain(memoryText(frame)), "T 5");
}

TEST(DecodeFins, reply_givesTheEndCode) {
    const FinsFrame frame = decodeFins(bytes("C00002 000A00 000500 07 0101 1103"));
    EXPECT_TRUE(frame.isReply());
    EXPECT_EQ(frame.sa1, 5);
    EXPECT_EQ(frame.endCode, 0x1103);
    EXPECT_EQ(frame.area, -1);
}

TEST(DecodeFins, cutShort_leavesTheRestUnknown) {
    const FinsFrame frame = decodeFins(bytes("C00002 000A00 000500 07 0101 11"));
    EXPECT_EQ(frame.sid, 7);
    EXPECT_EQ(frame.command, FINS_MEMORY_READ);
    EXPECT_EQ(frame.endCode, -1);
    EXPECT_EQ(decodeFins(QByteArray()).sid, -1);
}

TEST(AreaName, unknownArea_isShownAsItsCode) {
    EXPECT_EQ(plain(areaName(0xA0, 0)), "area 0xA0");
}

TEST(CommandText, knownAndUnknown) {
    EXPECT_EQ(plain(commandText(0x0102)), "write");
    EXPECT_EQ(plain(commandText(0x0401)), "set mode");
    EXPECT_EQ(plain(commandText(0x0501)), "command 0x0501");
}

} // namespace
