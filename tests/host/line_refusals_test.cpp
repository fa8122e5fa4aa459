// Addresses that the PLC refuses: the culprit is set apart, the rest is polled on.

#include "host/simulated_line.h"

using namespace velkor_host;

namespace {

const qint64 SECOND = 1000000;

QVector<Tag> hundredTags() {
    QVector<Tag> tags;
    for (int index = 0; index < 100; ++index) {
        tags.append(tagAt("DM", 1000 + index));
    }
    return tags;
}

LineSettings longFrames() {
    LineSettings settings = lineSettings();
    settings.wordsPerFrame = 256;
    return settings;
}

class OneOfAHundred : public testing::TestWithParam<int> {};

TEST_P(OneOfAHundred, refused_isSetApartAndTheOthersAreFresh) {
    const int culprit = GetParam();
    SimulatedLine line(longFrames());
    line.machine.refusals.push_back({0x82, 1000 + culprit, 1000 + culprit, 0x1103});
    line.setTags(hundredTags());
    ASSERT_TRUE(line.runUntil(
        [&] { return line.freshTags() == 99 && line.shown(culprit) == "refused"; }, 2 * SECOND));
    EXPECT_EQ(line.status(culprit).endCode, 0x1103);
    EXPECT_FALSE(line.status(culprit).reason.isEmpty());
    // The block, then two probes on each of the seven levels, three tries for each refusal.
    EXPECT_LE(line.frames.size(), 60U);
    line.run(2 * SECOND);
    EXPECT_EQ(line.freshTags(), 99);
}

INSTANTIATE_TEST_SUITE_P(Positions, OneOfAHundred, testing::Values(0, 1, 49, 50, 98, 99));

TEST(LineRefusals, several_areAllSetApart) {
    SimulatedLine line(longFrames());
    for (const int culprit : {3, 4, 50, 99}) {
        line.machine.refusals.push_back({0x82, 1000 + culprit, 1000 + culprit, 0x1103});
    }
    line.setTags(hundredTags());
    ASSERT_TRUE(line.runUntil([&] { return line.freshTags() == 96 && line.shown(99) == "refused"; },
                              3 * SECOND));
    for (const int culprit : {3, 4, 50, 99}) {
        EXPECT_EQ(line.shown(culprit), "refused");
    }
}

TEST(LineRefusals, oneInEachOfAHundredBlocks_areFoundInTheOrderOfAsManyFrames) {
    SimulatedLine line(longFrames());
    QVector<Tag> tags;
    for (int block = 0; block < 100; ++block) {
        for (const int word : {0, 10, 20}) {
            tags.append(tagAt("DM", 300 * block + word));
        }
        line.machine.refusals.push_back({0x82, 300 * block + 10, 300 * block + 10, 0x1103});
    }
    line.setTags(tags);
    ASSERT_TRUE(line.runUntil([&] { return line.freshTags() == 200; }, 60 * SECOND));
    for (int block = 0; block < 100; ++block) {
        EXPECT_EQ(line.shown(3 * block + 1), "refused") << block;
    }
    // The block and two of the four probes are refused, three tries each; between the probes the
    // blocks are polled on, and refused.
    EXPECT_LE(line.frames.size(), 3000U);
    line.frames.clear();
    line.run(2 * SECOND);
    EXPECT_EQ(line.freshTags(), 200);
}

TEST(LineRefusals, everyAddress_isRefusedAndNothingIsSentInVain) {
    SimulatedLine line(longFrames());
    line.machine.refusals.push_back({0x82, 0, 32767, 0x1103});
    line.setTags(hundredTags());
    ASSERT_TRUE(line.runUntil(
        [&] {
            for (int index = 0; index < 100; ++index) {
                if (line.status(index).state != TagState::Refused) {
                    return false;
                }
            }
            return true;
        },
        10 * SECOND));
    const std::size_t sent = line.frames.size();
    line.run(SECOND);
    EXPECT_EQ(line.frames.size(), sent);
}

TEST(LineRefusals, givenAgain_isFreshAfterTheRetry) {
    SimulatedLine line(longFrames());
    line.machine.refusals.push_back({0x82, 1050, 1052, 0x1103});
    line.setTags(hundredTags());
    ASSERT_TRUE(line.runUntil([&] { return line.freshTags() == 97; }, 3 * SECOND));
    line.machine.refusals.clear();
    ASSERT_TRUE(line.runUntil([&] { return line.freshTags() == 100; }, 6 * SECOND));
    EXPECT_EQ(line.shown(50), "0");
    EXPECT_EQ(line.status(50).endCode, -1);
    EXPECT_TRUE(line.status(50).reason.isEmpty());
}

TEST(LineRefusals, stillRefusedAtTheRetry_keepsTheOthersFresh) {
    SimulatedLine line(longFrames());
    line.machine.refusals.push_back({0x82, 1050, 1050, 0x1103});
    line.setTags(hundredTags());
    ASSERT_TRUE(line.runUntil([&] { return line.freshTags() == 99; }, 3 * SECOND));
    bool lost = false;
    line.onTags = [&](const QVector<int>&) { lost = lost || line.freshTags() != 99; };
    line.run(20 * SECOND);
    EXPECT_FALSE(lost);
    EXPECT_EQ(line.shown(50), "refused");
}

TEST(LineRefusals, notAnsweredAnyMoreAtTheRetry_staysRefused) {
    SimulatedLine line(longFrames());
    line.machine.refusals.push_back({0x82, 1050, 1050, 0x1103});
    line.setTags(hundredTags());
    ASSERT_TRUE(line.runUntil([&] { return line.freshTags() == 99; }, 3 * SECOND));
    line.fate = [](const QByteArray&, int) {
        Fate fate;
        fate.loseReply = true;
        return fate;
    };
    line.run(20 * SECOND);
    EXPECT_EQ(line.shown(50), "refused");
    EXPECT_EQ(line.shown(51), "stale");
    line.fate = nullptr;
    line.machine.refusals.clear();
    EXPECT_TRUE(line.runUntil([&] { return line.freshTags() == 100; }, 20 * SECOND));
}

TEST(LineRefusals, addressInAGapThatNobodyWants_isReadAround) {
    SimulatedLine line(longFrames());
    line.machine.refusals.push_back({0x82, 105, 105, 0x1103});
    line.setTags({tagAt("DM", 100, 4), tagAt("DM", 107, 4), tagAt("DM", 112)});
    ASSERT_TRUE(line.runUntil([&] { return line.core->board().allFresh(); }, 2 * SECOND));
    const std::size_t requests = line.requests.size();
    line.run(SECOND);
    EXPECT_TRUE(line.core->board().allFresh());
    for (std::size_t index = requests; index < line.requests.size(); ++index) {
        EXPECT_TRUE(line.requests.at(index).ok);
    }
}

TEST(LineRefusals, tagWithOneBadWord_isRefusedAsAWhole) {
    SimulatedLine line(longFrames());
    line.machine.refusals.push_back({0x82, 103, 103, 0x1104});
    line.setTags({tagAt("DM", 100, 2), tagAt("DM", 102, 4), tagAt("DM", 106, 2)});
    ASSERT_TRUE(line.runUntil([&] { return line.freshTags() == 2; }, 2 * SECOND));
    EXPECT_EQ(line.shown(1), "refused");
}

TEST(LineRefusals, wordOfTwoOverlappingTags_refusesBoth) {
    SimulatedLine line(longFrames());
    line.machine.refusals.push_back({0x82, 103, 103, 0x1103});
    line.setTags({tagAt("DM", 100, 4), tagAt("DM", 102, 4), tagAt("DM", 105, 2)});
    ASSERT_TRUE(line.runUntil([&] { return line.freshTags() == 1; }, 2 * SECOND));
    EXPECT_EQ(line.shown(0), "refused");
    EXPECT_EQ(line.shown(1), "refused");
    EXPECT_EQ(line.shown(2), "0 0");
}

TEST(LineRefusals, passingRefusalOfABlock_leavesNothingRefused) {
    SimulatedLine line(longFrames());
    line.setTags(hundredTags());
    ASSERT_TRUE(line.runUntil([&] { return line.freshTags() == 100; }, 2 * SECOND));
    const int refusedUntil = static_cast<int>(line.frames.size()) + 3;
    line.fate = [refusedUntil](const QByteArray&, int number) {
        Fate fate;
        fate.endCode = number <= refusedUntil ? 0x1103 : 0;
        return fate;
    };
    ASSERT_TRUE(line.runUntil([&] { return line.freshTags() < 100; }, 2 * SECOND));
    EXPECT_TRUE(line.runUntil([&] { return line.freshTags() == 100; }, SECOND));
}

TEST(LineRefusals, otherError_isNoReasonToSearch) {
    SimulatedLine line(longFrames());
    line.fate = [](const QByteArray&, int) {
        Fate fate;
        fate.endCode = 0x2301;
        return fate;
    };
    line.setTags(hundredTags());
    line.run(2 * SECOND);
    EXPECT_EQ(line.shown(0), "not read");
    EXPECT_FALSE(line.status(0).reason.isEmpty());
    line.fate = nullptr;
    EXPECT_TRUE(line.runUntil([&] { return line.freshTags() == 100; }, SECOND));
}

TEST(LineRefusals, releasedTag_isNotFreshBeforeItHasBeenReadAgain) {
    LineSettings settings = longFrames();
    settings.refusedRetryMs = 50;
    SimulatedLine line(settings);
    line.setTags({tagAt("DM", 1), tagAt("DM", 300)});
    ASSERT_TRUE(line.runUntil([&] { return line.core->board().allFresh(); }, SECOND));
    line.machine.refusals.push_back({0x82, 300, 300, 0x1103});
    ASSERT_TRUE(line.runUntil([&] { return line.shown(1) == "refused"; }, SECOND));
    line.machine.refusals.clear();
    line.machine.setDm(300, 55);
    std::vector<std::string> seen;
    line.onTags = [&](const QVector<int>&) { seen.push_back(line.shown(1)); };
    ASSERT_TRUE(line.runUntil([&] { return line.shown(1) == "55"; }, SECOND));
    for (const std::string& text : seen) {
        EXPECT_NE(text, "0");
    }
}

/// The PLC begins to refuse a block after so many steps of 400 microseconds.
class RefusedInBetween : public testing::TestWithParam<int> {};

TEST_P(RefusedInBetween, whileAReadApartIsInTheDriversHands_doesNotEndThePolling) {
    // DM 5 lies in a gap and is refused, so DM 10 is read apart. Behind three writes the driver
    // puts its own block, DM 0, before that read. When just then DM 0 is refused, DM 10 becomes a
    // block.
    SimulatedLine line(longFrames());
    line.machine.refusals.push_back({0x82, 5, 5, 0x1103});
    line.setTags({tagAt("DM", 0), tagAt("DM", 10)});
    ASSERT_TRUE(line.runUntil([&] { return line.core->board().allFresh(); }, 2 * SECOND));
    const int scans = line.scans;
    ASSERT_TRUE(line.runUntil([&] { return line.scans > scans; }, SECOND));
    line.run(90000);
    for (int number = 0; number < 20; ++number) {
        line.write("HR", 1, {static_cast<quint16>(number)});
    }
    line.run(GetParam() * 400);
    line.machine.refusals.push_back({0x82, 0, 0, 0x1103});
    line.run(SECOND);
    EXPECT_EQ(line.shown(0), "refused");
    line.machine.setDm(10, 42);
    line.run(SECOND);
    EXPECT_EQ(line.shown(1), "42");
}

INSTANTIATE_TEST_SUITE_P(Steps, RefusedInBetween, testing::Range(0, 80));

TEST(LineRefusals, retriesAreMadeThoughEveryScanIsLate) {
    LineSettings settings = longFrames();
    settings.scanMs = 10;
    settings.refusedRetryMs = 1000;
    SimulatedLine line(settings);
    line.usual = 10000; // a round trip takes two scan intervals
    line.machine.refusals.push_back({0x82, 5, 5, 0x1103});
    line.machine.refusals.push_back({0x82, 400, 400, 0x1103});
    line.setTags({tagAt("DM", 0), tagAt("DM", 10), tagAt("DM", 400)});
    ASSERT_TRUE(line.runUntil([&] { return line.freshTags() == 2 && line.shown(2) == "refused"; },
                              5 * SECOND));
    line.machine.refusals.pop_back();
    EXPECT_TRUE(line.runUntil([&] { return line.core->board().allFresh(); }, 3 * SECOND));
}

} // namespace
