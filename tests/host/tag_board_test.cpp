// What is known of each tag: neither what is not known nor what has grown old looks like a value.

#include "host/plain_text.h"
#include "host/poll/tag_board.h"

#include <gtest/gtest.h>

using namespace velkor_host;

namespace {

const qint64 SECOND = 1000000;
const qint64 LIMIT = 2 * SECOND;

Tag tagAt(const char* reg, int address, int count = 1, ValueType type = ValueType::Uint16) {
    Tag tag;
    tag.reg = reg;
    tag.address = address;
    tag.count = count;
    tag.type = type;
    return tag;
}

class HostTagBoard : public testing::Test {
protected:
    void tags(const QVector<Tag>& list) {
        m_board = TagBoard(list);
        m_board.timePasses(m_now, LIMIT);
    }
    FetchFunction fetch() {
        return [this](const WordRange& range) {
            ++m_fetches;
            Items items;
            for (int word = range.address; word < range.end(); ++word) {
                items.append(m_words.value(word, m_value));
            }
            return items;
        };
    }
    void read(int address, int length) {
        m_board.wordsRead({"DM", address, length}, fetch(), m_now, m_now);
    }
    void fail(int address, int length) {
        m_board.readFailed({"DM", address, length}, "no answer", m_now, m_now);
    }
    void scanEnds() { m_board.scanEnded(fetch(), m_now); }
    void pass(qint64 time) {
        m_now += time;
        m_board.timePasses(m_now, LIMIT);
    }
    TagState state(int index) const { return m_board.at(index).state; }
    /// The fresh value's first item; -1: none is shown.
    int shown(int index) const {
        const std::optional<Items> value = m_board.at(index).value();
        return value && !value->isEmpty() ? value->first() : -1;
    }

    TagBoard m_board;
    qint64 m_now = 10 * SECOND;
    quint16 m_value = 0;
    QHash<int, quint16> m_words;
    int m_fetches = 0;
};

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

// --- Tags that come in several reads -------------------------------------------------------------

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

// --- Writes --------------------------------------------------------------------------------------

TEST_F(HostTagBoard, readingWhileTheDriverWrites_isPassedOver) {
    tags({tagAt("DM", 100), tagAt("DM", 101)});
    m_value = 1;
    read(100, 2);
    m_now += 1000;
    m_board.setInDriversHands({"DM", 100, 1});
    m_value = 2;
    m_board.valueChanged("DM", 100);
    m_board.valueChanged("DM", 101);
    read(100, 2);
    EXPECT_EQ(shown(0), 1);
    EXPECT_EQ(m_board.at(0).readAt, m_now - 1000);
    EXPECT_EQ(shown(1), 2);
    m_board.setInDriversHands(WordRange());
    read(100, 2);
    EXPECT_EQ(shown(0), 2);
}

TEST_F(HostTagBoard, pieceReadWhileTheDriverWrites_makesNoWholeValue) {
    tags({tagAt("DM", 100, 2)});
    m_value = 1;
    read(100, 1);
    m_board.setInDriversHands({"DM", 101, 1});
    read(101, 1);
    m_board.setInDriversHands(WordRange());
    scanEnds();
    EXPECT_EQ(state(0), TagState::NotRead);
}

TEST_F(HostTagBoard, writes_arePendingUntilTheLastIsSettledAndTheTagIsReadAgain) {
    tags({tagAt("DM", 100), tagAt("DM_bit", 100 * 16, 1, ValueType::Bool), tagAt("DM", 102)});
    read(100, 3);
    m_board.takeChanged();
    m_board.takePendingChanged();
    m_board.writeBegun({"DM", 100, 1});
    m_board.writeBegun({"DM", 99, 2});
    EXPECT_EQ(m_board.takePendingChanged(), (QVector<int>{0, 1}));
    EXPECT_TRUE(m_board.at(0).pending);
    EXPECT_FALSE(m_board.at(2).pending);
    EXPECT_EQ(shown(0), 0); // the value is still the one last read
    m_board.writeEnded({"DM", 100, 1}, TagBoard::WriteEnd::Taken, m_now);
    EXPECT_TRUE(m_board.at(0).pending);
    read(100, 3); // the other write has not been settled
    EXPECT_TRUE(m_board.at(0).pending);
    EXPECT_TRUE(m_board.takePendingChanged().isEmpty());
    m_board.writeEnded({"DM", 99, 2}, TagBoard::WriteEnd::Taken, m_now);
    EXPECT_TRUE(m_board.at(0).pending); // the PLC holds another value than was read
    read(100, 3);
    EXPECT_FALSE(m_board.at(0).pending);
    EXPECT_EQ(m_board.takePendingChanged(), (QVector<int>{0, 1}));
    EXPECT_TRUE(m_board.takeChanged().isEmpty()) << "neither state nor value has changed";
}

TEST_F(HostTagBoard, writeNotExecuted_isPendingNoLonger) {
    tags({tagAt("DM", 100)});
    read(100, 1);
    m_board.writeBegun({"DM", 100, 1});
    m_board.writeEnded({"DM", 100, 1}, TagBoard::WriteEnd::NotExecuted, m_now);
    EXPECT_FALSE(m_board.at(0).pending);
    EXPECT_EQ(state(0), TagState::Fresh);
}

TEST_F(HostTagBoard, writePerhapsExecuted_isStaleUntilTheTagIsReadAgain) {
    tags({tagAt("DM", 100)});
    read(100, 1);
    m_now += 1000;
    m_board.writeBegun({"DM", 100, 1});
    m_board.writeEnded({"DM", 100, 1}, TagBoard::WriteEnd::Perhaps, m_now);
    EXPECT_FALSE(m_board.at(0).pending);
    EXPECT_EQ(state(0), TagState::Stale);
    EXPECT_TRUE(m_board.at(0).reason.startsWith("perhaps written: "));
    m_now += 1000;
    read(100, 1);
    EXPECT_EQ(state(0), TagState::Fresh);
}

TEST_F(HostTagBoard, writeOfBits_concernsTheTagsOfTheseBitsAndOfTheirWords) {
    const int bit = 100 * 16 + 4;
    tags({tagAt("DM_bit", bit - 1, 1, ValueType::Bool), tagAt("DM_bit", bit, 1, ValueType::Bool),
          tagAt("DM_bit", bit + 1, 1, ValueType::Bool),
          tagAt("DM_bit", bit + 2, 1, ValueType::Bool),
          tagAt("DM_bit", bit - 3, 4, ValueType::Bool), tagAt("DM", 100), tagAt("DM", 101)});
    read(100, 2);
    m_board.takeChanged();
    m_board.takePendingChanged();
    const WrittenItems twoBits({"DM", 100, 1}, bit, 2);
    const QVector<int> concerned = {1, 2, 4, 5};
    m_board.writeBegun(twoBits);
    EXPECT_EQ(m_board.takePendingChanged(), concerned);
    m_board.writeEnded(twoBits, TagBoard::WriteEnd::Taken, m_now);
    for (int index = 0; index < 7; ++index) {
        EXPECT_EQ(m_board.at(index).pending, concerned.contains(index)) << index;
    }
    m_now += 1000;
    m_board.writeBegun(twoBits);
    m_board.writeEnded(twoBits, TagBoard::WriteEnd::Perhaps, m_now);
    EXPECT_EQ(m_board.takeChanged(), concerned);
    for (int index = 0; index < 7; ++index) {
        EXPECT_EQ(state(index) == TagState::Stale, concerned.contains(index)) << index;
    }
}

TEST_F(HostTagBoard, afterAWrite_theNextReadingIsFetched) {
    tags({tagAt("DM", 100)});
    read(100, 1);
    m_value = 5; // the driver has announced it while it had the write in its hands, or not at all
    m_board.writeBegun({"DM", 100, 1});
    m_board.writeEnded({"DM", 100, 1}, TagBoard::WriteEnd::Taken, m_now);
    EXPECT_EQ(shown(0), 0);
    read(100, 1);
    EXPECT_EQ(shown(0), 5);
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
