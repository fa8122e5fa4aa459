/// Recipes over the wire: download and upload block by block, and their ends.

#include "support/exchange.h"

#include "fins/frame_builder.h"

#include <algorithm>

namespace {

using Notices = std::vector<Notice>;
using Asked = std::vector<std::string>;

class RecipeTransfer : public Exchange {
protected:
    RecipeTransfer() {
        for (std::size_t i = 0; i < recipeBuffer.size(); ++i) {
            recipeBuffer[i] = static_cast<unsigned short>(0x4000 + i);
        }
    }

    /// Three blocks: DM 100 (5 words, two variables), DM 200 (1 word), HR 10 (2 words).
    void threeBlocks() {
        recipe({recipeVariable("DM", 100, 2, 0), recipeVariable("DM", 102, 3, 2),
                recipeVariable("DM", 200, 1, 5), recipeVariable("HR", 10, 2, 6)});
    }

    /// The words that a write frame carries.
    static Words dataOf(const FRAME_PRO& frame) {
        Words words;
        for (int i = 18; i + 1 < frame.sendLen; i += 2) {
            words.push_back(static_cast<unsigned short>(frame.frame[i] * 256 + frame.frame[i + 1]));
        }
        return words;
    }

    unsigned short buffer(int index) const { return recipeBuffer[static_cast<std::size_t>(index)]; }
};

TEST_F(RecipeTransfer, download_threeBlocks_writesThemInOrderAndClearsItsByte) {
    threeBlocks();
    requestDownload();
    ASSERT_EQ("write HR 10 2", next());
    EXPECT_EQ((Words{0x4006, 0x4007}), dataOf(out));
    EXPECT_EQ(1U, answer());
    EXPECT_EQ(1, driver.rcpIndex);
    EXPECT_EQ(1, downloadByte());
    ASSERT_EQ("write DM 100 5", next());
    EXPECT_EQ((Words{0x4000, 0x4001, 0x4002, 0x4003, 0x4004}), dataOf(out));
    EXPECT_EQ(1U, answer());
    EXPECT_EQ(2, driver.rcpIndex);
    ASSERT_EQ("write DM 200 1", next());
    EXPECT_EQ((Words{0x4005}), dataOf(out));
    EXPECT_EQ(1, downloadByte());
    EXPECT_EQ(1U, answer());
    EXPECT_EQ(0, driver.rcpIndex);
    EXPECT_EQ(0, downloadByte());
    EXPECT_EQ("nothing", next());
}

TEST_F(RecipeTransfer, download_raisesNoNoticeAndLeavesTheCacheAlone) {
    threeBlocks();
    requestDownload();
    for (int i = 0; i < 3; ++i) {
        turn();
    }
    EXPECT_TRUE(takeNotices().empty());
    EXPECT_TRUE(driver.dataAreaList.isEmpty());
}

TEST_F(RecipeTransfer, download_values_areTakenWhenTheBlockIsScheduled) {
    threeBlocks();
    requestDownload();
    turn();
    recipeBuffer[0] = 0x1234;
    next();
    recipeBuffer[1] = 0x5678;
    next();
    EXPECT_EQ((Words{0x1234, 0x4001, 0x4002, 0x4003, 0x4004}), dataOf(out));
}

TEST_F(RecipeTransfer, download_block_takesOneRunFromItsFirstVariablesOffset) {
    recipe({recipeVariable("DM", 100, 2, 10), recipeVariable("DM", 102, 2, 50)});
    requestDownload();
    ASSERT_EQ("write DM 100 4", next());
    EXPECT_EQ((Words{0x400A, 0x400B, 0x400C, 0x400D}), dataOf(out));
}

TEST_F(RecipeTransfer, upload_block_honoursEachVariablesOwnOffset) {
    recipe({recipeVariable("DM", 100, 2, 10), recipeVariable("DM", 102, 2, 50)});
    requestUpload();
    ASSERT_EQ("read DM 100 4", next());
    EXPECT_EQ(1U, answer(Words{1, 2, 3, 4}));
    EXPECT_EQ(1, buffer(10));
    EXPECT_EQ(2, buffer(11));
    EXPECT_EQ(0x400C, buffer(12));
    EXPECT_EQ(3, buffer(50));
    EXPECT_EQ(4, buffer(51));
    EXPECT_EQ((Notices{recipeWord(10), recipeWord(11), recipeWord(50), recipeWord(51)}),
              takeNotices());
}

TEST_F(RecipeTransfer, upload_threeBlocks_readsThemInOrderAndClearsItsByte) {
    threeBlocks();
    requestUpload();
    ASSERT_EQ("read HR 10 2", next());
    EXPECT_EQ(1U, answer(Words{0x0607, 0x0708}));
    EXPECT_EQ((Notices{recipeWord(6), recipeWord(7)}), takeNotices());
    EXPECT_EQ(1, uploadByte());
    ASSERT_EQ("read DM 100 5", next());
    EXPECT_EQ(1U, answer(Words{0x0100, 0x0101, 0x0102, 0x0103, 0x0104}));
    EXPECT_EQ((Notices{recipeWord(0), recipeWord(1), recipeWord(2), recipeWord(3), recipeWord(4)}),
              takeNotices());
    ASSERT_EQ("read DM 200 1", next());
    EXPECT_EQ(1, uploadByte());
    EXPECT_EQ(1U, answer(Words{0x0200}));
    EXPECT_EQ((Notices{recipeWord(5)}), takeNotices());
    EXPECT_EQ(0, uploadByte());
    EXPECT_EQ(0, driver.rcpIndex);
    EXPECT_EQ((Words{0x0100, 0x0101, 0x0102, 0x0103, 0x0104, 0x0200, 0x0607, 0x0708, 0x4008}),
              Words(recipeBuffer.begin(), recipeBuffer.begin() + 9));
}

TEST_F(RecipeTransfer, upload_unchangedWords_areAnnouncedAllTheSame) {
    recipe({recipeVariable("DM", 100, 2, 0)});
    for (int round = 0; round < 2; ++round) {
        requestUpload();
        next();
        answer(Words{7, 8});
        EXPECT_EQ((Notices{recipeWord(0), recipeWord(1)}), takeNotices());
    }
}

TEST_F(RecipeTransfer, upload_storedWord_hasItsLowByteFirst) {
    recipe({recipeVariable("DM", 100, 1, 3)});
    requestUpload();
    next();
    answer(Words{0x1234});
    const auto* bytes = reinterpret_cast<const unsigned char*>(recipeBuffer.data());
    EXPECT_EQ(0x34, bytes[6]);
    EXPECT_EQ(0x12, bytes[7]);
}

TEST_F(RecipeTransfer, upload_alsoFillsTheCacheAndReportsChangesFirst) {
    recipe({recipeVariable("DM", 100, 2, 0)});
    monitor("DM", 100, 2);
    requestUpload();
    next();
    answer(Words{5, 6});
    EXPECT_EQ((Notices{changed("DM", 100), changed("DM", 101), recipeWord(0), recipeWord(1)}),
              takeNotices());
    EXPECT_EQ(6, hostWord("DM", 101));
}

TEST_F(RecipeTransfer, upload_insideTheNotice_wordIsAlreadyStored) {
    recipe({recipeVariable("DM", 100, 3, 20)});
    requestUpload();
    next();
    int looked = 0;
    onNotice = [this, &looked](const Notice& notice) {
        ++looked;
        EXPECT_EQ(notice.address - 19, buffer(notice.address));
        EXPECT_EQ(1, uploadByte());
    };
    answer(Words{1, 2, 3});
    EXPECT_EQ(3, looked);
}

TEST_F(RecipeTransfer, upload_request_carriesNoData) {
    recipe({recipeVariable("DM", 100, 2, 0)});
    requestDownload();
    turn();
    requestUpload();
    ASSERT_EQ("read DM 100 2", next());
    EXPECT_EQ(Bytes(1024, 0), Bytes(out.var.data, out.var.data + 1024));
}

TEST_F(RecipeTransfer, download_request_isZeroBeyondItsWords) {
    recipe({recipeVariable("DM", 100, 60, 0), recipeVariable("DM", 300, 1, 100)});
    requestDownload();
    turn();
    next();
    EXPECT_EQ(Bytes(1022, 0), Bytes(out.var.data + 2, out.var.data + 1024));
}

TEST_F(RecipeTransfer, request_type_isThatOfTheRequestBefore) {
    recipe({recipeVariable("DM", 100, 1, 0, 4)});
    unsigned char data[2] = {1, 2};
    intf_setData(1, QLatin1String("HR"), 5, 1, data, 33);
    turn();
    requestDownload();
    ASSERT_EQ("write DM 100 1", next());
    EXPECT_EQ(33, out.var.type);
    EXPECT_EQ(4, out.var.station);
}

TEST_F(RecipeTransfer, download_failedBlock_clearsItsByteAndStartsOver) {
    threeBlocks();
    requestDownload();
    turn();
    ASSERT_EQ("write DM 100 5", next());
    fail();
    EXPECT_EQ("0,1,100,DM", message);
    EXPECT_EQ(0, downloadByte());
    EXPECT_EQ(0, driver.rcpIndex);
    EXPECT_EQ(failureThen(), takeNotices());
    EXPECT_EQ("nothing", next());
    requestDownload();
    EXPECT_EQ("write HR 10 2", next());
}

TEST_F(RecipeTransfer, upload_failedBlock_clearsItsByteAndStartsOver) {
    threeBlocks();
    requestUpload();
    turn();
    takeNotices();
    ASSERT_EQ("read DM 100 5", next());
    fail();
    EXPECT_EQ(0, uploadByte());
    EXPECT_EQ(0, driver.rcpIndex);
    EXPECT_EQ(failureThen(), takeNotices());
    EXPECT_EQ(0x4000, buffer(0));
    requestUpload();
    EXPECT_EQ("read HR 10 2", next());
}

TEST_F(RecipeTransfer, download_failed_leavesTheUploadByteAlone) {
    threeBlocks();
    requestDownload();
    requestUpload();
    next();
    fail();
    EXPECT_EQ(0, downloadByte());
    EXPECT_EQ(1, uploadByte());
    EXPECT_EQ("read HR 10 2", next());
}

TEST_F(RecipeTransfer, download_answeredWithAnErrorCode_goesOn) {
    threeBlocks();
    requestDownload();
    next();
    EXPECT_EQ(1U, refuse(0x11, 0x03));
    EXPECT_EQ("write DM 100 5", next());
}

TEST_F(RecipeTransfer, upload_endCodeOfTheReply_isNotExamined) {
    recipe({recipeVariable("DM", 100, 1, 0)});
    requestUpload();
    next();
    EXPECT_EQ(1U, deal(readReply(1, {0x0BAD}, 0x11, 0x03)));
    EXPECT_EQ(0x0BAD, buffer(0));
}

TEST_F(RecipeTransfer, upload_innerVariable_cutsTheBlockAndLosesTheWordsBehind) {
    // DM 100..103 with DM 101 inside: the block ends with the inner variable, DM 100..101.
    recipe({recipeVariable("DM", 100, 4, 0), recipeVariable("DM", 101, 1, 10)});
    requestUpload();
    ASSERT_EQ("read DM 100 2", next());
    EXPECT_EQ(1U, answer(Words{0x0A, 0x0B}));
    EXPECT_EQ((Notices{recipeWord(0), recipeWord(1), recipeWord(10)}), takeNotices());
    EXPECT_EQ((Words{0x0A, 0x0B, 0x4002, 0x4003}),
              Words(recipeBuffer.begin(), recipeBuffer.begin() + 4));
    EXPECT_EQ(0x0B, buffer(10));
    EXPECT_EQ(0, uploadByte());
}

TEST_F(RecipeTransfer, upload_variablesReplacedMeanwhile_onlyWordsInsideTheReplyAreStored) {
    recipe({recipeVariable("DM", 100, 2, 0)});
    requestUpload();
    next();
    recipe({recipeVariable("DM", 500, 3, 20)});
    EXPECT_EQ(1U, answer(Words{1, 2}));
    EXPECT_EQ((Notices{recipeWord(20), recipeWord(21)}), takeNotices());
    EXPECT_EQ(0x4016, buffer(22));
}

TEST_F(RecipeTransfer, upload_variablesRemovedMeanwhile_storesNothingAndEnds) {
    threeBlocks();
    requestUpload();
    turn();
    next();
    takeNotices();
    recipe({});
    const std::vector<unsigned short> before = recipeBuffer;
    EXPECT_EQ(1U, answer(Words{1, 2, 3, 4, 5}));
    EXPECT_TRUE(takeNotices().empty());
    EXPECT_EQ(before, recipeBuffer);
    EXPECT_EQ(0, uploadByte());
    EXPECT_EQ(0, driver.rcpIndex);
}

TEST_F(RecipeTransfer, upload_indexOutsideTheBlocks_storesNothing) {
    recipe({recipeVariable("DM", 100, 1, 0)});
    for (const int index : {-1, 1, 7}) {
        getReadFrame(makeRequest("DM", 100, 1));
        driver.requestKind = 6;
        driver.rcpIndex = index;
        ASSERT_EQ(1U, deal(readReply(driver.SID, {1}))) << index;
        ASSERT_TRUE(takeNotices().empty()) << index;
        ASSERT_EQ(0x4000, buffer(0)) << index;
    }
}

TEST_F(RecipeTransfer, upload_blockBeforeTheLast_leavesTheNextBlocksVariablesAlone) {
    // By its address alone DM 12 would lie inside the reply to HR 10..14.
    recipe({recipeVariable("HR", 10, 5, 0), recipeVariable("DM", 12, 2, 5)});
    requestUpload();
    ASSERT_EQ("read HR 10 5", next());
    EXPECT_EQ(1U, answer(Words{1, 2, 3, 4, 5}));
    EXPECT_EQ((Notices{recipeWord(0), recipeWord(1), recipeWord(2), recipeWord(3), recipeWord(4)}),
              takeNotices());
    EXPECT_EQ(0x4005, buffer(5));
}

TEST_F(RecipeTransfer, upload_blockAcrossTheLargestAddress_storesItsWords) {
    // The distance of the second variable wraps to 1, as it did when the block was formed.
    recipe({recipeVariable("DM", 2147483647, 1, 0), recipeVariable("DM", -2147483647 - 1, 1, 1)});
    requestUpload();
    next();
    EXPECT_EQ(1U, answer(Words{0x1111, 0x2222}));
    EXPECT_EQ(0x1111, buffer(0));
    EXPECT_EQ(0x2222, buffer(1));
    EXPECT_EQ((Notices{recipeWord(0), recipeWord(1)}), takeNotices());
}

TEST_F(RecipeTransfer, upload_variableBeforeTheBlocksStart_isLeftOut) {
    // Reached only by a list that was not made by intf_setRcpAddress: a variable below its block.
    recipe({recipeVariable("DM", 100, 2, 0), recipeVariable("DM", 102, 2, 2)});
    driver.rcpVarVector[1].addr = 90;
    requestUpload();
    next();
    EXPECT_EQ(1U, answer(Words{1, 2, 3, 4}));
    EXPECT_EQ((Notices{recipeWord(0), recipeWord(1)}), takeNotices());
}

TEST_F(RecipeTransfer, upload_insideTheNotice_hostCallsAreSafe) {
    recipe({recipeVariable("DM", 100, 3, 20)});
    requestUpload();
    next();
    onNotice = [](const Notice& notice) {
        for (int i = 0; i < 200; ++i) {
            hostWord("HR", 1000 * notice.address + i);
        }
        hostWrites("WR", notice.address, {1});
        conditionRead("AR", notice.address, 1);
    };
    answer(Words{1, 2, 3});
    onNotice = nullptr;
    EXPECT_EQ(3, buffer(22));
    EXPECT_EQ((Asked{"write WR 20 1", "write WR 21 1", "write WR 22 1", "nothing"}),
              (Asked{turn(), turn(), turn(), turn()}));
    EXPECT_EQ("read AR 20 1", turn());
}

TEST_F(RecipeTransfer, upload_variablesTakenAwayInsideTheNotice_replyIsStoredAsItWasAskedFor) {
    recipe({recipeVariable("DM", 100, 1, 0), recipeVariable("DM", 101, 2, 20),
            recipeVariable("DM", 103, 1, 30)});
    requestUpload();
    ASSERT_EQ("read DM 100 4", next());
    onNotice = [](const Notice&) { recipe({}); };
    EXPECT_EQ(1U, answer(Words{11, 12, 13, 14}));
    EXPECT_EQ((Notices{recipeWord(0), recipeWord(20), recipeWord(21), recipeWord(30)}),
              takeNotices());
    EXPECT_EQ(11, buffer(0));
    EXPECT_EQ(12, buffer(20));
    EXPECT_EQ(13, buffer(21));
    EXPECT_EQ(14, buffer(30));
    EXPECT_EQ(0, uploadByte());
    EXPECT_EQ(0, driver.rcpIndex);
}

TEST_F(RecipeTransfer, upload_variablesReplacedInsideTheNotice_replyIsStoredAsItWasAskedFor) {
    recipe({recipeVariable("DM", 100, 1, 0), recipeVariable("DM", 101, 2, 20)});
    requestUpload();
    ASSERT_EQ("read DM 100 3", next());
    onNotice = [](const Notice&) { recipe({recipeVariable("DM", 90, 60, 50)}); };
    EXPECT_EQ(1U, answer(Words{11, 12, 13}));
    EXPECT_EQ((Notices{recipeWord(0), recipeWord(20), recipeWord(21)}), takeNotices());
    EXPECT_EQ(13, buffer(21));
}

TEST_F(RecipeTransfer, download_of503Words_isTheLongestThatGoesOut) {
    init(3, 1000);
    recipe({recipeVariable("DM", 0, 503, 100)});
    requestDownload();
    ASSERT_EQ("write DM 0 503", next());
    EXPECT_EQ(1024, out.sendLen);
    EXPECT_EQ(0x40, out.frame[18]);
    EXPECT_EQ(0x64, out.frame[19]);
    EXPECT_EQ(0x42, out.frame[1022]); // word 502 + 100 of the buffer: 0x425A
    EXPECT_EQ(0x5A, out.frame[1023]);
}

TEST_F(RecipeTransfer, download_ofALongerBlock_failsAtOnceWithoutAFrame) {
    init(3, 4000);
    for (const int words : {504, 512, 513, 2000}) {
        recipe({recipeVariable("DM", 0, words, 0)});
        std::fill(statusBlock.begin(), statusBlock.end(), static_cast<unsigned char>(0xEE));
        requestDownload();
        out.sendLen = 4711;
        ASSERT_EQ(0U, ask()) << words;
        ASSERT_EQ(4711, out.sendLen);
        ASSERT_EQ(0, downloadByte());
        ASSERT_EQ(failureThen(), takeNotices());
        ASSERT_EQ(4, statusBlock[122022]);
        ASSERT_EQ(0, statusBlock[122023]);
        ASSERT_EQ(1, driver.lastError);
        ASSERT_EQ(0, driver.badReplyCount);
        ASSERT_EQ(0, driver.rcpIndex);
        ASSERT_EQ(0, driver.SID);
        ASSERT_TRUE(driver.frameQueue.isEmpty());
    }
}

TEST_F(RecipeTransfer, download_ofALongerSecondBlock_failsAfterTheFirstWasWritten) {
    init(3, 4000);
    recipe({recipeVariable("HR", 0, 1, 0), recipeVariable("DM", 0, 600, 1)});
    requestDownload();
    EXPECT_EQ("write HR 0 1", turn());
    EXPECT_EQ("nothing", next());
    EXPECT_EQ(0, downloadByte());
    EXPECT_EQ(0, driver.rcpIndex);
}

TEST_F(RecipeTransfer, download_ofALongerBlock_lastingMeanwhileNothingElseIsLost) {
    init(3, 4000);
    recipe({recipeVariable("DM", 0, 600, 0)});
    poll({makeKey("DM", 100, 1)});
    hostWrites("HR", 5, {1});
    requestDownload();
    EXPECT_EQ("nothing", next());
    EXPECT_EQ("write HR 5 1", turn());
    EXPECT_EQ("read DM 100 1", turn());
    EXPECT_EQ(0, driver.lastError);
}

TEST_F(RecipeTransfer, download_ofALongerBlock_statusIsWrittenBeforeItsNoticesAndHostMayCall) {
    init(3, 4000);
    recipe({recipeVariable("DM", 0, 600, 0)});
    requestDownload();
    onNotice = [this](const Notice& notice) {
        EXPECT_EQ(4, statusBlock[122022]);
        EXPECT_EQ(0, statusBlock[122023]);
        hostWord("DM", 5);
        hostWrites("HR", notice.address - 122000, {1});
        conditionRead("WR", 9, 1);
    };
    EXPECT_EQ("nothing", next());
    onNotice = nullptr;
    EXPECT_EQ("write HR 22 1", turn());
    EXPECT_EQ("write HR 23 1", turn());
    EXPECT_EQ("read WR 9 1", turn());
}

TEST_F(RecipeTransfer, upload_ofALongerBlock_isRead) {
    init(3, 4000);
    recipe({recipeVariable("DM", 0, 600, 0)});
    requestUpload();
    ASSERT_EQ("read DM 0 600", next());
    EXPECT_EQ(14 + 1200, out.rcvLen);
    Words words(600, 0x0101);
    words[599] = 0x0599;
    EXPECT_EQ(1U, answer(words));
    EXPECT_EQ(0x0599, buffer(599));
    EXPECT_EQ(600U, takeNotices().size());
}

TEST_F(RecipeTransfer, download_ofABitVariable_isABitWriteOfItsBytes) {
    recipeBuffer[0] = 0x0001; // bytes 01 00 of the buffer: bit 35 set, bit 36 clear
    recipe({recipeVariable("CIO_bit", 35, 2, 0)});
    requestDownload();
    ASSERT_EQ(1U, ask());
    EXPECT_EQ((Bytes{0x30, 0, 2, 3, 0, 2, 1, 0}), Bytes(out.frame + 12, out.frame + 20));
    EXPECT_EQ(20, out.sendLen);
}

} // namespace
