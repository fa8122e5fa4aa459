#include "data/data_area.h"
#include "support/fresh_driver.h"
#include "unit/expected.h"

#include <gmock/gmock.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

int indexOf(int station, const char* regName, int wordAddr) {
    return getIndexOfDataArea(station, QLatin1String(regName), wordAddr, driver.dataAreaList);
}

int monitor(const char* regName, int addr, int count, int station = 1) {
    return _setDataAreaMonitorFlag(station, QLatin1String(regName), addr, count);
}

class DataArea : public FreshDriver {};

// Finding and creating records

TEST_F(DataArea, getIndexOfDataArea_absentKey_appendsOneRecord) {
    EXPECT_EQ(indexOf(1, "DM", 10), 0);
    EXPECT_EQ(indexOf(1, "DM", 11), 1);
    EXPECT_EQ(driver.dataAreaList.size(), 2);
}

TEST_F(DataArea, getIndexOfDataArea_presentKey_sameIndexAndNothingAppended) {
    indexOf(1, "DM", 10);
    indexOf(1, "DM", 11);
    EXPECT_EQ(indexOf(1, "DM", 10), 0);
    EXPECT_EQ(indexOf(1, "DM", 11), 1);
    EXPECT_EQ(driver.dataAreaList.size(), 2);
}

TEST_F(DataArea, getIndexOfDataArea_oneFieldOfTheKeyDiffers_anotherRecord) {
    EXPECT_EQ(indexOf(1, "DM", 10), 0);
    EXPECT_EQ(indexOf(2, "DM", 10), 1);
    EXPECT_EQ(indexOf(1, "WR", 10), 2);
    EXPECT_EQ(indexOf(1, "DM", 11), 3);
}

TEST_F(DataArea, getIndexOfDataArea_nameInOtherCaseOrWithABlank_anotherRecord) {
    EXPECT_EQ(indexOf(1, "DM", 10), 0);
    EXPECT_EQ(indexOf(1, "dm", 10), 1);
    EXPECT_EQ(indexOf(1, "DM ", 10), 2);
}

TEST_F(DataArea, getIndexOfDataArea_bitName_usedExactlyAsPassed) {
    indexOf(1, "CIO_bit", 2);
    EXPECT_THAT(cachedWords(), ElementsAre("CIO_bit 2"));
}

TEST_F(DataArea, getIndexOfDataArea_newRecord_isZeroButForItsKey) {
    indexOf(-3, "DM", lowestInt);
    const _DATA_& record = driver.dataAreaList.at(0);
    EXPECT_EQ(record.station, -3);
    EXPECT_EQ(record.regName, QLatin1String("DM"));
    EXPECT_EQ(record.wordAddr, lowestInt);
    EXPECT_EQ(record.firstByteFlag, 0);
    EXPECT_EQ(record.writePending, 0);
    EXPECT_EQ(record.pendingBits, 0);
    EXPECT_EQ(record.wordMonitor, 0);
    EXPECT_EQ(record.bitMonitor, 0);
    EXPECT_THAT(record.readValue, ElementsAre(0, 0, 0, 0));
    EXPECT_THAT(record.writeValue, ElementsAre(0, 0, 0, 0));
}

TEST_F(DataArea, getIndexOfDataArea_twoRecordsWithTheKey_firstInListOrder) {
    const _DATA_ record = cacheRecord("DM", 10);
    cacheRecord("DM", 11);
    driver.dataAreaList.append(record);
    EXPECT_EQ(indexOf(1, "DM", 10), 0);
}

TEST_F(DataArea, getIndexOfDataArea_anotherList_searchesAndGrowsThatOne) {
    QList<_DATA_> list;
    indexOf(1, "DM", 10);
    EXPECT_EQ(getIndexOfDataArea(1, QLatin1String("DM"), 11, list), 0);
    EXPECT_EQ(getIndexOfDataArea(1, QLatin1String("DM"), 10, list), 1);
    EXPECT_EQ(list.size(), 2);
    EXPECT_EQ(driver.dataAreaList.size(), 1);
}

TEST_F(DataArea, getIndexOfDataArea_afterInitProperty_startsEmptyAgain) {
    indexOf(1, "DM", 10);
    indexOf(1, "DM", 11);
    init(3, 64);
    EXPECT_EQ(indexOf(1, "DM", 11), 0);
}

// Monitoring

TEST_F(DataArea, setDataAreaMonitorFlag_bits35And36_oneRecordThatItsWordShares) {
    EXPECT_EQ(monitor("CIO_bit", 35, 2), 0);
    EXPECT_THAT(cachedWords(), ElementsAre("CIO 2"));
    EXPECT_EQ(driver.dataAreaList.at(0).bitMonitor, 0x18);
    EXPECT_EQ(driver.dataAreaList.at(0).wordMonitor, 0);
    EXPECT_EQ(monitor("CIO", 2, 1), 0);
    EXPECT_THAT(cachedWords(), ElementsAre("CIO 2"));
    EXPECT_EQ(driver.dataAreaList.at(0).bitMonitor, 0x18);
    EXPECT_EQ(driver.dataAreaList.at(0).wordMonitor, 1);
}

TEST_F(DataArea, setDataAreaMonitorFlag_countZeroOrNegative_changesNothing) {
    for (int count : {0, -1, lowestInt}) {
        EXPECT_EQ(monitor("DM", 10, count), 0);
        EXPECT_EQ(monitor("DM_bit", 10, count), 0);
    }
    EXPECT_THAT(cachedWords(), IsEmpty());
}

TEST_F(DataArea, setDataAreaMonitorFlag_twice_sameFlagsAsOnce) {
    for (int i = 0; i < 2; ++i) {
        monitor("DM", 10, 2);
        monitor("DM_bit", 163, 2);
    }
    EXPECT_THAT(cachedWords(), ElementsAre("DM 10", "DM 11"));
    EXPECT_EQ(cached(1, "DM", 10).wordMonitor, 1);
    EXPECT_EQ(cached(1, "DM", 10).bitMonitor, 0x18);
    EXPECT_EQ(cached(1, "DM", 11).wordMonitor, 1);
    EXPECT_EQ(cached(1, "DM", 11).bitMonitor, 0);
}

TEST_F(DataArea, setDataAreaMonitorFlag_wordRange_createsRecordsInAscendingOrder) {
    cacheRecord("DM", 11);
    monitor("DM", 10, 3);
    EXPECT_THAT(cachedWords(), ElementsAre("DM 11", "DM 10", "DM 12"));
}

TEST_F(DataArea, setDataAreaMonitorFlag_bitsAcrossWords_eachInItsWord) {
    monitor("WR_bit", 14, 20);
    EXPECT_THAT(cachedWords(), ElementsAre("WR 0", "WR 1", "WR 2"));
    EXPECT_EQ(cached(1, "WR", 0).bitMonitor, 0xC000);
    EXPECT_EQ(cached(1, "WR", 1).bitMonitor, 0xFFFF);
    EXPECT_EQ(cached(1, "WR", 2).bitMonitor, 0x0003);
}

TEST_F(DataArea, setDataAreaMonitorFlag_moreBits_addToTheMask) {
    monitor("WR_bit", 0, 1);
    monitor("WR_bit", 15, 1);
    EXPECT_EQ(cached(1, "WR", 0).bitMonitor, 0x8001);
}

TEST_F(DataArea, setDataAreaMonitorFlag_otherStation_anotherRecord) {
    monitor("DM", 10, 1, 1);
    monitor("DM", 10, 1, 2);
    EXPECT_EQ(driver.dataAreaList.size(), 2);
}

TEST_F(DataArea, setDataAreaMonitorFlag_nameWithMoreUnderscores_recordUnderTextBeforeTheFirst) {
    monitor("A_B_bit", 16, 1);
    monitor("_bit", 16, 1);
    EXPECT_THAT(cachedWords(), ElementsAre("A 1", " 1"));
}

TEST_F(DataArea, setDataAreaMonitorFlag_nameNotEndingInBit_aWordRegister) {
    monitor("CIO_BIT", 35, 1);
    monitor("CIO_bits", 35, 1);
    EXPECT_THAT(cachedWords(), ElementsAre("CIO_BIT 35", "CIO_bits 35"));
    EXPECT_EQ(driver.dataAreaList.at(0).wordMonitor, 1);
}

TEST_F(DataArea, setDataAreaMonitorFlag_negativeBitAddress_foldedTruncatingAndOnlyRealBitsMarked) {
    monitor("CIO_bit", -18, 20);
    // -18 and -17 fold onto word -1, bits -2 and -1, which do not exist; -16 is its bit 0; -15 to
    // -1 fold onto word 0 without a bit; 0 and 1 are bits of word 0.
    EXPECT_THAT(cachedWords(), ElementsAre("CIO -1", "CIO 0"));
    EXPECT_EQ(cached(1, "CIO", -1).bitMonitor, 0x0001);
    EXPECT_EQ(cached(1, "CIO", 0).bitMonitor, 0x0003);
}

TEST_F(DataArea, setDataAreaMonitorFlag_wordRangeBeyondHighestInt_wraps) {
    monitor("DM", highestInt, 2);
    EXPECT_THAT(cachedWords(), ElementsAre("DM 2147483647", "DM -2147483648"));
}

TEST_F(DataArea, setDataAreaMonitorFlag_bitRangeBeyondHighestInt_wraps) {
    monitor("CIO_bit", highestInt, 2);
    EXPECT_THAT(cachedWords(), ElementsAre("CIO 134217727", "CIO -134217728"));
    EXPECT_EQ(driver.dataAreaList.at(0).bitMonitor, 0x8000);
    EXPECT_EQ(driver.dataAreaList.at(1).bitMonitor, 0x0001);
}

TEST_F(DataArea, setDataAreaMonitorFlag_recordWithValues_onlyTheFlagChanges) {
    _DATA_& record = cacheRecord("DM", 10);
    setReadValue(record, 0x1234);
    setWriteValue(record, 0x5678);
    record.writePending = 1;
    record.pendingBits = 0x4;
    monitor("DM", 10, 1);
    EXPECT_EQ(readWord(record), 0x1234);
    EXPECT_EQ(writtenWord(record), 0x5678);
    EXPECT_EQ(record.writePending, 1);
    EXPECT_EQ(record.pendingBits, 0x4);
    EXPECT_THAT(takeNotices(), IsEmpty());
}

// One bit of an int

TEST(SetBitValue, setBitValue_onNonzero_sets) {
    EXPECT_EQ(_setBitValue(5, 1, 1), 7);
    EXPECT_EQ(_setBitValue(5, 0, 1), 5);
    EXPECT_EQ(_setBitValue(0, 3, 2), 8);
    EXPECT_EQ(_setBitValue(0, 3, -1), 8);
}

TEST(SetBitValue, setBitValue_onZero_clears) {
    EXPECT_EQ(_setBitValue(7, 0, 0), 6);
    EXPECT_EQ(_setBitValue(6, 0, 0), 6);
    EXPECT_EQ(_setBitValue(-1, 4, 0), -17);
}

TEST(SetBitValue, setBitValue_bit31_theSignBit) {
    EXPECT_EQ(_setBitValue(0, 31, 1), lowestInt);
    EXPECT_EQ(_setBitValue(-1, 31, 0), highestInt);
}

TEST(SetBitValue, setBitValue_bitOutside0To31_valueUnchanged) {
    EXPECT_EQ(_setBitValue(7, 40, 0), 7);
    for (int bit : {32, 33, 63, 64, 128, 255, 288, -1, -16, -224}) {
        EXPECT_EQ(_setBitValue(7, bit, 0), 7) << bit;
        EXPECT_EQ(_setBitValue(0, bit, 1), 0) << bit;
    }
}

TEST(SetBitValue, setBitValue_onlyTheLow8BitsOfTheBitNumberDecide) {
    EXPECT_EQ(_setBitValue(0, 256, 1), 1);
    EXPECT_EQ(_setBitValue(0, 259, 1), 8);
    EXPECT_EQ(_setBitValue(0, -256, 1), 1);
    EXPECT_EQ(_setBitValue(0, -253, 1), 8);
    EXPECT_EQ(_setBitValue(0, lowestInt, 1), 1);
}

} // namespace
