/// check_rcv_data: is this the reply that the head of the queue waits for?

#include "support/exchange.h"

#include "fins/frame_builder.h"
#include "fins/plc_mode.h"
#include "fins/reply_check.h"

#include <climits>

namespace {

class ReplyCheckRules : public Exchange {
protected:
    /// The service ID of these is 1, 2, ...
    static void queueRead(int words) { getReadFrame(makeRequest("DM", 100, words)); }
    static void queueWrite() { getWriteFrame(makeRequest("DM", 100, 1)); }

    static int check(const Bytes& reply) {
        return check_rcv_data(reply.data(), static_cast<int>(reply.size()));
    }

    /// A frame by hand whose reply is shorter than the rules look.
    static void queueFrameExpecting(int rcvLen, int dataLen) {
        FRAME_PRO frame = FRAME_PRO();
        frame.sendLen = 18;
        frame.rcvLen = rcvLen;
        frame.dataLen = dataLen;
        driver.frameQueue.append(frame);
    }
};

TEST_F(ReplyCheckRules, checkRcvData_exactLengthAndServiceId_accepted) {
    queueRead(2);
    EXPECT_EQ(1, check(readReply(1, {1, 2})));
    driver.frameQueue.clear();
    queueWrite();
    EXPECT_EQ(2, check(endCodeReply(2, 1, 2)));
}

TEST_F(ReplyCheckRules, checkRcvData_oneByteShortOrLong_rejected) {
    queueRead(2);
    Bytes reply = readReply(1, {1, 2});
    reply.push_back(0);
    EXPECT_EQ(0, check(reply));
    reply.resize(17);
    EXPECT_EQ(0, check(reply));
    EXPECT_EQ(0, check({}));
    queueWrite();
    driver.frameQueue.removeFirst();
    reply = endCodeReply(2, 1, 2);
    reply.push_back(0);
    EXPECT_EQ(0, check(reply));
    reply.resize(13);
    EXPECT_EQ(0, check(reply));
}

TEST_F(ReplyCheckRules, checkRcvData_otherServiceId_rejected) {
    queueRead(1);
    for (int sid = 0; sid < 256; ++sid) {
        ASSERT_EQ(sid == 1 ? 1 : 0, check(readReply(sid, {1}))) << sid;
    }
}

TEST_F(ReplyCheckRules, checkRcvData_serviceId_isComparedWithTheCounterNotWithTheHead) {
    queueRead(1);
    queueRead(1); // the head carries 1, the counter holds 2
    EXPECT_EQ(0, check(readReply(1, {1})));
    EXPECT_EQ(1, check(readReply(2, {1})));
}

TEST_F(ReplyCheckRules, checkRcvData_nodeRequestQueuedMeanwhile_replyIsJudgedByTheHead) {
    queueRead(2);
    connectToServer();
    EXPECT_EQ(0, check(nodeReply(0x21, 0x43)));
    EXPECT_EQ(1, check(readReply(1, {1, 2})));
}

TEST_F(ReplyCheckRules, checkRcvData_headerOtherThanServiceId_isNotLookedAt) {
    queueRead(1);
    Bytes reply(16, 0xFF);
    reply[9] = 1;
    EXPECT_EQ(1, check(reply));
}

TEST_F(ReplyCheckRules, checkRcvData_endCodeOfARead_isNotExamined) {
    queueRead(1);
    for (int mres = 0; mres < 256; ++mres) {
        for (const int sres : {0x00, 0x01, 0x03, 0x04, 0x06, 0x40, 0xFF}) {
            ASSERT_EQ(1, check(readReply(1, {1}, mres, sres))) << mres << ' ' << sres;
        }
    }
    EXPECT_EQ(1, driver.frameQueue.size());
}

TEST_F(ReplyCheckRules, checkRcvData_endCodeOfAWriteOtherThan22_accepted) {
    queueWrite();
    for (int mres = 0; mres < 256; ++mres) {
        if (mres == 0x22) {
            continue;
        }
        for (const int sres : {0x00, 0x01, 0x03, 0x04, 0x06, 0x40, 0xFF}) {
            ASSERT_EQ(2, check(endCodeReply(1, 1, 2, mres, sres))) << mres << ' ' << sres;
        }
    }
    EXPECT_EQ(1, driver.frameQueue.size());
}

TEST_F(ReplyCheckRules, checkRcvData_endCode22WithAnySubCodeBut3And4And6_accepted) {
    queueWrite();
    for (int sres = 0; sres < 256; ++sres) {
        if (sres != 0x03 && sres != 0x04 && sres != 0x06) {
            ASSERT_EQ(2, check(endCodeReply(1, 1, 2, 0x22, sres))) << sres;
        }
    }
    EXPECT_EQ(1, driver.frameQueue.size());
    EXPECT_EQ(1, driver.SID);
}

TEST_F(ReplyCheckRules, checkRcvData_refusedForItsMode_putsTheModeChangeAtTheHead) {
    for (const int sres : {0x03, 0x04, 0x06}) {
        driver.frameQueue.clear();
        queueWrite();
        ASSERT_EQ(0, check(endCodeReply(driver.SID, 1, 2, 0x22, sres))) << sres;
        ASSERT_EQ(2, driver.frameQueue.size()) << sres;
        ASSERT_EQ("mode", describe(driver.frameQueue.at(0))) << sres;
        ASSERT_EQ("write DM 100 1", describe(driver.frameQueue.at(1))) << sres;
    }
}

TEST_F(ReplyCheckRules, checkRcvData_refusedForItsModeWithTwoQueued_putsTheModeChangeAtTheHead) {
    queueWrite();
    queueWrite();
    EXPECT_EQ(0, check(endCodeReply(2, 1, 2, 0x22, 0x03)));
    ASSERT_EQ(3, driver.frameQueue.size());
    EXPECT_EQ("mode", describe(driver.frameQueue.at(0)));
}

TEST_F(ReplyCheckRules, checkRcvData_refusedForItsModeWithMoreThanTwoQueued_doesNothingElse) {
    for (int queued = 3; queued <= 5; ++queued) {
        driver.frameQueue.clear();
        driver.SID = 0;
        for (int i = 0; i < queued; ++i) {
            queueWrite();
        }
        ASSERT_EQ(0, check(endCodeReply(queued, 1, 2, 0x22, 0x03)));
        ASSERT_EQ(queued, driver.frameQueue.size());
        ASSERT_EQ("write DM 100 1", describe(driver.frameQueue.at(0)));
        ASSERT_EQ(queued, driver.SID);
    }
}

TEST_F(ReplyCheckRules, checkRcvData_readOfNoWordsRefusedForItsMode_isTakenForAWrite) {
    queueRead(0);
    EXPECT_EQ(0, check(endCodeReply(1, 1, 1, 0x22, 0x03)));
    EXPECT_EQ(2, driver.frameQueue.size());
    EXPECT_EQ(2, check(endCodeReply(2, 4, 1)));
}

TEST_F(ReplyCheckRules, checkRcvData_nodesUnknown_learnsThemBeforeTheServiceIdIsCompared) {
    driver.nodeLearned = 0;
    driver.SID = 77;
    connectToServer();
    EXPECT_EQ(2, check(nodeReply(0x21, 0x43)));
    EXPECT_EQ(1, driver.nodeLearned);
    EXPECT_EQ(0x21, driver.SA1);
    EXPECT_EQ(0x43, driver.DA1);
}

TEST_F(ReplyCheckRules, checkRcvData_nodesUnknown_learnsNumbersAbove127AsTheyAre) {
    driver.nodeLearned = 0;
    connectToServer();
    EXPECT_EQ(2, check(nodeReply(0xFE, 0xFF)));
    EXPECT_EQ(254, driver.SA1);
    EXPECT_EQ(255, driver.DA1);
}

TEST_F(ReplyCheckRules, checkRcvData_nodesUnknownAndWrongLength_learnsNothing) {
    driver.nodeLearned = 0;
    connectToServer();
    Bytes reply = nodeReply(0x21, 0x43);
    reply.push_back(0);
    EXPECT_EQ(0, check(reply));
    reply.resize(23);
    EXPECT_EQ(0, check(reply));
    EXPECT_EQ(0, driver.nodeLearned);
    EXPECT_EQ(0, driver.SA1);
    EXPECT_EQ(0, driver.DA1);
}

TEST_F(ReplyCheckRules, checkRcvData_nodesUnknown_takesThemFromAnyReplyOfTheExpectedLength) {
    driver.nodeLearned = 0;
    queueRead(5); // 24 bytes: words 2 and 4 end at bytes 19 and 23
    EXPECT_EQ(2, check(readReply(99, {0, 0, 0x0021, 0, 0x0043})));
    EXPECT_EQ(0x21, driver.SA1);
    EXPECT_EQ(0x43, driver.DA1);
}

TEST_F(ReplyCheckRules, checkRcvData_nodesUnknownAndReplyExpectedBelow24Bytes_rejectedUnchanged) {
    driver.nodeLearned = 0;
    driver.SA1 = 3;
    driver.DA1 = 4;
    queueRead(4); // 22 bytes
    EXPECT_EQ(0, check(readReply(1, {1, 2, 3, 4})));
    driver.frameQueue.clear();
    queueWrite();
    EXPECT_EQ(0, check(endCodeReply(2, 1, 2)));
    EXPECT_EQ(0, check(endCodeReply(2, 1, 2, 0x22, 0x03)));
    EXPECT_EQ(0, driver.nodeLearned);
    EXPECT_EQ(3, driver.SA1);
    EXPECT_EQ(4, driver.DA1);
    EXPECT_EQ(1, driver.frameQueue.size());
}

TEST_F(ReplyCheckRules, checkRcvData_nodesKnownByAnyNonzeroMark_areNotLearnt) {
    driver.nodeLearned = 2;
    queueRead(5);
    EXPECT_EQ(1, check(readReply(1, {0, 0, 0x0021, 0, 0x0043})));
    EXPECT_EQ(2, driver.nodeLearned);
    EXPECT_EQ(0, driver.SA1);
}

TEST_F(ReplyCheckRules, checkRcvData_replyExpectedBelowTenBytes_hasNoServiceIdAndIsRejected) {
    driver.SID = 0;
    for (int length = 0; length < 10; ++length) {
        driver.frameQueue.clear();
        queueFrameExpecting(length, 2);
        const std::vector<unsigned char> reply(static_cast<std::size_t>(length), 0);
        ASSERT_EQ(0, check(reply)) << length;
    }
}

TEST_F(ReplyCheckRules, checkRcvData_replyExpectedOfTenBytes_hasItsServiceId) {
    queueRead(-2); // 14 + 2 * -2 bytes, of which -4 are data
    Bytes reply(10, 0);
    EXPECT_EQ(0, check(reply));
    reply[9] = 1;
    EXPECT_EQ(1, check(reply));
}

TEST_F(ReplyCheckRules, checkRcvData_replyWithoutDataExpectedBelow14Bytes_hasNoEndCode) {
    driver.SID = 7;
    for (int length = 10; length < 14; ++length) {
        driver.frameQueue.clear();
        queueFrameExpecting(length, 0);
        Bytes reply(static_cast<std::size_t>(length), 0);
        reply[9] = 7;
        ASSERT_EQ(0, check(reply)) << length;
        ASSERT_EQ(1, driver.frameQueue.size());
        ASSERT_EQ(7, driver.SID);
    }
}

TEST_F(ReplyCheckRules, checkRcvData_negativeLengthExpected_isNeverMet) {
    queueRead(INT_MIN / 2 + 8); // 14 + INT_MIN + 16
    const Bytes reply(32, 1);
    EXPECT_EQ(0, check(reply));
    EXPECT_EQ(0, check_rcv_data(reply.data(), driver.frameQueue.at(0).rcvLen));
}

TEST_F(ReplyCheckRules, checkRcvData_rejected_changesNothing) {
    queueRead(1);
    driver.lastError = 5;
    driver.badReplyCount = 2;
    check(readReply(9, {1}));
    EXPECT_EQ(5, driver.lastError);
    EXPECT_EQ(2, driver.badReplyCount);
    EXPECT_EQ(1, driver.frameQueue.size());
    EXPECT_EQ(1, driver.SID);
}

} // namespace
