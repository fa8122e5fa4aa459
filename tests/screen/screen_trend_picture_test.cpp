#include "panel/trend/trend_picture.h"

#include "screen/utf8.h"

#include <QtCore/QRegularExpression>
#include <QtCore/QSet>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace panel::screen;

namespace {

/// "v" rises by 1 from sample to sample, "x" is a gap, "." was not looked at.
QVector<Sample> samples(const QString& kinds) {
    QVector<Sample> result;
    for (int index = 0; index < kinds.size(); ++index) {
        const QChar kind = kinds.at(index);
        result.append({kind == 'v'   ? Sample::Value
                       : kind == 'x' ? Sample::Gap
                                     : Sample::None,
                       static_cast<double>(index)});
    }
    return result;
}

TrendTag tag(const QString& name, const QVector<Sample>& values) {
    TrendTag result;
    result.label.name = name;
    result.label.address = "DM 1";
    result.status.state = TagState::Fresh;
    result.value = "7 l";
    result.samples = values;
    return result;
}

/// Ten columns of chart, eight lines of it.
TrendInput input(const QVector<TrendTag>& tags, bool unicode) {
    TrendInput result;
    result.tags = tags;
    result.width = 21;
    result.height = 12;
    result.message = QStringList("m");
    result.unicode = unicode;
    result.seconds = 60;
    return result;
}

QStringList chart(const TrendInput& trend) {
    const Grid grid = trendPicture(trend);
    QStringList lines;
    for (int y = 2; y < 10; ++y) {
        lines.append(grid.line(y));
    }
    return lines;
}

TEST(TrendPicture, risingValues_climbWithTheirScale) {
    // 0 to 9 on a scale from 0 to 10: a value v stands (10 - v) * 0.7 lines below the top.
    const QStringList expected{"        10+",        "          |        **", "          |       *",
                               "          |      *", "         5+    **",     "          |   *",
                               "          | **",     "         0+*"};
    EXPECT_EQ(plain(chart(input({tag("level", samples("vvvvvvvvvv"))}, false)).join('\n')),
              plain(expected.join('\n')));
}

TEST(TrendPicture, gap_isLeftOpenAndMarked) {
    // Ten samples, ten columns: the seventh and eighth had no fresh value.
    const QStringList lines = chart(input({tag("level", samples("vvvvvvxxvv"))}, false));
    for (int y = 0; y < 7; ++y) {
        EXPECT_EQ(plain(lines.at(y).mid(17, 2)).find_first_not_of(' '), std::string::npos)
            << plain(lines.at(y));
    }
    EXPECT_EQ(plain(lines.at(7).mid(17, 2)), "xx");
}

/// Twenty samples in ten columns: the seventh column has a value and a gap, the eighth a gap alone.
QVector<Sample> shortGap(double value) {
    QVector<Sample> result = samples("vvvvvvvvvvvvvxxxvvvv");
    for (Sample& sample : result) {
        sample.value = value;
    }
    return result;
}

TEST(TrendPicture, gapBesideAValueOnTheLastLine_showsBoth) {
    for (const bool unicode : {false, true}) {
        for (const bool oneScale : {false, true}) {
            for (const double value : {0.0, 1.0}) {
                TrendInput trend = input({tag("switch", shortGap(value))}, unicode);
                trend.oneScale = oneScale;
                const QStringList lines = chart(trend);
                EXPECT_EQ(plain(lines.at(7).mid(11)), "      xx") << unicode << oneScale << value;
                EXPECT_NE(lines.at(value == 0 ? 6 : 0).mid(17, 1), " ")
                    << unicode << oneScale << value;
            }
        }
    }
}

TEST(TrendPicture, gapOfAnotherTagOnOneScale_hidesNoValue) {
    TrendInput trend =
        input({tag("closed", samples("vvvvxxxxvv")), tag("open", samples("vvvvvvvvvv"))}, false);
    for (TrendTag& each : trend.tags) {
        for (Sample& sample : each.samples) {
            sample.value = 0;
        }
    }
    trend.oneScale = true;
    const Grid grid = trendPicture(trend);
    EXPECT_EQ(plain(grid.line(8).mid(15)), "bbbbab");
    EXPECT_EQ(plain(grid.line(9)), "               xxxx");
}

TEST(TrendPicture, gapInTheLowestWindow_isSeen) {
    TrendInput trend = input({tag("switch", shortGap(0))}, false);
    trend.height = 4; // title, tag, one line of chart, time
    trend.message.clear();
    EXPECT_EQ(plain(trendPicture(trend).line(2).mid(17, 2)), "xx");
}

TEST(TrendPicture, valuesBesideAGap_areNotJoined) {
    QVector<Sample> values = samples("vvvvvxvvvv");
    for (int index = 0; index < 5; ++index) {
        values[index].value = 0;
    }
    for (int index = 6; index < 10; ++index) {
        values[index].value = 8;
    }
    const QStringList lines = chart(input({tag("level", values)}, false));
    // On a scale from 0 to 10, 8 stands on the second line.
    EXPECT_EQ(plain(lines.at(1)), "          |      ****");
    for (int y = 2; y < 6; ++y) {
        EXPECT_FALSE(lines.at(y).mid(11).contains('|')) << plain(lines.at(y));
        EXPECT_FALSE(lines.at(y).mid(11).contains('*')) << plain(lines.at(y));
    }
}

TEST(TrendPicture, momentsBeforeTheStart_areNoGaps) {
    EXPECT_FALSE(chart(input({tag("level", samples("....vvvvvv"))}, false)).join("").contains('x'));
}

TEST(TrendPicture, limits_areDrawnAndNamed) {
    TrendTag limited = tag("level", samples("vvvvvvvv"));
    limited.label.low = 2;
    limited.label.high = 14;
    const QString all = chart(input({limited}, false)).join('\n');
    EXPECT_TRUE(all.contains("   high 14+--")) << plain(all);
    EXPECT_TRUE(all.contains("     low 2+")) << plain(all);
}

TEST(TrendPicture, longLimit_hasRoomInEveryStrip) {
    TrendTag limited = tag("level", samples("vvvvvvvv"));
    limited.label.high = 1180.5;
    TrendTag other = tag("speed", samples("vvvvvvvv"));
    TrendInput trend = input({limited, other}, false);
    trend.width = 80;
    trend.height = 24;
    const Grid grid = trendPicture(trend);
    QStringList lines;
    for (int y = 0; y < 24; ++y) {
        lines.append(grid.line(y));
    }
    const QString all = lines.join('\n');
    EXPECT_TRUE(all.contains("\nhigh 1180.5+-")) << plain(all);
    EXPECT_TRUE(all.contains("\n          0+*")) << plain(all); // both begin at one column
    EXPECT_EQ(lines.filter(QRegularExpression("^.{11}[+|]")).size(), 19) << plain(all);
}

TEST(TrendPicture, limitWithoutRoom_isNamedWithoutANumber) {
    TrendTag limited = tag("level", samples("vvvvvvvv"));
    limited.label.high = 1180.5;
    const QString all = chart(input({limited}, false)).join('\n');
    EXPECT_TRUE(all.contains("      high+--")) << plain(all);
    EXPECT_FALSE(all.contains("118")) << plain(all);
}

TEST(TrendPicture, risingCounter_climbsWithTicksThatTellItsDigits) {
    QVector<Sample> values = samples("vvvvvvvvvvvvvvv");
    for (Sample& sample : values) {
        sample.value += 1000000001;
    }
    TrendInput trend = input({tag("counter", values)}, false);
    trend.width = 26;
    const QStringList lines = chart(trend);
    EXPECT_EQ(plain(lines.first()), "1000000020+");
    EXPECT_EQ(plain(lines.last().left(13)), "1000000000+*");
    EXPECT_TRUE(lines.at(2).endsWith('*')) << plain(lines.join('\n')); // ...015
}

TEST(TrendPicture, oneScale_drawsLimitsAndGapsToo) {
    TrendTag limited = tag("level", samples("vvvvvvxxvv"));
    limited.label.low = 2;
    limited.label.high = 14;
    TrendInput trend = input({tag("speed", samples("vvvvvvvvvv")), limited}, false);
    trend.oneScale = true;
    const Grid grid = trendPicture(trend);
    QStringList lines;
    for (int y = 3; y < 11; ++y) {
        lines.append(grid.line(y));
    }
    const QString all = lines.join('\n');
    EXPECT_TRUE(all.contains(" b high 14+-")) << plain(all);
    EXPECT_TRUE(all.contains("   b low 2+")) << plain(all);
    EXPECT_TRUE(all.contains("xx")) << plain(all);
    EXPECT_TRUE(all.contains('a')) << plain(all);
}

TEST(TrendPicture, unicode_drawsFinerThanCells) {
    // 0 to 19 on a scale from 0 to 20, in 32 lines of dots: 0 stands on dot line 31, 1 on 29,
    // joined by 30, and 2 on 28.
    const QVector<Sample> values = samples("vvvvvvvvvvvvvvvvvvvv");
    const QStringList lines = chart(input({tag("level", values)}, true));
    EXPECT_TRUE(lines.last().startsWith(u8"         0┤⡰⠁")) << plain(lines.last());
}

TEST(TrendPicture, headOfAStrip_tellsValueAndState) {
    TrendTag stale = tag("level", samples("vv"));
    stale.status.state = TagState::Stale;
    TrendInput trend = input({stale}, false);
    trend.width = 60;
    EXPECT_EQ(plain(trendPicture(trend).line(1)), "level  DM 1  (7 l)  stale");
}

TEST(TrendPicture, headOfATagWithSeveralValues_saysThatTheFirstIsDrawn) {
    TrendTag several = tag("valves", samples("vv"));
    several.label.values = 16;
    several.value = "1 0 0 1 0 0 0 0 0 0 1 0 0 1 0 0";
    several.status.state = TagState::Stale;
    TrendInput trend = input({several}, false);
    trend.width = 80;
    EXPECT_EQ(plain(trendPicture(trend).line(1)),
              "valves  DM 1  first of 16 drawn: (1 0 0 1 0 0 ~  stale");
}

TEST(TrendPicture, noNumber_isSaid) {
    TrendInput trend = input({tag("text", samples("...."))}, false);
    trend.width = 60;
    EXPECT_EQ(plain(trendPicture(trend).line(2).trimmed()), "no number was read in this time");
}

TEST(TrendPicture, moreStripsThanFit_sayWhichAreShown) {
    QVector<TrendTag> tags;
    for (int index = 0; index < 7; ++index) {
        tags.append(tag(QString("t%1").arg(index), samples("vv")));
    }
    TrendInput trend = input(tags, false);
    trend.width = 80;
    trend.height = 24;
    trend.first = 3;
    EXPECT_EQ(tagsThatFit(trend), 4);
    const Grid grid = trendPicture(trend);
    EXPECT_TRUE(grid.line(0).endsWith("tags 4-7 of 7"));
    EXPECT_TRUE(grid.line(1).startsWith("t3 "));
    EXPECT_EQ(plain(grid.line(23)), "m");
}

TEST(TrendPicture, tagsThatMeetOnOneScale_areAllSeen) {
    const QVector<Sample> values = samples("vvvvvvvvvv");
    TrendInput trend = input({tag("one", values), tag("two", values), tag("three", values)}, false);
    for (TrendTag& each : trend.tags) {
        for (Sample& sample : each.samples) {
            sample.value = 0;
        }
    }
    trend.oneScale = true;
    EXPECT_EQ(plain(trendPicture(trend).line(9)), "         0+abcabcabca");
}

TEST(TrendPicture, moreTagsOnOneScaleThanFit_sayWhichAreShown) {
    QVector<TrendTag> tags;
    for (int index = 0; index < 22; ++index) {
        tags.append(tag(QString("t%1").arg(index), samples("vv")));
    }
    TrendInput trend = input(tags, false);
    trend.width = 80;
    trend.height = 24;
    trend.oneScale = true;
    EXPECT_EQ(tagsThatFit(trend), 14);
    Grid grid = trendPicture(trend);
    EXPECT_TRUE(grid.line(0).endsWith("tags 1-14 of 22")) << plain(grid.line(0));
    EXPECT_TRUE(grid.line(14).startsWith("n t13 ")) << plain(grid.line(14));
    EXPECT_FALSE(grid.line(15).contains("t14"));
    trend.first = 8;
    grid = trendPicture(trend);
    EXPECT_TRUE(grid.line(0).endsWith("tags 9-22 of 22")) << plain(grid.line(0));
    EXPECT_TRUE(grid.line(1).startsWith("i t8 ")) << plain(grid.line(1));
    EXPECT_TRUE(grid.line(14).startsWith("v t21 ")) << plain(grid.line(14));
}

TEST(TrendPicture, manyTagsOnOneScale_haveALetterEach) {
    QVector<TrendTag> tags;
    for (int index = 0; index < 60; ++index) {
        tags.append(tag(QString("t%1").arg(index), samples("vv")));
    }
    TrendInput trend = input(tags, false);
    trend.width = 80;
    trend.height = 200;
    trend.oneScale = true;
    const Grid grid = trendPicture(trend);
    EXPECT_TRUE(grid.line(0).endsWith("tags 1-50 of 60")) << plain(grid.line(0));
    QSet<QChar> letters;
    for (int y = 1; y <= 50; ++y) {
        letters.insert(grid.line(y).at(0));
    }
    EXPECT_EQ(letters.size(), 50);
    EXPECT_FALSE(letters.contains('x')); // that marks a gap
}

TEST(TrendPicture, oneScale_drawsEachTagWithItsLetter) {
    QVector<Sample> high = samples("vvvvvvvvvv");
    for (Sample& sample : high) {
        sample.value = 20;
    }
    TrendInput trend = input({tag("level", samples("vvvvvvvvvv")), tag("limit", high)}, false);
    trend.oneScale = true;
    const Grid grid = trendPicture(trend);
    EXPECT_TRUE(grid.line(1).startsWith("a level"));
    EXPECT_TRUE(grid.line(2).startsWith("b limit"));
    EXPECT_EQ(plain(grid.line(3)), "        20+bbbbbbbbbb");
    EXPECT_TRUE(grid.line(9).endsWith("0+aa")) << plain(grid.line(9));
}

TEST(TrendPicture, time_endsNow) {
    TrendInput trend = input({tag("level", samples("vv"))}, false);
    trend.width = 80;
    const QString axis = trendPicture(trend).line(10);
    EXPECT_TRUE(axis.contains("-1:00")) << plain(axis);
    EXPECT_TRUE(axis.contains("-0:30"));
    EXPECT_TRUE(axis.endsWith("now"));
}

TEST(TrendPicture, anyWindowAndAnyNumbers_areDrawn) {
    TrendTag wild = tag("wild", samples("vxv.v"));
    wild.samples[0].value = std::numeric_limits<double>::max();
    wild.samples[2].value = std::numeric_limits<double>::lowest();
    wild.samples[4].value = std::numeric_limits<double>::denorm_min();
    wild.label.low = -std::numeric_limits<double>::max();
    wild.label.high = std::numeric_limits<double>::max();
    for (const int width : {1, 5, 11, 12, 80, 200}) {
        for (const int height : {1, 2, 3, 5, 24, 60}) {
            for (const bool oneScale : {false, true}) {
                TrendInput trend = input({wild, wild}, width % 2 == 0);
                trend.width = width;
                trend.height = height;
                trend.oneScale = oneScale;
                EXPECT_EQ(trendPicture(trend).width(), width);
            }
        }
    }
}

} // namespace
