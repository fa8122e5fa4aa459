/// Host writes in the cache: what is stored, what the host sees, and what it is told.

#include "data/host_write.h"
#include "support/fresh_driver.h"
#include "unit/expected.h"

#include <gmock/gmock.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class HostWriteCache : public FreshDriver {
protected:
    static void save(const char* regName, int addr, std::vector<unsigned char> data,
                     int station = 1) {
        const QString name = QLatin1String(regName);
        const int size = static_cast<int>(data.size());
        const int count = name.endsWith(QLatin1String("_bit")) ? size : size / 2;
        write_saveDataToArea(station, name, addr, count, data.data());
    }
};

// Words

TEST_F(HostWriteCache, intf_setData_word_hostSeesItAtOnceAndMonitoredChangeIsReported) {
    cacheRecord("DM", 10).wordMonitor = 1;
    unsigned char word[2] = {0x01, 0x02};
    EXPECT_EQ(intf_setData(1, QLatin1String("DM"), 10, 1, word, 0), 1);
    EXPECT_THAT(hostWords("DM", 10, 1), ElementsAre(0x0201));
    EXPECT_THAT(takeNotices(), ElementsAre(dataNotice("DM", 10)));
}

TEST_F(HostWriteCache, intf_setData_morePiecesThanOne_cacheTakesTheWholeWrite) {
    std::vector<unsigned char> data(300, 0);
    data[298] = 0x34;
    data[299] = 0x12;
    intf_setData(1, QLatin1String("DM"), 100, 150, data.data(), 0);
    EXPECT_EQ(driver.dataAreaList.size(), 150);
    EXPECT_THAT(hostWords("DM", 249, 1), ElementsAre(0x1234));
}

TEST_F(HostWriteCache, saveDataToArea_word_writeValueStoredPendingSetReadValueKept) {
    setReadValue(cacheRecord("DM", 10), 0x1111);
    save("DM", 10, {0x34, 0x12});
    const _DATA_& record = cached(1, "DM", 10);
    EXPECT_THAT(record.writeValue, ElementsAre(0x34, 0x12, 0, 0));
    EXPECT_THAT(record.readValue, ElementsAre(0x11, 0x11, 0, 0));
    EXPECT_EQ(record.writePending, 1);
    EXPECT_EQ(record.pendingBits, 0);
}

TEST_F(HostWriteCache, saveDataToArea_words_eachInItsRecordCreatedInOrder) {
    cacheRecord("DM", 11);
    save("DM", 10, {1, 0, 2, 0, 3, 0});
    EXPECT_THAT(cachedWords(), ElementsAre("DM 11", "DM 10", "DM 12"));
    EXPECT_THAT(hostWords("DM", 10, 3), ElementsAre(1, 2, 3));
}

TEST_F(HostWriteCache, saveDataToArea_bitChangesOfAWord_monitoredBitsThenWordForEachWord) {
    for (int addr : {10, 11}) {
        cacheRecord("DM", addr).wordMonitor = 1;
        cacheRecord("DM", addr).bitMonitor = 0x8001;
    }
    save("DM", 10, {0x01, 0x80, 0x00, 0x80});
    EXPECT_THAT(takeNotices(),
                ElementsAre(dataNotice("DM_bit", 160), dataNotice("DM_bit", 175),
                            dataNotice("DM", 10), dataNotice("DM_bit", 191), dataNotice("DM", 11)));
}

TEST_F(HostWriteCache, saveDataToArea_sameValueAsSeen_noCallbackButPending) {
    _DATA_& record = cacheRecord("DM", 10);
    record.wordMonitor = 1;
    setReadValue(record, 0x1234);
    save("DM", 10, {0x34, 0x12});
    EXPECT_THAT(takeNotices(), IsEmpty());
    EXPECT_EQ(cached(1, "DM", 10).writePending, 1);
    EXPECT_EQ(writtenWord(cached(1, "DM", 10)), 0x1234);
}

TEST_F(HostWriteCache, saveDataToArea_wordAlreadyPending_comparedWithWhatWasWritten) {
    cacheRecord("DM", 10).wordMonitor = 1;
    save("DM", 10, {5, 0});
    save("DM", 10, {5, 0});
    EXPECT_THAT(takeNotices(), ElementsAre(dataNotice("DM", 10)));
    save("DM", 10, {0, 0}); // the value read is 0, but the host has been seeing 5
    EXPECT_THAT(takeNotices(), ElementsAre(dataNotice("DM", 10)));
}

TEST_F(HostWriteCache, saveDataToArea_notPending_oldWriteValueIsNotCompared) {
    _DATA_& record = cacheRecord("DM", 10);
    record.wordMonitor = 1;
    setReadValue(record, 7);
    setWriteValue(record, 5);
    save("DM", 10, {5, 0});
    EXPECT_THAT(takeNotices(), ElementsAre(dataNotice("DM", 10)));
}

TEST_F(HostWriteCache, saveDataToArea_insideTheCallback_readGivesTheOldValueOfThatWordOnly) {
    for (int addr : {10, 11, 12}) {
        cacheRecord("DM", addr).wordMonitor = 1;
    }
    std::vector<std::vector<int>> seen;
    std::vector<int> pending;
    onNotice = [&](const Notice& notice) {
        seen.push_back(hostWords("DM", 10, 3));
        pending.push_back(cached(1, "DM", notice.address).writePending);
    };
    save("DM", 10, {1, 0, 2, 0, 3, 0});
    EXPECT_THAT(seen,
                ElementsAre(ElementsAre(0, 0, 0), ElementsAre(1, 0, 0), ElementsAre(1, 2, 0)));
    EXPECT_THAT(pending, ElementsAre(0, 0, 0));
}

TEST_F(HostWriteCache, saveDataToArea_otherStation_itsOwnRecordAndCallback) {
    cacheRecord("DM", 10, 1).wordMonitor = 1;
    cacheRecord("DM", 10, 2).wordMonitor = 1;
    save("DM", 10, {9, 0}, 2);
    EXPECT_THAT(takeNotices(), ElementsAre(dataNotice("DM", 10, 2)));
    EXPECT_THAT(hostWords("DM", 10, 1, 1), ElementsAre(0));
    EXPECT_THAT(hostWords("DM", 10, 1, 2), ElementsAre(9));
}

TEST_F(HostWriteCache, saveDataToArea_wordsBeyondHighestInt_wrap) {
    save("DM", highestInt, {1, 0, 2, 0});
    EXPECT_THAT(cachedWords(), ElementsAre("DM 2147483647", "DM -2147483648"));
    EXPECT_THAT(hostWords("DM", lowestInt, 1), ElementsAre(2));
}

TEST_F(HostWriteCache, saveDataToArea_wordWithPendingBits_maskStays) {
    save("DM_bit", 163, {1});
    save("DM", 10, {0x00, 0x10});
    EXPECT_EQ(cached(1, "DM", 10).pendingBits, 0x0008);
    EXPECT_EQ(writtenWord(cached(1, "DM", 10)), 0x1000);
}

TEST_F(HostWriteCache, saveDataToArea_countBelow1_nothing) {
    const unsigned char data[2] = {1, 1};
    for (int count : {0, -1, lowestInt}) {
        write_saveDataToArea(1, QLatin1String("DM"), 10, count, data);
        write_saveDataToArea(1, QLatin1String("DM_bit"), 10, count, data);
    }
    EXPECT_THAT(cachedWords(), IsEmpty());
}

// Bits

TEST_F(HostWriteCache, saveDataToArea_bit3OfAWordRead0x00F0_onlyThatBitChanges) {
    setReadValue(cacheRecord("CIO", 2), 0x00F0);
    save("CIO_bit", 35, {1});
    const _DATA_& record = cached(1, "CIO", 2);
    EXPECT_THAT(record.writeValue, ElementsAre(0xF8, 0x00, 0, 0));
    EXPECT_THAT(record.readValue, ElementsAre(0xF0, 0x00, 0, 0));
    EXPECT_EQ(record.pendingBits, 0x0008);
    EXPECT_EQ(record.writePending, 1);
}

TEST_F(HostWriteCache, saveDataToArea_valueOtherThan1_clearsTheBit) {
    for (int value : {0, 2, 3, 128, 255}) {
        driver.dataAreaList.clear();
        setReadValue(cacheRecord("CIO", 2), 0xFFFF);
        save("CIO_bit", 35, {static_cast<unsigned char>(value)});
        EXPECT_EQ(writtenWord(cached(1, "CIO", 2)), 0xFFF7) << value;
        EXPECT_THAT(hostBits("CIO_bit", 35, 1), ElementsAre(0)) << value;
    }
}

TEST_F(HostWriteCache, saveDataToArea_firstPendingBitInEitherByte_otherByteComesFromReadValue) {
    setReadValue(cacheRecord("CIO", 2), 0xA55A);
    setWriteValue(cacheRecord("CIO", 2), 0x7777); // left from an earlier write
    setReadValue(cacheRecord("CIO", 3), 0xA55A);
    setWriteValue(cacheRecord("CIO", 3), 0x7777);
    save("CIO_bit", 32, {1});
    save("CIO_bit", 48 + 9, {1});
    EXPECT_EQ(writtenWord(cached(1, "CIO", 2)), 0xA55B);
    EXPECT_EQ(writtenWord(cached(1, "CIO", 3)), 0xA75A);
}

TEST_F(HostWriteCache, saveDataToArea_wordAlreadyPending_otherBitsStayAsWritten) {
    setReadValue(cacheRecord("CIO", 2), 0x0F0F);
    save("CIO", 2, {0x00, 0x80});
    save("CIO_bit", 33, {1});
    EXPECT_EQ(writtenWord(cached(1, "CIO", 2)), 0x8002);
    EXPECT_EQ(cached(1, "CIO", 2).pendingBits, 0x0002);
}

TEST_F(HostWriteCache, saveDataToArea_bitsAcrossAWordBoundary_bothWords) {
    save("CIO_bit", 14, {1, 1, 1, 0});
    EXPECT_THAT(cachedWords(), ElementsAre("CIO 0", "CIO 1"));
    EXPECT_EQ(writtenWord(cached(1, "CIO", 0)), 0xC000);
    EXPECT_EQ(cached(1, "CIO", 0).pendingBits, 0xC000);
    EXPECT_EQ(writtenWord(cached(1, "CIO", 1)), 0x0001);
    EXPECT_EQ(cached(1, "CIO", 1).pendingBits, 0x0003);
}

TEST_F(HostWriteCache, saveDataToArea_twoBitsOfOneWord_bitAndWordReportedForEach) {
    cacheRecord("CIO", 2).wordMonitor = 1;
    cacheRecord("CIO", 2).bitMonitor = 0xFFFF;
    save("CIO_bit", 35, {1, 1});
    EXPECT_THAT(takeNotices(), ElementsAre(dataNotice("CIO_bit", 35), dataNotice("CIO", 2),
                                           dataNotice("CIO_bit", 36), dataNotice("CIO", 2)));
}

TEST_F(HostWriteCache, saveDataToArea_bitNotMonitoredInAMonitoredWord_onlyTheWordReported) {
    cacheRecord("CIO", 2).wordMonitor = 1;
    cacheRecord("CIO", 2).bitMonitor = 0x0001;
    save("CIO_bit", 35, {1});
    EXPECT_THAT(takeNotices(), ElementsAre(dataNotice("CIO", 2)));
}

TEST_F(HostWriteCache, saveDataToArea_bitWithItsOldValue_noCallbackButPending) {
    cacheRecord("CIO", 2).wordMonitor = 1;
    cacheRecord("CIO", 2).bitMonitor = 0xFFFF;
    save("CIO_bit", 35, {0});
    EXPECT_THAT(takeNotices(), IsEmpty());
    EXPECT_EQ(cached(1, "CIO", 2).writePending, 1);
    EXPECT_EQ(cached(1, "CIO", 2).pendingBits, 0x0008);
}

TEST_F(HostWriteCache, saveDataToArea_insideTheCallback_readGivesTheOldBit) {
    cacheRecord("CIO", 2).bitMonitor = 0xFFFF;
    std::vector<std::vector<int>> seen;
    onNotice = [&seen](const Notice&) { seen.push_back(hostBits("CIO_bit", 35, 2)); };
    save("CIO_bit", 35, {1, 1});
    EXPECT_THAT(seen, ElementsAre(ElementsAre(0, 0), ElementsAre(1, 0)));
}

TEST_F(HostWriteCache, saveDataToArea_bitNameWithMoreUnderscores_baseNameInCacheAndCallback) {
    cacheRecord("A", 1).bitMonitor = 0x0001;
    cacheRecord("A", 1).wordMonitor = 1;
    save("A_B_bit", 16, {1});
    EXPECT_THAT(cachedWords(), ElementsAre("A 1"));
    EXPECT_THAT(takeNotices(), ElementsAre(dataNotice("A_bit", 16), dataNotice("A", 1)));
}

TEST_F(HostWriteCache, saveDataToArea_bitsBeyondHighestInt_wrap) {
    save("CIO_bit", highestInt, {1, 1});
    EXPECT_EQ(writtenWord(cached(1, "CIO", 134217727)), 0x8000);
    EXPECT_EQ(writtenWord(cached(1, "CIO", -134217728)), 0x0001);
}

// Bits that do not exist

TEST_F(HostWriteCache, saveDataToArea_bitMinus16_isBit0OfWordMinus1) {
    save("CIO_bit", -16, {1});
    EXPECT_EQ(writtenWord(cached(1, "CIO", -1)), 0x0001);
    EXPECT_EQ(cached(1, "CIO", -1).pendingBits, 0x0001);
}

TEST_F(HostWriteCache, saveDataToArea_negativeBitFirstPending_readValueCopiedAndPending) {
    for (int bit : {-1, -7, -8, -9, -15}) {
        driver.dataAreaList.clear();
        setReadValue(cacheRecord("CIO", 0), 0xA55A);
        setWriteValue(cacheRecord("CIO", 0), 0x7777);
        cacheRecord("CIO", 0).wordMonitor = 1;
        cacheRecord("CIO", 0).bitMonitor = 0xFFFF;
        save("CIO_bit", bit, {1});
        const _DATA_& record = cached(1, "CIO", 0);
        EXPECT_THAT(record.writeValue, ElementsAre(0x5A, 0xA5, 0, 0)) << bit;
        EXPECT_THAT(record.readValue, ElementsAre(0x5A, 0xA5, 0, 0)) << bit;
        EXPECT_EQ(record.writePending, 1) << bit;
        EXPECT_EQ(record.pendingBits, 0) << bit;
        EXPECT_THAT(hostWords("CIO", 0, 1), ElementsAre(0xA55A)) << bit;
        EXPECT_THAT(takeNotices(), IsEmpty()) << bit;
    }
}

TEST_F(HostWriteCache, saveDataToArea_negativeBitOfAPendingWord_writeValueStays) {
    setReadValue(cacheRecord("CIO", 0), 0xA55A);
    save("CIO", 0, {0x34, 0x12});
    for (int bit : {-1, -8}) {
        save("CIO_bit", bit, {1});
        EXPECT_EQ(writtenWord(cached(1, "CIO", 0)), 0x1234) << bit;
        EXPECT_EQ(cached(1, "CIO", 0).pendingBits, 0) << bit;
    }
}

TEST_F(HostWriteCache, saveDataToArea_negativeBitOfAnUnknownWord_recordCreated) {
    save("CIO_bit", -17, {1});
    EXPECT_THAT(cachedWords(), ElementsAre("CIO -1"));
    EXPECT_EQ(cached(1, "CIO", -1).writePending, 1);
    EXPECT_EQ(writtenWord(cached(1, "CIO", -1)), 0);
}

TEST_F(HostWriteCache, intf_setData_negativeBit_isQueuedAsGiven) {
    unsigned char one = 1;
    intf_setData(1, QLatin1String("CIO_bit"), -1, 1, &one, 0);
    EXPECT_THAT(rangesOf(driver.writeList), ElementsAre(Range{"CIO_bit", -1, 1}));
}

} // namespace
