/// What intf_getData gives inside each kind of callback, and which callbacks do not come.

#include "loop/loop_fixture.h"

namespace {

using Values = std::vector<int>;
using Notices = std::vector<Notice>;

const Notice statusWritten = {0, -1, "LW", 122022};
const Notice statusDetailWritten = {0, -1, "LW", 122023};

class CallbackLoop : public LoopFixture {
protected:
    /// Notes the word in every callback from now on.
    Values& watchWord(const char* regName, int addr) {
        onNotice = [this, regName, addr](const Notice&) {
            seen.push_back(hostWord(regName, addr));
        };
        return seen;
    }

    /// The word DM 100, polled, and in the PLC 0x1111.
    void pollDm100() {
        setPlcWord(plc::Area::Dm, 100, 0x1111);
        goodTurns(poll({{"DM", 100, 1}}));
        takeNotices();
    }

    void failRequest() {
        EXPECT_EQ(8, silentTurn());
        EXPECT_EQ(8, silentTurn());
        EXPECT_EQ(2, silentTurn());
    }

    Values seen;
};

TEST_F(CallbackLoop, replyChangesAWord_insideTheOldValueAfterTheCallTheNew) {
    pollDm100();
    watchWord("DM", 100);
    setPlcWord(plc::Area::Dm, 100, 0x2222);
    goodTurns(1);
    EXPECT_EQ((Values{0x1111}), seen);
    EXPECT_EQ(0x2222, hostWord("DM", 100));
}

TEST_F(CallbackLoop, hostWritesAWord_insideTheOldValueAfterTheCallTheNew) {
    pollDm100();
    watchWord("DM", 100);
    writeWords("DM", 100, {0x3333});
    EXPECT_EQ((Values{0x1111}), seen);
    EXPECT_EQ(0x3333, hostWord("DM", 100));
}

TEST_F(CallbackLoop, wordWriteFails_insideTheStatusNoticesTheWrittenValueThenThePlcs) {
    pollDm100();
    writeWords("DM", 100, {0x3333});
    takeNotices();
    watchWord("DM", 100);
    failRequest();
    EXPECT_EQ((Notices{statusWritten, statusDetailWritten, {7, 1, "DM", 100}}), takeNotices());
    EXPECT_EQ((Values{0x3333, 0x3333, 0x1111}), seen);
}

TEST_F(CallbackLoop, bitWriteFails_insideTheLastOfItsCallsThePlcsValue) {
    setPlcWord(plc::Area::Cio, 2, 0x00F0);
    goodTurns(poll({{"CIO", 2, 1}}));
    writeBits("CIO_bit", 32, {1, 1, 1});
    takeNotices();
    watchWord("CIO", 2);
    failRequest();
    const Notice ended = {7, 1, "CIO_bit", 32};
    EXPECT_EQ((Notices{statusWritten, statusDetailWritten, ended, ended, ended}), takeNotices());
    EXPECT_EQ((Values{0x00F7, 0x00F7, 0x00F7, 0x00F7, 0x00F0}), seen);
}

TEST_F(CallbackLoop, bitWriteIsTaken_insideEachOfItsCallsTheWrittenValue) {
    goodTurns(poll({{"CIO", 2, 1}}));
    writeBits("CIO_bit", 32, {1, 1});
    takeNotices();
    watchWord("CIO", 2);
    goodTurns(1);
    EXPECT_EQ((Values{0x0003, 0x0003}), seen);
}

TEST_F(CallbackLoop, conditionReadEnds_insideItsNoticeTheNewValue) {
    pollDm100();
    setPlcWord(plc::Area::Dm, 100, 0x2222);
    conditionRead({"DM", 100, 1});
    watchWord("DM", 100);
    goodTurns(1);
    EXPECT_EQ((Notices{{7, 1, "DM", 100}, {-1, -1, "-1", 0}}), takeNotices());
    EXPECT_EQ((Values{0x1111, 0x2222}), seen);
}

TEST_F(CallbackLoop, recipeWordIsStored_insideItsNoticeCacheAndBufferHaveTheNewValue) {
    setPlcWord(plc::Area::Dm, 100, 0x4444);
    recipe({recipeVariable("DM", 100, 1, 3)});
    hostBlock[60116] = 1;
    int inBuffer = 0;
    onNotice = [this, &inBuffer](const Notice&) {
        seen.push_back(hostWord("DM", 100));
        inBuffer = recipeBuffer[3];
    };
    goodTurns(1);
    EXPECT_EQ((Notices{{0, -1, "RWI", 3}}), takeNotices());
    EXPECT_EQ((Values{0x4444}), seen);
    EXPECT_EQ(0x4444, inBuffer);
}

TEST_F(CallbackLoop, writeOfAWordThatIsNotPolledFails_onlyResultMessageAndStatusNoticesTell) {
    writeWords("DM", 500, {0x3333});
    failRequest();
    EXPECT_EQ("0,1,500,DM", message);
    EXPECT_EQ((Notices{statusWritten, statusDetailWritten}), takeNotices());
    EXPECT_EQ(0, hostWord("DM", 500));
}

TEST_F(CallbackLoop, writeOfTheValueThatThePlcHasFails_noDataCallback) {
    pollDm100();
    writeWords("DM", 100, {0x1111});
    failRequest();
    EXPECT_EQ((Notices{statusWritten, statusDetailWritten}), takeNotices());
}

} // namespace
