#include "data/write_completion.h"
#include "support/fresh_driver.h"
#include "unit/expected.h"

#include <gmock/gmock.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

const int success = 1;
const int failure = 0;

class WriteCompletion : public FreshDriver {
protected:
    /// A host write that is nobody's business here: its callbacks are thrown away.
    void write(const char* regName, int addr, std::vector<unsigned char> data) {
        const QString name = QLatin1String(regName);
        const int size = static_cast<int>(data.size());
        const int count = name.endsWith(QLatin1String("_bit")) ? size : size / 2;
        intf_setData(1, name, addr, count, data.data(), 0);
        takeNotices();
    }
    static void complete(const char* regName, int addr, int count, int result, int station = 1) {
        _write_FailOrSuc(station, QLatin1String(regName), addr, count, result);
    }
};

// Words

TEST_F(WriteCompletion, write_FailOrSuc_wordSucceeds_readValueIsTheWrittenOneAndNoCallback) {
    cacheRecord("DM", 10).wordMonitor = 1;
    cacheRecord("DM", 10).bitMonitor = 0xFFFF;
    write("DM", 10, {0x34, 0x12});
    complete("DM", 10, 1, success);
    const _DATA_& record = cached(1, "DM", 10);
    EXPECT_THAT(record.readValue, ElementsAre(0x34, 0x12, 0, 0));
    EXPECT_THAT(record.writeValue, ElementsAre(0x34, 0x12, 0, 0));
    EXPECT_EQ(record.writePending, 0);
    EXPECT_THAT(takeNotices(), IsEmpty());
}

TEST_F(WriteCompletion, write_FailOrSuc_wordFails_readValueStaysAndMonitoredWordIsReported) {
    cacheRecord("DM", 10).wordMonitor = 1;
    write("DM", 10, {0x34, 0x12});
    complete("DM", 10, 1, failure);
    const _DATA_& record = cached(1, "DM", 10);
    EXPECT_THAT(record.readValue, ElementsAre(0, 0, 0, 0));
    EXPECT_THAT(record.writeValue, ElementsAre(0x34, 0x12, 0, 0));
    EXPECT_EQ(record.writePending, 0);
    EXPECT_THAT(takeNotices(), ElementsAre(dataNotice("DM", 10)));
}

TEST_F(WriteCompletion, write_FailOrSuc_wordsFail_changedMonitoredBitsThenWordForEachWord) {
    for (int addr : {10, 11, 12}) {
        cacheRecord("DM", addr).wordMonitor = 1;
        cacheRecord("DM", addr).bitMonitor = 0x0101;
        setReadValue(cacheRecord("DM", addr), 0x0001);
    }
    write("DM", 10, {0x00, 0x01, 0x01, 0x00, 0x00, 0x00}); // bits 0 and 8; none; bit 0
    complete("DM", 10, 3, failure);
    EXPECT_THAT(takeNotices(),
                ElementsAre(dataNotice("DM_bit", 160), dataNotice("DM_bit", 168),
                            dataNotice("DM", 10), dataNotice("DM_bit", 192), dataNotice("DM", 12)));
}

TEST_F(WriteCompletion, write_FailOrSuc_wordFailsUnmonitored_noCallback) {
    write("DM", 10, {0x34, 0x12});
    complete("DM", 10, 1, failure);
    EXPECT_THAT(takeNotices(), IsEmpty());
}

TEST_F(WriteCompletion, write_FailOrSuc_resultOtherThan1_isFailure) {
    for (int result : {0, 2, -1, highestInt}) {
        driver.dataAreaList.clear();
        write("DM", 10, {0x34, 0x12});
        complete("DM", 10, 1, result);
        EXPECT_EQ(readWord(cached(1, "DM", 10)), 0) << result;
        EXPECT_EQ(cached(1, "DM", 10).writePending, 0) << result;
    }
}

TEST_F(WriteCompletion,
       write_FailOrSuc_insideTheFailureCallback_pendingIsClearAndReadGivesReadValue) {
    cacheRecord("DM", 10).wordMonitor = 1;
    cacheRecord("DM", 11).wordMonitor = 1;
    write("DM", 10, {1, 0, 2, 0});
    std::vector<std::vector<int>> seen;
    onNotice = [&seen](const Notice&) { seen.push_back(hostWords("DM", 10, 2)); };
    complete("DM", 10, 2, failure);
    // The second word is not settled yet while the first one is being reported.
    EXPECT_THAT(seen, ElementsAre(ElementsAre(0, 2), ElementsAre(0, 0)));
}

TEST_F(WriteCompletion, write_FailOrSuc_wordWithPendingBits_pendingClearedMaskStays) {
    write("DM_bit", 163, {1});
    write("DM", 10, {0x00, 0x10});
    complete("DM", 10, 1, success);
    EXPECT_EQ(cached(1, "DM", 10).writePending, 0);
    EXPECT_EQ(cached(1, "DM", 10).pendingBits, 0x0008);
}

TEST_F(WriteCompletion, write_FailOrSuc_pendingClearedByAReplyBefore_successStillCopies) {
    _DATA_& record = cacheRecord("DM", 10);
    setReadValue(record, 0x0009);
    setWriteValue(record, 0x1234);
    complete("DM", 10, 1, success);
    EXPECT_EQ(readWord(cached(1, "DM", 10)), 0x1234);
}

TEST_F(WriteCompletion, write_FailOrSuc_wordsWithoutRecords_createdAndZero) {
    complete("DM", 10, 2, success);
    complete("WR", 10, 1, failure);
    EXPECT_THAT(cachedWords(), ElementsAre("DM 10", "DM 11", "WR 10"));
    EXPECT_THAT(hostWords("DM", 10, 2), ElementsAre(0, 0));
    EXPECT_THAT(takeNotices(), IsEmpty());
}

TEST_F(WriteCompletion, write_FailOrSuc_otherStation_untouched) {
    write("DM", 10, {0x34, 0x12});
    complete("DM", 10, 1, success, 2);
    EXPECT_EQ(cached(1, "DM", 10).writePending, 1);
    EXPECT_EQ(readWord(cached(1, "DM", 10)), 0);
}

TEST_F(WriteCompletion, write_FailOrSuc_countBelow1_nothing) {
    for (int count : {0, -1, lowestInt}) {
        complete("DM", 10, count, failure);
        complete("DM_bit", 10, count, success);
    }
    EXPECT_THAT(cachedWords(), IsEmpty());
    EXPECT_THAT(takeNotices(), IsEmpty());
}

TEST_F(WriteCompletion, write_FailOrSuc_wordsBeyondHighestInt_wrap) {
    write("DM", highestInt, {1, 0, 2, 0});
    complete("DM", highestInt, 2, success);
    EXPECT_EQ(readWord(cached(1, "DM", highestInt)), 1);
    EXPECT_EQ(readWord(cached(1, "DM", lowestInt)), 2);
}

TEST_F(WriteCompletion, write_FailOrSuc_anyWrite_leavesTheWriteListToTheCaller) {
    write("DM", 10, {1, 0});
    complete("DM", 10, 1, success);
    EXPECT_EQ(driver.writeList.size(), 1);
}

// Bits

TEST_F(WriteCompletion, write_FailOrSuc_threeBitsFrom16_threeCallbacksAllWithAddress16) {
    write("CIO_bit", 16, {1, 0, 1});
    complete("CIO_bit", 16, 3, success);
    EXPECT_THAT(takeNotices(), ElementsAre(dataNotice("CIO_bit", 16), dataNotice("CIO_bit", 16),
                                           dataNotice("CIO_bit", 16)));
}

TEST_F(WriteCompletion, write_FailOrSuc_threeBitsFail_sameThreeCallbacks) {
    write("CIO_bit", 16, {1, 0, 1});
    complete("CIO_bit", 16, 3, failure);
    EXPECT_THAT(takeNotices(), ElementsAre(dataNotice("CIO_bit", 16), dataNotice("CIO_bit", 16),
                                           dataNotice("CIO_bit", 16)));
}

TEST_F(WriteCompletion, write_FailOrSuc_bitsOfAMonitoredWord_noCallbackForTheWordItself) {
    cacheRecord("CIO", 1).wordMonitor = 1;
    cacheRecord("CIO", 1).bitMonitor = 0xFFFF;
    for (int result : {success, failure}) {
        write("CIO_bit", 20, {1});
        complete("CIO_bit", 20, 1, result);
        EXPECT_THAT(takeNotices(), ElementsAre(dataNotice("CIO_bit", 20))) << result;
    }
}

TEST_F(WriteCompletion, write_FailOrSuc_bitCallback_carriesHostTagStationAndNameAsGiven) {
    init("-12#0#0#3#64");
    complete("A_B_bit", 16, 1, success, 200);
    EXPECT_THAT(takeNotices(), ElementsAre(Notice{-12, 200, "A_B_bit", 16}));
    EXPECT_THAT(cachedWords(), ElementsAre("A 1"));
}

TEST_F(WriteCompletion, write_FailOrSuc_bitSucceeds_onlyThatBitOfReadValueChanges) {
    write("CIO_bit", 35, {1});
    write("CIO_bit", 43, {1}); // bit 11, another request
    setReadValue(cacheRecord("CIO", 2), 0x00F0);
    complete("CIO_bit", 35, 1, success);
    EXPECT_EQ(readWord(cached(1, "CIO", 2)), 0x00F8);
    complete("CIO_bit", 43, 1, success);
    EXPECT_EQ(readWord(cached(1, "CIO", 2)), 0x08F8);
}

TEST_F(WriteCompletion, write_FailOrSuc_clearedBitSucceeds_clearsItInReadValue) {
    setReadValue(cacheRecord("CIO", 2), 0xFFFF);
    write("CIO_bit", 35, {0});
    complete("CIO_bit", 35, 1, success);
    EXPECT_EQ(readWord(cached(1, "CIO", 2)), 0xFFF7);
}

TEST_F(WriteCompletion, write_FailOrSuc_bitFails_readValueStaysAndItsPendingBitIsCleared) {
    setReadValue(cacheRecord("CIO", 2), 0x00F0);
    write("CIO_bit", 35, {1});
    complete("CIO_bit", 35, 1, failure);
    const _DATA_& record = cached(1, "CIO", 2);
    EXPECT_THAT(record.readValue, ElementsAre(0xF0, 0x00, 0, 0));
    EXPECT_EQ(record.pendingBits, 0);
    EXPECT_EQ(record.writePending, 0);
    EXPECT_THAT(hostBits("CIO_bit", 35, 1), ElementsAre(0));
}

TEST_F(WriteCompletion, write_FailOrSuc_firstOfTwoBitsOfAWord_wordStaysPendingUntilTheSecond) {
    write("CIO_bit", 33, {1});
    write("CIO_bit", 40, {1});
    complete("CIO_bit", 33, 1, success);
    EXPECT_EQ(cached(1, "CIO", 2).writePending, 1);
    EXPECT_EQ(cached(1, "CIO", 2).pendingBits, 0x0100);
    complete("CIO_bit", 40, 1, success);
    EXPECT_EQ(cached(1, "CIO", 2).writePending, 0);
    EXPECT_EQ(cached(1, "CIO", 2).pendingBits, 0);
}

TEST_F(WriteCompletion, write_FailOrSuc_failedBitOfAWordStillPending_hostKeepsSeeingItAsWritten) {
    write("CIO_bit", 33, {1});
    write("CIO_bit", 40, {1});
    complete("CIO_bit", 33, 1, failure);
    EXPECT_THAT(hostBits("CIO_bit", 33, 1), ElementsAre(1));
    complete("CIO_bit", 40, 1, success);
    EXPECT_THAT(hostBits("CIO_bit", 33, 1), ElementsAre(0));
    EXPECT_THAT(hostBits("CIO_bit", 40, 1), ElementsAre(1));
}

TEST_F(WriteCompletion, write_FailOrSuc_lastPendingBit_clearsPendingOfAWordWriteToo) {
    write("CIO_bit", 33, {1});
    write("CIO", 2, {0xFF, 0xFF});
    complete("CIO_bit", 33, 1, success);
    EXPECT_EQ(cached(1, "CIO", 2).writePending, 0);
    EXPECT_EQ(readWord(cached(1, "CIO", 2)), 0x0002);
}

TEST_F(WriteCompletion, write_FailOrSuc_bitsAcrossAWordBoundary_bothWordsSettled) {
    write("CIO_bit", 14, {1, 1, 1, 1});
    complete("CIO_bit", 14, 4, success);
    EXPECT_EQ(readWord(cached(1, "CIO", 0)), 0xC000);
    EXPECT_EQ(readWord(cached(1, "CIO", 1)), 0x0003);
    EXPECT_EQ(cached(1, "CIO", 0).writePending, 0);
    EXPECT_EQ(cached(1, "CIO", 1).writePending, 0);
}

TEST_F(WriteCompletion, write_FailOrSuc_insideABitCallback_thatBitIsSettledAndLaterOnesAreNot) {
    write("CIO_bit", 15, {1, 1});
    std::vector<std::vector<int>> pending;
    std::vector<std::vector<int>> read;
    onNotice = [&](const Notice&) {
        pending.push_back({cached(1, "CIO", 0).writePending, cached(1, "CIO", 1).writePending});
        read.push_back({readWord(cached(1, "CIO", 0)), readWord(cached(1, "CIO", 1))});
    };
    complete("CIO_bit", 15, 2, success);
    EXPECT_THAT(pending, ElementsAre(ElementsAre(0, 1), ElementsAre(0, 0)));
    EXPECT_THAT(read, ElementsAre(ElementsAre(0x8000, 0), ElementsAre(0x8000, 1)));
}

TEST_F(WriteCompletion, write_FailOrSuc_pendingClearedByAReplyBefore_bitStillMerged) {
    write("CIO_bit", 35, {1});
    cacheRecord("CIO", 2).writePending = 0;
    setReadValue(cacheRecord("CIO", 2), 0x0F00);
    complete("CIO_bit", 35, 1, success);
    EXPECT_EQ(readWord(cached(1, "CIO", 2)), 0x0F08);
}

TEST_F(WriteCompletion, write_FailOrSuc_bitsWithoutRecords_createdZeroAndStillReported) {
    complete("CIO_bit", 15, 2, success);
    EXPECT_THAT(cachedWords(), ElementsAre("CIO 0", "CIO 1"));
    EXPECT_THAT(hostBits("CIO_bit", 15, 2), ElementsAre(0, 0));
    EXPECT_THAT(takeNotices(), ElementsAre(dataNotice("CIO_bit", 15), dataNotice("CIO_bit", 15)));
}

TEST_F(WriteCompletion, write_FailOrSuc_bitsBeyondHighestInt_wrapAndRepeatTheFirstAddress) {
    write("CIO_bit", highestInt, {1, 1});
    complete("CIO_bit", highestInt, 2, success);
    EXPECT_EQ(readWord(cached(1, "CIO", 134217727)), 0x8000);
    EXPECT_EQ(readWord(cached(1, "CIO", -134217728)), 0x0001);
    EXPECT_THAT(takeNotices(),
                ElementsAre(dataNotice("CIO_bit", highestInt), dataNotice("CIO_bit", highestInt)));
}

TEST_F(WriteCompletion, write_FailOrSuc_negativeBit_settledWithoutTouchingAnyBit) {
    for (int bit : {-1, -8, -15}) {
        driver.dataAreaList.clear();
        setReadValue(cacheRecord("CIO", 0), 0xA55A);
        write("CIO_bit", bit, {1});
        complete("CIO_bit", bit, 1, success);
        EXPECT_EQ(readWord(cached(1, "CIO", 0)), 0xA55A) << bit;
        EXPECT_EQ(cached(1, "CIO", 0).writePending, 0) << bit;
        EXPECT_THAT(takeNotices(), ElementsAre(dataNotice("CIO_bit", bit))) << bit;
    }
}

TEST_F(WriteCompletion, write_FailOrSuc_negativeBitOfAWordWithPendingBits_wordStaysPending) {
    write("CIO_bit", 3, {1});
    write("CIO_bit", -1, {1});
    complete("CIO_bit", -1, 1, success);
    EXPECT_EQ(cached(1, "CIO", 0).writePending, 1);
    EXPECT_EQ(cached(1, "CIO", 0).pendingBits, 0x0008);
}

} // namespace
