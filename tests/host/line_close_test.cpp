// The end of a line in every state: each thing handed over is told once.

#include "host/simulated_line.h"

#include <algorithm>
#include <set>

using namespace velkor_host;

namespace {

void expectEachToldOnce(const SimulatedLine& line, const std::set<quint64>& handedOver) {
    std::multiset<quint64> told;
    for (const WriteOutcome& outcome : line.writes) {
        told.insert(outcome.id);
    }
    for (const ReadOutcome& outcome : line.reads) {
        told.insert(outcome.id);
    }
    for (const RecipeOutcome& outcome : line.recipes) {
        told.insert(outcome.id);
    }
    EXPECT_EQ(told, std::multiset<quint64>(handedOver.begin(), handedOver.end()));
}

/// After so many microseconds the line is closed.
class CloseAfter : public testing::TestWithParam<int> {};

TEST_P(CloseAfter, workOfEveryKind_isToldOnceAndTruly) {
    LineSettings settings = lineSettings();
    settings.wordsPerFrame = 4;
    SimulatedLine line(settings);
    line.setTags({tagAt("HR", 5), tagAt("HR", 9)});
    std::set<quint64> ids;
    ids.insert(line.write("DM", 0, counting(6, 1)));
    ids.insert(line.read("DM", 0, 6));
    ids.insert(line.download({variable("DM", 100, counting(9, 1))}, true));
    ids.insert(line.write("DM", 50, {1}));
    ids.insert(line.upload({variable("DM", 100, counting(2, 0))}));
    line.run(GetParam() * 700);
    line.close();
    expectEachToldOnce(line, ids);
    EXPECT_EQ(line.core->pending(), 0);
    const std::size_t sent = line.frames.size();
    // What is still under way reaches the PLC; nothing more is sent.
    for (const WriteOutcome& outcome : line.writes) {
        for (int item = 0; item < outcome.taken; ++item) {
            EXPECT_NE(line.machine.dm(outcome.address + item), 0);
        }
        if (outcome.result == WriteResult::NotReached) {
            EXPECT_EQ(line.machine.dm(outcome.address + outcome.taken), 0);
        }
    }
    EXPECT_EQ(line.frames.size(), sent);
}

INSTANTIATE_TEST_SUITE_P(Times, CloseAfter, testing::Range(0, 40));

TEST(LineClose, writeInFlight_isUnknownAndTheNextNotSent) {
    SimulatedLine line(lineSettings());
    line.write("DM", 0, {1});
    line.write("DM", 1, {2});
    line.close();
    ASSERT_EQ(line.writes.size(), 2U);
    EXPECT_EQ(line.writes.at(0).result, WriteResult::Unknown);
    EXPECT_EQ(line.writes.at(0).last.tries, 1);
    EXPECT_EQ(line.writes.at(1).result, WriteResult::NotReached);
    EXPECT_EQ(line.writes.at(1).last.tries, 0);
}

TEST(LineClose, pollInFlight_leavesTheWriteNotSent) {
    SimulatedLine line(lineSettings());
    line.setTags({tagAt("DM", 5)});
    ASSERT_EQ(line.frames.size(), 1U);
    line.write("DM", 0, {1});
    line.close();
    EXPECT_EQ(line.writes.at(0).result, WriteResult::NotReached);
}

TEST(LineClose, recipeInFlight_namesItsBlocks) {
    LineSettings settings = lineSettings();
    settings.wordsPerFrame = 4;
    SimulatedLine line(settings);
    line.download({variable("DM", 0, counting(12, 1))});
    ASSERT_TRUE(line.runUntil([&] { return line.frames.size() == 2; }));
    line.close();
    ASSERT_EQ(line.recipes.size(), 1U);
    EXPECT_EQ(line.recipes.at(0).result, RecipeResult::GivenUp);
    EXPECT_EQ(recipeBlocksText(line.recipes.at(0)).toStdString(),
              "DM 0 to 3 written; DM 4 to 7 not known, it may have been written; "
              "DM 8 to 11 not written");
}

TEST(LineClose, twice_tellsNothingTwice) {
    SimulatedLine line(lineSettings());
    line.write("DM", 0, {1});
    line.close();
    line.close();
    EXPECT_EQ(line.writes.size(), 1U);
}

} // namespace
