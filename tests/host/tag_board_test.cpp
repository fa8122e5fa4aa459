// What is known of each tag: neither what is not known nor what has grown old looks like a value.

#include "host/plain_text.h"
#include "host/tag_board_fixture.h"

using namespace tag_board;

namespace {

TEST_F(HostTagBoard, valueThatGrewOld_limitBecomesLonger_isFreshOnlyWhenReadAgain) {
    tags({tagAt("DM", 100), tagAt("DM", 200)});
    read(100, 1);
    pass(LIMIT / 2);
    read(200, 1);
    pass(LIMIT / 2 + 1);
    ASSERT_EQ(state(0), TagState::Stale);
    ASSERT_EQ(state(1), TagState::Fresh);
    m_board.timePasses(m_now, 10 * LIMIT); // scans that take long, because the PLC is silent
    EXPECT_EQ(state(0), TagState::Stale);
    EXPECT_EQ(state(1), TagState::Fresh);
    read(100, 1);
    EXPECT_EQ(state(0), TagState::Fresh);
}

TEST_F(HostTagBoard, beforeTheFirstRead_isNotReadAndHasNoValue) {
    tags({tagAt("DM", 100)});
    EXPECT_EQ(state(0), TagState::NotRead);
    EXPECT_FALSE(m_board.at(0).value().has_value());
    EXPECT_TRUE(m_board.at(0).lastRead().isEmpty());
    EXPECT_EQ(m_board.at(0).readAt, -1);
    EXPECT_FALSE(m_board.allFresh());
}

TEST_F(HostTagBoard, firstRead_isToldEvenIfTheValueIsZero) {
    tags({tagAt("DM", 100)});
    read(90, 20);
    EXPECT_EQ(m_board.takeChanged(), QVector<int>{0});
    EXPECT_EQ(shown(0), 0);
    EXPECT_EQ(m_board.at(0).readAt, m_now);
    EXPECT_EQ(m_board.at(0).changes, 0);
    EXPECT_TRUE(m_board.allFresh());
}

TEST_F(HostTagBoard, announcedChange_isFetchedWithTheNextReading) {
    tags({tagAt("DM", 100)});
    read(100, 1);
    m_board.takeChanged();
    m_value = 7;
    m_board.valueChanged("DM", 100);
    read(100, 1);
    EXPECT_EQ(shown(0), 7);
    EXPECT_EQ(m_board.at(0).changes, 1);
    EXPECT_EQ(m_board.at(0).changedAt, m_now);
    EXPECT_EQ(m_board.takeChanged(), QVector<int>{0});
}

TEST_F(HostTagBoard, nothingAnnounced_isNotFetchedAgain) {
    tags({tagAt("DM", 100)});
    read(100, 1);
    m_board.takeChanged();
    m_board.valueChanged("DM", 101);
    m_board.valueChanged("HR", 100);
    read(100, 1);
    EXPECT_EQ(m_fetches, 1);
    EXPECT_TRUE(m_board.takeChanged().isEmpty());
}

TEST_F(HostTagBoard, bits_areTakenOutOfTheirWords) {
    tags({tagAt("DM_bit", 100 * 16 + 14, 4, ValueType::Bool)});
    m_words = {{100, 0x8000}, {101, 0x0001}};
    read(100, 2);
    EXPECT_EQ(*m_board.at(0).value(), (Items{0, 1, 1, 0}));
    m_words[101] = 0x0003;
    m_board.valueChanged("DM_bit", 101 * 16 + 1);
    read(100, 2);
    EXPECT_EQ(*m_board.at(0).value(), (Items{0, 1, 1, 1}));
}

TEST_F(HostTagBoard, failedRequest_makesItStaleAtOnceWithItsReason) {
    tags({tagAt("DM", 100), tagAt("DM", 200)});
    read(100, 101);
    m_board.takeChanged();
    m_now += 10;
    fail(90, 20);
    EXPECT_EQ(state(0), TagState::Stale);
    EXPECT_FALSE(m_board.at(0).value().has_value());
    EXPECT_EQ(m_board.at(0).lastRead(), Items{0});
    EXPECT_EQ(plain(m_board.at(0).reason), "no answer");
    EXPECT_EQ(state(1), TagState::Fresh);
    EXPECT_EQ(m_board.takeChanged(), QVector<int>{0});
}

TEST_F(HostTagBoard, failureOfATagNeverRead_isToldOnce) {
    tags({tagAt("DM", 100)});
    fail(100, 1);
    EXPECT_EQ(state(0), TagState::NotRead);
    EXPECT_EQ(plain(m_board.at(0).reason), "no answer");
    EXPECT_EQ(m_board.takeChanged(), QVector<int>{0});
    m_now += SECOND;
    fail(100, 1);
    EXPECT_TRUE(m_board.takeChanged().isEmpty());
}

TEST_F(HostTagBoard, readAgain_isFreshAndTheReasonIsGone) {
    tags({tagAt("DM", 100)});
    read(100, 1);
    m_now += 10;
    fail(100, 1);
    m_now += 10;
    read(100, 1);
    EXPECT_EQ(state(0), TagState::Fresh);
    EXPECT_TRUE(m_board.at(0).reason.isEmpty());
    EXPECT_EQ(m_board.at(0).since, -1);
}

TEST_F(HostTagBoard, notReadForLong_growsStale) {
    tags({tagAt("DM", 100)});
    read(100, 1);
    pass(LIMIT);
    EXPECT_EQ(state(0), TagState::Fresh);
    m_board.takeChanged();
    pass(1);
    EXPECT_EQ(state(0), TagState::Stale);
    EXPECT_EQ(m_board.takeChanged(), QVector<int>{0});
    EXPECT_EQ(plain(m_board.at(0).reason), "not refreshed");
}

TEST_F(HostTagBoard, linkThatFails_isTheReasonOfWhatGrowsOld) {
    tags({tagAt("DM", 100)});
    read(100, 1);
    m_board.linkFails("no answer: 1 try", m_now + 5);
    m_board.linkFails("no answer: 2 tries", m_now + 7);
    EXPECT_EQ(state(0), TagState::Fresh);
    pass(LIMIT + 1);
    EXPECT_EQ(plain(m_board.at(0).reason), "no answer: 2 tries");
    EXPECT_EQ(m_board.at(0).since, 10 * SECOND + 5);
    m_board.linkAnswers();
    pass(1);
    EXPECT_EQ(plain(m_board.at(0).reason), "not refreshed");
}

TEST_F(HostTagBoard, reasonOfAnotherKind_beginsAnewAndOneOfTheSameKindGoesOn) {
    tags({tagAt("DM", 100)});
    read(100, 1);
    const WordRange word = {"DM", 100, 1};
    m_now += SECOND;
    m_board.readFailed(word, "no answer: 1 try", m_now - 10, m_now);
    const qint64 silent = m_now - 10;
    m_now += 1000;
    m_board.readFailed(word, "no answer: 3 tries", m_now - 10, m_now);
    EXPECT_EQ(m_board.at(0).since, silent);
    m_now += 1000;
    m_board.readFailed(word, "port unreachable: nothing listens", m_now - 10, m_now);
    EXPECT_EQ(m_board.at(0).since, m_now - 10);
    m_now += 1000;
    m_board.writeBegun(word);
    m_board.writeEnded(word, TagBoard::WriteEnd::Perhaps, m_now);
    EXPECT_TRUE(m_board.at(0).reason.startsWith("perhaps written: "));
    EXPECT_EQ(m_board.at(0).since, m_now);
}

TEST_F(HostTagBoard, linkThatFailsOtherwise_beginsAnew) {
    tags({tagAt("DM", 100)});
    m_board.linkFails("no answer: 1 try", m_now);
    m_board.linkFails("cannot send: no route", m_now + 5);
    m_board.linkFails("cannot send: no interface", m_now + 7);
    pass(10);
    EXPECT_EQ(plain(m_board.at(0).reason), "cannot send: no interface");
    EXPECT_EQ(m_board.at(0).since, 10 * SECOND + 5);
}

TEST_F(HostTagBoard, failureOfItsOwnWhileTheLinkFailsSo_holdsSinceTheLinkFails) {
    tags({tagAt("DM", 100)});
    read(100, 1);
    const qint64 silent = m_now + 5;
    m_board.linkFails("no answer: 1 try", silent);
    pass(LIMIT + 1);
    EXPECT_EQ(m_board.at(0).since, silent);
    m_board.writeEnded({"DM", 100, 1}, TagBoard::WriteEnd::Perhaps, m_now);
    EXPECT_EQ(m_board.at(0).since, m_now);
    m_now += SECOND;
    m_board.readFailed({"DM", 100, 1}, "no answer: 3 tries", m_now - 10, m_now);
    EXPECT_EQ(m_board.at(0).since, silent);
}

// --- Refused -------------------------------------------------------------------------------------

QVector<RefusedRange> refusing(int address, int endCode) {
    RefusedRange range;
    range.range = {"DM", address, 1};
    range.refusal.endCode = endCode;
    range.refusal.refused = true;
    return {range};
}

QString nameOf(const RequestEnd& end) {
    return QStringLiteral("refused: %1").arg(end.endCode, 4, 16);
}

TEST_F(HostTagBoard, refused_hasNoValueButItsEndCode) {
    tags({tagAt("DM", 100), tagAt("DM", 101)});
    read(100, 2);
    m_board.takeChanged();
    m_board.setRefused(refusing(100, 0x1103), nameOf, m_now);
    EXPECT_EQ(state(0), TagState::Refused);
    EXPECT_EQ(m_board.at(0).endCode, 0x1103);
    EXPECT_EQ(plain(m_board.at(0).reason), "refused: 1103");
    EXPECT_FALSE(m_board.at(0).value().has_value());
    EXPECT_EQ(m_board.takeChanged(), QVector<int>{0});
    pass(10 * SECOND);
    fail(100, 1);
    EXPECT_EQ(state(0), TagState::Refused);
    EXPECT_EQ(plain(m_board.at(0).reason), "refused: 1103");
}

TEST_F(HostTagBoard, refusedWithAnotherEndCode_saysTheNewOne) {
    tags({tagAt("DM", 100)});
    m_board.setRefused(refusing(100, 0x1103), nameOf, m_now);
    m_board.takeChanged();
    m_board.setRefused(refusing(100, 0x3001), nameOf, m_now + 5);
    EXPECT_EQ(m_board.at(0).endCode, 0x3001);
    EXPECT_EQ(plain(m_board.at(0).reason), "refused: 3001");
}

TEST_F(HostTagBoard, released_isNotFreshUntilItIsRead) {
    tags({tagAt("DM", 100)});
    read(100, 1);
    m_now += 1000;
    fail(100, 1);
    m_board.setRefused(refusing(100, 0x1103), nameOf, m_now);
    m_now += 1000; // well within the staleness limit of the old reading
    m_board.setRefused({}, nameOf, m_now);
    EXPECT_EQ(state(0), TagState::Stale);
    EXPECT_EQ(m_board.at(0).endCode, -1);
    EXPECT_EQ(plain(m_board.at(0).reason), "not refreshed");
    m_now += 1000;
    read(100, 1);
    EXPECT_EQ(state(0), TagState::Fresh);
}

TEST_F(HostTagBoard, releasedWithoutEverHavingBeenRead_isNotRead) {
    tags({tagAt("DM", 100)});
    fail(100, 1);
    m_board.setRefused(refusing(100, 0x1103), nameOf, m_now);
    m_now += 1000;
    m_board.setRefused({}, nameOf, m_now);
    EXPECT_EQ(state(0), TagState::NotRead);
}

// --- Many tags -----------------------------------------------------------------------------------

TEST_F(HostTagBoard, longTagBeforeShortOnes_isFoundByAReadBehindIt) {
    tags({tagAt("DM", 500), tagAt("DM", 100, 300), tagAt("DM", 390)});
    read(100, 300);
    EXPECT_EQ(state(1), TagState::Fresh);
    EXPECT_EQ(state(2), TagState::Fresh);
    EXPECT_EQ(state(0), TagState::NotRead);
    m_now += 10;
    fail(399, 1);
    EXPECT_EQ(state(1), TagState::Stale);
    EXPECT_EQ(state(2), TagState::Fresh);
}

TEST_F(HostTagBoard, oneRead_isFetchedOnceForAllItsTags) {
    QVector<Tag> list;
    for (int address = 0; address < 50; ++address) {
        list.append(tagAt("DM", address));
    }
    tags(list);
    read(0, 50);
    EXPECT_EQ(m_fetches, 1);
    EXPECT_TRUE(m_board.allFresh());
}

} // namespace
