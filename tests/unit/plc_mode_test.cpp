/// changePLCModeToMonitor and connectToServer, and what becomes of a write that the PLC refuses
/// because of its operating mode. The bytes of both frames are held by frame_vectors_test.cpp.

#include "support/exchange.h"

#include "fins/frame_builder.h"
#include "fins/plc_mode.h"

namespace {

class PlcMode : public Exchange {
protected:
    /// A write of DM 100, handed out and refused because the PLC is in the wrong mode.
    void refuseAWrite(int sres = 0x03) {
        hostWrites("DM", 100, {0x1234});
        ASSERT_EQ("write DM 100 1", next());
        ASSERT_EQ(8U, refuse(0x22, sres));
    }
};

TEST_F(PlcMode, changePLCModeToMonitor_bytes_areTheRunCommandWithTheNextServiceId) {
    intf_SetDriverPropertyPage(QLatin1String("6,1,2,3,4,5,6"));
    getReadFrame(makeRequest("DM", 0, 1));
    changePLCModeToMonitor();
    const Bytes expected = {0x80, 0, 2, 1, 2, 3, 4, 5, 6, 2, 0x04, 0x01, 0xFF, 0xFF, 0x02};
    EXPECT_EQ(expected, sentBytes(driver.frameQueue.at(0)));
    EXPECT_EQ(15, driver.frameQueue.at(0).sendLen);
    EXPECT_EQ(14, driver.frameQueue.at(0).rcvLen);
    EXPECT_EQ(0, driver.frameQueue.at(0).dataLen);
    EXPECT_EQ(2, driver.SID);
}

TEST_F(PlcMode, changePLCModeToMonitor_afterServiceId254_carriesZero) {
    driver.SID = 254;
    changePLCModeToMonitor();
    EXPECT_EQ(0, driver.frameQueue.at(0).frame[9]);
}

TEST_F(PlcMode, changePLCModeToMonitor_queuedFrames_stayBehindIt) {
    getWriteFrame(makeRequest("DM", 1, 1));
    getWriteFrame(makeRequest("DM", 2, 1));
    changePLCModeToMonitor();
    ASSERT_EQ(3, driver.frameQueue.size());
    EXPECT_EQ("mode", describe(driver.frameQueue.at(0)));
    EXPECT_EQ("write DM 1 1", describe(driver.frameQueue.at(1)));
    EXPECT_EQ("write DM 2 1", describe(driver.frameQueue.at(2)));
}

TEST_F(PlcMode, changePLCModeToMonitor_fieldsWithoutMeaning_areZeroAndEmpty) {
    changePLCModeToMonitor();
    const FRAME_PRO frame = driver.frameQueue.at(0);
    EXPECT_EQ(0, frame.headLen);
    EXPECT_EQ(0, frame.spare);
    EXPECT_EQ(0, frame.var.type);
    EXPECT_EQ(0, frame.var.station);
    EXPECT_TRUE(frame.var.regName.isEmpty());
    EXPECT_EQ(0, frame.var.addr);
    EXPECT_EQ(0, frame.var.len);
    EXPECT_EQ(Bytes(1024, 0), Bytes(frame.var.data, frame.var.data + 1024));
}

TEST_F(PlcMode, connectToServer_bytes_areTheNodeAddressRequest) {
    connectToServer();
    ASSERT_EQ(1, driver.frameQueue.size());
    const FRAME_PRO frame = driver.frameQueue.at(0);
    Bytes expected = {0x46, 0x49, 0x4E, 0x53, 0x00, 0x00, 0x00, 0x0C};
    expected.resize(20, 0);
    EXPECT_EQ(expected, sentBytes(frame));
    EXPECT_EQ(20, frame.sendLen);
    EXPECT_EQ(24, frame.rcvLen);
    EXPECT_EQ(0, frame.dataLen);
    EXPECT_EQ(0, frame.headLen);
    EXPECT_EQ(0, frame.spare);
    EXPECT_TRUE(frame.var.regName.isEmpty());
    EXPECT_EQ(0, frame.var.len);
}

TEST_F(PlcMode, connectToServer_serviceId_isNotTaken) {
    driver.SID = 9;
    connectToServer();
    EXPECT_EQ(9, driver.SID);
}

TEST_F(PlcMode, connectToServer_queuedFrames_stayBeforeIt) {
    getReadFrame(makeRequest("DM", 1, 1));
    connectToServer();
    ASSERT_EQ(2, driver.frameQueue.size());
    EXPECT_EQ("read DM 1 1", describe(driver.frameQueue.at(0)));
    EXPECT_EQ(20, driver.frameQueue.at(1).sendLen);
}

TEST_F(PlcMode, connectToServer_cleared_isSentAndTeachesTheNodes) {
    poll({makeKey("DM", 100, 1)});
    driver.nodeLearned = 0;
    connectToServer();
    ASSERT_EQ(1U, ask());
    EXPECT_EQ(20, out.sendLen);
    takeNotices();
    EXPECT_EQ(1U, deal(nodeReply(0x21, 0x43)));
    EXPECT_EQ(1, driver.nodeLearned);
    EXPECT_TRUE(takeNotices().empty());
    ASSERT_EQ("read DM 100 1", next());
    EXPECT_EQ(0x43, out.frame[4]); // DA1: the server
    EXPECT_EQ(0x21, out.frame[7]); // SA1: the client
}

TEST_F(PlcMode, refusedWrite_isFollowedByTheModeChangeThenTheWriteAgain) {
    refuseAWrite();
    EXPECT_EQ("mode", next());
    EXPECT_EQ(2, out.frame[9]);
    EXPECT_EQ(1U, answer());
    EXPECT_EQ("write DM 100 1", next());
    EXPECT_EQ(1, out.frame[9]); // as it was built: with its old service ID
}

TEST_F(PlcMode, refusedWrite_resentWithItsOldServiceId_isRejectedUntilTheRetryLimitFailsIt) {
    refuseAWrite();
    const Words written = {0x1234};
    next();
    answer();
    for (const unsigned int expected : {8U, 8U, 2U}) {
        ASSERT_EQ("write DM 100 1", next());
        ASSERT_EQ(1, out.frame[9]);
        ASSERT_EQ(expected, answer()); // the PLC answers service ID 1, the counter stands at 2
    }
    EXPECT_EQ("14,1,100,DM", message);
    EXPECT_EQ(0, hostWord("DM", 100));
    EXPECT_EQ("nothing", next());
}

TEST_F(PlcMode, refusedWrite_replyWithTheCountersServiceId_isAccepted) {
    refuseAWrite();
    next();
    answer();
    next();
    EXPECT_EQ(1U, deal(endCodeReply(2, 1, 2)));
    EXPECT_EQ(0x1234, hostWord("DM", 100));
    EXPECT_EQ(0, cached(1, "DM", 100).writePending);
}

TEST_F(PlcMode, modeChangeAccepted_write_isNotYetSettled) {
    refuseAWrite();
    next();
    takeNotices();
    EXPECT_EQ(1U, answer());
    EXPECT_EQ(1, driver.writeList.size());
    EXPECT_EQ(1, cached(1, "DM", 100).writePending);
    EXPECT_EQ(2, driver.requestKind);
    EXPECT_TRUE(takeNotices().empty());
}

TEST_F(PlcMode, modeChangeAccepted_badReplies_areCountedFromZeroAgain) {
    refuseAWrite();
    EXPECT_EQ(1, driver.badReplyCount);
    next();
    answer();
    EXPECT_EQ(0, driver.badReplyCount);
}

TEST_F(PlcMode, modeChangeRefused_queuesASecondOneAndNoThird) {
    init(10, 64);
    refuseAWrite();
    ASSERT_EQ("mode", next());
    ASSERT_EQ(2, out.frame[9]);
    EXPECT_EQ(8U, refuse(0x22, 0x06));
    ASSERT_EQ("mode", next());
    EXPECT_EQ(3, out.frame[9]);
    EXPECT_EQ(3, driver.frameQueue.size());
    EXPECT_EQ(8U, refuse(0x22, 0x06)); // three are queued: only counted
    EXPECT_EQ(3, driver.frameQueue.size());
    EXPECT_EQ(3, driver.SID);
    EXPECT_EQ("mode", next());
    EXPECT_EQ(3, out.frame[9]);
}

TEST_F(PlcMode, modeChangeNeverAccepted_failsTheWriteWithAnEmptyRequestsText) {
    refuseAWrite();
    next();
    EXPECT_EQ(8U, deal({}));
    EXPECT_EQ(2U, deal({}));
    EXPECT_EQ("0,0,0,", message); // the head is the mode change, whose request is empty
    EXPECT_TRUE(driver.frameQueue.isEmpty());
    EXPECT_TRUE(driver.writeList.isEmpty());
    EXPECT_EQ(0, hostWord("DM", 100));
}

TEST_F(PlcMode, refusalThatExhaustsTheRetries_namesTheModeChangesEmptyRequest) {
    init(1, 64);
    hostWrites("DM", 100, {0x1234});
    next();
    EXPECT_EQ(2U, refuse(0x22, 0x03));
    EXPECT_EQ("14,0,0,", message);
    EXPECT_TRUE(driver.frameQueue.isEmpty());
    EXPECT_TRUE(driver.writeList.isEmpty());
    EXPECT_EQ(2, driver.SID); // the mode change was built and took one
}

TEST_F(PlcMode, refusalThatExhaustsTheRetriesWithThreeFramesQueued_namesTheHead) {
    init(3, 64);
    refuseAWrite();
    next();
    refuse(0x22, 0x03);
    next();
    EXPECT_EQ(2U, refuse(0x22, 0x03));
    EXPECT_EQ("14,0,0,", message);
}

TEST_F(PlcMode, refusedRecipeDownload_isFollowedByTheModeChange) {
    recipe({recipeVariable("DM", 500, 2, 0)});
    requestDownload();
    ASSERT_EQ("write DM 500 2", next());
    EXPECT_EQ(8U, refuse(0x22, 0x04));
    EXPECT_EQ("mode", next());
    EXPECT_EQ(1U, answer());
    EXPECT_EQ("write DM 500 2", next());
    EXPECT_EQ(1, downloadByte());
}

TEST_F(PlcMode, modeChangeRefusedForAnotherReason_countsAsDone) {
    refuseAWrite();
    next();
    EXPECT_EQ(1U, refuse(0x22, 0x01));
    EXPECT_EQ("write DM 100 1", next());
}

} // namespace
