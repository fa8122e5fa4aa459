#include "panel/tag_board.h"

#include "panel/text.h"

#include <gtest/gtest.h>

using namespace panel;

namespace {

const qint64 SECOND = 1000000;
const qint64 STALE_AFTER = 2 * SECOND;

Tag wordTag(const char* name, int address, ValueType type = ValueType::Uint16) {
    Tag tag;
    tag.name = name;
    tag.reg = "DM";
    tag.address = address;
    tag.type = type;
    return tag;
}

Settled readOf(int address, int length, bool ok = true) {
    Settled settled;
    settled.ok = ok;
    settled.reg = "DM";
    settled.address = address;
    settled.length = length;
    return settled;
}

/// A board over a PLC whose words all hold `value`.
class Board : public testing::Test {
protected:
    QVector<TagEvent> refresh(TagBoard* board, qint64 now) {
        return board->refresh([this](const Tag& tag) { return Items(tag.itemCount(), m_value); },
                              now);
    }

    quint16 m_value = 0;
};

TEST_F(Board, beforeTheFirstRead_isNotReadAndHasNoValue) {
    TagBoard board({wordTag("a", 100)}, STALE_AFTER);
    EXPECT_TRUE(refresh(&board, SECOND).isEmpty());
    EXPECT_EQ(board.at(0).state, TagState::NotRead);
    EXPECT_TRUE(board.at(0).items.isEmpty());
}

TEST_F(Board, firstRead_isToldEvenIfTheValueIsZero) {
    TagBoard board({wordTag("a", 100)}, STALE_AFTER);
    board.readSettled(readOf(90, 20), "", SECOND);
    const QVector<TagEvent> events = refresh(&board, SECOND);
    ASSERT_EQ(events.size(), 1);
    EXPECT_EQ(events.first().kind, TagEvent::Value);
    EXPECT_EQ(board.at(0).state, TagState::Fresh);
    EXPECT_EQ(board.at(0).items, Items{0});
    EXPECT_EQ(board.at(0).changes, 0);
}

TEST_F(Board, halfOfItsWordsRead_isStillNotRead) {
    TagBoard board({wordTag("a", 100, ValueType::Uint32)}, STALE_AFTER);
    board.readSettled(readOf(90, 11), "", SECOND); // up to DM 100
    refresh(&board, SECOND);
    EXPECT_EQ(board.at(0).state, TagState::NotRead);
    board.readSettled(readOf(101, 5), "", SECOND);
    refresh(&board, SECOND);
    EXPECT_EQ(board.at(0).state, TagState::Fresh);
}

TEST_F(Board, otherRegister_isNoRead) {
    TagBoard board({wordTag("a", 100)}, STALE_AFTER);
    Settled settled = readOf(100, 1);
    settled.reg = "HR";
    board.readSettled(settled, "", SECOND);
    refresh(&board, SECOND);
    EXPECT_EQ(board.at(0).state, TagState::NotRead);
}

TEST_F(Board, announcedChange_isFetchedAndCounted) {
    TagBoard board({wordTag("a", 100)}, STALE_AFTER);
    board.readSettled(readOf(100, 1), "", SECOND);
    refresh(&board, SECOND);
    m_value = 7;
    board.valueChanged("DM", 100);
    EXPECT_EQ(refresh(&board, SECOND).size(), 1);
    EXPECT_EQ(board.at(0).items, Items{7});
    EXPECT_EQ(board.at(0).changes, 1);
}

TEST_F(Board, changeOfAnotherWord_isNotFetched) {
    TagBoard board({wordTag("a", 100)}, STALE_AFTER);
    board.readSettled(readOf(100, 1), "", SECOND);
    refresh(&board, SECOND);
    m_value = 7;
    board.valueChanged("DM", 101);
    EXPECT_TRUE(refresh(&board, SECOND).isEmpty());
}

TEST_F(Board, changeOfABit_touchesTheTagOfItsWord) {
    TagBoard board({wordTag("a", 100)}, STALE_AFTER);
    board.readSettled(readOf(100, 1), "", SECOND);
    refresh(&board, SECOND);
    m_value = 1;
    board.valueChanged("DM_bit", 1600); // word 100, bit 0
    EXPECT_EQ(refresh(&board, SECOND).size(), 1);
}

TEST_F(Board, failedRequest_makesItStaleAtOnceAndTellsOnce) {
    TagBoard board({wordTag("a", 100)}, STALE_AFTER);
    board.readSettled(readOf(100, 1), "", SECOND);
    refresh(&board, SECOND);
    board.readSettled(readOf(100, 1, false), "no answer", SECOND + 10);
    const QVector<TagEvent> events = refresh(&board, SECOND + 10);
    ASSERT_EQ(events.size(), 1);
    EXPECT_EQ(events.first().kind, TagEvent::NowStale);
    EXPECT_EQ(board.at(0).state, TagState::Stale);
    EXPECT_EQ(plain(board.at(0).reason), "no answer");
    board.readSettled(readOf(100, 1, false), "no answer", SECOND + 20);
    EXPECT_TRUE(refresh(&board, SECOND + 20).isEmpty());
}

TEST_F(Board, readAfterFailure_isFreshAgainAndTold) {
    TagBoard board({wordTag("a", 100)}, STALE_AFTER);
    board.readSettled(readOf(100, 1), "", SECOND);
    refresh(&board, SECOND);
    board.readSettled(readOf(100, 1, false), "no answer", 2 * SECOND);
    refresh(&board, 2 * SECOND);
    board.readSettled(readOf(100, 1), "", 3 * SECOND);
    ASSERT_EQ(refresh(&board, 3 * SECOND).size(), 1);
    EXPECT_EQ(board.at(0).state, TagState::Fresh);
    EXPECT_EQ(plain(board.at(0).reason), "");
}

TEST_F(Board, notRefreshedForTooLong_isStale) {
    TagBoard board({wordTag("a", 100)}, STALE_AFTER);
    board.readSettled(readOf(100, 1), "", SECOND);
    refresh(&board, SECOND);
    refresh(&board, SECOND + STALE_AFTER);
    EXPECT_EQ(board.at(0).state, TagState::Fresh);
    refresh(&board, SECOND + STALE_AFTER + 1);
    EXPECT_EQ(board.at(0).state, TagState::Stale);
}

TEST_F(Board, staleWhileThePlcIsSilent_saysSoAndSinceWhen) {
    TagBoard board({wordTag("a", 100)}, STALE_AFTER);
    board.readSettled(readOf(100, 1), "", SECOND);
    refresh(&board, SECOND);
    refresh(&board, 4 * SECOND);
    EXPECT_EQ(plain(board.at(0).reason), "not refreshed");
    EXPECT_EQ(board.at(0).failingSince, SECOND);
    board.linkFails("no answer: 1 try", 2 * SECOND);
    board.linkFails("no answer: 2 tries", 3 * SECOND);
    refresh(&board, 4 * SECOND);
    EXPECT_EQ(plain(board.at(0).reason), "no answer: 2 tries");
    EXPECT_EQ(board.at(0).failingSince, 2 * SECOND);
    board.linkAnswers();
    refresh(&board, 4 * SECOND);
    EXPECT_EQ(plain(board.at(0).reason), "not refreshed");
}

TEST_F(Board, neverReadWhileThePlcIsSilent_saysSo) {
    TagBoard board({wordTag("a", 100)}, STALE_AFTER);
    board.linkFails("no answer: 1 try", 2 * SECOND);
    EXPECT_TRUE(refresh(&board, 3 * SECOND).isEmpty());
    EXPECT_EQ(board.at(0).state, TagState::NotRead);
    EXPECT_EQ(plain(board.at(0).reason), "no answer: 1 try");
    EXPECT_EQ(board.at(0).failingSince, 2 * SECOND);
}

TEST_F(Board, ownFailure_isKeptWhileThePlcIsSilent) {
    TagBoard board({wordTag("a", 100)}, STALE_AFTER);
    board.readSettled(readOf(100, 1, false), "refused: end code 1103", SECOND);
    board.linkFails("no answer", 2 * SECOND);
    refresh(&board, 3 * SECOND);
    EXPECT_EQ(plain(board.at(0).reason), "refused: end code 1103");
}

TEST_F(Board, failingAgain_isSinceTheFirstFailure) {
    TagBoard board({wordTag("a", 100)}, STALE_AFTER);
    Settled failure = readOf(100, 1, false);
    failure.waited = SECOND;
    board.readSettled(failure, "no answer", 3 * SECOND);
    board.readSettled(failure, "no answer", 5 * SECOND);
    refresh(&board, 5 * SECOND);
    EXPECT_EQ(board.at(0).failingSince, 2 * SECOND);
}

TEST_F(Board, failureBeforeTheFirstRead_isToldOnceWithItsReason) {
    TagBoard board({wordTag("a", 100)}, STALE_AFTER);
    board.readSettled(readOf(100, 1, false), "refused", SECOND);
    const QVector<TagEvent> events = refresh(&board, SECOND);
    ASSERT_EQ(events.size(), 1);
    EXPECT_EQ(events.first().kind, TagEvent::Unreadable);
    EXPECT_EQ(plain(board.at(0).reason), "refused");
    EXPECT_TRUE(refresh(&board, SECOND).isEmpty());
}

/// Of a value in two words the first read brings one new word beside an old one.
TEST_F(Board, tagReadInTwoPieces_isFetchedAtTheEndOfTheScanOnly) {
    TagBoard board({wordTag("a", 100, ValueType::Uint32)}, STALE_AFTER);
    const auto fetch = [this](const Tag&) { return Items(2, m_value); };
    board.readSettled(readOf(90, 11), "", SECOND);
    board.readSettled(readOf(101, 5), "", SECOND);
    EXPECT_TRUE(board.refresh(fetch, SECOND, Occasion::Read).isEmpty());
    EXPECT_EQ(board.at(0).state, TagState::NotRead);
    EXPECT_EQ(board.refresh(fetch, SECOND, Occasion::ScanEnd).size(), 1);
    EXPECT_EQ(board.at(0).items, Items({0, 0}));

    m_value = 7;
    board.valueChanged("DM", 100);
    board.readSettled(readOf(90, 11), "", SECOND);
    EXPECT_TRUE(board.refresh(fetch, SECOND, Occasion::Read).isEmpty());
    EXPECT_TRUE(board.refresh(fetch, SECOND, Occasion::Timer).isEmpty());
    EXPECT_EQ(board.at(0).items, Items({0, 0}));
    EXPECT_EQ(board.refresh(fetch, SECOND, Occasion::ScanEnd).size(), 1);
    EXPECT_EQ(board.at(0).items, Items({7, 7}));
}

TEST_F(Board, tagReadInOnePiece_isFetchedAfterTheRead) {
    TagBoard board({wordTag("a", 100, ValueType::Uint32)}, STALE_AFTER);
    const auto fetch = [](const Tag&) { return Items({7, 7}); };
    board.readSettled(readOf(90, 20), "", SECOND);
    EXPECT_EQ(board.refresh(fetch, SECOND, Occasion::Read).size(), 1);
    EXPECT_EQ(board.at(0).items, Items({7, 7}));
}

TEST_F(Board, tagInPieces_whoseSecondReadFails_isStaleBeforeTheScanEnds) {
    TagBoard board({wordTag("a", 100, ValueType::Uint32)}, STALE_AFTER);
    board.readSettled(readOf(100, 1), "", SECOND);
    board.readSettled(readOf(101, 1), "", SECOND);
    refresh(&board, SECOND);
    board.readSettled(readOf(101, 1, false), "refused", SECOND + 1);
    const QVector<TagEvent> events =
        board.refresh([](const Tag&) { return Items(); }, SECOND + 1, Occasion::Read);
    ASSERT_EQ(events.size(), 1);
    EXPECT_EQ(events.first().kind, TagEvent::NowStale);
}

TEST_F(Board, refreshAfterARead_tellsSeveralTagsInTheirOrder) {
    TagBoard board({wordTag("a", 100), wordTag("b", 200), wordTag("c", 101)}, STALE_AFTER);
    board.readSettled(readOf(200, 1), "", SECOND);
    board.readSettled(readOf(100, 2), "", SECOND);
    const QVector<TagEvent> events =
        board.refresh([](const Tag&) { return Items{1}; }, SECOND, Occasion::Read);
    ASSERT_EQ(events.size(), 3);
    EXPECT_EQ(events.at(0).index, 0);
    EXPECT_EQ(events.at(1).index, 1);
    EXPECT_EQ(events.at(2).index, 2);
}

TEST_F(Board, allFresh_needsEveryTag) {
    TagBoard board({wordTag("a", 100), wordTag("b", 200)}, STALE_AFTER);
    board.readSettled(readOf(100, 1), "", SECOND);
    refresh(&board, SECOND);
    EXPECT_FALSE(board.allFresh());
    board.readSettled(readOf(200, 1), "", SECOND);
    refresh(&board, SECOND);
    EXPECT_TRUE(board.allFresh());
}

} // namespace
