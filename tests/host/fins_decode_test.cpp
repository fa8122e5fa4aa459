#include "host/wire/fins_decode.h"

#include "panel/text.h"

#include <gtest/gtest.h>

using namespace velkor_host;

namespace {

/// Every byte of the header and of what follows is another, so that each field has its own place.
TEST(DecodeFins, read_givesHeaderAndAddress) {
    const FinsFrame frame = decodeFins(bytes("80DE02 030405 060708 09 0101 82 0064 0A 0B0C"));
    EXPECT_EQ(frame.length, 18);
    EXPECT_EQ(frame.icf, 0x80);
    EXPECT_EQ(frame.dna, 3);
    EXPECT_EQ(frame.da1, 4);
    EXPECT_EQ(frame.da2, 5);
    EXPECT_EQ(frame.sna, 6);
    EXPECT_EQ(frame.sa1, 7);
    EXPECT_EQ(frame.sa2, 8);
    EXPECT_EQ(frame.sid, 9);
    EXPECT_FALSE(frame.isReply());
    EXPECT_EQ(frame.command, FINS_MEMORY_READ);
    EXPECT_EQ(frame.area, 0x82);
    EXPECT_EQ(frame.word, 100);
    EXPECT_EQ(frame.bit, 10);
    EXPECT_EQ(frame.count, 0x0B0C);
    EXPECT_EQ(frame.endCode, -1);
    EXPECT_EQ(plain(memoryText(frame)), "DM 100");
}

/// Bytes above 127 are numbers above 127, not below 0.
TEST(DecodeFins, highBytes_arePositive) {
    const FinsFrame frame = decodeFins(bytes("C0FFFF F3F4F5 F6F7F8 F9 FAFB FCFD"));
    EXPECT_EQ(frame.icf, 0xC0);
    EXPECT_EQ(frame.dna, 0xF3);
    EXPECT_EQ(frame.da1, 0xF4);
    EXPECT_EQ(frame.da2, 0xF5);
    EXPECT_EQ(frame.sna, 0xF6);
    EXPECT_EQ(frame.sa1, 0xF7);
    EXPECT_EQ(frame.sa2, 0xF8);
    EXPECT_EQ(frame.sid, 0xF9);
    EXPECT_TRUE(frame.isReply());
    EXPECT_EQ(frame.command, 0xFAFB);
    EXPECT_EQ(frame.endCode, 0xFCFD);
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

    const FinsFrame nothing = decodeFins(QByteArray());
    EXPECT_EQ(nothing.length, 0);
    for (const int field : {nothing.icf, nothing.dna, nothing.da1, nothing.da2, nothing.sna,
                            nothing.sa1, nothing.sa2, nothing.sid, nothing.command, nothing.area,
                            nothing.word, nothing.bit, nothing.count, nothing.endCode}) {
        EXPECT_EQ(field, -1);
    }
    EXPECT_FALSE(nothing.isReply());
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
