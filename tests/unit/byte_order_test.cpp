#include "driver/byte_order.h"

#include <gtest/gtest.h>

#include <climits>

TEST(ByteOrder, lowByteOf_anyInt_isBits0To7) {
    EXPECT_EQ(lowByteOf(0x1234), 0x34);
    EXPECT_EQ(lowByteOf(0x1FF), 0xFF);
    EXPECT_EQ(lowByteOf(256), 0x00);
    EXPECT_EQ(lowByteOf(-1), 0xFF);
    EXPECT_EQ(lowByteOf(INT_MIN), 0x00);
}

TEST(ByteOrder, highByteOf_anyInt_isBits8To15) {
    EXPECT_EQ(highByteOf(0x1234), 0x12);
    EXPECT_EQ(highByteOf(0xFF), 0x00);
    EXPECT_EQ(highByteOf(0xABCDEF), 0xCD);
    EXPECT_EQ(highByteOf(-1), 0xFF);
    EXPECT_EQ(highByteOf(-256), 0xFF);
    EXPECT_EQ(highByteOf(INT_MIN), 0x00);
}

TEST(ByteOrder, putBigEndianWord_word_highByteFirstAndTwoBytesOnly) {
    unsigned char bytes[4] = {0xEE, 0xEE, 0xEE, 0xEE};
    putBigEndianWord(bytes + 1, 0x1234);
    EXPECT_EQ(bytes[0], 0xEE);
    EXPECT_EQ(bytes[1], 0x12);
    EXPECT_EQ(bytes[2], 0x34);
    EXPECT_EQ(bytes[3], 0xEE);
}

TEST(ByteOrder, putBigEndianWord_beyond16Bits_low16BitsOnly) {
    unsigned char bytes[2] = {0, 0};
    putBigEndianWord(bytes, 0x7FAB05);
    EXPECT_EQ(bytes[0], 0xAB);
    EXPECT_EQ(bytes[1], 0x05);
    putBigEndianWord(bytes, -2);
    EXPECT_EQ(bytes[0], 0xFF);
    EXPECT_EQ(bytes[1], 0xFE);
}

TEST(ByteOrder, littleEndianWord_twoBytes_lowByteFirst) {
    const unsigned char bytes[] = {0x34, 0x12, 0xFF, 0xFF, 0x00, 0x80};
    EXPECT_EQ(littleEndianWord(bytes), 0x1234);
    EXPECT_EQ(littleEndianWord(bytes + 2), 65535);
    EXPECT_EQ(littleEndianWord(bytes + 4), 32768);
}
