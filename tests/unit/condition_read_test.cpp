#include "support/fresh_driver.h"
#include "unit/expected.h"

#include <gmock/gmock.h>

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

const int countsBits = -1;
const int countsWords = 1;

class ConditionRead : public FreshDriver {
protected:
    /// Queues a range and returns what the entry point returned.
    static int add(const char* regName, int addr, int len, int countKind = countsWords,
                   int type = 9) {
        KEY_ADDRESS key = makeKey(regName, addr, len);
        key.countKind = countKind;
        return intf_addConditionRead(key, type);
    }

    static std::vector<Range> queued() { return rangesOf(driver.conditionReadList); }

    /// Queues DM 0, 10, 20, ... of one word each.
    static void addDistinct(int count) {
        for (int i = 0; i < count; ++i) {
            add("DM", 10 * i, 1);
        }
    }
};

// One request from one key

TEST_F(ConditionRead, addConditionRead_emptyList_appendsAtIndex0) {
    add("DM", 100, 10);
    EXPECT_THAT(queued(), ElementsAre(Range{"DM", 100, 10}));
}

TEST_F(ConditionRead, addConditionRead_anyKey_takesTypeFromArgumentAndStationFromKey) {
    intf_addConditionRead(makeKey("DM", 100, 1, 33), -5);
    EXPECT_EQ(driver.conditionReadList.at(0).type, -5);
    EXPECT_EQ(driver.conditionReadList.at(0).station, 33);
}

TEST_F(ConditionRead, addConditionRead_keyWithData_requestDataStayZero) {
    KEY_ADDRESS key = makeKey("DM", 100, 4);
    for (unsigned char& byte : key.data) {
        byte = 0xAB;
    }
    intf_addConditionRead(key, 1);
    EXPECT_THAT(driver.conditionReadList.at(0).data, Each(0));
}

TEST_F(ConditionRead, addConditionRead_unknownNameAndOutOfRangeAddress_queuedUnchanged) {
    EXPECT_EQ(add("XX", 999999, 3), 1);
    EXPECT_THAT(queued(), ElementsAre(Range{"XX", 999999, 3}));
}

TEST_F(ConditionRead, addConditionRead_anyKey_touchesNeitherCacheNorCallback) {
    add("DM", 100, 130);
    EXPECT_TRUE(driver.dataAreaList.isEmpty());
    EXPECT_TRUE(driver.readList.isEmpty());
    EXPECT_TRUE(driver.writeList.isEmpty());
    EXPECT_THAT(takeNotices(), IsEmpty());
}

TEST_F(ConditionRead, addConditionRead_anyInput_returns1) {
    EXPECT_EQ(add("DM", 1, 1), 1);
    EXPECT_EQ(add("DM", 1, 500), 1);
    EXPECT_EQ(add("", 0, 0), 1);
    EXPECT_EQ(add("CIO_bit", -1, -1), 1);
}

// Splitting

TEST_F(ConditionRead, addConditionRead_lengthEqualsLimit_oneRequest) {
    add("DM", 100, 64);
    EXPECT_THAT(queued(), ElementsAre(Range{"DM", 100, 64}));
}

TEST_F(ConditionRead, addConditionRead_lengthOneAboveLimit_secondRequestOfOneWord) {
    add("DM", 100, 65);
    EXPECT_THAT(queued(), ElementsAre(Range{"DM", 100, 64}, Range{"DM", 164, 1}));
}

TEST_F(ConditionRead, addConditionRead_130WordsWithLimit64_threeRequests) {
    add("DM", 100, 130);
    EXPECT_THAT(queued(),
                ElementsAre(Range{"DM", 100, 64}, Range{"DM", 164, 64}, Range{"DM", 228, 2}));
}

TEST_F(ConditionRead, addConditionRead_multipleOfLimit_lastPieceIsWhole) {
    add("DM", 100, 128);
    EXPECT_THAT(queued(), ElementsAre(Range{"DM", 100, 64}, Range{"DM", 164, 64}));
}

TEST_F(ConditionRead, addConditionRead_split_everyPieceHasTypeAndStation) {
    intf_addConditionRead(makeKey("DM", 100, 130, 5), 77);
    ASSERT_EQ(driver.conditionReadList.size(), 3);
    for (const VARIABLE& request : driver.conditionReadList) {
        EXPECT_EQ(request.type, 77);
        EXPECT_EQ(request.station, 5);
    }
}

TEST_F(ConditionRead, addConditionRead_countKindMinus1_splitOnlyAbove512) {
    add("CIO_bit", 0, 512, countsBits);
    EXPECT_THAT(queued(), ElementsAre(Range{"CIO", 0, 32}));
    add("WR_bit", 0, 513, countsBits);
    EXPECT_THAT(queued(), ElementsAre(Range{"CIO", 0, 32}, Range{"WR", 0, 32}, Range{"WR", 32, 1}));
}

TEST_F(ConditionRead, addConditionRead_wordNameWithCountKindMinus1_limitIsThatOfBits) {
    add("DM", 0, 512, countsBits);
    EXPECT_THAT(queued(), ElementsAre(Range{"DM", 0, 512}));
}

TEST_F(ConditionRead, addConditionRead_otherCountKinds_limitIsThatOfWords) {
    for (int countKind : {0, 1, 2, -2, highestInt, lowestInt}) {
        driver.conditionReadList.clear();
        add("DM", 0, 65, countKind);
        EXPECT_THAT(queued(), ElementsAre(Range{"DM", 0, 64}, Range{"DM", 64, 1})) << countKind;
    }
}

TEST_F(ConditionRead, addConditionRead_bitNameCountedInWords_splitAndAdvancedInBits) {
    // Pieces: 64 bits from 5 and 6 bits from 69, each then turned into words by itself.
    add("CIO_bit", 5, 70, countsWords);
    EXPECT_THAT(queued(), ElementsAre(Range{"CIO", 0, 4}, Range{"CIO", 4, 1}));
}

TEST_F(ConditionRead, addConditionRead_zeroOrNegativeLength_onePieceUnchanged) {
    add("DM", 100, 0);
    add("DM", 200, -1);
    add("DM", 300, lowestInt);
    EXPECT_THAT(queued(), ElementsAre(Range{"DM", 100, 0}, Range{"DM", 200, -1},
                                      Range{"DM", 300, lowestInt}));
}

TEST_F(ConditionRead, addConditionRead_limitZero_notSplit) {
    init(3, 0);
    EXPECT_EQ(add("DM", 100, 1000), 1);
    EXPECT_EQ(add("DM", 100, highestInt, countsBits), 1);
    EXPECT_EQ(add("DM", 100, 0), 1);
    EXPECT_THAT(queued(), ElementsAre(Range{"DM", 100, 1000}, Range{"DM", 100, highestInt},
                                      Range{"DM", 100, 0}));
}

TEST_F(ConditionRead, addConditionRead_limitNegative_notSplit) {
    init(3, -8);
    EXPECT_EQ(add("DM", 100, 1000), 1);
    EXPECT_EQ(add("DM", 200, -3), 1);
    EXPECT_EQ(add("DM", 300, 1000, countsBits), 1);
    EXPECT_THAT(queued(),
                ElementsAre(Range{"DM", 100, 1000}, Range{"DM", 200, -3}, Range{"DM", 300, 1000}));
}

TEST_F(ConditionRead, addConditionRead_pieceAddressBeyondHighestInt_wraps) {
    // 2147483637 + 64 - 2^32 and 2147483637 + 128 - 2^32
    add("DM", 2147483637, 130);
    EXPECT_THAT(queued(), ElementsAre(Range{"DM", 2147483637, 64}, Range{"DM", -2147483595, 64},
                                      Range{"DM", -2147483531, 2}));
}

// Bits to words

struct BitsToWords {
    int addr, len;           ///< bits
    int wordAddr, wordCount; ///< the request
};

TEST_F(ConditionRead, addConditionRead_bitName_wordsCountedFromFirstWordWithoutStartBit) {
    init(3, 0); // no splitting, so that extreme lengths stay one request
    const BitsToWords rows[] = {
        {37, 1, 2, 1},
        {32, 33, 2, 3},
        {15, 2, 0, 1}, // bits 15 and 16 lie in two words; only the first is read
        {1, 16, 0, 1}, // so do these
        {0, 16, 0, 1},
        {0, 17, 0, 2},
        {0, 0, 0, 0},
        {-1, 1, 0, 1},
        {-16, 1, -1, 1},
        {-17, 1, -1, 1},
        {0, -1, 0, 1},
        {0, -16, 0, -1},
        {0, -17, 0, 0},
        {highestInt, highestInt, 134217727, 134217728},
        {lowestInt, lowestInt, -134217728, -134217728},
    };
    for (const BitsToWords& row : rows) {
        driver.conditionReadList.clear();
        add("CIO_bit", row.addr, row.len);
        EXPECT_THAT(queued(), ElementsAre(Range{"CIO", row.wordAddr, row.wordCount}))
            << row.addr << ' ' << row.len;
    }
}

TEST_F(ConditionRead, addConditionRead_WR_bit32Length33_wordsTwoToFour) {
    add("WR_bit", 32, 33);
    EXPECT_THAT(queued(), ElementsAre(Range{"WR", 2, 3}));
}

TEST_F(ConditionRead, addConditionRead_bitNameWithMoreUnderscores_textBeforeTheFirst) {
    add("A_B_bit", 16, 1);
    add("_bit", 16, 1);
    EXPECT_THAT(queued(), ElementsAre(Range{"A", 1, 1}, Range{"", 1, 1}));
}

TEST_F(ConditionRead, addConditionRead_nameNotEndingInBit_unchanged) {
    for (const char* name : {"CIO_BIT", "CIO_bits", "CIO_bit ", "bit", "_bi", "CIObit", ""}) {
        driver.conditionReadList.clear();
        add(name, 37, 3);
        EXPECT_THAT(queued(), ElementsAre(Range{name, 37, 3}));
    }
}

// The queue

TEST_F(ConditionRead, addConditionRead_equalToElement0OfTwo_appended) {
    addDistinct(2);
    add("DM", 0, 1);
    EXPECT_THAT(queued(), ElementsAre(Range{"DM", 0, 1}, Range{"DM", 10, 1}, Range{"DM", 0, 1}));
}

TEST_F(ConditionRead, addConditionRead_equalToTheOnlyElement_appended) {
    addDistinct(1);
    add("DM", 0, 1);
    EXPECT_THAT(queued(), ElementsAre(Range{"DM", 0, 1}, Range{"DM", 0, 1}));
}

TEST_F(ConditionRead, addConditionRead_equalToElement3OfFive_replacesItWithItsType) {
    addDistinct(5);
    add("DM", 30, 1, countsWords, 44);
    EXPECT_THAT(queued(), ElementsAre(Range{"DM", 0, 1}, Range{"DM", 10, 1}, Range{"DM", 20, 1},
                                      Range{"DM", 30, 1}, Range{"DM", 40, 1}));
    EXPECT_EQ(driver.conditionReadList.at(3).type, 44);
}

TEST_F(ConditionRead, addConditionRead_equalToElement1OfTwo_replacesIt) {
    addDistinct(2);
    add("DM", 10, 1, countsWords, 44);
    ASSERT_EQ(driver.conditionReadList.size(), 2);
    EXPECT_EQ(driver.conditionReadList.at(1).type, 44);
}

TEST_F(ConditionRead, addConditionRead_twoEqualElementsQueued_replacesTheOneNearestTheEnd) {
    for (int addr : {0, 10, 20, 10, 30}) {
        driver.conditionReadList.append(makeRequest("DM", addr, 1));
    }
    add("DM", 10, 1, countsWords, 44);
    ASSERT_EQ(driver.conditionReadList.size(), 5);
    EXPECT_EQ(driver.conditionReadList.at(1).type, 0);
    EXPECT_EQ(driver.conditionReadList.at(3).type, 44);
}

TEST_F(ConditionRead, addConditionRead_equalButForData_replacedWhole) {
    driver.conditionReadList.append(makeRequest("DM", 0, 1));
    VARIABLE withData = makeRequest("DM", 10, 1);
    withData.data[1000] = 0x55;
    driver.conditionReadList.append(withData);
    add("DM", 10, 1);
    ASSERT_EQ(driver.conditionReadList.size(), 2);
    EXPECT_EQ(driver.conditionReadList.at(1).data[1000], 0);
}

TEST_F(ConditionRead, addConditionRead_oneFieldDiffers_appended) {
    addDistinct(2);
    intf_addConditionRead(makeKey("DM", 10, 1, 2), 9);
    add("WR", 10, 1);
    add("DM", 11, 1);
    add("DM", 10, 2);
    EXPECT_EQ(driver.conditionReadList.size(), 6);
}

TEST_F(ConditionRead, addConditionRead_bitRangeOfQueuedWords_sameRequest) {
    addDistinct(1);
    add("CIO", 2, 1);
    add("CIO_bit", 37, 1, countsBits, 44);
    ASSERT_EQ(driver.conditionReadList.size(), 2);
    EXPECT_EQ(driver.conditionReadList.at(1).type, 44);
}

TEST_F(ConditionRead, addConditionRead_512Queued_appended) {
    addDistinct(512);
    add("WR", 1, 1);
    ASSERT_EQ(driver.conditionReadList.size(), 513);
    EXPECT_EQ(rangeOf(driver.conditionReadList.at(512)), (Range{"WR", 1, 1}));
}

TEST_F(ConditionRead, addConditionRead_513Queued_eachFurtherReplacesElement512) {
    addDistinct(513);
    for (int addr : {1, 2, 3}) {
        add("WR", addr, 1);
        ASSERT_EQ(driver.conditionReadList.size(), 513);
        EXPECT_EQ(rangeOf(driver.conditionReadList.at(512)), (Range{"WR", addr, 1}));
    }
    EXPECT_EQ(rangeOf(driver.conditionReadList.at(0)), (Range{"DM", 0, 1}));
    EXPECT_EQ(rangeOf(driver.conditionReadList.at(511)), (Range{"DM", 5110, 1}));
}

TEST_F(ConditionRead, addConditionRead_513QueuedAndEqualToElement5_replacesElement5) {
    addDistinct(513);
    add("DM", 50, 1, countsWords, 44);
    EXPECT_EQ(driver.conditionReadList.at(5).type, 44);
    EXPECT_EQ(rangeOf(driver.conditionReadList.at(512)), (Range{"DM", 5120, 1}));
}

TEST_F(ConditionRead, addConditionRead_513QueuedAndEqualToElement0_replacesElement512) {
    addDistinct(513);
    add("DM", 0, 1, countsWords, 44);
    ASSERT_EQ(driver.conditionReadList.size(), 513);
    EXPECT_EQ(driver.conditionReadList.at(0).type, 9);
    EXPECT_EQ(rangeOf(driver.conditionReadList.at(512)), (Range{"DM", 0, 1}));
    EXPECT_EQ(driver.conditionReadList.at(512).type, 44);
}

TEST_F(ConditionRead, addConditionRead_600PiecesFromOneKey_lastPieceTakesElement512) {
    init(3, 1);
    add("DM", 1000, 600);
    ASSERT_EQ(driver.conditionReadList.size(), 513);
    EXPECT_EQ(rangeOf(driver.conditionReadList.at(511)), (Range{"DM", 1511, 1}));
    EXPECT_EQ(rangeOf(driver.conditionReadList.at(512)), (Range{"DM", 1599, 1}));
}

// The key of the notice that a condition read has ended

TEST_F(ConditionRead, addConditionRead_split_conditionKeyIsTheLastPiece) {
    intf_addConditionRead(makeKey("DM", 100, 130, 5), 77);
    EXPECT_EQ(rangeOf(driver.conditionKey), (Range{"DM", 228, 2}));
    EXPECT_EQ(driver.conditionKey.station, 5);
    EXPECT_EQ(driver.conditionKey.type, 77);
    EXPECT_THAT(driver.conditionKey.data, Each(0));
}

TEST_F(ConditionRead, addConditionRead_bitName_conditionKeyIsInWords) {
    add("CIO_bit", 37, 1);
    EXPECT_EQ(rangeOf(driver.conditionKey), (Range{"CIO", 2, 1}));
}

TEST_F(ConditionRead, addConditionRead_everyCall_overwritesConditionKey) {
    add("DM", 100, 1);
    add("WR", 7, 2);
    EXPECT_EQ(rangeOf(driver.conditionKey), (Range{"WR", 7, 2}));
}

TEST_F(ConditionRead, addConditionRead_replacingAQueuedRequest_setsConditionKeyToo) {
    addDistinct(5);
    add("DM", 20, 1, countsWords, 44);
    EXPECT_EQ(rangeOf(driver.conditionKey), (Range{"DM", 20, 1}));
    EXPECT_EQ(driver.conditionKey.type, 44);
}

} // namespace
