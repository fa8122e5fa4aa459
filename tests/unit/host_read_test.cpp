#include "support/fresh_driver.h"
#include "unit/expected.h"

#include <gmock/gmock.h>

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class HostRead : public FreshDriver {
protected:
    /// Calls intf_getData with a buffer of 8 bytes 0xEE and returns the buffer.
    std::vector<int> bytesOf(const char* regName, int addr, int count) {
        std::vector<unsigned char> buffer(8, 0xEE);
        result = intf_getData(1, QLatin1String(regName), addr, count, buffer.data());
        return std::vector<int>(buffer.begin(), buffer.end());
    }
    int result = 0;
};

// Words

TEST_F(HostRead, intf_getData_wordWithoutPendingWrite_readValueLowByteFirst) {
    setReadValue(cacheRecord("DM", 10), 0x1234);
    EXPECT_THAT(bytesOf("DM", 10, 1), ElementsAre(0x34, 0x12, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE));
    EXPECT_EQ(result, 1);
}

TEST_F(HostRead, intf_getData_wordWithPendingWrite_writeValue) {
    _DATA_& record = cacheRecord("DM", 10);
    setReadValue(record, 0x1234);
    setWriteValue(record, 0xFF00);
    record.writePending = 1;
    EXPECT_THAT(bytesOf("DM", 10, 1), ElementsAre(0x00, 0xFF, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE));
}

TEST_F(HostRead, intf_getData_writeValueNoLongerPending_readValue) {
    _DATA_& record = cacheRecord("DM", 10);
    setReadValue(record, 0x1234);
    setWriteValue(record, 0xFF00);
    record.pendingBits = 0xFFFF; // the flag alone decides
    EXPECT_THAT(hostWords("DM", 10, 1), ElementsAre(0x1234));
}

TEST_F(HostRead, intf_getData_runOfWords_eachWordItsOwnSource) {
    setReadValue(cacheRecord("DM", 12), 0x0C0C);
    setReadValue(cacheRecord("DM", 10), 0x0A0A);
    _DATA_& pending = cacheRecord("DM", 11);
    setReadValue(pending, 0x0B0B);
    setWriteValue(pending, 0x7777);
    pending.writePending = 1;
    EXPECT_THAT(hostWords("DM", 9, 5), ElementsAre(0, 0x0A0A, 0x7777, 0x0C0C, 0));
}

TEST_F(HostRead, intf_getData_addressNeverSeen_0AndOneRecordMore) {
    EXPECT_THAT(bytesOf("DM", 10, 1), ElementsAre(0, 0, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE));
    EXPECT_EQ(result, 1);
    EXPECT_THAT(cachedWords(), ElementsAre("DM 10"));
    hostWords("DM", 10, 1);
    EXPECT_EQ(driver.dataAreaList.size(), 1);
}

TEST_F(HostRead, intf_getData_someWordsUnknown_recordsAppendedInAscendingOrder) {
    cacheRecord("DM", 11);
    cacheRecord("WR", 10);
    hostWords("DM", 10, 3);
    EXPECT_THAT(cachedWords(), ElementsAre("DM 11", "WR 10", "DM 10", "DM 12"));
}

TEST_F(HostRead, intf_getData_otherStationOrName_otherValues) {
    setReadValue(cacheRecord("DM", 10, 1), 1);
    setReadValue(cacheRecord("DM", 10, 2), 2);
    setReadValue(cacheRecord("WR", 10, 1), 3);
    EXPECT_THAT(hostWords("DM", 10, 1, 1), ElementsAre(1));
    EXPECT_THAT(hostWords("DM", 10, 1, 2), ElementsAre(2));
    EXPECT_THAT(hostWords("WR", 10, 1, 1), ElementsAre(3));
    EXPECT_THAT(hostWords("WR", 10, 1, 2), ElementsAre(0));
}

TEST_F(HostRead, intf_getData_twoRecordsWithTheKey_theFirstInListOrder) {
    _DATA_ record = cacheRecord("DM", 10);
    setReadValue(record, 0x2222);
    setReadValue(driver.dataAreaList[0], 0x1111);
    driver.dataAreaList.append(record);
    EXPECT_THAT(hostWords("DM", 9, 3), ElementsAre(0, 0x1111, 0));
}

TEST_F(HostRead, intf_getData_unknownNameAndAddress_notRefused) {
    EXPECT_THAT(hostWords("nonsense", -99999, 1, -1), ElementsAre(0));
    EXPECT_THAT(cachedWords(), ElementsAre("nonsense -99999"));
}

TEST_F(HostRead, intf_getData_countBelow1_returns1AndWritesNothing) {
    for (int count : {0, -1, lowestInt}) {
        EXPECT_THAT(bytesOf("DM", 10, count), Each(0xEE));
        EXPECT_EQ(result, 1);
        EXPECT_THAT(bytesOf("DM_bit", 10, count), Each(0xEE));
        EXPECT_EQ(result, 1);
    }
    EXPECT_THAT(cachedWords(), IsEmpty());
}

TEST_F(HostRead, intf_getData_wordsBeyondHighestInt_wrap) {
    setReadValue(cacheRecord("DM", highestInt), 1);
    setReadValue(cacheRecord("DM", lowestInt), 2);
    EXPECT_THAT(hostWords("DM", highestInt, 2), ElementsAre(1, 2));
    EXPECT_EQ(driver.dataAreaList.size(), 2);
}

TEST_F(HostRead, intf_getData_anyRead_changesNoFlagRaisesNothingAndSendsNothing) {
    _DATA_& record = cacheRecord("DM", 10);
    record.firstByteFlag = 5;
    record.writePending = 1;
    record.pendingBits = 0x0011;
    record.wordMonitor = 1;
    record.bitMonitor = 0x0022;
    hostWords("DM", 10, 1);
    hostBits("DM_bit", 160, 16);
    EXPECT_EQ(record.firstByteFlag, 5);
    EXPECT_EQ(record.writePending, 1);
    EXPECT_EQ(record.pendingBits, 0x0011);
    EXPECT_EQ(record.wordMonitor, 1);
    EXPECT_EQ(record.bitMonitor, 0x0022);
    EXPECT_THAT(takeNotices(), IsEmpty());
    EXPECT_TRUE(driver.conditionReadList.isEmpty());
    EXPECT_TRUE(driver.writeList.isEmpty());
}

// Bits

TEST_F(HostRead, intf_getData_bit21_isBit5OfTheLowByteOfWord1) {
    setReadValue(cacheRecord("CIO", 1), 0x0020);
    EXPECT_THAT(bytesOf("CIO_bit", 21, 1),
                ElementsAre(1, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE));
    EXPECT_THAT(hostBits("CIO_bit", 29, 1), ElementsAre(0));
}

TEST_F(HostRead, intf_getData_bit29_isBit5OfTheHighByteOfWord1) {
    setReadValue(cacheRecord("CIO", 1), 0x2000);
    EXPECT_THAT(hostBits("CIO_bit", 29, 1), ElementsAre(1));
    EXPECT_THAT(hostBits("CIO_bit", 21, 1), ElementsAre(0));
}

TEST_F(HostRead, intf_getData_bitsAcrossAWordBoundary_twoRecords) {
    setReadValue(cacheRecord("CIO", 0), 0x4000); // bit 14
    setReadValue(cacheRecord("CIO", 1), 0x0002); // bit 17
    EXPECT_THAT(hostBits("CIO_bit", 14, 4), ElementsAre(1, 0, 0, 1));
    EXPECT_EQ(driver.dataAreaList.size(), 2);
}

TEST_F(HostRead, intf_getData_sixteenBits_everyBitInItsPlace) {
    setReadValue(cacheRecord("CIO", 3), 0xA53C);
    EXPECT_THAT(hostBits("CIO_bit", 48, 16),
                ElementsAre(0, 0, 1, 1, 1, 1, 0, 0, 1, 0, 1, 0, 0, 1, 0, 1));
}

TEST_F(HostRead, intf_getData_oneBitPending_allSixteenFromWriteValue) {
    _DATA_& record = cacheRecord("CIO", 3);
    setReadValue(record, 0xFFFF);
    setWriteValue(record, 0x0001);
    record.writePending = 1;
    record.pendingBits = 0x0001;
    EXPECT_THAT(hostBits("CIO_bit", 48, 16),
                ElementsAre(1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0));
}

TEST_F(HostRead, intf_getData_bitsNeverSeen_0AndARecordForEachWordUnderTheBaseName) {
    EXPECT_THAT(hostBits("CIO_bit", 15, 18), Each(0));
    EXPECT_THAT(cachedWords(), ElementsAre("CIO 0", "CIO 1", "CIO 2"));
}

TEST_F(HostRead, intf_getData_bitNameWithMoreUnderscores_recordUnderTextBeforeTheFirst) {
    setReadValue(cacheRecord("A", 1), 0x0001);
    EXPECT_THAT(hostBits("A_B_bit", 16, 1), ElementsAre(1));
    EXPECT_THAT(cachedWords(), ElementsAre("A 1"));
}

TEST_F(HostRead, intf_getData_nameNotEndingInBit_readsWords) {
    setReadValue(cacheRecord("CIO_BIT", 5), 0x0102);
    EXPECT_THAT(hostWords("CIO_BIT", 5, 1), ElementsAre(0x0102));
}

TEST_F(HostRead, intf_getData_negativeBitAddresses_bitsThatDoNotExistRead0) {
    setReadValue(cacheRecord("CIO", -1), 0xFFFF);
    setReadValue(cacheRecord("CIO", 0), 0xFFFF);
    // -18, -17: word -1 without a bit. -16: its bit 0. -15 to -1: word 0 without a bit. 0: bit 0.
    EXPECT_THAT(hostBits("CIO_bit", -18, 19),
                ElementsAre(0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1));
    EXPECT_EQ(driver.dataAreaList.size(), 2);
}

TEST_F(HostRead, intf_getData_negativeBitAddresses_createTheirRecords) {
    hostBits("CIO_bit", -17, 3);
    EXPECT_THAT(cachedWords(), ElementsAre("CIO -1", "CIO 0"));
}

TEST_F(HostRead, intf_getData_bitsBeyondHighestInt_wrap) {
    setReadValue(cacheRecord("CIO", 134217727), 0x8000);
    setReadValue(cacheRecord("CIO", -134217728), 0x0001);
    EXPECT_THAT(hostBits("CIO_bit", highestInt, 2), ElementsAre(1, 1));
    EXPECT_EQ(driver.dataAreaList.size(), 2);
}

} // namespace
