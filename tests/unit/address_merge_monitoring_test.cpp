/// intf_addrMerge: monitor marks, debug lines, the cyclic reads and the result.

#include "support/fresh_driver.h"
#include "unit/expected.h"

#include <gmock/gmock.h>

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class AddressMergeMonitoring : public FreshDriver {
protected:
    static int merge(QList<KEY_ADDRESS> keys) { return intf_addrMerge(keys); }
    static QList<KEY_ADDRESS> keyList(const KEY_ADDRESS& key) {
        QList<KEY_ADDRESS> keys;
        keys.append(key);
        return keys;
    }
};

// Monitor marks

TEST_F(AddressMergeMonitoring, intf_addrMerge_wordRange_marksEveryWord) {
    merge(keyList(makeKey("DM", 100, 3)));
    EXPECT_THAT(cachedWords(), ElementsAre("DM 100", "DM 101", "DM 102"));
    for (const _DATA_& record : driver.dataAreaList) {
        EXPECT_EQ(record.wordMonitor, 1);
        EXPECT_EQ(record.bitMonitor, 0);
        EXPECT_EQ(record.station, 1);
    }
}

TEST_F(AddressMergeMonitoring, intf_addrMerge_bitRange_marksItsBitsAloneBeforeAnyConversion) {
    merge(keyList(makeKey("CIO_bit", 35, 3)));
    EXPECT_THAT(cachedWords(), ElementsAre("CIO 2"));
    EXPECT_EQ(cached(1, "CIO", 2).bitMonitor, 0x38);
    EXPECT_EQ(cached(1, "CIO", 2).wordMonitor, 0);
}

TEST_F(AddressMergeMonitoring, intf_addrMerge_bridgedGap_isReadButNotMarked) {
    QList<KEY_ADDRESS> keys;
    keys << makeKey("DM", 100, 1) << makeKey("DM", 103, 1);
    EXPECT_EQ(intf_addrMerge(keys), 1);
    EXPECT_THAT(cachedWords(), ElementsAre("DM 100", "DM 103"));
}

TEST_F(AddressMergeMonitoring, intf_addrMerge_wordsCutOffByAnInnerRange_stayMarked) {
    QList<KEY_ADDRESS> keys;
    keys << makeKey("DM", 100, 10) << makeKey("DM", 105, 2);
    intf_addrMerge(keys);
    EXPECT_THAT(rangesOf(driver.readList), ElementsAre(Range{"DM", 100, 7}));
    EXPECT_EQ(cached(1, "DM", 109).wordMonitor, 1);
}

TEST_F(AddressMergeMonitoring, intf_addrMerge_joinedStations_areMarkedUnderTheirOwn) {
    QList<KEY_ADDRESS> keys;
    keys << makeKey("DM", 100, 1, 4) << makeKey("DM", 101, 1, 9);
    intf_addrMerge(keys);
    ASSERT_EQ(driver.readList.size(), 1);
    EXPECT_EQ(driver.readList.at(0).station, 4);
    EXPECT_EQ(cached(4, "DM", 100).wordMonitor, 1);
    EXPECT_EQ(cached(9, "DM", 101).wordMonitor, 1);
}

TEST_F(AddressMergeMonitoring, intf_addrMerge_secondCall_wordNoLongerAskedForLosesItsMarks) {
    merge(keyList(makeKey("DM", 100, 2)));
    merge(keyList(makeKey("DM_bit", 1600, 1)));
    merge(keyList(makeKey("DM", 101, 1)));
    EXPECT_THAT(cachedWords(), ElementsAre("DM 100", "DM 101"));
    EXPECT_EQ(cached(1, "DM", 100).wordMonitor, 0);
    EXPECT_EQ(cached(1, "DM", 100).bitMonitor, 0);
    EXPECT_EQ(cached(1, "DM", 101).wordMonitor, 1);
}

TEST_F(AddressMergeMonitoring, intf_addrMerge_secondCall_valuesAndPendingWritesStay) {
    _DATA_& record = cacheRecord("DM", 100);
    setReadValue(record, 0x1234);
    setWriteValue(record, 0x5678);
    record.writePending = 1;
    record.pendingBits = 0x8001;
    merge(keyList(makeKey("DM", 200, 1)));
    const _DATA_& kept = cached(1, "DM", 100);
    EXPECT_EQ(readWord(kept), 0x1234);
    EXPECT_EQ(writtenWord(kept), 0x5678);
    EXPECT_EQ(kept.writePending, 1);
    EXPECT_EQ(kept.pendingBits, 0x8001);
}

TEST_F(AddressMergeMonitoring, intf_addrMerge_lengthBelow1_marksNothing) {
    QList<KEY_ADDRESS> keys;
    keys << makeKey("DM", 100, 0) << makeKey("CIO_bit", 5, -3);
    intf_addrMerge(keys);
    EXPECT_THAT(cachedWords(), IsEmpty());
}

TEST_F(AddressMergeMonitoring, intf_addrMerge_anyKeys_raisesNoCallback) {
    merge(keyList(makeKey("DM", 100, 3)));
    EXPECT_THAT(takeNotices(), IsEmpty());
}

// An empty list

TEST_F(AddressMergeMonitoring, intf_addrMerge_emptyList_clearsMarksAndReadListAndReturns0) {
    merge(keyList(makeKey("DM", 100, 1)));
    merge(keyList(makeKey("DM_bit", 1605, 1)));
    ASSERT_EQ(driver.readList.size(), 1);
    EXPECT_EQ(merge(QList<KEY_ADDRESS>()), 0);
    EXPECT_TRUE(driver.readList.isEmpty());
    EXPECT_THAT(cachedWords(), ElementsAre("DM 100"));
    EXPECT_EQ(cached(1, "DM", 100).wordMonitor, 0);
    EXPECT_EQ(cached(1, "DM", 100).bitMonitor, 0);
}

TEST_F(AddressMergeMonitoring, intf_addrMerge_emptyList_writesNoDebugLine) {
    MessageRecorder messages;
    merge(QList<KEY_ADDRESS>());
    EXPECT_THAT(messages.lines, IsEmpty());
}

// The cyclic reads

TEST_F(AddressMergeMonitoring, intf_addrMerge_blocks_becomeReadsOfType4WithZeroData) {
    KEY_ADDRESS key = makeKey("DM", 100, 10, 6);
    key.data[0] = 0x77;
    QList<KEY_ADDRESS> keys;
    keys << key << makeKey("CIO_bit", 35, 3, 2);
    intf_addrMerge(keys);
    EXPECT_THAT(rangesOf(driver.readList), ElementsAre(Range{"CIO", 2, 1}, Range{"DM", 100, 10}));
    EXPECT_EQ(driver.readList.at(0).station, 2);
    EXPECT_EQ(driver.readList.at(1).station, 6);
    for (const VARIABLE& request : driver.readList) {
        EXPECT_EQ(request.type, 4);
        EXPECT_THAT(request.data, Each(0));
    }
}

TEST_F(AddressMergeMonitoring, intf_addrMerge_range100WordsLong_oneReadOf100) {
    EXPECT_EQ(merge(keyList(makeKey("DM", 300, 100))), 1);
    EXPECT_THAT(rangesOf(driver.readList), ElementsAre(Range{"DM", 300, 100}));
}

TEST_F(AddressMergeMonitoring, intf_addrMerge_manyKeys_returnsTheNumberOfReads) {
    QList<KEY_ADDRESS> keys;
    keys << makeKey("DM", 100, 2) << makeKey("DM", 200, 2) << makeKey("T", 5, 1)
         << makeKey("C", 5, 1) << makeKey("DM", 102, 1);
    EXPECT_EQ(intf_addrMerge(keys), 4);
    EXPECT_EQ(driver.readList.size(), 4);
}

TEST_F(AddressMergeMonitoring, intf_addrMerge_onReturn_keysAreTheBlocks) {
    QList<KEY_ADDRESS> keys;
    keys << makeKey("DM", 150, 2) << makeKey("DM", 100, 2) << makeKey("CIO_bit", 35, 3);
    intf_addrMerge(keys);
    EXPECT_THAT(rangesOf(keys), ElementsAre(Range{"CIO", 2, 1}, Range{"DM", 100, 52}));
}

TEST_F(AddressMergeMonitoring, intf_addrMerge_secondCall_rebuildsTheReadListWhole) {
    merge(keyList(makeKey("DM", 100, 3)));
    EXPECT_EQ(merge(keyList(makeKey("WR", 7, 1))), 1);
    EXPECT_THAT(rangesOf(driver.readList), ElementsAre(Range{"WR", 7, 1}));
}

TEST_F(AddressMergeMonitoring, intf_addrMerge_anyKeys_leavesOtherListsAlone) {
    driver.rcpBlockFirst.append(5);
    driver.writeList.append(makeRequest("DM", 1, 1));
    driver.conditionReadList.append(makeRequest("DM", 2, 1));
    merge(keyList(makeKey("DM", 100, 3)));
    EXPECT_THAT(driver.rcpBlockFirst, ElementsAre(5));
    EXPECT_EQ(driver.writeList.size(), 1);
    EXPECT_EQ(driver.conditionReadList.size(), 1);
}

// Debug lines

TEST_F(AddressMergeMonitoring, intf_addrMerge_oneKey_writesBothLinesWithTheirTrailingBlanks) {
    MessageRecorder messages;
    merge(keyList(makeKey("CIO_bit", 35, 3)));
    EXPECT_THAT(messages.lines,
                ElementsAre("step \"CIO_bit\" 35 3 ", "\"step3:id=0,reg=CIO,address=2,len=1\" "));
}

TEST_F(AddressMergeMonitoring, intf_addrMerge_manyKeys_stepLinesInHostOrderThenOneLineForEachRead) {
    QList<KEY_ADDRESS> keys;
    keys << makeKey("DM", 200, 1) << makeKey("DM", 100, 2) << makeKey("CIO_bit", 15, 2)
         << makeKey("DM", 102, -1);
    MessageRecorder messages;
    intf_addrMerge(keys);
    EXPECT_THAT(messages.lines,
                ElementsAre("step \"DM\" 200 1 ", "step \"DM\" 100 2 ", "step \"CIO_bit\" 15 2 ",
                            "step \"DM\" 102 -1 ", "\"step3:id=0,reg=CIO,address=0,len=2\" ",
                            "\"step3:id=1,reg=DM,address=100,len=1\" ",
                            "\"step3:id=2,reg=DM,address=200,len=1\" "));
}

TEST_F(AddressMergeMonitoring, intf_addrMerge_quoteInTheName_isNotEscaped) {
    MessageRecorder messages;
    merge(keyList(makeKey("A\"B", 1, 1)));
    EXPECT_THAT(messages.lines,
                ElementsAre("step \"A\"B\" 1 1 ", "\"step3:id=0,reg=A\"B,address=1,len=1\" "));
}

TEST_F(AddressMergeMonitoring, intf_addrMerge_placeMarkerInTheName_isFilledByTheNextValue) {
    // The template's four values are put in one after the other, each for the lowest marker left.
    MessageRecorder messages;
    merge(keyList(makeKey("A%3", 5, 1)));
    EXPECT_THAT(messages.lines,
                ElementsAre("step \"A%3\" 5 1 ", "\"step3:id=0,reg=A5,address=5,len=1\" "));
}

} // namespace
