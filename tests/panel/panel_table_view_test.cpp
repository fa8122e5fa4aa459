#include "panel/table_view.h"

#include "panel/text.h"

#include <gtest/gtest.h>

using namespace panel;

namespace {

const qint64 SECOND = 1000000;

TEST(Sparkline, risingValues_climbFromLowestToHighest) {
    EXPECT_EQ(plain(sparkline({0, 1, 2, 3, 4, 5, 6, 7}, 8, true)), "▁▂▃▄▅▆▇█");
    EXPECT_EQ(plain(sparkline({0, 1, 2, 3, 4, 5, 6, 7}, 8, false)), "_.-:=+*#");
}

TEST(Sparkline, steadyValue_isALowLine) {
    EXPECT_EQ(plain(sparkline({5, 5, 5}, 8, true)), "▁▁▁");
}

TEST(Sparkline, moreValuesThanRoom_showsTheLast) {
    EXPECT_EQ(plain(sparkline({9, 9, 0, 1}, 2, true)), "▁█");
}

TEST(AgeText, ages_areShownInFittingUnits) {
    EXPECT_EQ(plain(ageText(0)), "0 ms");
    EXPECT_EQ(plain(ageText(999999)), "999 ms");
    EXPECT_EQ(plain(ageText(1500000)), "1.5 s");
    EXPECT_EQ(plain(ageText(90 * SECOND)), "1 min");
    EXPECT_EQ(plain(ageText(7200 * SECOND)), "2 h");
}

TagStatus status(TagState state) {
    TagStatus result;
    result.tag.unit = "mm";
    result.state = state;
    result.items = {42};
    return result;
}

TEST(ShownValue, states_areTellable) {
    EXPECT_EQ(plain(shownValue(status(TagState::Fresh))), "42 mm");
    EXPECT_EQ(plain(shownValue(status(TagState::Stale))), "stale: 42 mm");
    EXPECT_EQ(plain(shownValue(status(TagState::NotRead))), "not read");
}

TEST(ShownValue, unitThatBeginsWithANumber_isAFactor) {
    TagStatus tenths = status(TagState::Fresh);
    tenths.tag.unit = "0.1 l";
    EXPECT_EQ(plain(shownValue(tenths)), "42 × 0.1 l");
}

TagBoard board(int tags) {
    QVector<Tag> list;
    for (int index = 0; index < tags; ++index) {
        Tag tag;
        tag.name = QString("tag%1").arg(index);
        tag.reg = "DM";
        tag.address = index;
        list.append(tag);
    }
    TagBoard result(list, SECOND);
    Settled read;
    read.ok = true;
    read.reg = "DM";
    read.length = tags;
    result.readSettled(read, "", SECOND);
    result.refresh([](const Tag& tag) { return Items{static_cast<quint16>(1000 + tag.address)}; },
                   SECOND);
    return result;
}

TableScreen render(int tags, int selected, int width, int height) {
    TableInput input;
    input.title = "title";
    input.message = "message";
    input.selected = selected;
    input.width = width;
    input.height = height;
    input.now = 2 * SECOND;
    return renderTable(board(tags), LinkStatistics(), input);
}

TEST(RenderTable, oneTag_showsNameAddressValueAgeAndChanges) {
    const TableScreen screen = render(1, 0, 100, 24);
    ASSERT_EQ(screen.selectedLine, 2);
    const QString line = screen.lines.at(2);
    for (const char* part : {"tag0", "DM 0", "1000", "1.0 s"}) {
        EXPECT_TRUE(line.contains(part)) << plain(line);
    }
    EXPECT_EQ(plain(screen.lines.first()), "title");
    EXPECT_EQ(plain(screen.lines.last()), "message");
}

TEST(RenderTable, linkLines_tellCountsAndEndCode) {
    const QString text = render(1, 0, 120, 24).lines.join('\n');
    for (const char* part :
         {"round trip", "exchanges/s", "0 retries", "0 failures", "last end code none yet"}) {
        EXPECT_TRUE(text.contains(part)) << part;
    }
}

TEST(RenderTable, moreTagsThanLines_keepsTheSelectedOneVisible) {
    for (const int selected : {0, 7, 49, 99}) {
        const TableScreen screen = render(100, selected, 80, 15);
        ASSERT_EQ(screen.lines.size(), 15) << selected;
        EXPECT_TRUE(
            screen.lines.at(screen.selectedLine).startsWith(QString("tag%1 ").arg(selected)))
            << plain(screen.lines.at(screen.selectedLine));
    }
}

TEST(RenderTable, moreTagsThanLines_tellsInTheTitleWhichAreShown) {
    // 15 lines hold 10 tags.
    EXPECT_EQ(plain(render(100, 49, 30, 15).lines.first()), "title        rows 41-50 of 100");
    EXPECT_EQ(plain(render(12, 11, 30, 15).lines.first()), "title         rows 11-12 of 12");
}

Settled ended(bool ok, int endCode) {
    Settled settled;
    settled.ok = ok;
    settled.tries = 3;
    settled.endCode = endCode;
    settled.refused = !ok && endCode >= 0;
    settled.silent = ok || settled.refused ? 0 : 3;
    settled.waited = SECOND;
    return settled;
}

QString endCodeLine(const LinkStatistics& statistics, qint64 now) {
    TableInput input;
    input.width = 200;
    input.now = now;
    return renderTable(board(1), statistics, input).lines.at(4);
}

TEST(RenderTable, silentPlc_isSaidBesideTheLastEndCode) {
    LinkStatistics statistics;
    statistics.settled(ended(true, 0), SECOND);
    EXPECT_EQ(plain(endCodeLine(statistics, 2 * SECOND)), "last end code 0000 normal");
    statistics.settled(ended(false, -1), 4 * SECOND); // asked at 3 s
    statistics.settled(ended(false, -1), 6 * SECOND);
    EXPECT_EQ(plain(endCodeLine(statistics, 7 * SECOND)),
              "last end code 0000 normal, 6.0 s ago   no answer for 4.0 s");
    statistics.settled(ended(true, 0), 8 * SECOND);
    EXPECT_EQ(plain(endCodeLine(statistics, 9 * SECOND)), "last end code 0000 normal");
}

QString countsLine(const LinkStatistics& statistics) {
    TableInput input;
    input.width = 200;
    input.now = 2 * SECOND;
    return renderTable(board(1), statistics, input).lines.at(3);
}

TEST(RenderTable, oneRetryAndFailure_areInTheSingular) {
    LinkStatistics statistics;
    statistics.sent(1);
    statistics.sent(2);
    statistics.settled(ended(false, -1), SECOND);
    EXPECT_TRUE(countsLine(statistics).contains("   1 retry   1 failure   0 dropped"))
        << plain(countsLine(statistics));
    statistics.sent(3);
    EXPECT_TRUE(countsLine(statistics).contains("   2 retries   1 failure   "))
        << plain(countsLine(statistics));
}

TEST(RenderTable, ages_endInOneColumn) {
    const TableScreen screen = render(1, 0, 100, 24);
    const int end = static_cast<int>(screen.lines.at(1).indexOf("AGE")) + 3;
    EXPECT_EQ(plain(screen.lines.at(2).mid(end - 8, 8)), "   1.0 s");
}

TEST(RenderTable, float_hasSixDigitsInTheTable) {
    Tag tag;
    tag.name = "f";
    tag.reg = "DM";
    tag.type = ValueType::Float32;
    TagBoard floats({tag}, SECOND);
    Settled read = ended(true, 0);
    read.reg = "DM";
    read.length = 2;
    floats.readSettled(read, "", SECOND);
    // 0x41A00001 is 20.0000019..., the float after 20.
    floats.refresh([](const Tag&) { return Items{0x0001, 0x41A0}; }, SECOND);
    EXPECT_EQ(plain(shownValue(floats.at(0))), "20.000002");
    TableInput input;
    input.now = SECOND;
    const QString line = renderTable(floats, LinkStatistics(), input).lines.at(2);
    EXPECT_TRUE(line.contains("  20  ")) << plain(line);
}

TEST(ReasonLine, sinceWhen_standsBehindTheKeyWords) {
    TagStatus stale = status(TagState::Stale);
    stale.reason = "no answer: 3 tries of 500 ms to 192.168.250.1:9600";
    stale.failingSince = SECOND;
    EXPECT_EQ(plain(reasonLine(stale, 5 * SECOND)),
              "no answer for 4.0 s: 3 tries of 500 ms to 192.168.250.1:9600");
    stale.reason = "not refreshed";
    EXPECT_EQ(plain(reasonLine(stale, 3 * SECOND)), "not refreshed for 2.0 s");
}

TEST(ReasonLine, freshValue_hasNone) {
    EXPECT_EQ(plain(reasonLine(status(TagState::Fresh), SECOND)), "");
}

TEST(RenderTable, refusal_isStillToldAfterTheNextGoodReply) {
    LinkStatistics statistics;
    statistics.settled(ended(false, 0x2101), SECOND);
    statistics.settled(ended(true, 0), 2 * SECOND);
    EXPECT_EQ(plain(endCodeLine(statistics, 6 * SECOND)),
              "last end code 0000 normal   last error 2101 read-only, 5.0 s ago");
}

TEST(RenderTable, anyWindow_isNeverExceeded) {
    for (const int width : {1, 5, 20, 40, 79, 200}) {
        for (const int height : {1, 2, 4, 5, 6, 24}) {
            const TableScreen screen = render(30, 29, width, height);
            EXPECT_LE(screen.lines.size(), height) << width << "x" << height;
            for (const QString& line : screen.lines) {
                EXPECT_LE(line.size(), width) << width << "x" << height;
            }
            EXPECT_LT(screen.selectedLine, screen.lines.size());
        }
    }
}

TEST(RenderTable, controlCharacters_doNotReachTheTerminal) {
    Tag tag;
    tag.name = "a\x1b[2J\nb";
    tag.reg = "DM";
    const TableScreen screen = renderTable(TagBoard({tag}, SECOND), LinkStatistics(), TableInput());
    EXPECT_TRUE(screen.lines.at(2).startsWith("a?[2J?b ")) << plain(screen.lines.at(2));
}

TEST(RenderTable, longName_isCutVisibly) {
    Tag tag;
    tag.name = "a_name_of_more_than_twenty_four_characters";
    tag.reg = "DM";
    TableInput input;
    const TableScreen screen = renderTable(TagBoard({tag}, SECOND), LinkStatistics(), input);
    EXPECT_TRUE(screen.lines.at(2).startsWith("a_name_of_more_than_twe…  "))
        << plain(screen.lines.at(2));
}

} // namespace
