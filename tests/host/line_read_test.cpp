// One-shot reads over the loaded driver: all of the items, or none.

#include "host/simulated_line.h"

using namespace velkor_host;

namespace {

TEST(LineRead, wordsAndBits_areWhatThePlcHolds) {
    LineSettings settings = lineSettings();
    settings.wordsPerFrame = 4;
    SimulatedLine line(settings);
    for (int word = 0; word < 11; ++word) {
        line.machine.setDm(word, 100 + word);
    }
    line.machine.core.memory().setWord(plc::Area::Holding, 7, 0x8000);
    line.machine.core.memory().setWord(plc::Area::Holding, 8, 0x0003);
    line.read("DM", 0, 11);
    line.read("HR_bit", 7 * 16 + 14, 5);
    ASSERT_TRUE(line.settle());
    ASSERT_EQ(line.reads.size(), 2U);
    EXPECT_TRUE(line.reads.at(0).ok);
    EXPECT_EQ(line.reads.at(0).items, counting(11, 100));
    EXPECT_EQ(line.reads.at(1).items, (Items{0, 1, 1, 1, 0}));
}

TEST(LineRead, behindAWrite_seesTheWrittenValue) {
    SimulatedLine line(lineSettings());
    line.write("DM", 5, {77});
    line.read("DM", 5, 1);
    ASSERT_TRUE(line.settle());
    EXPECT_EQ(line.reads.at(0).items, Items{77});
}

TEST(LineRead, refusedOrSilent_hasNoItems) {
    SimulatedLine line(lineSettings());
    line.machine.refusals.push_back({0x82, 50, 60, 0x1103});
    line.read("DM", 48, 5);
    ASSERT_TRUE(line.settle());
    EXPECT_FALSE(line.reads.at(0).ok);
    EXPECT_TRUE(line.reads.at(0).items.isEmpty());
    EXPECT_EQ(line.reads.at(0).last.endCode, 0x1103);
    line.fate = [](const QByteArray&, int) {
        Fate fate;
        fate.loseReply = true;
        return fate;
    };
    line.read("DM", 0, 1);
    ASSERT_TRUE(line.settle());
    EXPECT_FALSE(line.reads.at(1).ok);
    EXPECT_EQ(line.reads.at(1).last.silent, 3);
}

TEST(LineRead, secondPieceNotAnswered_isNotHalfAResult) {
    LineSettings settings = lineSettings();
    settings.wordsPerFrame = 4;
    SimulatedLine line(settings);
    line.fate = [](const QByteArray&, int number) {
        Fate fate;
        fate.loseReply = number > 1;
        return fate;
    };
    line.read("DM", 0, 6);
    ASSERT_TRUE(line.settle());
    EXPECT_FALSE(line.reads.at(0).ok);
    EXPECT_TRUE(line.reads.at(0).items.isEmpty());
}

} // namespace
