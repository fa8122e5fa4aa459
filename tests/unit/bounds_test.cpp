/// Indices at the very end of lists, buffers and words. Behind each end lies what would show if it
/// were looked at: bytes of a longer buffer, or what a list held before it was shortened. So a
/// bound that is off by one fails here without a sanitizer's help.

#include "support/exchange.h"
#include "unit/expected.h"

#include "data/data_area.h"
#include "fins/reply_check.h"

#include <gmock/gmock.h>

using ::testing::ElementsAre;

namespace {

using Notices = std::vector<Notice>;

class Bounds : public Exchange {
protected:
    /// A frame by hand whose reply has this length, with service ID 7.
    static void queueFrameExpecting(int rcvLen, int dataLen) {
        driver.frameQueue.clear();
        driver.SID = 7;
        FRAME_PRO frame = FRAME_PRO();
        frame.sendLen = 18;
        frame.rcvLen = rcvLen;
        frame.dataLen = dataLen;
        driver.frameQueue.append(frame);
    }

    /// Blocks DM 100 (two variables, two words), DM 200 and DM 300 (one word each).
    static void threeBlocks() {
        recipe({recipeVariable("DM", 100, 1, 0), recipeVariable("DM", 101, 1, 1),
                recipeVariable("DM", 200, 1, 2), recipeVariable("DM", 300, 1, 3)});
        ASSERT_THAT(driver.rcpBlockFirst, ElementsAre(0, 2, 3));
    }
};

// Replies

TEST_F(Bounds, checkRcvData_serviceIdBehindTheEnd_isNotTheReplys) {
    const Bytes bytes(32, 7);
    for (int length = 0; length < 10; ++length) {
        queueFrameExpecting(length, 2);
        EXPECT_EQ(0, check_rcv_data(bytes.data(), length)) << length;
    }
    queueFrameExpecting(10, 2);
    EXPECT_EQ(1, check_rcv_data(bytes.data(), 10));
}

TEST_F(Bounds, checkRcvData_endCodeBehindTheEnd_isNotTheReplys) {
    Bytes done(32, 0);
    done[9] = 7;
    Bytes refused = done;
    refused[12] = 0x22;
    refused[13] = 0x03;
    for (int length = 10; length < 14; ++length) {
        queueFrameExpecting(length, 0);
        EXPECT_EQ(0, check_rcv_data(done.data(), length)) << length;
        EXPECT_EQ(0, check_rcv_data(refused.data(), length)) << length;
        EXPECT_EQ(1, driver.frameQueue.size()) << length;
    }
    queueFrameExpecting(14, 0);
    EXPECT_EQ(2, check_rcv_data(done.data(), 14));
}

TEST_F(Bounds, checkRcvData_nodeNumbersBehindTheEnd_areNotLearnt) {
    const Bytes bytes(32, 7);
    for (int length = 0; length < 24; ++length) {
        queueFrameExpecting(length, 0);
        driver.nodeLearned = 0;
        EXPECT_EQ(0, check_rcv_data(bytes.data(), length)) << length;
        EXPECT_EQ(0, driver.nodeLearned) << length;
        EXPECT_EQ(0, driver.SA1) << length;
    }
    queueFrameExpecting(24, 0);
    EXPECT_EQ(2, check_rcv_data(bytes.data(), 24));
    EXPECT_EQ(7, driver.DA1);
}

// Recipe blocks

TEST_F(Bounds, upload_indexJustBehindTheLastBlock_storesNothing) {
    threeBlocks();
    driver.rcpBlockFirst.removeLast();
    driver.rcpIndex = 2;
    requestUpload();
    ASSERT_EQ("read DM 300 1", next());
    EXPECT_EQ(1U, answer(Words{5}));
    for (const Notice& notice : takeNotices()) {
        EXPECT_NE("RWI", notice.regName);
    }
    EXPECT_EQ(0, recipeBuffer[3]);
}

TEST_F(Bounds, upload_lastBlock_reachesToTheLastVariable) {
    threeBlocks();
    // As if DM 200 and DM 300 were one block: what began the third is forgotten.
    driver.rcpBlockFirst.removeLast();
    driver.rcpIndex = 1;
    driver.rcpVector[1].len = 101;
    requestUpload();
    ASSERT_EQ("read DM 200 101", next());
    Words words(101, 0);
    words[0] = 5;
    words[100] = 6;
    EXPECT_EQ(1U, answer(words));
    EXPECT_EQ(5, recipeBuffer[2]);
    EXPECT_EQ(6, recipeBuffer[3]);
}

TEST_F(Bounds, download_indexJustBehindTheLastBlock_repeatsTheCurrentRequest) {
    threeBlocks();
    requestDownload();
    ASSERT_EQ("write DM 100 2", turn());
    ASSERT_EQ("write DM 200 1", turn());
    driver.rcpVector.pop_back();
    EXPECT_EQ("write DM 200 1", next());
}

// The cache

TEST_F(Bounds, getIndexOfDataArea_guessJustBehindTheEnd_isNoRecord) {
    cacheRecord("DM", 10);
    cacheRecord("DM", 11);
    driver.dataAreaList.removeLast();
    EXPECT_EQ(1, getIndexOfDataArea(1, QLatin1String("DM"), 11, driver.dataAreaList, 1));
    EXPECT_THAT(cachedWords(), ElementsAre("DM 10", "DM 11"));
}

/// Bits with a negative place in their word: the bytes beside the word's are all ones.
TEST_F(Bounds, bitOfWord_bitThatDoesNotExist_readsAsZeroAndIsNotWritten) {
    for (int address = -40; address < 0; ++address) {
        unsigned char bytes[] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
        const FoldedBit bit = foldBit(address);
        const bool exists = address % 16 == 0;
        EXPECT_EQ(exists ? 1 : 0, bitOfWord(bytes + 2, bit)) << address;
        setBitOfWord(bytes + 2, bit, 0);
        EXPECT_THAT(bytes, ElementsAre(0xFF, 0xFF, exists ? 0xFE : 0xFF, 0xFF, 0xFF, 0xFF))
            << address;
    }
}

} // namespace
