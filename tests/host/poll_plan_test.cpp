// How the words of all tags are read in one scan: against a merge that is written down naively.

#include "host/plain_text.h"
#include "host/poll/poll_plan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <random>
#include <set>

using namespace velkor_host;

namespace {

/// The driver's rule for ranges that do not overlap: neighbours become one block as long as it fits
/// the limit, gaps included, up to `gap` words.
MergeFunction mergeOf(int limit, int gap) {
    return [limit, gap](const QVector<WordRange>& ranges) {
        QVector<WordRange> sorted = ranges;
        std::sort(sorted.begin(), sorted.end(), [](const WordRange& a, const WordRange& b) {
            return a.reg != b.reg ? a.reg < b.reg : a.address < b.address;
        });
        QVector<WordRange> blocks;
        for (const WordRange& range : sorted) {
            if (!blocks.isEmpty() && blocks.last().reg == range.reg &&
                range.address - blocks.last().end() <= gap &&
                range.end() - blocks.last().address <= limit) {
                blocks.last().length = range.end() - blocks.last().address;
            } else {
                blocks.append(range);
            }
        }
        return blocks;
    };
}

PollPlan planned(const QVector<WordRange>& wanted, const QVector<WordRange>& holes,
                 int limit = 64) {
    return planPolling(wanted, holes, limit, mergeOf(limit, limit));
}

TEST(WithoutHoles, holesThatOverlapAndTouch_areTakenOut) {
    const QVector<WordRange> left =
        withoutHoles({{"DM", 20, 10}, {"DM", 0, 10}, {"HR", 0, 10}},
                     {{"DM", 5, 1}, {"DM", 4, 4}, {"DM", 8, 2}, {"DM", 25, 100}, {"DM", 0, 0}});
    ASSERT_EQ(left.size(), 3);
    EXPECT_EQ(left.at(0).address, 20);
    EXPECT_EQ(left.at(0).length, 5);
    EXPECT_EQ(left.at(1).address, 0);
    EXPECT_EQ(left.at(1).length, 4);
    EXPECT_EQ(plain(left.at(2).reg), "HR");
    EXPECT_EQ(left.at(2).length, 10);
}

TEST(WithoutHoles, thousandsOfRangesAndHoles_takeNoSeconds) {
    QVector<WordRange> ranges;
    for (int index = 0; index < 15000; ++index) {
        ranges.append({"DM", 2 * index, 1});
    }
    const std::clock_t begun = std::clock(); // of this process: others do not count
    EXPECT_TRUE(withoutHoles(ranges, ranges).isEmpty());
    EXPECT_LT(static_cast<double>(std::clock() - begun) / CLOCKS_PER_SEC, 1.0);
}

TEST(PollPlan, noHoles_isWhatTheDriverMakesOfIt) {
    const PollPlan plan = planned({{"DM", 0, 2}, {"DM", 10, 2}, {"HR", 3, 1}}, {});
    EXPECT_EQ(plain(plan.blocks), "DM 0+12, HR 3+1");
    EXPECT_TRUE(plan.apart.isEmpty());
}

TEST(PollPlan, holeInAGap_splitsTheBlock) {
    const PollPlan plan = planned({{"DM", 0, 2}, {"DM", 10, 2}, {"DM", 20, 2}}, {{"DM", 5, 1}});
    EXPECT_EQ(plain(plan.blocks), "DM 0+2");
    EXPECT_EQ(plain(plan.apart), "DM 10+12");
}

TEST(PollPlan, holeInsideATag_isLeftOutOfEverything) {
    const PollPlan plan = planned({{"DM", 0, 10}}, {{"DM", 4, 2}});
    EXPECT_EQ(plain(plan.blocks), "DM 0+4");
    EXPECT_EQ(plain(plan.apart), "DM 6+4");
}

TEST(PollPlan, severalHoles_readOverNone) {
    const PollPlan plan = planned({{"DM", 0, 1}, {"DM", 10, 1}, {"DM", 20, 1}, {"DM", 30, 1}},
                                  {{"DM", 5, 1}, {"DM", 25, 1}});
    EXPECT_EQ(plain(plan.blocks), "DM 0+1");
    EXPECT_EQ(plain(plan.apart), "DM 10+11, DM 30+1");
}

TEST(PollPlan, everythingAHole_readsNothing) {
    const PollPlan plan = planned({{"DM", 0, 4}, {"DM", 8, 4}}, {{"DM", 0, 100}});
    EXPECT_TRUE(plan.blocks.isEmpty());
    EXPECT_TRUE(plan.apart.isEmpty());
}

TEST(PollPlan, holeOfAnotherRegister_meansNothing) {
    EXPECT_EQ(plain(planned({{"DM", 0, 10}}, {{"HR", 4, 2}}).blocks), "DM 0+10");
}

TEST(PollPlan, mergeThatLeavesWordsOut_hasThemReadApart) {
    // As the driver does with ranges inside one another.
    const PollPlan plan =
        planPolling({{"DM", 0, 10}, {"DM", 20, 4}}, {}, 64, [](const QVector<WordRange>&) {
            return QVector<WordRange>{{"DM", 0, 7}};
        });
    EXPECT_EQ(plain(plan.apart), "DM 7+17");
}

TEST(PollPlan, mergeThatBringsItsHoleBackEachTime_ends) {
    const PollPlan plan =
        planPolling({{"DM", 0, 2}}, {{"DM", 5, 1}}, 64, [](const QVector<WordRange>&) {
            return QVector<WordRange>{{"DM", 0, 10}};
        });
    EXPECT_EQ(plan.blocks.size(), 1);
}

TEST(PollPlan, longTag_isReadInPiecesOfAFrame) {
    const PollPlan plan = planned({{"DM", 0, 25}}, {}, 10);
    EXPECT_EQ(plain(plan.blocks), "DM 0+10, DM 10+10, DM 20+5");
}

typedef std::set<std::pair<std::string, int>> Words;

void add(Words* words, const QVector<WordRange>& ranges) {
    for (const WordRange& range : ranges) {
        for (int word = range.address; word < range.end(); ++word) {
            words->insert({plain(range.reg), word});
        }
    }
}

QVector<WordRange> randomRanges(std::mt19937* random, int count, int longest) {
    static const char* const registers[] = {"DM", "HR", "CIO"};
    QVector<WordRange> ranges;
    for (int index = 0; index < count; ++index) {
        ranges.append({registers[(*random)() % 3], static_cast<int>((*random)() % 200),
                       1 + static_cast<int>((*random)() % static_cast<unsigned>(longest))});
    }
    return ranges;
}

TEST(PollPlan, randomTagsAndHoles_everyWantedWordIsReadAndNoHoleIs) {
    std::mt19937 random(11);
    for (int round = 0; round < 2000; ++round) {
        const QVector<WordRange> wanted =
            randomRanges(&random, static_cast<int>(random() % 25), 30);
        const QVector<WordRange> holes = randomRanges(&random, static_cast<int>(random() % 6), 4);
        const int limit = 1 + static_cast<int>(random() % 40);
        const int gap = static_cast<int>(random() % 10);
        const PollPlan plan = planPolling(wanted, holes, limit, mergeOf(limit, gap));
        Words want;
        Words hole;
        Words read;
        add(&want, wanted);
        add(&hole, holes);
        add(&read, plan.blocks);
        add(&read, plan.apart);
        for (const auto& word : want) {
            EXPECT_EQ(read.count(word), 1U - hole.count(word)) << "round " << round;
        }
        for (const auto& word : hole) {
            EXPECT_EQ(read.count(word), 0U) << "round " << round;
        }
        for (const WordRange& range : plan.blocks + plan.apart) {
            EXPECT_LE(range.length, limit) << "round " << round;
            EXPECT_GE(range.length, 1) << "round " << round;
        }
        ASSERT_FALSE(HasFailure());
    }
}

} // namespace
