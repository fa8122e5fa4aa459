/// intf_getSendFrame: what goes out next. Long mixed runs are in send_scheduler_rules_test.cpp.

#include "support/exchange.h"

#include <algorithm>

namespace {

class SendScheduler : public Exchange {
protected:
    /// `count` writes of one word each, to DM `addr`, `addr` + 10, ...
    static void writes(int addr, int count) {
        for (int i = 0; i < count; ++i) {
            hostWrites("DM", addr + 10 * i, {1});
        }
    }

    static void conditionReads(int addr, int count) {
        for (int i = 0; i < count; ++i) {
            conditionRead("DM", addr + 10 * i, 1);
        }
    }

    /// `count` turns, each answered.
    std::vector<std::string> turns(int count) {
        std::vector<std::string> asked(static_cast<std::size_t>(count));
        for (std::string& one : asked) {
            one = turn();
        }
        return asked;
    }
};

using Asked = std::vector<std::string>;

TEST_F(SendScheduler, getSendFrame_frameQueued_givesTheSameBytesUntilItsReply) {
    poll({makeKey("DM", 100, 10)});
    ASSERT_EQ("read DM 100 10", next());
    const Bytes first = sentBytes(out);
    for (int i = 0; i < 5; ++i) {
        ASSERT_EQ(1U, ask());
        ASSERT_EQ(first, sentBytes(out));
    }
    EXPECT_EQ(1U, answer());
    ASSERT_EQ(1U, ask());
    EXPECT_NE(first[9], out.frame[9]);
}

TEST_F(SendScheduler, getSendFrame_frameQueued_looksAtNothingElse) {
    poll({makeKey("DM", 100, 10)});
    recipe({recipeVariable("DM", 500, 2, 0)});
    ASSERT_EQ("read DM 100 10", next());
    writes(0, 1);
    conditionReads(200, 1);
    requestDownload();
    EXPECT_EQ("read DM 100 10", next());
    EXPECT_EQ(4, driver.requestKind);
}

TEST_F(SendScheduler, getSendFrame_frameHandedOut_staysQueued) {
    poll({makeKey("DM", 100, 10)});
    ask();
    EXPECT_EQ(1, driver.frameQueue.size());
}

TEST_F(SendScheduler, getSendFrame_head_isCopiedWhole) {
    hostWrites("DM", 100, {0x1234, 0xABCD}, 5);
    driver.writeList[0].type = 77;
    driver.writeList[0].data[1023] = 0x5A;
    out.spare = 9;
    ASSERT_EQ(1U, ask());
    EXPECT_EQ(22, out.sendLen);
    EXPECT_EQ(14, out.rcvLen);
    EXPECT_EQ(0, out.headLen);
    EXPECT_EQ(0, out.dataLen);
    EXPECT_EQ(0, out.spare);
    EXPECT_EQ(77, out.var.type);
    EXPECT_EQ(5, out.var.station);
    EXPECT_EQ(QLatin1String("DM"), out.var.regName);
    EXPECT_EQ(100, out.var.addr);
    EXPECT_EQ(2, out.var.len);
    EXPECT_EQ(0x34, out.var.data[0]);
    EXPECT_EQ(0xAB, out.var.data[3]);
    EXPECT_EQ(0x5A, out.var.data[1023]);
}

TEST_F(SendScheduler, getSendFrame_buffersOfTheHost_areOverwrittenToTheLastByte) {
    std::fill(out.frame, out.frame + 1024, static_cast<unsigned char>(0xEE));
    std::fill(out.var.data, out.var.data + 1024, static_cast<unsigned char>(0xEE));
    poll({makeKey("DM", 100, 10)});
    ASSERT_EQ(1U, ask());
    EXPECT_EQ(1024 - 18, std::count(out.frame + 18, out.frame + 1024, 0));
    EXPECT_EQ(1024, std::count(out.var.data, out.var.data + 1024, 0));
}

TEST_F(SendScheduler, getSendFrame_nothingToDo_returnsZeroAndStaysIdle) {
    driver.requestKind = 4;
    driver.requestCount = 3;
    out.sendLen = 4711;
    EXPECT_EQ(0U, ask());
    EXPECT_EQ(0, driver.requestKind);
    EXPECT_EQ(0, driver.requestCount);
    EXPECT_TRUE(driver.frameQueue.isEmpty());
    EXPECT_EQ(4711, out.sendLen);
    EXPECT_EQ(0, driver.SID);
}

TEST_F(SendScheduler, getSendFrame_sixWrites_fiveThenOneReadThenTheSixth) {
    poll({makeKey("DM", 1000, 1)});
    writes(0, 6);
    EXPECT_EQ((Asked{"write DM 0 1", "write DM 10 1", "write DM 20 1", "write DM 30 1",
                     "write DM 40 1", "read DM 1000 1", "write DM 50 1", "read DM 1000 1"}),
              turns(8));
}

TEST_F(SendScheduler, getSendFrame_fourConditionReads_threeThenOneReadThenTheFourth) {
    poll({makeKey("DM", 1000, 1)});
    conditionReads(0, 4);
    EXPECT_EQ((Asked{"read DM 0 1", "read DM 10 1", "read DM 20 1", "read DM 1000 1",
                     "read DM 30 1", "read DM 1000 1"}),
              turns(6));
}

TEST_F(SendScheduler, getSendFrame_twoWritesTwoConditionReads_secondConditionReadWaits) {
    poll({makeKey("DM", 1000, 1)});
    writes(0, 2);
    conditionReads(200, 2);
    EXPECT_EQ((Asked{"write DM 0 1", "write DM 10 1", "read DM 200 1", "read DM 1000 1",
                     "read DM 210 1", "read DM 1000 1"}),
              turns(6));
}

TEST_F(SendScheduler, getSendFrame_threeWritesPending_conditionReadWaitsForTheCyclicRead) {
    poll({makeKey("DM", 1000, 1)});
    writes(0, 3);
    conditionReads(200, 1);
    EXPECT_EQ((Asked{"write DM 0 1", "write DM 10 1", "write DM 20 1", "read DM 1000 1",
                     "read DM 200 1"}),
              turns(5));
}

TEST_F(SendScheduler, getSendFrame_writesAfterThreeConditionReads_twoMoreAndThenTheCyclicRead) {
    poll({makeKey("DM", 1000, 1)});
    conditionReads(200, 3);
    EXPECT_EQ((Asked{"read DM 200 1", "read DM 210 1", "read DM 220 1"}), turns(3));
    writes(0, 3);
    EXPECT_EQ((Asked{"write DM 0 1", "write DM 10 1", "read DM 1000 1", "write DM 20 1"}),
              turns(4));
}

TEST_F(SendScheduler, getSendFrame_writesComingInBetween_goBeforeConditionReads) {
    poll({makeKey("DM", 1000, 1)});
    conditionReads(200, 2);
    EXPECT_EQ("read DM 200 1", turn());
    writes(0, 1);
    EXPECT_EQ((Asked{"write DM 0 1", "read DM 210 1", "read DM 1000 1"}), turns(3));
}

TEST_F(SendScheduler, getSendFrame_noCyclicReads_pausesOnceAfterFiveWritesAndGoesOn) {
    writes(0, 7);
    EXPECT_EQ((Asked{"write DM 0 1", "write DM 10 1", "write DM 20 1", "write DM 30 1",
                     "write DM 40 1", "nothing", "write DM 50 1", "write DM 60 1", "nothing"}),
              turns(9));
}

TEST_F(SendScheduler, getSendFrame_noCyclicReads_pausesOnceAfterThreeConditionReadsAndGoesOn) {
    conditionReads(0, 4);
    EXPECT_EQ((Asked{"read DM 0 1", "read DM 10 1", "read DM 20 1", "nothing", "read DM 30 1"}),
              turns(5));
}

TEST_F(SendScheduler, getSendFrame_pauseWithRequestsWaiting_leavesThemWaiting) {
    writes(0, 6);
    turns(5);
    ASSERT_EQ("nothing", next());
    EXPECT_EQ(0, driver.requestKind);
    EXPECT_EQ(0, driver.requestCount);
    EXPECT_EQ(1, driver.writeList.size());
}

TEST_F(SendScheduler, getSendFrame_cyclicReads_goRound) {
    poll({makeKey("DM", 0, 1), makeKey("DM", 1000, 2), makeKey("HR", 5, 3)});
    EXPECT_EQ((Asked{"read HR 5 3", "read DM 0 1", "read DM 1000 2", "read HR 5 3", "read DM 0 1",
                     "read DM 1000 2", "read HR 5 3"}),
              turns(7));
}

TEST_F(SendScheduler, getSendFrame_eachSource_setsItsKind) {
    recipe({recipeVariable("DM", 500, 2, 0)});
    poll({makeKey("DM", 1000, 1)});
    turn();
    EXPECT_EQ(4, driver.requestKind);
    conditionReads(0, 1);
    turn();
    EXPECT_EQ(3, driver.requestKind);
    writes(0, 1);
    turn();
    EXPECT_EQ(2, driver.requestKind);
    requestUpload();
    turn();
    EXPECT_EQ(6, driver.requestKind);
    requestDownload();
    turn();
    EXPECT_EQ(5, driver.requestKind);
}

TEST_F(SendScheduler, getSendFrame_burstCounter_countsWritesAndConditionReadsOnly) {
    recipe({recipeVariable("DM", 500, 2, 0)});
    poll({makeKey("DM", 1000, 1)});
    writes(0, 1);
    conditionReads(200, 1);
    turn();
    EXPECT_EQ(1, driver.requestCount);
    turn();
    EXPECT_EQ(2, driver.requestCount);
    requestDownload();
    turn();
    EXPECT_EQ(2, driver.requestCount);
    turn();
    EXPECT_EQ(0, driver.requestCount);
}

TEST_F(SendScheduler, getSendFrame_scheduledRequest_staysOnItsList) {
    poll({makeKey("DM", 1000, 1)});
    writes(0, 2);
    conditionReads(200, 2);
    ask();
    EXPECT_EQ(2, driver.writeList.size());
    answer();
    EXPECT_EQ(1, driver.writeList.size());
    turn();
    ask();
    EXPECT_EQ(2, driver.conditionReadList.size());
    answer();
    EXPECT_EQ(1, driver.conditionReadList.size());
}

TEST_F(SendScheduler, getSendFrame_recipe_goesBeforeWritesConditionReadsAndCyclicReads) {
    recipe({recipeVariable("DM", 500, 2, 0)});
    poll({makeKey("DM", 1000, 1)});
    writes(0, 1);
    conditionReads(200, 1);
    requestUpload();
    EXPECT_EQ((Asked{"read DM 500 2", "write DM 0 1", "read DM 200 1", "read DM 1000 1"}),
              turns(4));
}

TEST_F(SendScheduler, getSendFrame_bothRecipeBytes_servesTheDownloadOnly) {
    recipe({recipeVariable("DM", 500, 2, 0)});
    requestDownload();
    requestUpload();
    EXPECT_EQ("write DM 500 2", turn());
    EXPECT_EQ(0, downloadByte());
    EXPECT_EQ(1, uploadByte());
    EXPECT_EQ("read DM 500 2", turn());
    EXPECT_EQ(0, uploadByte());
}

TEST_F(SendScheduler, getSendFrame_recipeByteOtherThanOne_isNoRequest) {
    recipe({recipeVariable("DM", 500, 2, 0)});
    for (const int value : {2, 3, 128, 255}) {
        hostBlock[60115] = static_cast<unsigned char>(value);
        hostBlock[60116] = static_cast<unsigned char>(value);
        ASSERT_EQ("nothing", next()) << value;
        ASSERT_EQ(value, downloadByte());
        ASSERT_EQ(value, uploadByte());
    }
}

TEST_F(SendScheduler, getSendFrame_downloadByteNotOne_letsTheUploadThrough) {
    recipe({recipeVariable("DM", 500, 2, 0)});
    hostBlock[60115] = 2;
    requestUpload();
    EXPECT_EQ("read DM 500 2", turn());
    EXPECT_EQ(2, downloadByte());
}

TEST_F(SendScheduler, getSendFrame_downloadSetDuringAnUpload_goesOnFromTheSameIndex) {
    recipe({recipeVariable("DM", 500, 2, 0), recipeVariable("DM", 600, 2, 2)});
    requestUpload();
    EXPECT_EQ("read DM 500 2", turn());
    requestDownload();
    EXPECT_EQ("write DM 600 2", turn());
    EXPECT_EQ(0, downloadByte());
    EXPECT_EQ("read DM 500 2", turn());
}

TEST_F(SendScheduler, getSendFrame_downloadPastTheEnd_writesTheCurrentRequestAgain) {
    recipeBuffer[0] = 0x1234;
    recipe({recipeVariable("DM", 500, 1, 0), recipeVariable("DM", 600, 1, 1)});
    requestDownload();
    ASSERT_EQ("write DM 500 1", turn());
    ASSERT_EQ(1, driver.rcpIndex);
    recipe({recipeVariable("DM", 700, 1, 5)});
    recipeBuffer[0] = 0xFFFF;
    EXPECT_EQ("write DM 500 1", next());
    EXPECT_EQ(0x12, out.frame[18]);
    EXPECT_EQ(0x34, out.frame[19]);
    EXPECT_EQ(2, out.frame[9]); // built anew, with a service ID of its own
    EXPECT_EQ(5, driver.requestKind);
    EXPECT_EQ(1, downloadByte());
    answer();
    EXPECT_EQ(0, downloadByte());
    EXPECT_EQ(0, driver.rcpIndex);
}

TEST_F(SendScheduler, getSendFrame_uploadPastTheEnd_readsTheCurrentRequestAgain) {
    recipe({recipeVariable("DM", 500, 1, 0), recipeVariable("DM", 600, 1, 1)});
    requestUpload();
    ASSERT_EQ("read DM 500 1", turn());
    recipe({recipeVariable("DM", 700, 1, 5)});
    EXPECT_EQ("read DM 500 1", turn());
    EXPECT_EQ(0, uploadByte());
    EXPECT_EQ(0, driver.rcpIndex);
}

TEST_F(SendScheduler, getSendFrame_noRecipeAfterAWrite_repeatsTheWrite) {
    hostWrites("DM", 40, {0xABCD});
    turn();
    for (const int byte : {60115, 60116}) {
        hostBlock[static_cast<std::size_t>(byte)] = 1;
        EXPECT_EQ("write DM 40 1", turn());
        EXPECT_EQ(2, driver.requestKind);
        EXPECT_EQ(1, hostBlock[static_cast<std::size_t>(byte)]);
        hostBlock[static_cast<std::size_t>(byte)] = 0;
    }
}

TEST_F(SendScheduler, getSendFrame_noRecipeAfterAConditionRead_repeatsTheRead) {
    conditionReads(40, 1);
    turn();
    requestDownload();
    EXPECT_EQ("read DM 40 1", turn());
    EXPECT_EQ(3, driver.requestKind);
}

TEST_F(SendScheduler, getSendFrame_noRecipeAfterACyclicRead_repeatsTheSameReadForEver) {
    poll({makeKey("DM", 0, 1), makeKey("DM", 1000, 1)});
    turn();
    requestDownload();
    EXPECT_EQ((Asked{"read DM 0 1", "read DM 0 1", "read DM 0 1"}), turns(3));
    EXPECT_EQ(4, driver.requestKind);
    EXPECT_EQ(1, downloadByte());
}

TEST_F(SendScheduler, getSendFrame_noRecipeWhenIdle_returnsZeroAndStarvesTheLists) {
    writes(0, 1);
    requestDownload();
    takeNotices();
    out.sendLen = 4711;
    EXPECT_EQ(0U, ask());
    EXPECT_EQ(4711, out.sendLen);
    EXPECT_EQ(1, downloadByte());
    hostBlock[60115] = 0;
    requestUpload();
    EXPECT_EQ(0U, ask());
    EXPECT_EQ(1, uploadByte());
    // Waiting is no failure: nothing is told.
    EXPECT_TRUE(takeNotices().empty());
    EXPECT_EQ(122024, std::count(statusBlock.begin(), statusBlock.end(), 0xEE));
    EXPECT_EQ(0, driver.lastError);
    hostBlock[60116] = 0;
    EXPECT_EQ("write DM 0 1", next());
}

TEST_F(SendScheduler, getSendFrame_repeatByKind_leavesCounterAlone) {
    poll({makeKey("DM", 1000, 1)});
    writes(0, 2);
    turns(2);
    requestDownload();
    turns(3);
    EXPECT_EQ(2, driver.requestCount);
}

TEST_F(SendScheduler, getSendFrame_hostBlocks_onlyTheTwoBytesAreTouched) {
    recipe({recipeVariable("DM", 500, 2, 0)});
    std::fill(hostBlock.begin(), hostBlock.end(), static_cast<unsigned char>(0xA5));
    requestDownload();
    requestUpload();
    turns(2);
    EXPECT_EQ(60115, std::count(hostBlock.begin(), hostBlock.begin() + 60115, 0xA5));
    EXPECT_EQ(0, downloadByte());
    EXPECT_EQ(0, uploadByte());
    EXPECT_EQ(122024, std::count(statusBlock.begin(), statusBlock.end(), 0xEE));
}

TEST_F(SendScheduler, getSendFrame_scheduling_raisesNoCallback) {
    recipe({recipeVariable("DM", 500, 2, 0)});
    poll({makeKey("DM", 1000, 1)});
    writes(0, 1);
    conditionReads(200, 1);
    requestDownload();
    takeNotices();
    ask();
    EXPECT_TRUE(takeNotices().empty());
}

TEST_F(SendScheduler, getSendFrame_serviceIds_runOnFromFrameToFrame) {
    poll({makeKey("DM", 1000, 1)});
    for (int i = 1; i <= 600; ++i) {
        ASSERT_EQ(1U, ask());
        ASSERT_EQ(i % 255, out.frame[9]); // 1 ... 254, 0, 1 ...: a cycle of 255
        ASSERT_EQ(1U, answer());
    }
}

TEST_F(SendScheduler, getSendFrame_afterInit_startsFromIdleButKeepsServiceIdAndRecipe) {
    poll({makeKey("DM", 1000, 1)});
    recipe({recipeVariable("DM", 500, 1, 0), recipeVariable("DM", 600, 1, 1)});
    requestDownload();
    turn();
    hostBlock[60115] = 0;
    writes(0, 2);
    conditionReads(200, 1);
    ask();
    init(3, 64);
    EXPECT_EQ("nothing", next());
    requestDownload();
    EXPECT_EQ("write DM 600 1", next());
    EXPECT_EQ(3, out.frame[9]);
}

TEST_F(SendScheduler, getSendFrame_mergeDuringACyclicRead_rotatesTheNewList) {
    poll({makeKey("DM", 0, 1), makeKey("DM", 1000, 1)});
    ASSERT_EQ("read DM 0 1", next());
    poll({makeKey("HR", 0, 1), makeKey("HR", 1000, 1), makeKey("DM", 5, 1)});
    EXPECT_EQ(1U, answer());
    EXPECT_EQ((Asked{"read HR 1000 1", "read DM 5 1", "read HR 0 1"}), turns(3));
}

} // namespace
