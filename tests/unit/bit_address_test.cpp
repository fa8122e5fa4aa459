// Bit registers: names, and the three different ways from bits to words.

#include "driver/bit_address.h"

#include <gtest/gtest.h>

#include <climits>

namespace {

struct NameRow {
    const char* name;
    bool isBit;
    const char* base;
    const char* withoutSuffix; ///< null: not asked for names that are no bit registers
};

const NameRow nameRows[] = {
    {"CIO_bit", true, "CIO", "CIO"},
    {"DM_bit", true, "DM", "DM"},
    // Another "_" in the name: the cache takes the first piece, merging takes four characters off.
    {"A_B_bit", true, "A", "A_B"},
    {"_bit", true, "", ""},
    {"_bit_bit", true, "", "_bit"},
    {"CIO", false, "CIO", nullptr},
    {"bit", false, "bit", nullptr},
    {"", false, "", nullptr},
    {"CIO_BIT", false, "CIO", nullptr},
    {"CIO_bit ", false, "CIO", nullptr},
    {"CIO_bits", false, "CIO", nullptr},
    {"CIObit", false, "CIObit", nullptr},
    {"CIO_bit_x", false, "CIO", nullptr},
};

struct FoldRow {
    int address, word, bit, byteOfWord, bitOfByte;
    bool exists;
};

// Division truncates toward zero, the remainder has the sign of the address.
const FoldRow foldRows[] = {
    {0, 0, 0, 0, 0, true},         {7, 0, 7, 0, 7, true},
    {8, 0, 8, 1, 0, true},         {15, 0, 15, 1, 7, true},
    {16, 1, 0, 0, 0, true},        {21, 1, 5, 0, 5, true},
    {29, 1, 13, 1, 5, true},       {35, 2, 3, 0, 3, true},
    {98303, 6143, 15, 1, 7, true}, {INT_MAX, 134217727, 15, 1, 7, true},
    {-1, 0, -1, 0, -1, false},     {-7, 0, -7, 0, -7, false},
    {-8, 0, -8, -1, 0, false},     {-9, 0, -9, -1, -1, false},
    {-15, 0, -15, -1, -7, false},  {-16, -1, 0, 0, 0, true},
    {-17, -1, -1, 0, -1, false},   {-24, -1, -8, -1, 0, false},
    {-32, -2, 0, 0, 0, true},      {INT_MIN, -134217728, 0, 0, 0, true},
};

struct RangeRow {
    int bitAddress, bitCount, addr, len;
};

// len / 16, one more for a remainder; the place of the first bit in its word does not count.
const RangeRow fromFirstWordRows[] = {
    {37, 1, 2, 1},  {32, 33, 2, 3},  {15, 2, 0, 1},    {0, 16, 0, 1},  {0, 17, 0, 2},
    {16, 32, 1, 2}, {0, 0, 0, 0},    {5, 0, 0, 0},     {40, -5, 2, 1}, {40, -16, 2, -1},
    {-1, 1, 0, 1},  {-17, 1, -1, 1}, {-16, 16, -1, 1},
};

// The smallest run of words that holds the bits: (addr % 16 + len) / 16, one more for a remainder.
const RangeRow holdingRows[] = {
    {35, 3, 2, 1},
    {15, 2, 0, 2},
    {0, 16, 0, 1},
    {0, 17, 0, 2},
    {16, 16, 1, 1},
    {31, 1, 1, 1},
    {31, 18, 1, 3},
    {15, 1, 0, 1},
    {14, 2, 0, 1},
    {0, 0, 0, 0},
    {5, 0, 0, 1},
    {-1, 1, 0, 0},
    {-1, 2, 0, 1},
    {-16, 16, -1, 1},
    {-17, 3, -1, 1},
    // 15 + 2147483647 wraps to -2147483634; / 16 is -134217727, not without remainder.
    {15, INT_MAX, 0, -134217726},
};

} // namespace

TEST(BitAddress, isBitRegister_name_onlyWithSuffixExactly) {
    for (const NameRow& row : nameRows) {
        EXPECT_EQ(isBitRegister(QLatin1String(row.name)), row.isBit) << '"' << row.name << '"';
    }
    EXPECT_FALSE(isBitRegister(QString()));
}

TEST(BitAddress, baseRegisterName_name_textBeforeFirstUnderscore) {
    for (const NameRow& row : nameRows) {
        EXPECT_EQ(baseRegisterName(QLatin1String(row.name)).toStdString(), row.base)
            << '"' << row.name << '"';
    }
}

TEST(BitAddress, withoutBitSuffix_bitName_lastFourCharactersGone) {
    for (const NameRow& row : nameRows) {
        if (row.withoutSuffix != nullptr) {
            EXPECT_EQ(withoutBitSuffix(QLatin1String(row.name)).toStdString(), row.withoutSuffix)
                << '"' << row.name << '"';
        }
    }
}

TEST(BitAddress, bitRegisterName_name_suffixAdded) {
    EXPECT_EQ(bitRegisterName(QLatin1String("DM")), QLatin1String("DM_bit"));
    EXPECT_EQ(bitRegisterName(QString()), QLatin1String("_bit"));
}

TEST(BitAddress, foldBit_anyAddress_truncatesTowardZero) {
    for (const FoldRow& row : foldRows) {
        SCOPED_TRACE(row.address);
        const FoldedBit folded = foldBit(row.address);
        EXPECT_EQ(folded.word, row.word);
        EXPECT_EQ(folded.bit, row.bit);
        EXPECT_EQ(folded.byteOfWord, row.byteOfWord);
        EXPECT_EQ(folded.bitOfByte, row.bitOfByte);
    }
}

TEST(BitAddress, foldBit_negativePlaceInWord_doesNotExist) {
    for (const FoldRow& row : foldRows) {
        EXPECT_EQ(foldBit(row.address).exists(), row.exists) << row.address;
    }
}

TEST(BitAddress, wordsOfBitsFromFirstWord_range_ignoresPlaceOfFirstBit) {
    for (const RangeRow& row : fromFirstWordRows) {
        SCOPED_TRACE(::testing::Message() << row.bitAddress << " len " << row.bitCount);
        const WordRange words = wordsOfBitsFromFirstWord(row.bitAddress, row.bitCount);
        EXPECT_EQ(words.addr, row.addr);
        EXPECT_EQ(words.len, row.len);
    }
}

TEST(BitAddress, wordsHoldingBits_range_countsPlaceOfFirstBit) {
    for (const RangeRow& row : holdingRows) {
        SCOPED_TRACE(::testing::Message() << row.bitAddress << " len " << row.bitCount);
        const WordRange words = wordsHoldingBits(row.bitAddress, row.bitCount);
        EXPECT_EQ(words.addr, row.addr);
        EXPECT_EQ(words.len, row.len);
    }
}
