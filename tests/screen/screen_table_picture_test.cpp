#include "panel/picture/table_picture.h"

#include "screen/fake_model.h"
#include "screen/utf8.h"

#include <gtest/gtest.h>

using namespace panel::screen;

namespace {

const qint64 SECOND = 1000000;

TEST(ScreenSparkline, risingValues_climbFromLowestToHighest) {
    EXPECT_EQ(plain(sparkline({0, 1, 2, 3, 4, 5, 6, 7}, 8, true)), u8"▁▂▃▄▅▆▇█");
    EXPECT_EQ(plain(sparkline({0, 1, 2, 3, 4, 5, 6, 7}, 8, false)), "_.-:=+*#");
}

TEST(ScreenSparkline, steadyValue_isALowLine) {
    EXPECT_EQ(plain(sparkline({5, 5, 5}, 8, true)), u8"▁▁▁");
}

TEST(ScreenSparkline, moreValuesThanRoom_showsTheLast) {
    EXPECT_EQ(plain(sparkline({9, 9, 0, 1}, 2, true)), u8"▁█");
}

TagNow status(TagState state, Limit limit = Limit::Inside, bool pending = false) {
    TagNow result;
    result.state = state;
    result.limit = limit;
    result.pending = pending;
    return result;
}

TEST(StateWord, everyState_hasAWordOfItsOwn) {
    EXPECT_EQ(plain(stateWord(status(TagState::Fresh))), "");
    EXPECT_EQ(plain(stateWord(status(TagState::Stale))), "stale");
    EXPECT_EQ(plain(stateWord(status(TagState::Refused))), "refused");
    EXPECT_EQ(plain(stateWord(status(TagState::NotRead))), "not read");
    EXPECT_EQ(plain(stateWord(status(TagState::Fresh, Limit::Below))), "LOW");
    EXPECT_EQ(plain(stateWord(status(TagState::Fresh, Limit::Above))), "HIGH");
    EXPECT_EQ(plain(stateWord(status(TagState::Fresh, Limit::BelowAndAbove))), "LOW+HIGH");
    EXPECT_EQ(plain(stateWord(status(TagState::Fresh, Limit::NoNumber))), "NO NUM");
    EXPECT_EQ(plain(stateWord(status(TagState::Fresh, Limit::Inside, true))), "writing");
}

TEST(StateWord, staleValueOutsideItsLimits_isStale) {
    EXPECT_EQ(plain(stateWord(status(TagState::Stale, Limit::Above))), "stale");
    EXPECT_EQ(stateInk(status(TagState::Stale, Limit::Above)), Ink::Stale);
}

TEST(ShownValue, valueThatIsNotFresh_neverLooksLikeOne) {
    EXPECT_EQ(plain(shownValue(status(TagState::Fresh), "42 mm")), "42 mm");
    EXPECT_EQ(plain(shownValue(status(TagState::Stale), "42 mm")), "(42 mm)");
    EXPECT_EQ(plain(shownValue(status(TagState::Refused), "42 mm")), "(42 mm)");
    EXPECT_EQ(plain(shownValue(status(TagState::Refused), "")), "-");
    EXPECT_EQ(plain(shownValue(status(TagState::NotRead), "0")), "-");
    EXPECT_EQ(plain(shownValue(status(TagState::Stale, Limit::Inside, true), "42")), "(42)");
}

class TablePicture : public testing::Test {
protected:
    TableInput input(int width, int height, int selected = 0) const {
        TableInput result;
        result.title = "title";
        result.allTags = m_model.tagCount();
        QVector<TagLabel> labels;
        for (int tag = 0; tag < m_model.tagCount(); ++tag) {
            result.tags.append(tag);
            labels.append(m_model.label(tag));
        }
        result.selected = selected;
        result.widths = naturalWidths(labels, m_model.plcs().size() > 1);
        result.plcs = m_model.plcs();
        result.message = QStringList("message");
        result.width = width;
        result.height = height;
        result.now = m_model.now();
        result.label = [this](int tag) { return m_model.label(tag); };
        result.status = [this](int tag) { return m_model.status(tag); };
        result.texts = [this](int tag) { return m_model.texts(tag); };
        result.recent = [](int) { return QVector<double>{1, 2}; };
        result.isMarked = [](int) { return false; };
        return result;
    }

    std::string line(int y, int width = 100, int height = 24) const {
        return plain(tablePicture(input(width, height)).line(y));
    }

    FakeModel m_model;
};

TEST_F(TablePicture, oneTag_showsItsColumns) {
    FakeTag& tag = m_model.add("level");
    tag.status.readAt = m_model.now() - 1500000;
    tag.status.changes = 12;
    m_model.addPlc("P1");
    EXPECT_EQ(line(0), "title");
    EXPECT_EQ(line(1, 120),
              "   NAME   ADDRESS  STATE     VALUE                                         "
              "AGE  CHANGES  LAST VALUES");
    EXPECT_EQ(line(2, 120),
              u8">  level  DM 0               0                                           "
              u8"1.5 s       12  ▁█");
    EXPECT_EQ(line(23), "message");
}

TEST_F(TablePicture, noRoomForTheGraphsHeading_leavesTheGraphOut) {
    m_model.add("the_level_of_the_northern_tank");
    m_model.addPlc("P1");
    for (int width = 60; width <= 120; ++width) {
        EXPECT_EQ(line(1, width).find(u8"\u2026"), std::string::npos) << line(1, width);
    }
    EXPECT_NE(line(1, 120).find("LAST VALUES"), std::string::npos);
}

TEST_F(TablePicture, statesOfTags_standInLineAndAreMarked) {
    m_model.add("a").status.state = TagState::Stale;
    m_model.add("b").status.state = TagState::Refused;
    m_model.add("c").status.state = TagState::NotRead;
    m_model.add("d").status.limit = Limit::Above;
    const TableInput table = input(80, 24);
    const Grid grid = tablePicture(table);
    const int x = static_cast<int>(grid.line(1).indexOf("STATE"));
    const QStringList words{"stale", "refused", "not read", "HIGH"};
    const Ink inks[] = {Ink::Stale, Ink::Refused, Ink::NotRead, Ink::Outside};
    for (int row = 0; row < 4; ++row) {
        EXPECT_EQ(plain(grid.line(2 + row).mid(x, words.at(row).size())), plain(words.at(row)));
        EXPECT_EQ(grid.at(x, 2 + row).style.ink, inks[row]);
    }
}

TEST_F(TablePicture, selectedTag_isMarkedWithoutColourToo) {
    m_model.add("a");
    m_model.add("b");
    TableInput table = input(80, 24, 1);
    table.isMarked = [](int tag) { return tag == 1; };
    const Grid grid = tablePicture(table);
    EXPECT_TRUE(grid.line(2).startsWith("   a"));
    EXPECT_TRUE(grid.line(3).startsWith(">* b"));
    EXPECT_FALSE(grid.at(0, 2).style.inverse);
    EXPECT_TRUE(grid.at(79, 3).style.inverse);
}

TEST_F(TablePicture, wideNames_keepTheColumnsInLine) {
    m_model.add(u8"タンク水位");
    m_model.add(u8"re\u0301gulateur");
    const Grid grid = tablePicture(input(80, 24));
    const int x = textWidth("   ") + 10 + 1; // both names are ten columns wide
    EXPECT_EQ(plain(grid.at(x, 2).text), "D");
    EXPECT_EQ(plain(grid.at(x, 3).text), "D");
}

TEST_F(TablePicture, longNameAndValue_areCutVisiblyAndKnownToBe) {
    m_model.add("a_name_of_more_than_forty_characters_is_never_whole");
    m_model.add("b").texts.value = QString("1 ").repeated(60);
    m_model.add("c");
    const TableInput table = input(80, 24);
    const Grid grid = tablePicture(table);
    EXPECT_TRUE(grid.line(2).contains(u8"… ")) << plain(grid.line(2));
    EXPECT_TRUE(grid.line(3).contains(u8"1… ") || grid.line(3).contains(u8" … "))
        << plain(grid.line(3));
    EXPECT_TRUE(isCut(table, 0));
    EXPECT_TRUE(isCut(table, 1));
    EXPECT_FALSE(isCut(table, 2));
}

TEST_F(TablePicture, severalPlcs_haveAColumn) {
    m_model.addPlc("P1");
    m_model.addPlc("P2");
    m_model.add("a");
    EXPECT_EQ(line(1).substr(0, 13), "   PLC  NAME ");
    EXPECT_EQ(line(2).substr(0, 13), ">  P1   a    ");
}

TEST_F(TablePicture, moreTagsThanLines_keepsTheSelectedOneVisible) {
    for (int tag = 0; tag < 100; ++tag) {
        m_model.add(QString("tag%1").arg(tag));
    }
    for (const int selected : {0, 7, 49, 99}) {
        const Grid grid = tablePicture(input(80, 13, selected));
        bool found = false;
        for (int y = 0; y < 13; ++y) {
            found = found || grid.line(y).startsWith(QString(">  tag%1 ").arg(selected));
        }
        EXPECT_TRUE(found) << selected;
    }
    // 13 lines hold 10 tags.
    EXPECT_EQ(plain(tablePicture(input(40, 13, 49)).line(0)),
              "title                  rows 41-50 of 100");
}

TEST_F(TablePicture, filterOrderAndMarks_areToldInTheTitle) {
    m_model.add("a");
    TableInput table = input(80, 24);
    table.filter = "lev";
    table.allTags = 43;
    table.order = "by age";
    table.marked = 2;
    EXPECT_TRUE(tablePicture(table).line(0).endsWith("filter \"lev\": 1 of 43  by age  2 marked"));
}

TEST_F(TablePicture, filterThatFindsNothing_saysSo) {
    m_model.add("a");
    TableInput table = input(80, 24, -1);
    table.tags.clear();
    table.filter = "xyz";
    EXPECT_EQ(plain(tablePicture(table).line(2)), "   no name holds \"xyz\"; Escape shows all");
}

TEST_F(TablePicture, anyWindow_holdsTheSelectedTagAndTheMessage) {
    for (int tag = 0; tag < 30; ++tag) {
        m_model.add(QString("t%1").arg(tag));
    }
    m_model.addPlc("P1");
    for (const int width : {1, 5, 20, 40, 79, 200}) {
        for (const int height : {2, 3, 4, 5, 6, 24}) {
            const Grid grid = tablePicture(input(width, height, 29));
            EXPECT_EQ(grid.width(), width);
            EXPECT_EQ(grid.height(), height);
            int selected = 0;
            for (int y = 0; y < height; ++y) {
                selected += grid.line(y).startsWith(">") ? 1 : 0;
            }
            EXPECT_EQ(selected, 1) << width << "x" << height;
            EXPECT_TRUE(grid.line(height - 1).startsWith("m")) << width << "x" << height;
        }
    }
}

TEST(StatusLines, onePlc_hasCountsAndEndCode) {
    PlcStatus plc;
    plc.roundTrip = 4200;
    plc.roundTrip99 = 11900;
    plc.retries = 1;
    plc.failures = 2;
    EXPECT_EQ(statusLines({plc}, 100, 6, true, 0),
              QStringList({"round trip 4.20 ms (99 %: 11.90 ms)   0.0 exchanges/s   1 retry   "
                           "2 failures   0 dropped",
                           "last end code none yet"}));
}

TEST(StatusLines, narrowScreen_losesNothing) {
    PlcStatus plc;
    plc.lastEndCode = "0000 normal";
    plc.lastEndCodeAt = 8 * SECOND;
    plc.silentSince = 9 * SECOND;
    plc.lastError = "1103 address out of range";
    plc.lastErrorAt = 7 * SECOND;
    EXPECT_EQ(statusLines({plc}, 60, 6, true, 10 * SECOND),
              QStringList({"round trip - (99 %: -)   0.0 exchanges/s   0 retries",
                           "0 failures   0 dropped",
                           "last end code 0000 normal, 2.0 s ago   no answer for 1.0 s",
                           "last error 1103 address out of range, 3.0 s ago"}));
}

TEST(StatusLines, nothingCanBeSent_isSaidBesideTheSilence) {
    PlcStatus plc;
    plc.silentSince = 9 * SECOND;
    plc.cannotSend = true;
    EXPECT_TRUE(statusLines({plc}, 80, 6, true, 10 * SECOND)
                    .last()
                    .endsWith("no answer for 1.0 s, cannot send"));
}

TEST(StatusLines, manyPlcs_silentOnesComeFirstAndTheRestIsCounted) {
    QVector<PlcStatus> plcs(8);
    for (int index = 0; index < plcs.size(); ++index) {
        plcs[index].name = QString("P%1").arg(index);
        plcs[index].lastEndCode = "0000 normal";
    }
    plcs[5].silentSince = 7 * SECOND;
    plcs[5].lastEndCodeAt = 6 * SECOND;
    plcs[6].silentSince = 7 * SECOND;
    const QStringList lines = statusLines(plcs, 200, 2, true, 10 * SECOND);
    ASSERT_EQ(lines.size(), 2);
    EXPECT_TRUE(lines.at(0).startsWith("P5   no answer for 3.0 s   0000 normal, 4.0 s ago"))
        << plain(lines.at(0));
    EXPECT_EQ(plain(lines.at(1)), "and 7 PLCs more, 1 of them silent");
    EXPECT_EQ(statusLines(plcs, 200, 8, true, 10 * SECOND).size(), 8);
}

} // namespace
