/// intf_dealRcvFrame: results, retries, the failure text, the status bytes and their notices.

#include "support/exchange.h"

#include "fins/frame_builder.h"
#include "fins/plc_mode.h"

#include <algorithm>

namespace {

class Response : public Exchange {
protected:
    /// A cyclic read of DM 100, handed out, notices taken.
    void readInFlight(int words = 1) {
        poll({makeKey("DM", 100, words)});
        ASSERT_EQ("read DM 100 " + std::to_string(words), next());
        takeNotices();
    }
};

using Notices = std::vector<Notice>;

TEST_F(Response, dealRcvFrame_nothingQueued_returnsZeroAndEmptiesTheText) {
    EXPECT_EQ(0U, deal(readReply(0, {1})));
    EXPECT_EQ("", message);
    EXPECT_EQ(0U, deal({}));
    EXPECT_EQ(0, driver.badReplyCount);
    EXPECT_TRUE(takeNotices().empty());
}

TEST_F(Response, dealRcvFrame_nothingQueuedAndNodesUnknown_learnsNothing) {
    driver.nodeLearned = 0;
    EXPECT_EQ(0U, deal(nodeReply(1, 2)));
    EXPECT_EQ(0, driver.nodeLearned);
}

TEST_F(Response, dealRcvFrame_lateSecondReply_isIgnored) {
    readInFlight();
    EXPECT_EQ(1U, answer(Words{5}));
    EXPECT_EQ(0U, answer(Words{6}));
    EXPECT_EQ(5, hostWord("DM", 100));
}

TEST_F(Response, dealRcvFrame_goodReply_returnsOneAndTakesTheFrameOff) {
    readInFlight();
    EXPECT_EQ(1U, answer());
    EXPECT_EQ("", message);
    EXPECT_TRUE(driver.frameQueue.isEmpty());
}

TEST_F(Response, dealRcvFrame_oneByteShortOrLong_isRejectedAndCounted) {
    readInFlight(2);
    Bytes reply = readReply(1, {0x1111, 0x2222});
    reply.pop_back();
    EXPECT_EQ(8U, deal(reply));
    EXPECT_EQ("", message);
    EXPECT_EQ(1, driver.badReplyCount);
    reply.resize(19, 0);
    EXPECT_EQ(8U, deal(reply));
    EXPECT_EQ(2, driver.badReplyCount);
    EXPECT_EQ(0, hostWord("DM", 100));
}

TEST_F(Response, dealRcvFrame_badReply_sendsTheSameFrameAgainByteForByte) {
    readInFlight();
    const Bytes sent = sentBytes(out);
    EXPECT_EQ(8U, deal({}));
    ASSERT_EQ(1U, ask());
    EXPECT_EQ(sent, sentBytes(out));
    EXPECT_EQ(8U, deal(readReply(200, {1})));
    ASSERT_EQ(1U, ask());
    EXPECT_EQ(sent, sentBytes(out));
}

TEST_F(Response, dealRcvFrame_badReply_raisesNoNoticeAndWritesNoStatus) {
    readInFlight();
    deal({});
    EXPECT_TRUE(takeNotices().empty());
    EXPECT_EQ(0xEE, statusBlock[122022]);
    EXPECT_EQ(0, driver.lastError);
}

TEST_F(Response, dealRcvFrame_retryLimitThree_thirdBadReplyFailsTheRequest) {
    readInFlight();
    EXPECT_EQ(8U, deal({}));
    EXPECT_EQ(8U, deal({}));
    EXPECT_EQ(2U, deal({}));
    EXPECT_EQ(1, driver.lastError);
    EXPECT_EQ(0, driver.badReplyCount);
    EXPECT_TRUE(driver.frameQueue.isEmpty());
    EXPECT_EQ(0U, deal({}));
}

TEST_F(Response, dealRcvFrame_retryLimitOneOrLess_firstBadReplyFailsTheRequest) {
    for (const int limit : {1, 0, -1, -2147483647}) {
        init(limit, 64);
        readInFlight();
        ASSERT_EQ(2U, deal({})) << limit;
        takeNotices();
    }
}

TEST_F(Response, dealRcvFrame_retryLimitFromTheProperties_isKept) {
    init(7, 64);
    readInFlight();
    for (int bad = 1; bad <= 6; ++bad) {
        ASSERT_EQ(8U, deal({})) << bad;
    }
    EXPECT_EQ(2U, deal({}));
}

TEST_F(Response, dealRcvFrame_goodReplyInBetween_startsTheCountAfresh) {
    readInFlight();
    for (int round = 0; round < 4; ++round) {
        ASSERT_EQ(8U, deal({}));
        ASSERT_EQ(8U, deal({}));
        ASSERT_EQ(1U, answer());
        ASSERT_EQ(0, driver.badReplyCount);
        ASSERT_EQ(1U, ask());
    }
}

TEST_F(Response, dealRcvFrame_afterAFailure_startsTheCountAfresh) {
    readInFlight();
    fail();
    ASSERT_EQ(1U, ask());
    EXPECT_EQ(8U, deal({}));
    EXPECT_EQ(8U, deal({}));
    EXPECT_EQ(2U, deal({}));
}

TEST_F(Response, dealRcvFrame_afterInit_startsTheCountAfresh) {
    readInFlight();
    deal({});
    deal({});
    init(3, 64);
    readInFlight();
    EXPECT_EQ(8U, deal({}));
    EXPECT_EQ(8U, deal({}));
    EXPECT_EQ(2U, deal({}));
}

TEST_F(Response, dealRcvFrame_failure_textNamesReplyLengthStationAddressRegister) {
    readInFlight();
    deal({});
    deal({});
    deal({});
    EXPECT_EQ("0,1,100,DM", message);
}

TEST_F(Response, dealRcvFrame_failure_textHasTheLengthOfTheLastReply) {
    readInFlight();
    deal({});
    deal(Bytes(3, 0));
    EXPECT_EQ(2U, deal(Bytes(1200, 0)));
    EXPECT_EQ("1200,1,100,DM", message);
}

TEST_F(Response, dealRcvFrame_failureOfABitWrite_textHasTheBitNameAndAddress) {
    hostWritesBits("CIO_bit", 35, {1}, -12);
    next();
    fail();
    EXPECT_EQ("0,-12,35,CIO_bit", message);
}

TEST_F(Response, dealRcvFrame_failureOfANegativeAddress_textHasItsSign) {
    conditionRead("HR", -5, 1, 3);
    next();
    fail();
    EXPECT_EQ("0,3,-5,HR", message);
}

TEST_F(Response, dealRcvFrame_failureOfANameWithPlaceMarks_textHasTheNameAsItIs) {
    conditionRead("%1%2%3", 5, 1);
    next();
    fail();
    EXPECT_EQ("0,1,5,%1%2%3", message);
}

TEST_F(Response, dealRcvFrame_failureOfAnEmptyName_textEndsWithTheComma) {
    conditionRead("", 5, 1);
    next();
    fail();
    EXPECT_EQ("0,1,5,", message);
}

TEST_F(Response, dealRcvFrame_afterAFailure_textIsEmptiedAgain) {
    readInFlight();
    fail();
    ASSERT_NE("", message);
    ask();
    deal({});
    EXPECT_EQ("", message);
    answer();
    EXPECT_EQ("", message);
    deal({});
    EXPECT_EQ("", message);
}

TEST_F(Response, dealRcvFrame_failure_writesFourAndZeroIntoTheStatusBlockAndNothingElse) {
    readInFlight();
    fail();
    EXPECT_EQ(4, statusBlock[122022]);
    EXPECT_EQ(0, statusBlock[122023]);
    EXPECT_EQ(122022, std::count(statusBlock.begin(), statusBlock.end(), 0xEE));
}

TEST_F(Response, dealRcvFrame_failure_announces122022Then122023) {
    readInFlight();
    fail();
    EXPECT_EQ(failureThen(), takeNotices());
}

TEST_F(Response, dealRcvFrame_failureNotices_comeAfterBothBytesAreWritten) {
    readInFlight();
    int looked = 0;
    onNotice = [this, &looked](const Notice&) {
        ++looked;
        EXPECT_EQ(4, statusBlock[122022]);
        EXPECT_EQ(0, statusBlock[122023]);
    };
    fail();
    EXPECT_EQ(2, looked);
}

TEST_F(Response, dealRcvFrame_statusBytes_areNeverTakenBack) {
    readInFlight();
    fail();
    ask();
    answer();
    EXPECT_EQ(4, statusBlock[122022]);
    EXPECT_EQ(0, statusBlock[122023]);
}

TEST_F(Response, dealRcvFrame_eachFailure_isAnnouncedAgain) {
    readInFlight();
    fail();
    takeNotices();
    statusBlock[122022] = 0xEE;
    ask();
    fail();
    EXPECT_EQ(failureThen(), takeNotices());
    EXPECT_EQ(4, statusBlock[122022]);
}

TEST_F(Response, dealRcvFrame_failure_emptiesTheWholeQueue) {
    hostWrites("DM", 100, {1});
    next();
    refuse(0x22, 0x03);
    next();
    refuse(0x22, 0x03);
    ASSERT_EQ(3, driver.frameQueue.size());
    EXPECT_EQ(2U, deal({}));
    EXPECT_TRUE(driver.frameQueue.isEmpty());
    EXPECT_EQ("nothing", next());
}

TEST_F(Response, dealRcvFrame_goodReplyAfterAFailure_clearsTheError) {
    readInFlight();
    fail();
    ASSERT_EQ(1, driver.lastError);
    ask();
    answer();
    EXPECT_EQ(0, driver.lastError);
}

TEST_F(Response, dealRcvFrame_badReplyAfterAFailure_leavesTheErrorStanding) {
    readInFlight();
    fail();
    ask();
    deal({});
    EXPECT_EQ(1, driver.lastError);
}

TEST_F(Response, dealRcvFrame_writeAnsweredWithAnErrorCode_isDone) {
    const int codes[][2] = {{0x00, 0x40}, {0x01, 0x01}, {0x11, 0x03}, {0x21, 0x08},
                            {0x22, 0x01}, {0x22, 0x02}, {0x22, 0x05}, {0xFF, 0xFF}};
    for (const auto& code : codes) {
        init(3, 64);
        hostWrites("DM", 100, {static_cast<unsigned short>(0x100 + code[0])});
        ASSERT_EQ("write DM 100 1", next());
        ASSERT_EQ(1U, refuse(code[0], code[1]));
        ASSERT_EQ(0x100 + code[0], hostWord("DM", 100));
        ASSERT_EQ(0, cached(1, "DM", 100).writePending);
        ASSERT_EQ(0, driver.lastError);
    }
}

TEST_F(Response, dealRcvFrame_readAnsweredWithAnErrorCode_isDecoded) {
    readInFlight(2);
    EXPECT_EQ(1U, deal(readReply(1, {0x1234, 0xABCD}, 0x11, 0x03)));
    EXPECT_EQ(0x1234, hostWord("DM", 100));
    EXPECT_EQ(0xABCD, hostWord("DM", 101));
}

TEST_F(Response, dealRcvFrame_readAnsweredWithAModeRefusal_isDecodedWithoutAModeChange) {
    readInFlight();
    EXPECT_EQ(1U, deal(readReply(1, {0x1234}, 0x22, 0x03)));
    EXPECT_EQ(0x1234, hostWord("DM", 100));
    EXPECT_TRUE(driver.frameQueue.isEmpty());
}

TEST_F(Response, dealRcvFrame_readAnsweredWithItsEndCodeAlone_isRejected) {
    readInFlight();
    EXPECT_EQ(8U, deal(endCodeReply(1, 1, 1, 0x11, 0x03)));
}

TEST_F(Response, dealRcvFrame_framesStillQueued_requestIsNotClosedYet) {
    getReadFrame(makeRequest("DM", 1, 1));
    getReadFrame(makeRequest("DM", 2, 1));
    driver.requestKind = 4;
    driver.readList.append(makeRequest("DM", 1, 1));
    driver.readList.append(makeRequest("DM", 9, 1));
    EXPECT_EQ(1U, deal(readReply(2, {7})));
    EXPECT_EQ(1, driver.readList.at(0).addr);
    EXPECT_EQ(7, hostWord("DM", 1));
    EXPECT_EQ(1U, deal(readReply(2, {8})));
    EXPECT_EQ(9, driver.readList.at(0).addr);
    EXPECT_EQ(8, hostWord("DM", 2));
}

TEST_F(Response,
       dealRcvFrame_nodeRequestQueuedWhileAReadIsInFlight_readIsStoredAndRequestGoesNext) {
    readInFlight();
    connectToServer();
    EXPECT_EQ(1U, answer(Words{0x1234}));
    EXPECT_EQ(0x1234, hostWord("DM", 100));
    ASSERT_EQ(1U, ask());
    EXPECT_EQ(20, out.sendLen);
    EXPECT_EQ(24, out.rcvLen);
}

TEST_F(Response, dealRcvFrame_nodeNumbersLearntFromAReadsReply_closeTheReadUndecoded) {
    poll({makeKey("DM", 100, 5), makeKey("DM", 1000, 5)});
    driver.nodeLearned = 0;
    next();
    EXPECT_EQ(1U, deal(readReply(200, {1, 2, 0x0021, 4, 0x0043})));
    EXPECT_EQ(0x21, driver.SA1);
    EXPECT_EQ(0x43, driver.DA1);
    EXPECT_EQ(0, hostWord("DM", 100));
    EXPECT_EQ("read DM 1000 5", next());
}

TEST_F(Response, dealRcvFrame_replyOfNegativeDataLength_storesNothing) {
    getReadFrame(makeRequest("DM", 100, -2));
    Bytes reply(10, 0);
    reply[9] = 1;
    EXPECT_EQ(1U, deal(reply));
    EXPECT_TRUE(driver.dataAreaList.isEmpty());
    EXPECT_TRUE(driver.frameQueue.isEmpty());
}

TEST_F(Response, dealRcvFrame_replyTooShortForItsRules_isABadReply) {
    getReadFrame(makeRequest("DM", 100, -3));
    EXPECT_EQ(8U, deal(Bytes(8, 1)));
    EXPECT_EQ(8U, deal(Bytes(8, 1)));
    EXPECT_EQ(2U, deal(Bytes(8, 1)));
    EXPECT_EQ("8,1,100,DM", message);
}

/// A reply whose bytes stay the host's own and go away in the first callback.
TEST_F(Response, dealRcvFrame_bytesOfARawReplyOverwrittenInTheCallback_allWordsAreThoseReceived) {
    readInFlight(3);
    Bytes bytes = readReply(1, {0x1111, 0x2222, 0x3333});
    QByteArray reply = QByteArray::fromRawData(reinterpret_cast<const char*>(bytes.data()),
                                               static_cast<int>(bytes.size()));
    onNotice = [&bytes](const Notice&) { std::fill(bytes.begin(), bytes.end(), 0x77); };
    QString text;
    EXPECT_EQ(1U, intf_dealRcvFrame(&reply, &text));
    EXPECT_EQ((Notices{changed("DM", 100), changed("DM", 101), changed("DM", 102)}), takeNotices());
    EXPECT_EQ(0x1111, hostWord("DM", 100));
    EXPECT_EQ(0x2222, hostWord("DM", 101));
    EXPECT_EQ(0x3333, hostWord("DM", 102));
}

TEST_F(Response, dealRcvFrame_addConditionReadInsideAFailureNotice_isSafe) {
    readInFlight();
    onNotice = [](const Notice& notice) { conditionRead("HR", notice.address, 1); };
    fail();
    EXPECT_EQ("read HR 122022 1", turn());
    EXPECT_EQ("read HR 122023 1", turn());
}

TEST_F(Response, dealRcvFrame_hundredsOfWritesInsideAFailureNotice_areKeptAfterTheFailedOne) {
    hostWrites("DM", 100, {1});
    next();
    onNotice = [this](const Notice& notice) {
        onNotice = nullptr;
        for (int i = 0; i < 300; ++i) {
            hostWrites("HR", 2 * i, {static_cast<unsigned short>(notice.address & 0xFF)});
        }
    };
    fail();
    EXPECT_EQ(300, driver.writeList.size());
    EXPECT_EQ("write HR 0 1", next());
    EXPECT_EQ(0, hostWord("DM", 100));
}

} // namespace
