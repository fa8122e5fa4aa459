/// What becomes of polled ranges: the rule by which they are merged, what is not cut, what is lost,
/// and how a host finds out.

#include "loop/loop_fixture.h"

namespace {

using Frames = std::vector<std::string>;

class MergeLoop : public LoopFixture {
protected:
    /// The reads of one round, as "DM 100 5", sorted as they go out.
    Frames round(int blocks) {
        Frames frames;
        for (int i = 0; i < blocks; ++i) {
            EXPECT_EQ(1, turn());
            frames.push_back(out.var.regName.toStdString() + " " + std::to_string(out.var.addr) +
                             " " + std::to_string(out.var.len));
        }
        return frames;
    }

    /// The reads that these ranges become.
    Frames readsOf(const std::vector<Tag>& tags) { return round(poll(tags)); }
};

TEST_F(MergeLoop, ranges_areSortedJoinedAndBridgedUpToWordsPerFrame) {
    EXPECT_EQ((Frames{"CIO 2 1", "DM 100 60", "DM 165 1"}),
              readsOf({{"DM", 165, 1}, {"DM", 150, 10}, {"CIO_bit", 35, 3}, {"DM", 100, 10}}));
    EXPECT_EQ((Frames{"DM 100 64"}), readsOf({{"DM", 100, 1}, {"DM", 163, 1}}));
    EXPECT_EQ((Frames{"DM 100 1", "DM 164 1"}), readsOf({{"DM", 100, 1}, {"DM", 164, 1}}));
}

TEST_F(MergeLoop, rangeOf1200WordsAt256_goesOutWholeAndThePlcRefusesIt) {
    init(3, 256);
    EXPECT_EQ(1, poll({{"DM", 10000, 1200}}));
    ASSERT_TRUE(ask());
    EXPECT_EQ(1200, out.frame[16] * 256 + out.frame[17]);
    const plc::Bytes refusal = askPlc();
    ASSERT_EQ(14U, refusal.size());
    EXPECT_EQ(0x11, refusal[12]);
    EXPECT_EQ(0x0B, refusal[13]);
    EXPECT_EQ(8, reply(refusal));
    EXPECT_EQ(8, turn());
    EXPECT_EQ(2, turn());
    EXPECT_EQ("14,1,10000,DM", message);
}

TEST_F(MergeLoop, rangeOfBitsOverMoreWordsThanAFrame_goesOutWholeToo) {
    EXPECT_EQ((Frames{"CIO 0 100"}), readsOf({{"CIO_bit", 0, 1600}}));
}

TEST_F(MergeLoop, rangeInsideAnother_cutsItBackAndTheRestIsNeverRead) {
    setPlcWord(plc::Area::Dm, 109, 7);
    EXPECT_EQ((Frames{"DM 100 5"}), readsOf({{"DM", 100, 10}, {"DM", 103, 2}}));
    EXPECT_EQ(0, hostWord("DM", 109));
}

TEST_F(MergeLoop, bitsInsideAWordRangeOfTheirArea_cutItBackToo) {
    EXPECT_EQ((Frames{"CIO 0 3"}), readsOf({{"CIO", 0, 10}, {"CIO_bit", 35, 1}}));
}

TEST_F(MergeLoop, rangesSplitAtEachOthersEnds_areReadWhole) {
    EXPECT_EQ((Frames{"CIO 0 10"}), readsOf({{"CIO", 0, 2}, {"CIO_bit", 35, 1}, {"CIO", 3, 7}}));
}

TEST_F(MergeLoop, oneAddressThatThePlcDoesNotHave_failsTheBlockItWasMergedInto) {
    setPlcWord(plc::Area::Dm, 32767, 7);
    EXPECT_EQ(1, poll({{"DM", 32767, 1}, {"DM", 32768, 1}}));
    EXPECT_EQ(8, turn());
    EXPECT_EQ(8, turn());
    EXPECT_EQ(2, turn());
    EXPECT_EQ("14,1,32767,DM", message);
    EXPECT_EQ(0, hostWord("DM", 32767));
}

TEST_F(MergeLoop, listThatComesBack_isWhatIsRead) {
    QList<KEY_ADDRESS> keys = keysOf({{"CIO", 0, 10}, {"CIO_bit", 35, 1}, {"DM", 5, 2}});
    ASSERT_EQ(2, merge(keys));
    ASSERT_EQ(2, keys.size());
    EXPECT_EQ("CIO", keys.at(0).regName.toStdString());
    EXPECT_EQ(0, keys.at(0).addr);
    EXPECT_EQ(3, keys.at(0).len);
    EXPECT_EQ("DM", keys.at(1).regName.toStdString());
    EXPECT_EQ(5, keys.at(1).addr);
    EXPECT_EQ(2, keys.at(1).len);
    EXPECT_EQ((Frames{"CIO 0 3", "DM 5 2"}), round(2));
}

TEST_F(MergeLoop, newListWithAReadInFlight_itsReplyIsTakenAndTheNewFirstBlockComesLast) {
    poll({{"DM", 0, 1}});
    setPlcWord(plc::Area::Dm, 0, 0x0505);
    ASSERT_TRUE(ask());
    const int blocks = poll({{"CIO", 0, 1}, {"WR", 0, 1}, {"HR", 0, 1}});
    EXPECT_EQ("DM", out.var.regName.toStdString());
    EXPECT_EQ(1, reply(askPlc()));
    EXPECT_EQ(0x0505, hostWord("DM", 0));
    EXPECT_TRUE(takeNotices().empty()) << "no longer polled, so no longer told of";
    EXPECT_EQ((Frames{"WR 0 1", "HR 0 1", "CIO 0 1"}), round(blocks));
}

TEST_F(MergeLoop, newListWithAWriteInFlight_writeIsSettledAsIfNothingHadBeen) {
    poll({{"DM", 0, 1}});
    writeWords("DM", 0, {7});
    ASSERT_TRUE(ask());
    const int blocks = poll({{"CIO", 0, 1}, {"WR", 0, 1}});
    EXPECT_EQ(7, hostWord("DM", 0));
    EXPECT_EQ(1, reply(askPlc()));
    EXPECT_EQ(7, plcWord(plc::Area::Dm, 0));
    EXPECT_EQ((Frames{"CIO 0 1", "WR 0 1"}), round(blocks));
}

} // namespace
