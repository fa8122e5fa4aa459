#include "panel/picture/row_order.h"

#include "panel/text.h"

#include <QtCore/QStringList>

#include <gtest/gtest.h>

using namespace panel::screen;

namespace {

const qint64 SECOND = 1000000;
const qint64 NOW = 1000 * SECOND;

QVector<TagLabel> labels(const QStringList& names) {
    QVector<TagLabel> result;
    for (const QString& name : names) {
        TagLabel label;
        label.plc = "press";
        label.name = name;
        result.append(label);
    }
    return result;
}

/// The order in which tags come that were read, and changed, so many microseconds ago; -1: never.
QVector<int> sorted(Order order, const QVector<qint64>& ages) {
    QVector<int> tags;
    for (int tag = 0; tag < ages.size(); ++tag) {
        tags.append(tag);
    }
    sortTags(
        &tags, order, {},
        [&ages](int tag) {
            TagNow status;
            status.readAt = ages.at(tag) < 0 ? -1 : NOW - ages.at(tag);
            status.changedAt = status.readAt;
            return status;
        },
        NOW);
    return tags;
}

TEST(CompareNames, numbers_countByTheirValue) {
    EXPECT_EQ(compareNames("DM:2", "DM:10"), -1);
    EXPECT_EQ(compareNames("DM:10", "DM:2"), 1);
    EXPECT_EQ(compareNames("DM:10:2", "DM:10:11"), -1);
    EXPECT_EQ(compareNames("v007", "v8"), -1);
}

TEST(CompareNames, caseAlone_decidesLast) {
    EXPECT_EQ(compareNames("Level", "mixer"), -1);
    EXPECT_EQ(compareNames("a", "B"), -1);
    EXPECT_EQ(compareNames("level", "level"), 0);
    EXPECT_NE(compareNames("Level", "level"), 0);
    EXPECT_EQ(compareNames("level", "level2"), -1);
}

TEST(MatchingTags, filter_findsPartsOfNamesInAnyCase) {
    const QVector<TagLabel> tags = labels({"oil_level", "temperature", "Level"});
    EXPECT_EQ(matchingTags(tags, "LEV", false), QVector<int>({0, 2}));
    EXPECT_EQ(matchingTags(tags, "", false), QVector<int>({0, 1, 2}));
    EXPECT_EQ(matchingTags(tags, "  ", false), QVector<int>({0, 1, 2}));
    EXPECT_EQ(matchingTags(tags, "xyz", false), QVector<int>());
}

TEST(MatchingTags, severalWords_mustAllBeThere) {
    const QVector<TagLabel> tags = labels({"oil_level", "oil_pump", "level"});
    EXPECT_EQ(matchingTags(tags, "lev oil", false), QVector<int>({0}));
}

TEST(MatchingTags, nameOfThePlc_countsWhenItIsShown) {
    const QVector<TagLabel> tags = labels({"level"});
    EXPECT_EQ(matchingTags(tags, "press", true), QVector<int>({0}));
    EXPECT_EQ(matchingTags(tags, "press", false), QVector<int>());
}

TEST(SortTags, byName_sortsNames) {
    QVector<int> tags{0, 1, 2};
    sortTags(&tags, Order::Name, labels({"b", "a10", "a9"}), {}, NOW);
    EXPECT_EQ(tags, QVector<int>({2, 1, 0}));
}

TEST(SortTags, byAge_neverReadAndOldestComeFirst) {
    EXPECT_EQ(sorted(Order::Age, {0, 9 * SECOND, -1, 60 * SECOND}), QVector<int>({2, 3, 1, 0}));
}

TEST(SortTags, byChange_newestComesFirstAndNeverLast) {
    EXPECT_EQ(sorted(Order::Change, {9 * SECOND, -1, 0, 60 * SECOND}), QVector<int>({2, 0, 3, 1}));
}

TEST(SortTags, agesOfTheSameSecond_keepTheGivenOrder) {
    EXPECT_EQ(sorted(Order::Age, {100, SECOND / 2, 50}), QVector<int>({0, 1, 2}));
    EXPECT_EQ(sorted(Order::Change, {SECOND / 2, 100, 50}), QVector<int>({0, 1, 2}));
}

TEST(SortTags, asGiven_restoresTheOrder) {
    QVector<int> tags{2, 0, 1};
    sortTags(&tags, Order::AsGiven, labels({"c", "b", "a"}), {}, NOW);
    EXPECT_EQ(tags, QVector<int>({0, 1, 2}));
}

TEST(NextOrder, four_leadBackToTheFirst) {
    Order order = Order::AsGiven;
    QStringList names;
    for (int step = 0; step < 4; ++step) {
        order = nextOrder(order);
        names.append(orderName(order));
    }
    EXPECT_EQ(names, QStringList({"by name", "by age", "by change", ""}));
}

} // namespace
