#include "data/change_notice.h"
#include "support/fresh_driver.h"
#include "unit/expected.h"

#include <gmock/gmock.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class ChangeNotice : public FreshDriver {
protected:
    static void wordChange(int oldValue, int newValue, const char* regName, int wordAddr,
                           int firstBit = 0, int station = 1) {
        _wordDataChange(&oldValue, &newValue, station, QLatin1String(regName), wordAddr, firstBit);
    }
    static void byteChange(unsigned char oldValue, unsigned char newValue, const char* regName,
                           int address, int station = 1) {
        _byteDataChange(&oldValue, &newValue, station, QLatin1String(regName), address);
    }
};

// Words

TEST_F(ChangeNotice, wordDataChange_monitoredWord_oneCallForTheWord) {
    cacheRecord("DM", 10).wordMonitor = 1;
    wordChange(0, 1, "DM", 10);
    EXPECT_THAT(takeNotices(), ElementsAre(dataNotice("DM", 10)));
}

TEST_F(ChangeNotice, wordDataChange_monitoredBitsAndWord_changedBitsAscendingThenTheWord) {
    _DATA_& record = cacheRecord("CIO", 2);
    record.bitMonitor = 0xFFFF;
    record.wordMonitor = 1;
    wordChange(0x8001, 0x0108, "CIO", 2); // bits 0, 3, 8 and 15 differ
    EXPECT_THAT(takeNotices(), ElementsAre(dataNotice("CIO_bit", 32), dataNotice("CIO_bit", 35),
                                           dataNotice("CIO_bit", 40), dataNotice("CIO_bit", 47),
                                           dataNotice("CIO", 2)));
}

TEST_F(ChangeNotice, wordDataChange_changedBitNotMonitored_notReportedEvenIfItsWordIs) {
    _DATA_& record = cacheRecord("CIO", 2);
    record.bitMonitor = 0x0010;
    record.wordMonitor = 1;
    wordChange(0, 0x0001, "CIO", 2);
    EXPECT_THAT(takeNotices(), ElementsAre(dataNotice("CIO", 2)));
}

TEST_F(ChangeNotice, wordDataChange_monitoredBitThatDoesNotDiffer_notReported) {
    cacheRecord("CIO", 2).bitMonitor = 0x0003;
    wordChange(0x0001, 0x0003, "CIO", 2);
    EXPECT_THAT(takeNotices(), ElementsAre(dataNotice("CIO_bit", 33)));
}

TEST_F(ChangeNotice, wordDataChange_nothingMonitored_noCall) {
    cacheRecord("DM", 10);
    wordChange(0, 0xFFFF, "DM", 10);
    EXPECT_THAT(takeNotices(), IsEmpty());
}

TEST_F(ChangeNotice, wordDataChange_equalValues_noCall) {
    _DATA_& record = cacheRecord("DM", 10);
    record.wordMonitor = 1;
    record.bitMonitor = 0xFFFF;
    wordChange(0x1234, 0x1234, "DM", 10);
    EXPECT_THAT(takeNotices(), IsEmpty());
}

TEST_F(ChangeNotice, wordDataChange_absentRecord_createdEvenIfNothingChanged) {
    wordChange(5, 5, "DM", 10);
    wordChange(5, 6, "DM", 11);
    EXPECT_THAT(cachedWords(), ElementsAre("DM 10", "DM 11"));
    EXPECT_THAT(takeNotices(), IsEmpty());
}

TEST_F(ChangeNotice, wordDataChange_firstBitNotZero_bitsLeftOutButNotTheWord) {
    _DATA_& record = cacheRecord("CIO", 2);
    record.bitMonitor = 0xFFFF;
    record.wordMonitor = 1;
    for (int firstBit : {1, 8, -1}) {
        wordChange(0, 0xFFFF, "CIO", 2, firstBit);
        EXPECT_THAT(takeNotices(), ElementsAre(dataNotice("CIO", 2))) << firstBit;
    }
}

TEST_F(ChangeNotice, wordDataChange_wordMonitorFlag_onlyItsLowestBitCounts) {
    cacheRecord("DM", 10).wordMonitor = 2;
    cacheRecord("DM", 11).wordMonitor = 3;
    cacheRecord("DM", 12).wordMonitor = -1;
    wordChange(0, 1, "DM", 10);
    wordChange(0, 1, "DM", 11);
    wordChange(0, 1, "DM", 12);
    EXPECT_THAT(takeNotices(), ElementsAre(dataNotice("DM", 11), dataNotice("DM", 12)));
}

TEST_F(ChangeNotice, wordDataChange_bitsAbove15_areNotBitsOfTheWord) {
    _DATA_& record = cacheRecord("DM", 10);
    record.bitMonitor = -1;
    record.wordMonitor = 1;
    wordChange(0, 0x10000, "DM", 10);
    EXPECT_THAT(takeNotices(), ElementsAre(dataNotice("DM", 10)));
}

TEST_F(ChangeNotice, wordDataChange_otherStationOrName_itsOwnFlagsCount) {
    cacheRecord("DM", 10, 1).wordMonitor = 1;
    wordChange(0, 1, "DM", 10, 0, 2);
    wordChange(0, 1, "WR", 10);
    EXPECT_THAT(takeNotices(), IsEmpty());
}

TEST_F(ChangeNotice, wordDataChange_anyChange_carriesHostTagAndStation) {
    init("-12#0#0#3#64");
    cacheRecord("DM", 10, 200).wordMonitor = 1;
    wordChange(0, 1, "DM", 10, 0, 200);
    EXPECT_THAT(takeNotices(), ElementsAre(Notice{-12, 200, "DM", 10}));
}

TEST_F(ChangeNotice, wordDataChange_anyChange_storesNothing) {
    _DATA_& record = cacheRecord("DM", 10);
    record.wordMonitor = 1;
    setReadValue(record, 0x1111);
    setWriteValue(record, 0x2222);
    wordChange(0, 0x3333, "DM", 10);
    EXPECT_EQ(readWord(record), 0x1111);
    EXPECT_EQ(writtenWord(record), 0x2222);
    EXPECT_EQ(record.writePending, 0);
}

TEST_F(ChangeNotice, wordDataChange_negativeWord_itsBitsLieBelowZero) {
    cacheRecord("CIO", -1).bitMonitor = 0x8001;
    wordChange(0, 0x8001, "CIO", -1);
    EXPECT_THAT(takeNotices(), ElementsAre(dataNotice("CIO_bit", -16), dataNotice("CIO_bit", -1)));
}

TEST_F(ChangeNotice, wordDataChange_bitAddressBeyondHighestInt_wraps) {
    cacheRecord("DM", 0x10000000).bitMonitor = 0x0008; // times 16 is 2^32
    cacheRecord("DM", 0x08000000).bitMonitor = 0x0008; // times 16 is 2^31
    cacheRecord("DM", highestInt).bitMonitor = 0x0008; // times 16 is -16 modulo 2^32
    wordChange(0, 8, "DM", 0x10000000);
    wordChange(0, 8, "DM", 0x08000000);
    wordChange(0, 8, "DM", highestInt);
    EXPECT_THAT(takeNotices(),
                ElementsAre(dataNotice("DM_bit", 3), dataNotice("DM_bit", lowestInt + 3),
                            dataNotice("DM_bit", -13)));
}

// Bytes

TEST_F(ChangeNotice, byteDataChange_monitoredBits_nameAsGivenAndAddressPlusBitAscending) {
    cacheRecord("CIO", 100).bitMonitor = 0x00FF;
    byteChange(0x81, 0x10, "CIO", 100); // bits 0, 4 and 7 differ
    EXPECT_THAT(takeNotices(), ElementsAre(dataNotice("CIO", 100), dataNotice("CIO", 104),
                                           dataNotice("CIO", 107)));
}

TEST_F(ChangeNotice, byteDataChange_bitName_recordAndCallbackUseItUnchanged) {
    cacheRecord("CIO_bit", 32).bitMonitor = 0x0002;
    byteChange(0, 0xFF, "CIO_bit", 32);
    EXPECT_THAT(takeNotices(), ElementsAre(dataNotice("CIO_bit", 33)));
    EXPECT_THAT(cachedWords(), ElementsAre("CIO_bit 32"));
}

TEST_F(ChangeNotice, byteDataChange_onlyTheWordMonitored_noCall) {
    cacheRecord("DM", 10).wordMonitor = 1;
    byteChange(0, 0xFF, "DM", 10);
    EXPECT_THAT(takeNotices(), IsEmpty());
}

TEST_F(ChangeNotice, byteDataChange_onlyHighBitsMonitored_noCall) {
    cacheRecord("DM", 10).bitMonitor = 0xFF00;
    byteChange(0, 0xFF, "DM", 10);
    EXPECT_THAT(takeNotices(), IsEmpty());
}

TEST_F(ChangeNotice, byteDataChange_wordMonitoredToo_noCallForTheWord) {
    _DATA_& record = cacheRecord("DM", 10);
    record.bitMonitor = 0x0004;
    record.wordMonitor = 1;
    byteChange(0, 0xFF, "DM", 10);
    EXPECT_THAT(takeNotices(), ElementsAre(dataNotice("DM", 12)));
}

TEST_F(ChangeNotice, byteDataChange_equalValues_noCall) {
    cacheRecord("DM", 10).bitMonitor = 0x00FF;
    byteChange(0x5A, 0x5A, "DM", 10);
    EXPECT_THAT(takeNotices(), IsEmpty());
}

TEST_F(ChangeNotice, byteDataChange_absentRecord_createdEvenIfNothingChanged) {
    byteChange(5, 5, "CIO_bit", 35);
    byteChange(5, 6, "DM", 11);
    EXPECT_THAT(cachedWords(), ElementsAre("CIO_bit 35", "DM 11"));
}

TEST_F(ChangeNotice, byteDataChange_otherStation_itsOwnFlagsCount) {
    cacheRecord("DM", 10, 1).bitMonitor = 0x00FF;
    cacheRecord("DM", 10, 2).bitMonitor = 0x0001;
    byteChange(0, 0xFF, "DM", 10, 2);
    EXPECT_THAT(takeNotices(), ElementsAre(dataNotice("DM", 10, 2)));
}

TEST_F(ChangeNotice, byteDataChange_addressBeyondHighestInt_wraps) {
    cacheRecord("DM", highestInt).bitMonitor = 0x0003;
    byteChange(0, 0x03, "DM", highestInt);
    EXPECT_THAT(takeNotices(),
                ElementsAre(dataNotice("DM", highestInt), dataNotice("DM", lowestInt)));
}

} // namespace
