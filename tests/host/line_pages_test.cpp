// Replacing the tags while something of every kind is in flight.

#include "host/simulated_line.h"

using namespace velkor_host;

namespace {

const qint64 SECOND = 1000000;

TEST(LinePages, newTags_beginNotRead) {
    SimulatedLine line(lineSettings());
    line.setTags({tagAt("DM", 5)});
    ASSERT_TRUE(line.runUntil([&] { return line.core->board().allFresh(); }));
    line.setTags({tagAt("DM", 5), tagAt("DM", 6)});
    EXPECT_EQ(line.shown(0), "not read");
    EXPECT_EQ(line.status(0).readAt, -1);
    ASSERT_TRUE(line.runUntil([&] { return line.core->board().allFresh(); }));
}

TEST(LinePages, readingMadeForTheOldList_isNotCreditedToTheNew) {
    SimulatedLine line(lineSettings());
    line.setTags({tagAt("DM", 5)});
    line.machine.setDm(5, 1);
    line.run(1200); // the PLC has read it; the reply is under way
    line.machine.setDm(5, 2);
    line.setTags({tagAt("DM", 5)});
    line.onTags = [&](const QVector<int>&) { EXPECT_NE(line.shown(0), "1"); };
    ASSERT_TRUE(line.runUntil([&] { return line.core->board().allFresh(); }));
    EXPECT_EQ(line.shown(0), "2");
}

TEST(LinePages, oneShotOfTheOldList_isNotCreditedToTheNew) {
    SimulatedLine line(lineSettings());
    line.machine.refusals.push_back({0x82, 5, 5, 0x1103});
    const QVector<Tag> tags{tagAt("DM", 0), tagAt("DM", 10)};
    line.setTags(tags);
    ASSERT_TRUE(line.runUntil([&] { return line.core->board().allFresh(); }));
    // DM 10 is read apart: replace the list at every point of a scan.
    for (int step = 0; step < 300; ++step) {
        line.machine.setDm(10, 1);
        line.run(700 + step);
        line.machine.setDm(10, 2);
        const qint64 replaced = line.clock.time;
        line.setTags(tags);
        ASSERT_TRUE(line.runUntil([&] { return line.core->board().allFresh(); }, SECOND)) << step;
        EXPECT_EQ(line.shown(1), "2") << step;
        EXPECT_GE(line.status(1).readAt, replaced + 2 * line.usual) << step;
    }
}

TEST(LinePages, workInFlight_isNotTouched) {
    for (int microseconds = 0; microseconds < 20000; microseconds += 600) {
        SimulatedLine line(lineSettings());
        line.setTags({tagAt("DM", 5)});
        line.write("DM", 5, {7});
        line.read("DM", 5, 1);
        line.download({variable("DM", 50, counting(100, 1))});
        line.write("DM", 6, {8});
        line.run(microseconds);
        line.setTags({tagAt("HR", 1), tagAt("DM", 6)});
        EXPECT_EQ(line.status(1).pending, line.writes.size() < 2) << microseconds;
        ASSERT_TRUE(line.settle());
        ASSERT_EQ(line.writes.size(), 2U) << microseconds;
        EXPECT_EQ(line.writes.at(0).result, WriteResult::Taken);
        EXPECT_EQ(line.reads.at(0).items, Items{7});
        EXPECT_EQ(line.recipes.at(0).result, RecipeResult::Done);
        const int scans = line.scans;
        ASSERT_TRUE(line.runUntil([&] { return line.scans > scans + 1; }));
        EXPECT_FALSE(line.status(1).pending) << microseconds;
        EXPECT_EQ(line.shown(1), "8") << microseconds;
    }
}

TEST(LinePages, noTagsAtAll_sendsNothingMore) {
    SimulatedLine line(lineSettings());
    line.setTags({tagAt("DM", 5)});
    line.run(SECOND);
    line.setTags({});
    line.run(10000);
    const std::size_t sent = line.frames.size();
    line.run(SECOND);
    EXPECT_EQ(line.frames.size(), sent);
    EXPECT_EQ(line.core->due(), -1);
}

TEST(LinePages, listReplacedDuringTheSearchForARefusedWord_startsAfresh) {
    for (int microseconds = 0; microseconds < 60000; microseconds += 1700) {
        SimulatedLine line(lineSettings());
        line.machine.refusals.push_back({0x82, 17, 17, 0x1103});
        QVector<Tag> tags;
        for (int address = 0; address < 32; ++address) {
            tags.append(tagAt("DM", address));
        }
        line.setTags(tags);
        line.run(microseconds);
        line.setTags({tagAt("DM", 3), tagAt("DM", 17), tagAt("DM", 20)});
        ASSERT_TRUE(line.runUntil([&] { return line.freshTags() == 2; }, SECOND)) << microseconds;
        EXPECT_EQ(line.shown(1), "refused");
    }
}

} // namespace
