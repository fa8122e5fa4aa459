#include "panel/trend/trend_picture.h"

#include "screen/utf8.h"

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
                       static_cast<float>(index)});
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

TEST(RoundScale, range_liesBetweenRoundNumbers) {
    const Scale scale = roundScale(3, 47, 5);
    EXPECT_EQ(scale.low, 0);
    EXPECT_EQ(scale.high, 50);
    EXPECT_EQ(scale.step, 10);
}

TEST(RoundScale, exactRange_isNotWidened) {
    const Scale scale = roundScale(0.1, 0.3, 2);
    EXPECT_NEAR(scale.low, 0.1, 1e-9);
    EXPECT_NEAR(scale.high, 0.3, 1e-9);
}

TEST(RoundScale, steadyValue_liesInside) {
    for (const double value : {0.0, 1.0, -40.0, 1e12, -3e38}) {
        const Scale scale = roundScale(value, value, 3);
        EXPECT_LE(scale.low, value);
        EXPECT_GE(scale.high, value);
        EXPECT_LT(scale.low, scale.high);
    }
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
    for (int y = 2; y < 7; ++y) {
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
    EXPECT_EQ(stripsThatFit(trend), 4);
    const Grid grid = trendPicture(trend);
    EXPECT_TRUE(grid.line(0).endsWith("tags 4-7 of 7"));
    EXPECT_TRUE(grid.line(1).startsWith("t3 "));
    EXPECT_EQ(plain(grid.line(23)), "m");
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
    wild.samples[0].value = std::numeric_limits<float>::max();
    wild.samples[2].value = std::numeric_limits<float>::lowest();
    wild.samples[4].value = std::numeric_limits<float>::denorm_min();
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
