/// How each kind of request is closed, well or failed: dealListWhenFinish, mostly seen from
/// intf_dealRcvFrame. Recipes are in recipe_transfer_test.cpp.

#include "support/exchange.h"

#include "fins/request_finish.h"

#include <climits>

namespace {

using Notices = std::vector<Notice>;
using Asked = std::vector<std::string>;

class RequestFinish : public Exchange {
protected:
    /// Makes the words what the PLC holds.
    void plcHolds(const char* regName, int addr, const Words& words) {
        poll({makeKey(regName, addr, static_cast<int>(words.size()))});
        ask();
        ASSERT_EQ(1U, answer(words));
        takeNotices();
    }

    static void finish(int kind, int lastError) {
        driver.requestKind = kind;
        driver.lastError = lastError;
        dealListWhenFinish();
    }
};

TEST_F(RequestFinish, write_accepted_makesTheWrittenValueThePlcs) {
    plcHolds("DM", 100, {0x1111});
    hostWrites("DM", 100, {0x2222});
    takeNotices();
    ASSERT_EQ("write DM 100 1", next());
    EXPECT_EQ(1U, answer());
    EXPECT_EQ(0x22, cached(1, "DM", 100).readValue[0]);
    EXPECT_EQ(0, cached(1, "DM", 100).writePending);
    EXPECT_TRUE(driver.writeList.isEmpty());
    EXPECT_TRUE(takeNotices().empty());
}

TEST_F(RequestFinish, write_failed_givesTheHostBackThePlcsValue) {
    plcHolds("DM", 100, {0x1111, 0x1112});
    hostWrites("DM", 100, {0x2222, 0x1112});
    takeNotices();
    ASSERT_EQ("write DM 100 2", next());
    fail();
    EXPECT_EQ("0,1,100,DM", message);
    EXPECT_EQ(0x1111, hostWord("DM", 100));
    EXPECT_EQ(0x1112, hostWord("DM", 101));
    EXPECT_EQ(failureThen({changed("DM", 100)}), takeNotices());
    EXPECT_TRUE(driver.writeList.isEmpty());
}

TEST_F(RequestFinish, write_failed_insideTheNoticeHostReadsThePlcsValueAgain) {
    plcHolds("DM", 100, {0x1111});
    hostWrites("DM", 100, {0x2222});
    next();
    takeNotices();
    std::vector<int> seen;
    onNotice = [&seen](const Notice&) { seen.push_back(hostWord("DM", 100)); };
    fail();
    EXPECT_EQ((std::vector<int>{0x2222, 0x2222, 0x1111}), seen); // twice "LW", then the word
}

TEST_F(RequestFinish, write_failed_isDroppedAndNotRetried) {
    hostWrites("DM", 100, {1});
    hostWrites("DM", 200, {2});
    next();
    fail();
    EXPECT_EQ("write DM 200 1", turn());
    EXPECT_EQ("nothing", next());
}

TEST_F(RequestFinish, bitWrite_accepted_raisesOneNoticeABitEachWithTheFirstAddress) {
    hostWritesBits("CIO_bit", 16, {1, 0, 1});
    ASSERT_EQ("write CIO_bit 16 3", next());
    takeNotices();
    EXPECT_EQ(1U, answer());
    EXPECT_EQ((Notices{changed("CIO_bit", 16), changed("CIO_bit", 16), changed("CIO_bit", 16)}),
              takeNotices());
    EXPECT_EQ(0x0005, hostWord("CIO", 1));
}

TEST_F(RequestFinish, bitWrite_failed_raisesTheFailureThenOneNoticeABit) {
    plcHolds("CIO", 1, {0x00F0});
    hostWritesBits("CIO_bit", 19, {1, 0});
    takeNotices();
    ASSERT_EQ("write CIO_bit 19 2", next());
    fail();
    EXPECT_EQ(failureThen({changed("CIO_bit", 19), changed("CIO_bit", 19)}), takeNotices());
    EXPECT_EQ(0x00F0, hostWord("CIO", 1));
    EXPECT_EQ(0, cached(1, "CIO", 1).pendingBits);
}

TEST_F(RequestFinish, write_settled_isTheHeadOfTheListWhateverTheFrameSaid) {
    hostWrites("DM", 100, {0x1234});
    next();
    driver.writeList[0].addr = 300; // only the list is asked
    answer();
    EXPECT_EQ(1, cached(1, "DM", 100).writePending);
    EXPECT_EQ(0, cached(1, "DM", 300).writePending);
}

TEST_F(RequestFinish, writeAgainWhileTheFirstIsInFlight_bothGoOut) {
    hostWrites("DM", 100, {1});
    next();
    hostWrites("DM", 100, {2});
    EXPECT_EQ(1U, answer());
    EXPECT_EQ("write DM 100 1", next());
    EXPECT_EQ(2, out.frame[19]);
    EXPECT_EQ(1U, answer());
    EXPECT_EQ(2, hostWord("DM", 100));
    EXPECT_EQ("nothing", next());
}

TEST_F(RequestFinish, conditionRead_lastOneAnswered_isReportedWithZero) {
    conditionRead("DM", 100, 2);
    ASSERT_EQ("read DM 100 2", next());
    EXPECT_EQ(1U, answer(Words{5, 6}));
    EXPECT_EQ((Notices{conditionEnded(0)}), takeNotices());
    EXPECT_EQ(6, hostWord("DM", 101));
    EXPECT_TRUE(driver.conditionReadList.isEmpty());
}

TEST_F(RequestFinish, conditionRead_changedMonitoredWord_isReportedBeforeItsEnd) {
    monitor("DM", 100, 1);
    conditionRead("DM", 100, 1);
    next();
    answer(Words{5});
    EXPECT_EQ((Notices{changed("DM", 100), conditionEnded(0)}), takeNotices());
}

TEST_F(RequestFinish, conditionReads_onlyTheLastOneQueuedIsReported) {
    for (const int addr : {100, 200, 300}) {
        conditionRead("DM", addr, 1);
    }
    turn();
    turn();
    EXPECT_TRUE(takeNotices().empty());
    turn();
    EXPECT_EQ((Notices{conditionEnded(0)}), takeNotices());
}

TEST_F(RequestFinish, conditionRead_split_isReportedWithItsLastPiece) {
    conditionRead("DM", 100, 130);
    EXPECT_EQ("read DM 100 64", turn());
    EXPECT_EQ("read DM 164 64", turn());
    EXPECT_TRUE(takeNotices().empty());
    EXPECT_EQ("read DM 228 2", turn());
    EXPECT_EQ((Notices{conditionEnded(0)}), takeNotices());
}

TEST_F(RequestFinish, conditionRead_sameAsTheLastOne_isReportedForEach) {
    conditionRead("DM", 100, 1);
    conditionRead("DM", 100, 1); // behind the head, which is never compared
    turn();
    EXPECT_EQ((Notices{conditionEnded(0)}), takeNotices());
    turn();
    EXPECT_EQ((Notices{conditionEnded(0)}), takeNotices());
}

TEST_F(RequestFinish, conditionRead_differingFromTheLastOneInOneField_isNotReported) {
    struct Other {
        const char* regName;
        int addr, len, station;
    };
    const Other others[] = {
        {"HR", 100, 2, 1}, {"DM", 101, 2, 1}, {"DM", 100, 3, 1}, {"DM", 100, 2, 9}};
    for (const Other& other : others) {
        init(3, 64);
        conditionRead("DM", 100, 2);
        conditionRead(other.regName, other.addr, other.len, other.station);
        turn();
        ASSERT_TRUE(takeNotices().empty()) << other.regName << other.addr;
        turn();
        ASSERT_EQ((Notices{conditionEnded(0)}), takeNotices());
    }
}

TEST_F(RequestFinish, conditionRead_ofBits_isReportedAsTheWordsItBecame) {
    conditionRead("CIO_bit", 37, 1);
    ASSERT_EQ("read CIO 2 1", turn());
    EXPECT_EQ((Notices{conditionEnded(0)}), takeNotices());
}

TEST_F(RequestFinish, conditionRead_failed_dropsTheWholeListAndReportsOnlyTheLast) {
    conditionRead("DM", 100, 1);
    conditionRead("DM", 200, 1);
    next();
    fail();
    EXPECT_EQ("0,1,100,DM", message);
    EXPECT_EQ(failureThen(), takeNotices()); // the last one queued was not the one that failed
    EXPECT_TRUE(driver.conditionReadList.isEmpty());
    EXPECT_EQ("nothing", next());
}

TEST_F(RequestFinish, conditionRead_lastOneFailed_isReportedWithMinusOneAfterTheFailure) {
    conditionRead("DM", 100, 1);
    next();
    fail();
    EXPECT_EQ(failureThen({conditionEnded(-1)}), takeNotices());
    EXPECT_EQ(0, hostWord("DM", 100));
}

TEST_F(RequestFinish, conditionRead_failed_leavesWritesAndCyclicReadsAlone) {
    poll({makeKey("DM", 1000, 1)});
    conditionRead("DM", 100, 1);
    next();
    hostWrites("DM", 5, {1});
    fail();
    EXPECT_EQ("write DM 5 1", turn());
    EXPECT_EQ("read DM 1000 1", turn());
}

TEST_F(RequestFinish, conditionReadAddedInsideTheEndNotice_isServedNext) {
    conditionRead("DM", 100, 1);
    next();
    onNotice = [this](const Notice&) {
        onNotice = nullptr;
        for (int i = 0; i < 100; ++i) {
            conditionRead("HR", 5 * i, 1);
        }
    };
    answer();
    EXPECT_EQ(100, driver.conditionReadList.size());
    EXPECT_EQ("read HR 0 1", next());
}

TEST_F(RequestFinish, conditionReadOfTheSameAddedInsideTheEndNotice_isServedAgain) {
    conditionRead("DM", 100, 1);
    next();
    onNotice = [this](const Notice&) {
        onNotice = nullptr;
        conditionRead("DM", 100, 1);
    };
    answer();
    EXPECT_EQ("read DM 100 1", turn());
    EXPECT_EQ("nothing", next());
}

TEST_F(RequestFinish, conditionReadAddedInsideItsFailureNotice_isDroppedWithTheRest) {
    conditionRead("DM", 100, 1);
    next();
    onNotice = [this](const Notice&) {
        onNotice = nullptr;
        conditionRead("HR", 5, 1);
    };
    fail();
    EXPECT_TRUE(driver.conditionReadList.isEmpty());
}

TEST_F(RequestFinish, writesAddedInsideABitWritesNotices_areServedNext) {
    hostWritesBits("CIO_bit", 16, {1, 1});
    next();
    takeNotices();
    onNotice = [this](const Notice&) {
        onNotice = nullptr;
        for (int i = 0; i < 200; ++i) {
            hostWritesBits("WR_bit", 16 * i, {1});
        }
    };
    answer();
    EXPECT_EQ(200, driver.writeList.size());
    EXPECT_EQ("write WR_bit 0 1", next());
    EXPECT_EQ(0x0003, hostWord("CIO", 1));
}

TEST_F(RequestFinish, sameBitWrittenAgainInsideItsNotice_isServedNext) {
    hostWritesBits("CIO_bit", 16, {1});
    next();
    takeNotices();
    onNotice = [this](const Notice&) {
        onNotice = nullptr;
        hostWritesBits("CIO_bit", 16, {0});
    };
    answer();
    EXPECT_EQ(0, hostWord("CIO", 1));
    ASSERT_EQ("write CIO_bit 16 1", next());
    EXPECT_EQ(0, out.frame[18]);
    answer();
    EXPECT_EQ(0, hostWord("CIO", 1));
    EXPECT_EQ("nothing", next());
}

TEST_F(RequestFinish, cyclicRead_accepted_movesTheHeadToTheTail) {
    poll({makeKey("DM", 0, 1), makeKey("DM", 1000, 1), makeKey("DM", 2000, 1)});
    turn();
    EXPECT_EQ(1000, driver.readList.at(0).addr);
    EXPECT_EQ(2000, driver.readList.at(1).addr);
    EXPECT_EQ(0, driver.readList.at(2).addr);
}

TEST_F(RequestFinish, cyclicRead_failed_movesTheHeadToTheTailToo) {
    poll({makeKey("DM", 0, 1), makeKey("DM", 1000, 1)});
    next();
    fail();
    EXPECT_EQ("0,1,0,DM", message);
    EXPECT_EQ(failureThen(), takeNotices());
    EXPECT_EQ("read DM 1000 1", turn());
    EXPECT_EQ("read DM 0 1", turn());
}

TEST_F(RequestFinish, cyclicRead_failed_keepsTheLastValues) {
    plcHolds("DM", 100, {0x1111});
    next();
    fail();
    EXPECT_EQ(0x1111, hostWord("DM", 100));
}

TEST_F(RequestFinish, cyclicRead_onlyOne_staysWhereItIs) {
    poll({makeKey("DM", 0, 1)});
    turn();
    ASSERT_EQ(1, driver.readList.size());
    EXPECT_EQ("read DM 0 1", turn());
}

TEST_F(RequestFinish, dealListWhenFinish_otherKinds_doNothing) {
    driver.writeList.append(makeRequest("DM", 1, 1));
    driver.conditionReadList.append(makeRequest("DM", 2, 1));
    driver.readList.append(makeRequest("DM", 3, 1));
    driver.readList.append(makeRequest("DM", 4, 1));
    driver.rcpIndex = 7;
    requestDownload();
    requestUpload();
    for (const int kind : {-1, 0, 1, 7, 100, INT_MIN}) {
        for (const int error : {0, 1}) {
            finish(kind, error);
        }
    }
    EXPECT_EQ(1, driver.writeList.size());
    EXPECT_EQ(1, driver.conditionReadList.size());
    EXPECT_EQ(3, driver.readList.at(0).addr);
    EXPECT_EQ(7, driver.rcpIndex);
    EXPECT_EQ(1, downloadByte());
    EXPECT_EQ(1, uploadByte());
    EXPECT_TRUE(takeNotices().empty());
}

TEST_F(RequestFinish, dealListWhenFinish_anyNonzeroError_isAFailure) {
    for (const int error : {1, 2, -1, 256}) {
        recipe({recipeVariable("DM", 0, 1, 0), recipeVariable("DM", 100, 1, 0)});
        driver.conditionReadList.clear();
        conditionRead("DM", 100, 1);
        driver.conditionReadList.append(makeRequest("DM", 2, 1));
        finish(3, error);
        ASSERT_EQ((Notices{conditionEnded(-1)}), takeNotices()) << error;
        ASSERT_TRUE(driver.conditionReadList.isEmpty()) << error;
        requestUpload();
        finish(6, error);
        ASSERT_EQ(0, uploadByte()) << error;
    }
}

TEST_F(RequestFinish, dealListWhenFinish_listsEmpty_settlesNothing) {
    for (const int kind : {2, 3, 4}) {
        for (const int error : {0, 1}) {
            finish(kind, error);
            ASSERT_TRUE(takeNotices().empty()) << kind;
            ASSERT_TRUE(driver.dataAreaList.isEmpty()) << kind;
        }
    }
}

TEST_F(RequestFinish, dealListWhenFinish_recipeGoneMeanwhile_endsTheTransfer) {
    for (const int kind : {5, 6}) {
        requestDownload();
        requestUpload();
        driver.rcpIndex = 3;
        finish(kind, 0);
        EXPECT_EQ(0, driver.rcpIndex);
        EXPECT_EQ(kind == 5 ? 0 : 1, downloadByte());
        EXPECT_EQ(kind == 6 ? 0 : 1, uploadByte());
    }
}

TEST_F(RequestFinish, writeListEmptiedByInit_replyAfterwards_isNotExpected) {
    hostWrites("DM", 100, {1});
    next();
    init(3, 64);
    EXPECT_EQ(0U, answer());
    EXPECT_TRUE(takeNotices().empty());
}

TEST_F(RequestFinish, writeRepeatedWithoutARecipe_settlesNothingWhenItsListIsEmpty) {
    hostWrites("DM", 100, {0x1234});
    turn();
    requestDownload(); // no blocks: the write is made again
    ASSERT_EQ("write DM 100 1", next());
    EXPECT_EQ(1U, answer());
    EXPECT_EQ(0x1234, hostWord("DM", 100));
    ASSERT_EQ("write DM 100 1", next());
    fail();
    EXPECT_EQ(0x1234, hostWord("DM", 100));
    EXPECT_EQ(failureThen(), takeNotices());
}

TEST_F(RequestFinish, conditionReadRepeatedWithoutARecipe_reportsNothingWhenItsListIsEmpty) {
    conditionRead("DM", 100, 1);
    turn();
    takeNotices();
    requestUpload();
    ASSERT_EQ("read DM 100 1", next());
    EXPECT_EQ(1U, answer());
    EXPECT_TRUE(takeNotices().empty());
}

TEST_F(RequestFinish, oversizeWriteAtTheHead_failsAtOnceAndIsDropped) {
    // The host's writes are cut to fit; this one was put there by hand.
    driver.writeList.append(makeRequest("DM", 100, 504));
    hostWrites("HR", 5, {1});
    EXPECT_EQ("nothing", next());
    EXPECT_EQ(failureThen(), takeNotices());
    EXPECT_EQ(1, driver.lastError);
    EXPECT_EQ("write HR 5 1", next());
}

} // namespace
