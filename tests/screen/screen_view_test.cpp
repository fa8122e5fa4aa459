#include "panel/screen/screen_view.h"

#include "screen/fake_model.h"
#include "screen/utf8.h"

#include <gtest/gtest.h>

#include <memory>

using namespace panel::screen;

namespace {

const qint64 SECOND = 1000000;
const int WIDTH = 80;
const int HEIGHT = 24;

class View : public testing::Test {
protected:
    /// Tags of these names, all fresh.
    void start(const QStringList& names) {
        for (const QString& name : names) {
            m_model.add(name);
        }
        m_model.addPlc("P1");
        m_view = std::make_unique<ScreenView>(m_model, true);
    }

    void key(Key key) { m_view->keyPressed(key, QString()); }
    void type(const QString& text) {
        for (const QChar character : text) {
            m_view->keyPressed(Key::Text, QString(character));
        }
    }

    QStringList lines(int height = HEIGHT) {
        const Grid grid = m_view->picture(WIDTH, height);
        QStringList result;
        for (int y = 0; y < grid.height(); ++y) {
            result.append(grid.line(y));
        }
        return result;
    }

    std::string lastLine() { return plain(lines().last()); }
    std::string title() { return plain(lines().first()); }

    /// The names in the table, the selected one with a ">" before it.
    QString names() {
        QStringList result;
        for (const QString& line : lines().mid(2, static_cast<int>(m_model.m_tags.size()))) {
            const QString name = line.mid(3).section(' ', 0, 0);
            if (!name.isEmpty()) {
                result.append(line.startsWith('>') ? '>' + name : name);
            }
        }
        return result.join(' ');
    }

    void pass(qint64 time) {
        for (qint64 end = m_model.m_now + time; m_model.m_now < end;) {
            m_model.m_now += History::SAMPLE_MS * 1000;
            m_view->tick();
        }
    }

    FakeModel m_model;
    std::unique_ptr<ScreenView> m_view;
};

TEST_F(View, arrowsPagesHomeAndEnd_select) {
    QStringList all;
    for (int index = 0; index < 60; ++index) {
        all.append(QString("t%1").arg(index));
    }
    start(all);
    lines();
    key(Key::Down);
    EXPECT_TRUE(names().contains(">t1 "));
    key(Key::PageDown); // a page is 24 lines but for title, header, two of the link and the message
    EXPECT_TRUE(lines().join('\n').contains(">  t20 "));
    key(Key::End);
    EXPECT_TRUE(lines().join('\n').contains(">  t59 "));
    key(Key::Down);
    EXPECT_TRUE(lines().join('\n').contains(">  t59 "));
    key(Key::PageUp);
    key(Key::Up);
    EXPECT_TRUE(lines().join('\n').contains(">  t39 "));
    key(Key::Home);
    EXPECT_TRUE(lines().join('\n').contains(">  t0 "));
}

TEST_F(View, enterAndAValue_writesTheSelectedTag) {
    start({"level", "speed"});
    key(Key::Down);
    key(Key::Enter);
    EXPECT_EQ(lastLine(), "write speed (DM 1, uint16):");
    type("12q");
    EXPECT_FALSE(m_view->isOver());
    key(Key::Backspace);
    EXPECT_EQ(lastLine(), "write speed (DM 1, uint16): 12");
    const Grid grid = m_view->picture(WIDTH, HEIGHT);
    EXPECT_EQ(grid.cursorX, 30);
    EXPECT_EQ(grid.cursorY, HEIGHT - 1);
    key(Key::Enter);
    EXPECT_EQ(plain(m_model.m_written), "speed=12");
    EXPECT_EQ(lastLine(), "writing speed ...");
}

TEST_F(View, escapeOrNothingTyped_writesNothing) {
    start({"level"});
    key(Key::Enter);
    type("5");
    key(Key::Escape);
    key(Key::Enter);
    key(Key::Enter);
    EXPECT_EQ(plain(m_model.m_written), "");
}

TEST_F(View, refusedValue_isToldAndKeptForMending) {
    start({"level", "speed"});
    m_model.m_refusal = "a whole number from 0 to 65535";
    key(Key::Enter);
    type("7x");
    key(Key::Enter);
    EXPECT_EQ(lastLine(), "a whole number from 0 to 65535");
    key(Key::Enter);
    EXPECT_EQ(lastLine(), "write level (DM 0, uint16): 7x");
    key(Key::Escape);
    key(Key::Enter); // left once, it begins anew
    EXPECT_EQ(lastLine(), "write level (DM 0, uint16):");
}

TEST_F(View, refusedValue_isNotOfferedToAnotherTag) {
    start({"level", "speed"});
    m_model.m_refusal = "no";
    key(Key::Enter);
    type("7");
    key(Key::Enter);
    key(Key::Down);
    key(Key::Enter);
    EXPECT_EQ(lastLine(), "write speed (DM 1, uint16):");
}

TEST_F(View, exclamationMarkBehindTheValue_forcesWhereThereAreLimits) {
    m_model.add("level").label.high = 90;
    start({"text"});
    key(Key::Enter);
    EXPECT_EQ(lastLine(), "write level (DM 0, uint16, high 90):");
    type("95!");
    key(Key::Enter);
    EXPECT_EQ(plain(m_model.m_written), "level=95 forced");
    key(Key::Down);
    key(Key::Enter);
    type("halt!");
    key(Key::Enter);
    EXPECT_EQ(plain(m_model.m_written), "text=halt!");
}

TEST_F(View, longTypedText_showsItsEnd) {
    start({"level"});
    key(Key::Enter);
    type(QString("0123456789").repeated(12));
    EXPECT_EQ(lastLine().substr(0, 3), "...");
    EXPECT_EQ(lastLine().size(), 79U);
    EXPECT_EQ(m_view->picture(WIDTH, HEIGHT).cursorX, 79);
}

TEST_F(View, filter_narrowsWhileItIsTyped) {
    start({"oil_level", "speed", "level"});
    type("/l");
    EXPECT_EQ(plain(names()), ">oil_level level");
    type("ev");
    EXPECT_EQ(lastLine(), "filter by name: lev");
    key(Key::Enter);
    EXPECT_EQ(plain(names()), ">oil_level level");
    EXPECT_NE(title().find("filter \"lev\": 2 of 3"), std::string::npos);
    key(Key::Escape);
    EXPECT_EQ(plain(names()), ">oil_level speed level");
}

TEST_F(View, filterThatHidesTheSelectedTag_selectsTheFirstShown) {
    start({"a1", "b1", "b2"});
    type("/b");
    EXPECT_EQ(plain(names()), ">b1 b2");
    key(Key::Down);
    EXPECT_EQ(plain(names()), "b1 >b2");
    key(Key::Escape);
    EXPECT_EQ(plain(names()), "a1 b1 >b2");
}

TEST_F(View, filterThatFindsNothing_leavesNothingToWrite) {
    start({"a"});
    type("/xyz");
    key(Key::Enter);
    key(Key::Enter);
    type("5");
    key(Key::Enter);
    type(" t");
    EXPECT_EQ(plain(m_model.m_written), "");
    EXPECT_TRUE(lines().join('\n').contains("no name holds \"xyz\""));
    key(Key::Escape);
    EXPECT_EQ(plain(names()), ">a");
}

TEST_F(View, sort_cycles) {
    start({"b", "c", "a"});
    m_model.m_tags[0].status.readAt = m_model.m_now - 5 * SECOND;
    m_model.m_tags[2].status.changedAt = m_model.m_now;
    type("s");
    EXPECT_EQ(plain(names()), "a >b c");
    EXPECT_NE(title().find("by name"), std::string::npos);
    key(Key::Down);
    type("s");
    EXPECT_EQ(plain(names()), ">b c a"); // the oldest is what was asked for
    type("s");
    EXPECT_EQ(plain(names()), ">a b c");
    type("s");
    EXPECT_EQ(plain(names()), "b c >a");
}

TEST_F(View, sortByAge_followsTheAgesOnceASecond) {
    start({"a", "b"});
    type("ss");
    m_model.m_tags[0].status.readAt = m_model.m_now;
    m_model.m_tags[1].status.readAt = m_model.m_now - 9 * SECOND;
    EXPECT_EQ(plain(names()), ">a b");
    pass(SECOND);
    EXPECT_EQ(plain(names()), "b >a");
}

TEST_F(View, reasonOfTheSelectedTag_standsOnTheLastLine) {
    start({"a", "b"});
    m_model.m_tags[1].texts.reason = "no answer for 2.6 s";
    EXPECT_NE(lastLine().find("? help"), std::string::npos);
    key(Key::Down);
    EXPECT_EQ(lastLine(), "no answer for 2.6 s");
}

TEST_F(View, longReason_isWrappedAndNothingIsLost) {
    start({"a"});
    m_model.m_tags[0].texts.reason =
        "writing DM 5 (1 word) failed: the PLC refused: end code 2101 read-only, the area cannot "
        "be written from outside the PLC";
    const QStringList shown = lines();
    EXPECT_EQ(plain(shown.at(22) + " " + shown.at(23)), plain(m_model.m_tags[0].texts.reason));
}

TEST_F(View, valueThatIsCut_isWholeOnTheLastLineWhenSelected) {
    start({"a"});
    m_model.m_tags[0].texts.value = "1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20 21 22";
    EXPECT_EQ(lastLine(), "a  DM 0  1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20 21 22");
}

TEST_F(View, noteAndWarning_standForAWhile) {
    start({"a"});
    m_view->note("written: DM 0 (1 word)");
    EXPECT_EQ(lastLine(), "written: DM 0 (1 word)");
    m_view->warn("writing failed");
    m_model.m_now += 5 * SECOND;
    EXPECT_EQ(lastLine(), "writing failed");
    m_model.m_now += SECOND;
    EXPECT_NE(lastLine().find("? help"), std::string::npos);
}

TEST_F(View, keysRightAfterARefusal_leaveItToBeRead) {
    start({"a", "b"});
    type("t");
    m_view->warn("writing failed");
    type("o");
    EXPECT_EQ(lastLine(), "writing failed");
    type("t");
    EXPECT_EQ(lastLine(), "writing failed");
    key(Key::Down);
    EXPECT_EQ(lastLine(), "writing failed");
    m_model.m_now += 2 * SECOND;
    EXPECT_EQ(lastLine(), "writing failed"); // it goes with a key, or later
    key(Key::Up);
    EXPECT_NE(lastLine().find("? help"), std::string::npos);
}

TEST_F(View, keyAfterANote_clearsIt) {
    start({"a", "b"});
    m_view->note("written: DM 0 (1 word)");
    key(Key::Down);
    EXPECT_NE(lastLine().find("? help"), std::string::npos);
}

TEST_F(View, messageWhileTyping_standsAboveTheQuestion) {
    start({"a"});
    key(Key::Enter);
    m_view->warn("writing failed");
    type("5");
    EXPECT_EQ(lastLine(), "write a (DM 0, uint16): 5");
    EXPECT_EQ(plain(lines().at(HEIGHT - 2)), "writing failed");
    EXPECT_EQ(m_view->picture(WIDTH, HEIGHT).cursorY, HEIGHT - 1);
    m_model.m_now += MessageLine::WARNING_TIME;
    EXPECT_NE(plain(lines().at(HEIGHT - 2)), "writing failed");
}

TEST_F(View, trend_showsTheMarkedTags) {
    start({"a", "b", "c"});
    type(" ");
    key(Key::End);
    type(" ");
    EXPECT_NE(title().find("2 marked"), std::string::npos);
    pass(3 * SECOND);
    type("t");
    EXPECT_EQ(title(), "trend of 2 tags, last 2 minutes   x: no fresh value");
    const QStringList shown = lines();
    EXPECT_TRUE(shown.at(1).startsWith("a  DM 0  0"));
    EXPECT_EQ(shown.filter("c  DM 2  2").size(), 1);
    type("t");
    EXPECT_EQ(plain(names()), "a b >c");
    type("u");
    EXPECT_EQ(title().find("marked"), std::string::npos);
}

TEST_F(View, trendWithNothingMarked_isOfTheSelectedTag) {
    start({"a", "b"});
    key(Key::Down);
    type("t");
    EXPECT_TRUE(lines().at(1).startsWith("b  DM 1"));
    type("+");
    EXPECT_NE(title().find("last 1 minute "), std::string::npos);
    type("---");
    EXPECT_NE(title().find("last 10 minutes"), std::string::npos);
    key(Key::Escape);
    EXPECT_EQ(plain(names()), "a >b");
}

TEST_F(View, valueGoneStale_isAGapInTheTrend) {
    start({"a"});
    pass(30 * SECOND);
    m_model.m_tags[0].status.state = TagState::Stale;
    pass(30 * SECOND);
    type("t+");
    const QString bottom = lines().at(21);
    // The chart is 69 columns wide: the second half of the minute is stale.
    EXPECT_TRUE(bottom.endsWith(QString("x").repeated(33))) << plain(bottom);
    EXPECT_FALSE(bottom.contains(QString("x").repeated(37))) << plain(bottom);
}

TEST_F(View, trendOnOneScale_arrowsBringTheOtherTags) {
    QStringList all;
    for (int index = 0; index < 22; ++index) {
        all.append(QString("t%1").arg(index));
    }
    start(all);
    for (int index = 0; index < 22; ++index) {
        type(" ");
        key(Key::Down);
    }
    type("to");
    EXPECT_NE(title().find("tags 1-14 of 22"), std::string::npos) << title();
    key(Key::Down);
    EXPECT_NE(title().find("tags 2-15 of 22"), std::string::npos) << title();
    key(Key::PageDown);
    EXPECT_NE(title().find("tags 9-22 of 22"), std::string::npos) << title();
    key(Key::PageUp);
    EXPECT_NE(title().find("tags 1-14 of 22"), std::string::npos) << title();
}

TEST_F(View, counterOf32Bits_risesInTheTrend) {
    start({"counter"});
    for (int second = 0; second < 15; ++second) {
        m_model.m_tags[0].status.number = 1000000001.0 + second;
        pass(SECOND);
    }
    type("t+");
    int drawn = 0;
    for (const QString& line : lines().mid(2, 20)) {
        drawn += line.mid(11).trimmed().isEmpty() ? 0 : 1;
    }
    EXPECT_GE(drawn, 15); // of twenty, on a scale from ...000 to ...015
}

TEST_F(View, textTag_isNoGapInTheTrend) {
    start({"a"});
    m_model.m_tags[0].status.number.reset();
    pass(5 * SECOND);
    type("t");
    EXPECT_FALSE(lines().mid(1, 21).join("").contains('x'));
    EXPECT_TRUE(lines().join("").contains("no number was read"));
}

TEST_F(View, help_isShownUntilTheNextKey) {
    start({"a"});
    type("?");
    EXPECT_TRUE(lines().join('\n').contains("Enter   write the selected tag"));
    EXPECT_TRUE(lines().join('\n').contains("any key: back"));
    type("q");
    EXPECT_FALSE(m_view->isOver());
    EXPECT_FALSE(lines().join('\n').contains("any key: back"));
}

TEST_F(View, helpInALowWindow_comesInPages) {
    start({"a"});
    type("?");
    QString all;
    for (int page = 0; page < 3; ++page) {
        all += lines(12).join('\n');
        type("x");
    }
    EXPECT_TRUE(all.contains("any key: more"));
    for (const QString& line : helpLines()) {
        EXPECT_TRUE(all.contains(line)) << plain(line);
    }
    EXPECT_FALSE(lines(12).join('\n').contains("any key"));
}

TEST_F(View, q_quitsFromTableAndTrend) {
    start({"a"});
    type("t");
    EXPECT_FALSE(m_view->isOver());
    type("q");
    EXPECT_TRUE(m_view->isOver());
}

TEST_F(View, noTags_isNoCrash) {
    start({});
    for (const Key each : {Key::Up, Key::Down, Key::PageUp, Key::End, Key::Enter, Key::Escape}) {
        key(each);
    }
    type(" tsu/");
    EXPECT_EQ(lines().size(), HEIGHT);
}

} // namespace
