// What a write makes of the tags that it concerns, until they have been read again.

#include "host/plain_text.h"
#include "host/tag_board_fixture.h"

using namespace tag_board;

namespace {

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

} // namespace
