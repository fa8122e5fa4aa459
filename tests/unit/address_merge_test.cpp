#include "scan/address_merge.h"
#include "support/fresh_driver.h"
#include "unit/expected.h"

#include <gmock/gmock.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class AddressMerge : public FreshDriver {
protected:
    static std::vector<Range> merged(QList<KEY_ADDRESS> keys, int mode = MERGE_CYCLIC) {
        addrMerge(keys, mode);
        return rangesOf(keys);
    }
};

QList<KEY_ADDRESS> keysOf(const std::vector<Range>& ranges) {
    QList<KEY_ADDRESS> keys;
    for (std::size_t i = 0; i < ranges.size(); ++i) {
        KEY_ADDRESS key = makeKey(ranges[i].regName.c_str(), ranges[i].addr, ranges[i].len);
        key.keyValue = static_cast<int>(i);
        keys.append(key);
    }
    return keys;
}

TEST_F(AddressMerge, addrMerge_emptyList_staysEmpty) {
    EXPECT_THAT(merged(keysOf({}), MERGE_CYCLIC), IsEmpty());
    EXPECT_THAT(merged(keysOf({}), MERGE_RECIPE), IsEmpty());
}

TEST_F(AddressMerge, addrMerge_oneRecord_staysAsItIs) {
    EXPECT_THAT(merged(keysOf({{"DM", 100, 10}})), ElementsAre(Range{"DM", 100, 10}));
}

TEST_F(AddressMerge, addrMerge_touchingRanges_oneBlock) {
    EXPECT_THAT(merged(keysOf({{"DM", 100, 10}, {"DM", 110, 5}})),
                ElementsAre(Range{"DM", 100, 15}));
}

TEST_F(AddressMerge, addrMerge_overlappingRanges_oneBlock) {
    EXPECT_THAT(merged(keysOf({{"DM", 100, 10}, {"DM", 105, 10}})),
                ElementsAre(Range{"DM", 100, 15}));
}

TEST_F(AddressMerge, addrMerge_innerRecord_cutsTheBlockBackToItsEnd) {
    EXPECT_THAT(merged(keysOf({{"DM", 100, 10}, {"DM", 105, 2}})),
                ElementsAre(Range{"DM", 100, 7}));
}

TEST_F(AddressMerge, addrMerge_innerRecordOfABlockLongerThanAFrame_cutsItBackToo) {
    EXPECT_THAT(merged(keysOf({{"DM", 100, 100}, {"DM", 110, 2}})),
                ElementsAre(Range{"DM", 100, 12}));
}

TEST_F(AddressMerge, addrMerge_recordAfterACut_isBridgedFromTheCutEnd) {
    // 100..109 is cut back to 100..106; 108 is no longer inside it, but one gap of a word away.
    EXPECT_THAT(merged(keysOf({{"DM", 100, 10}, {"DM", 105, 2}, {"DM", 108, 1}})),
                ElementsAre(Range{"DM", 100, 9}));
    EXPECT_THAT(merged(keysOf({{"DM", 100, 10}, {"DM", 105, 2}, {"DM", 108, 1}}), MERGE_RECIPE),
                ElementsAre(Range{"DM", 100, 7}, Range{"DM", 108, 1}));
}

TEST_F(AddressMerge, addrMerge_innerRecordOfLengthZero_cutsTheBlockToNothing) {
    EXPECT_THAT(merged(keysOf({{"DM", 100, 10}, {"DM", 100, 0}})),
                ElementsAre(Range{"DM", 100, 0}));
}

TEST_F(AddressMerge, addrMerge_innerRecordOfNegativeLength_givesANegativeLength) {
    EXPECT_THAT(merged(keysOf({{"DM", 100, 10}, {"DM", 101, -5}})),
                ElementsAre(Range{"DM", 100, -4}));
}

TEST_F(AddressMerge, addrMerge_bridgingABlockThatEndsInsideTheFormer_cutsThatBack) {
    // Joining: 10..69 would make 70 words, so it starts a block of its own, which 12..13 cuts back
    // to 10..13. Bridging then joins that to 0..59, whose end it cuts back to 13.
    EXPECT_THAT(merged(keysOf({{"DM", 0, 60}, {"DM", 10, 60}, {"DM", 12, 2}})),
                ElementsAre(Range{"DM", 0, 14}));
}

TEST_F(AddressMerge, addrMerge_gapWithinTheFrame_bridged) {
    EXPECT_THAT(merged(keysOf({{"DM", 100, 2}, {"DM", 150, 2}})),
                ElementsAre(Range{"DM", 100, 52}));
}

TEST_F(AddressMerge, addrMerge_gapBeyondTheFrame_twoBlocks) {
    EXPECT_THAT(merged(keysOf({{"DM", 100, 2}, {"DM", 200, 2}})),
                ElementsAre(Range{"DM", 100, 2}, Range{"DM", 200, 2}));
}

TEST_F(AddressMerge, addrMerge_spanOf64_joinedOrBridgedButNot65) {
    EXPECT_THAT(merged(keysOf({{"DM", 100, 60}, {"DM", 160, 4}})),
                ElementsAre(Range{"DM", 100, 64}));
    EXPECT_THAT(merged(keysOf({{"DM", 100, 60}, {"DM", 160, 5}})),
                ElementsAre(Range{"DM", 100, 60}, Range{"DM", 160, 5}));
    EXPECT_THAT(merged(keysOf({{"DM", 100, 2}, {"DM", 162, 2}})),
                ElementsAre(Range{"DM", 100, 64}));
    EXPECT_THAT(merged(keysOf({{"DM", 100, 2}, {"DM", 163, 2}})),
                ElementsAre(Range{"DM", 100, 2}, Range{"DM", 163, 2}));
}

TEST_F(AddressMerge, addrMerge_touchingButTooLongTogether_twoBlocks) {
    EXPECT_THAT(merged(keysOf({{"DM", 100, 60}, {"DM", 160, 10}})),
                ElementsAre(Range{"DM", 100, 60}, Range{"DM", 160, 10}));
}

TEST_F(AddressMerge, addrMerge_negativeLengthMakesTheGapLong_notBridged) {
    // The first ends before word 0, so the gap is 150, above 64, though the span would be 52.
    EXPECT_THAT(merged(keysOf({{"DM", 100, -100}, {"DM", 150, 2}})),
                ElementsAre(Range{"DM", 100, -100}, Range{"DM", 150, 2}));
}

TEST_F(AddressMerge, addrMerge_gapBridgedAndThenAnotherOneTooFar_newBlockStartsThere) {
    EXPECT_THAT(merged(keysOf({{"DM", 0, 1}, {"DM", 30, 1}, {"DM", 70, 1}, {"DM", 100, 1}})),
                ElementsAre(Range{"DM", 0, 31}, Range{"DM", 70, 31}));
}

TEST_F(AddressMerge, addrMerge_singleRangeLongerThanAFrame_staysWhole) {
    EXPECT_THAT(merged(keysOf({{"DM", 300, 100}})), ElementsAre(Range{"DM", 300, 100}));
}

TEST_F(AddressMerge, addrMerge_frameOfZeroWords_joinsNothingThatHasLength) {
    driver.maxWordsPerFrame = 0;
    EXPECT_THAT(merged(keysOf({{"DM", 100, 1}, {"DM", 101, 1}})),
                ElementsAre(Range{"DM", 100, 1}, Range{"DM", 101, 1}));
}

// Bits

TEST_F(AddressMerge, addrMerge_bitRange_smallestRunOfWordsThatHoldsIt) {
    struct Row {
        int addr, len, wordAddr, wordCount;
    };
    const Row rows[] = {
        {35, 3, 2, 1},
        {15, 2, 0, 2},
        {0, 16, 0, 1},
        {1, 16, 0, 2},
        {0, 0, 0, 0},
        {5, 0, 0, 1},
        {-1, 1, 0, 0},
        {-17, 3, -1, 1},
        {-17, 18, -1, 2},
        {0, -16, 0, -1},
        {0, -1, 0, 1},
        {-16, 16, -1, 1},
        {highestInt, 1, 134217727, 1},
        {15, highestInt, 0, -134217726}, // 2^31 + 14 wraps to -2147483634
        {lowestInt, 1, -134217728, 1},
    };
    for (const Row& row : rows) {
        EXPECT_THAT(merged(keysOf({{"CIO_bit", row.addr, row.len}})),
                    ElementsAre(Range{"CIO", row.wordAddr, row.wordCount}))
            << row.addr << ' ' << row.len;
    }
}

TEST_F(AddressMerge, addrMerge_CIO_bit35Length3_joinsCIO2) {
    EXPECT_THAT(merged(keysOf({{"CIO_bit", 35, 3}, {"CIO", 2, 1}})),
                ElementsAre(Range{"CIO", 2, 1}));
}

TEST_F(AddressMerge, addrMerge_bitName_losesItsLastFourCharactersOnly) {
    EXPECT_THAT(merged(keysOf({{"A_B_bit", 0, 1}})), ElementsAre(Range{"A_B", 0, 1}));
    EXPECT_THAT(merged(keysOf({{"X_bit_bit", 0, 1}})), ElementsAre(Range{"X_bit", 0, 1}));
    EXPECT_THAT(merged(keysOf({{"_bit", 0, 1}})), ElementsAre(Range{"", 0, 1}));
}

TEST_F(AddressMerge, addrMerge_nameNotEndingInBit_notNormalised) {
    EXPECT_THAT(merged(keysOf({{"CIO_BIT", 35, 3}})), ElementsAre(Range{"CIO_BIT", 35, 3}));
    EXPECT_THAT(merged(keysOf({{"CIO_bits", 35, 3}})), ElementsAre(Range{"CIO_bits", 35, 3}));
}

// Order

TEST_F(AddressMerge, addrMerge_allAreas_orderIsCIO_WR_HR_AR_T_C_DM) {
    EXPECT_THAT(merged(keysOf({{"DM", 5, 1},
                               {"C", 5, 1},
                               {"T", 5, 1},
                               {"AR_bit", 80, 1},
                               {"HR", 5, 1},
                               {"WR_bit", 80, 1},
                               {"CIO", 5, 1}})),
                ElementsAre(Range{"CIO", 5, 1}, Range{"WR", 5, 1}, Range{"HR", 5, 1},
                            Range{"AR", 5, 1}, Range{"T", 5, 1}, Range{"C", 5, 1},
                            Range{"DM", 5, 1}));
}

TEST_F(AddressMerge, addrMerge_timerAndCounter_neverJoined) {
    EXPECT_THAT(merged(keysOf({{"C", 5, 1}, {"T", 5, 1}})),
                ElementsAre(Range{"T", 5, 1}, Range{"C", 5, 1}));
}

TEST_F(AddressMerge, addrMerge_oneArea_ascendingAddresses) {
    EXPECT_THAT(merged(keysOf({{"DM", 900, 1}, {"DM", 100, 1}, {"DM", 500, 1}})),
                ElementsAre(Range{"DM", 100, 1}, Range{"DM", 500, 1}, Range{"DM", 900, 1}));
}

TEST_F(AddressMerge, addrMerge_equalNameAndAddress_keepTheHostsOrder) {
    // Whichever comes first starts the block; the other one sets its end.
    QList<KEY_ADDRESS> keys = keysOf({{"DM", 100, 10}, {"DM", 100, 3}});
    addrMerge(keys, MERGE_CYCLIC);
    EXPECT_THAT(rangesOf(keys), ElementsAre(Range{"DM", 100, 3}));
    EXPECT_EQ(keys.at(0).keyValue, 0);

    keys = keysOf({{"DM", 100, 3}, {"DM", 100, 10}});
    addrMerge(keys, MERGE_CYCLIC);
    EXPECT_THAT(rangesOf(keys), ElementsAre(Range{"DM", 100, 10}));
    EXPECT_EQ(keys.at(0).keyValue, 0);
}

TEST_F(AddressMerge, addrMerge_manyEqualWeights_keepTheHostsOrder) {
    driver.maxWordsPerFrame = 0; // so that nothing is joined and the sort shows
    std::vector<Range> ranges;
    for (int i = 0; i < 50; ++i) {
        ranges.push_back(Range{"DM", 100, 50 - i});
        ranges.push_back(Range{"DM", 40, 1});
    }
    QList<KEY_ADDRESS> keys = keysOf(ranges);
    addrMerge(keys, MERGE_CYCLIC);
    ASSERT_EQ(keys.size(), 100);
    for (int i = 0; i < 50; ++i) {
        EXPECT_EQ(keys.at(i).keyValue, 2 * i + 1);
        EXPECT_EQ(keys.at(50 + i).keyValue, 2 * i);
    }
}

TEST_F(AddressMerge, addrMerge_weightsTieAcrossNames_hostsOrderDecides) {
    // CIO 65535 weighs as much as WR 0; with a factor of 65536 it would sort before it.
    EXPECT_THAT(merged(keysOf({{"WR", 0, 1}, {"CIO", 65535, 1}})),
                ElementsAre(Range{"WR", 0, 1}, Range{"CIO", 65535, 1}));
    EXPECT_THAT(merged(keysOf({{"CIO", 65535, 1}, {"WR", 0, 1}})),
                ElementsAre(Range{"CIO", 65535, 1}, Range{"WR", 0, 1}));
    EXPECT_THAT(merged(keysOf({{"CIO", 65536, 1}, {"WR", 0, 1}})),
                ElementsAre(Range{"WR", 0, 1}, Range{"CIO", 65536, 1}));
}

TEST_F(AddressMerge, addrMerge_unknownName_sortsFirstByBareAddress) {
    EXPECT_THAT(merged(keysOf({{"CIO", 0, 1}, {"XX", 900, 1}, {"YY", 100, 1}, {"ZZ_bit", 0, 1}})),
                ElementsAre(Range{"ZZ", 0, 1}, Range{"YY", 100, 1}, Range{"XX", 900, 1},
                            Range{"CIO", 0, 1}));
}

TEST_F(AddressMerge, addrMerge_unknownNamesInterleavedByAddress_areJoinedOnlyAsNeighbours) {
    EXPECT_THAT(merged(keysOf({{"XX", 1, 1}, {"YY", 2, 1}, {"XX", 3, 1}})),
                ElementsAre(Range{"XX", 1, 1}, Range{"YY", 2, 1}, Range{"XX", 3, 1}));
}

TEST_F(AddressMerge, addrMerge_negativeWeight_comparedUnsignedAndSortsLast) {
    EXPECT_THAT(merged(keysOf({{"XX", -1, 1}, {"DM", 100, 1}})),
                ElementsAre(Range{"DM", 100, 1}, Range{"XX", -1, 1}));
    EXPECT_THAT(merged(keysOf({{"DM", -786421, 1}, {"CIO", 100, 1}})),
                ElementsAre(Range{"CIO", 100, 1}, Range{"DM", -786421, 1}));
}

TEST_F(AddressMerge, addrMerge_negativeWeightOfTheSameName_countsAsTouching) {
    // Sorted last, yet below the other's address: newLen = -786421 + 1 - 100.
    EXPECT_THAT(merged(keysOf({{"DM", -786421, 1}, {"DM", 100, 1}})),
                ElementsAre(Range{"DM", 100, -786520}));
}

TEST_F(AddressMerge, addrMerge_smallNegativeAddress_sortsBeforeZero) {
    EXPECT_THAT(merged(keysOf({{"DM", 3, 1}, {"DM", -2, 1}})), ElementsAre(Range{"DM", -2, 6}));
}

// What a block carries

TEST_F(AddressMerge, addrMerge_differentStations_joinedUnderTheFirstOnes) {
    QList<KEY_ADDRESS> keys;
    keys << makeKey("DM", 110, 5, 4) << makeKey("DM", 100, 10, 9);
    addrMerge(keys, MERGE_CYCLIC);
    EXPECT_THAT(rangesOf(keys), ElementsAre(Range{"DM", 100, 15}));
    EXPECT_EQ(keys.at(0).station, 9);
}

TEST_F(AddressMerge, addrMerge_block_isACopyOfItsFirstRecord) {
    KEY_ADDRESS first = makeKey("DM", 100, 2);
    first.keyText = QLatin1String("first");
    first.keyText2 = QLatin1String("text");
    first.keyValue = 11;
    first.rcpOffset = 22;
    first.countKind = -1;
    first.data[0] = 33;
    first.data[1023] = 44;
    QList<KEY_ADDRESS> keys;
    keys << makeKey("DM", 150, 2) << makeKey("DM", 102, 3) << first;
    addrMerge(keys, MERGE_CYCLIC);
    ASSERT_THAT(rangesOf(keys), ElementsAre(Range{"DM", 100, 52}));
    EXPECT_EQ(keys.at(0).keyText, QLatin1String("first"));
    EXPECT_EQ(keys.at(0).keyText2, QLatin1String("text"));
    EXPECT_EQ(keys.at(0).keyValue, 11);
    EXPECT_EQ(keys.at(0).rcpOffset, 22);
    EXPECT_EQ(keys.at(0).countKind, -1);
    EXPECT_EQ(keys.at(0).data[0], 33);
    EXPECT_EQ(keys.at(0).data[1023], 44);
}

// Arithmetic at the edge of 32 bits

TEST_F(AddressMerge, addrMerge_endBeyondHighestInt_wraps) {
    // XX 2147483640 len 20 ends at -2147483636, far before the second one: no touching end. The
    // gap, 2147483641 + 2147483636, wraps to -19: it counts as touching. newLen = 1 + 2 = 3.
    EXPECT_THAT(merged(keysOf({{"XX", 2147483640, 20}, {"XX", 2147483641, 2}})),
                ElementsAre(Range{"XX", 2147483640, 3}));
}

TEST_F(AddressMerge, addrMerge_lowestAndHighestAddress_areNeighbours) {
    // Unsigned weights: highestInt just before lowestInt. The gap wraps to 0 and the length to 2.
    EXPECT_THAT(merged(keysOf({{"XX", lowestInt, 1}, {"XX", highestInt, 1}})),
                ElementsAre(Range{"XX", highestInt, 2}));
}

TEST_F(AddressMerge, addrMerge_hugeLength_staysWholeUnlessCutBack) {
    EXPECT_THAT(merged(keysOf({{"DM", 0, highestInt}, {"DM", 100, 1}})),
                ElementsAre(Range{"DM", 0, highestInt}, Range{"DM", 100, 1}));
    EXPECT_THAT(merged(keysOf({{"DM", 0, highestInt}, {"DM", 30, 1}})),
                ElementsAre(Range{"DM", 0, 31}));
    EXPECT_THAT(merged(keysOf({{"DM", 100, highestInt}})),
                ElementsAre(Range{"DM", 100, highestInt}));
}

// Modes

TEST_F(AddressMerge, addrMerge_anyModeButRecipe_fullMerge) {
    for (int mode : {1, 0, 3, -2, highestInt}) {
        EXPECT_THAT(merged(keysOf({{"DM", 150, 2}, {"DM_bit", 1600, 1}}), mode),
                    ElementsAre(Range{"DM", 100, 52}))
            << mode;
        EXPECT_TRUE(driver.rcpBlockFirst.isEmpty()) << mode;
    }
}

TEST_F(AddressMerge, addrMerge_recipeMode_gapNotBridged) {
    EXPECT_THAT(merged(keysOf({{"DM", 100, 2}, {"DM", 103, 1}}), MERGE_RECIPE),
                ElementsAre(Range{"DM", 100, 2}, Range{"DM", 103, 1}));
}

TEST_F(AddressMerge, addrMerge_recipeMode_notSorted) {
    EXPECT_THAT(merged(keysOf({{"DM", 5, 1}, {"WR", 5, 1}, {"CIO", 5, 1}}), MERGE_RECIPE),
                ElementsAre(Range{"DM", 5, 1}, Range{"WR", 5, 1}, Range{"CIO", 5, 1}));
}

TEST_F(AddressMerge, addrMerge_recipeModeLowerAddressAfterHigher_countsAsTouching) {
    // 100 - 201 is not above 0; newLen = 102 - 200. The block then ends before 102.
    EXPECT_THAT(merged(keysOf({{"DM", 200, 1}, {"DM", 100, 2}, {"DM", 103, 1}}), MERGE_RECIPE),
                ElementsAre(Range{"DM", 200, -98}, Range{"DM", 103, 1}));
}

TEST_F(AddressMerge, addrMerge_recipeMode_bitNamesStayAsTheyAre) {
    EXPECT_THAT(
        merged(keysOf({{"DM_bit", 100, 10}, {"DM_bit", 110, 5}, {"DM", 6, 1}}), MERGE_RECIPE),
        ElementsAre(Range{"DM_bit", 100, 15}, Range{"DM", 6, 1}));
}

TEST_F(AddressMerge, addrMerge_recipeMode_blockFirstGetsZeroAndEachRecordThatStartsABlock) {
    // New blocks at 2 (gap), 4 (too long together) and 5 (other name).
    merged(keysOf({{"DM", 100, 2},
                   {"DM", 102, 3},
                   {"DM", 200, 1},
                   {"DM", 201, 1},
                   {"DM", 202, 63},
                   {"WR", 0, 1}}),
           MERGE_RECIPE);
    EXPECT_THAT(driver.rcpBlockFirst, ElementsAre(0, 2, 4, 5));
}

TEST_F(AddressMerge, addrMerge_recipeMode_blockFirstIsAppendedTo) {
    driver.rcpBlockFirst.append(9);
    merged(keysOf({{"DM", 100, 2}, {"DM", 200, 1}}), MERGE_RECIPE);
    EXPECT_THAT(driver.rcpBlockFirst, ElementsAre(9, 0, 1));
}

} // namespace
