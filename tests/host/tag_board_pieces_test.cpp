// Tags that come in several reads: no value is made of pieces that do not belong together.

#include "host/plain_text.h"
#include "host/tag_board_fixture.h"

using namespace tag_board;

namespace {

TEST_F(HostTagBoard, halfRead_isNotRead) {
    tags({tagAt("DM", 100, 2)});
    read(90, 11);
    scanEnds();
    EXPECT_EQ(state(0), TagState::NotRead);
    read(101, 5);
    scanEnds();
    EXPECT_EQ(state(0), TagState::NotRead); // its halves are of two scans
    read(90, 11);
    read(101, 5);
    scanEnds();
    EXPECT_EQ(shown(0), 0);
}

TEST_F(HostTagBoard, halvesOfTwoScans_areNeverShownTogether) {
    tags({tagAt("DM", 100, 2)});
    m_words = {{100, 1}, {101, 1}};
    read(100, 1);
    read(101, 1);
    scanEnds();
    ASSERT_EQ(*m_board.at(0).value(), (Items{1, 1}));
    m_now += 1000;
    m_words = {{100, 2}, {101, 2}};
    m_board.valueChanged("DM", 100);
    read(100, 1);
    EXPECT_EQ(*m_board.at(0).value(), (Items{1, 1}));
    EXPECT_EQ(m_board.at(0).readAt, 10 * SECOND);
    m_board.valueChanged("DM", 101);
    read(101, 1);
    scanEnds();
    EXPECT_EQ(*m_board.at(0).value(), (Items{2, 2}));
    EXPECT_EQ(m_board.at(0).readAt, m_now);
}

TEST_F(HostTagBoard, halfThatFails_leavesNoMixedValue) {
    tags({tagAt("DM", 100, 2)});
    m_words = {{100, 1}, {101, 1}};
    read(100, 1);
    read(101, 1);
    scanEnds();
    m_now += 1000;
    m_words = {{100, 2}, {101, 1}}; // of the second the driver has the old word still
    m_board.valueChanged("DM", 100);
    read(100, 1);
    fail(101, 1);
    scanEnds();
    EXPECT_EQ(state(0), TagState::Stale);
    EXPECT_EQ(m_board.at(0).lastRead(), (Items{1, 1}));
    m_now += 1000;
    m_words = {{100, 2}, {101, 2}};
    m_board.valueChanged("DM", 101);
    read(101, 1);
    EXPECT_NE(state(0), TagState::Fresh);
    read(100, 1);
    scanEnds();
    EXPECT_EQ(*m_board.at(0).value(), (Items{2, 2}));
}

TEST_F(HostTagBoard, oneHalfNotReadInAScan_growsStaleByThatHalf) {
    tags({tagAt("DM", 100, 2)});
    read(100, 1);
    read(101, 1);
    scanEnds();
    for (int scan = 0; scan < 30; ++scan) {
        m_now += 100000;
        read(100, 1);
        scanEnds();
        m_board.timePasses(m_now, LIMIT);
    }
    EXPECT_EQ(state(0), TagState::Stale);
}

TEST_F(HostTagBoard, readWholeAfterHalves_isTakenAtOnce) {
    tags({tagAt("DM", 100, 2)});
    read(100, 1);
    m_value = 9;
    read(100, 2);
    EXPECT_EQ(*m_board.at(0).value(), (Items{9, 9}));
}

TEST_F(HostTagBoard, halfReadBeforeAWritePerhapsExecuted_isNoPartOfAFreshValue) {
    tags({tagAt("DM", 100, 2)});
    read(100, 1);
    read(101, 1);
    scanEnds();
    ASSERT_EQ(state(0), TagState::Fresh);
    m_now += 1000;
    read(100, 1);
    m_now += 1000;
    m_board.writeBegun({"DM", 100, 1});
    m_board.writeEnded({"DM", 100, 1}, TagBoard::WriteEnd::Perhaps, m_now);
    m_now += 1000;
    read(101, 1);
    scanEnds();
    EXPECT_EQ(state(0), TagState::Stale);
    EXPECT_TRUE(m_board.at(0).reason.startsWith("perhaps written: "));
    m_now += 1000;
    read(100, 1);
    read(101, 1);
    scanEnds();
    EXPECT_EQ(state(0), TagState::Fresh);
}

TEST_F(HostTagBoard, halfReadBeforeAWriteTaken_leavesItPending) {
    tags({tagAt("DM", 100, 2)});
    read(100, 1);
    read(101, 1);
    scanEnds();
    m_now += 1000;
    read(100, 1);
    m_board.writeBegun({"DM", 100, 1});
    m_words = {{100, 5}}; // the driver shows it, though it has not been read
    m_board.writeEnded({"DM", 100, 1}, TagBoard::WriteEnd::Taken, m_now);
    m_now += 1000;
    read(101, 1);
    scanEnds();
    EXPECT_TRUE(m_board.at(0).pending);
    EXPECT_EQ(*m_board.at(0).value(), (Items{0, 0}));
    read(100, 1);
    read(101, 1);
    scanEnds();
    EXPECT_FALSE(m_board.at(0).pending);
    EXPECT_EQ(*m_board.at(0).value(), (Items{5, 0}));
}

TEST_F(HostTagBoard, halfReadAfterAWrite_counts) {
    tags({tagAt("DM", 100, 2), tagAt("DM_bit", 100 * 16, 20, ValueType::Bool)});
    read(100, 1);
    m_now += 1000;
    m_board.writeBegun({"DM", 101, 1});
    m_board.writeEnded({"DM", 101, 1}, TagBoard::WriteEnd::Perhaps, m_now);
    const WrittenItems otherBits({"DM", 101, 1}, 101 * 16 + 8, 4);
    m_now += 1000;
    read(101, 1);
    m_board.writeBegun(otherBits);
    m_board.writeEnded(otherBits, TagBoard::WriteEnd::Taken, m_now);
    scanEnds();
    EXPECT_EQ(state(0), TagState::NotRead);
    EXPECT_EQ(state(1), TagState::Fresh) << "none of its bits was written since";
}

TEST_F(HostTagBoard, halfReadBeforeAFailedReadOfIt_isNoPartOfAFreshValue) {
    tags({tagAt("DM", 100, 2)});
    read(100, 1);
    m_now += 1000;
    fail(100, 1);
    m_now += 1000;
    read(101, 1);
    scanEnds();
    EXPECT_EQ(state(0), TagState::NotRead);
    EXPECT_EQ(plain(m_board.at(0).reason), "no answer");
}

} // namespace
