/// Writes: bursts while polling, bits and words, the cap of the list.

#include "loop/loop_fixture.h"

namespace {

class WriteLoop : public LoopFixture {};

TEST_F(WriteLoop, wordAndBits_reachThePlcInItsOwnByteOrder) {
    writeWords("DM", 100, {0x1234, 0xABCD});
    writeBits("CIO_bit", 35, {1, 0, 1});
    runUntilIdle();
    EXPECT_EQ(0x1234, plcWord(plc::Area::Dm, 100));
    EXPECT_EQ(0xABCD, plcWord(plc::Area::Dm, 101));
    EXPECT_EQ(0x0028, plcWord(plc::Area::Cio, 2));
}

TEST_F(WriteLoop, sixHundredBitAndWordWritesWhilePolling_allReachThePlcAndPollingGoesOn) {
    poll({{"DM", 20000, 4}, {"HR", 0, 4}, {"CIO", 1000, 4}});
    int reads = 0;
    int turnsSinceRead = 0;
    for (int i = 0; i < 600; ++i) {
        if (i % 2 == 0) {
            writeWords("DM", 3 * i, {0x4000 + i});
        } else {
            writeBits("WR_bit", 3 * i, {1});
        }
        if (i % 100 == 99) { // the panel gets round to the line from time to time only
            for (int turns = 0; turns < 130; ++turns) {
                ASSERT_EQ(1, turn());
                const bool cyclic = out.frame[11] == 1;
                reads += cyclic ? 1 : 0;
                turnsSinceRead = cyclic ? 0 : turnsSinceRead + 1;
                ASSERT_LE(turnsSinceRead, 5) << "writes starve the polling";
            }
        }
    }
    EXPECT_EQ(6 * 130 - 600, reads);
    for (int i = 0; i < 600; ++i) {
        if (i % 2 == 0) {
            ASSERT_EQ(0x4000 + i, plcWord(plc::Area::Dm, 3 * i)) << i;
            ASSERT_EQ(0x4000 + i, hostWord("DM", 3 * i)) << i;
        } else {
            const auto bit = static_cast<unsigned int>(3 * i);
            ASSERT_TRUE(plc.memory().bit(plc::Area::Work, bit / 16U, bit % 16U)) << i;
        }
    }
}

TEST_F(WriteLoop, sixHundredWritesWithoutATurn_first512AndTheNewestReachThePlc) {
    for (int i = 0; i < 600; ++i) {
        writeWords("DM", 2 * i, {0x4000 + i});
    }
    runUntilIdle();
    for (int i = 0; i < 600; ++i) {
        const bool kept = i < 512 || i == 599;
        ASSERT_EQ(kept ? 0x4000 + i : 0, plcWord(plc::Area::Dm, 2 * i)) << i;
    }
}

TEST_F(WriteLoop, oneValueWrittenAgainAndAgain_lastOneStands) {
    writeWords("HR", 5, {1});
    ASSERT_TRUE(ask()); // the first is on its way
    for (int value = 2; value <= 100; ++value) {
        writeWords("HR", 5, {value});
    }
    EXPECT_EQ(100, hostWord("HR", 5));
    runUntilIdle();
    EXPECT_EQ(100, plcWord(plc::Area::Holding, 5));
    EXPECT_EQ(100, hostWord("HR", 5));
    EXPECT_EQ(2U, plc.counters().commands) << "what waits is replaced in its place";
}

TEST_F(WriteLoop, longWrite_isCutIntoFrames) {
    std::vector<int> words(1000);
    for (std::size_t i = 0; i < words.size(); ++i) {
        words[i] = 7 * static_cast<int>(i);
    }
    writeWords("DM", 500, words);
    runUntilIdle();
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(7 * i, plcWord(plc::Area::Dm, 500 + i));
    }
    EXPECT_EQ(16U, plc.counters().commands); // 15 of 64 words, one of 40
}

TEST_F(WriteLoop, bitsOfOneWordInSeparateWrites_keepTheOthers) {
    setPlcWord(plc::Area::Work, 3, 0x00F0);
    goodTurns(poll({{"WR", 3, 1}}));
    writeBits("WR_bit", 48, {1});
    writeBits("WR_bit", 63, {1});
    writeBits("WR_bit", 53, {0});
    EXPECT_EQ(0x80D1, hostWord("WR", 3));
    goodTurns(3);
    EXPECT_EQ(0x80D1, plcWord(plc::Area::Work, 3));
    goodTurns(1);
    EXPECT_EQ(0x80D1, hostWord("WR", 3));
}

TEST_F(WriteLoop, countersAndTimers_areWrittenApart) {
    writeWords("T", 9, {0x1111});
    writeWords("C", 9, {0x2222});
    runUntilIdle();
    EXPECT_EQ(0x1111, plcWord(plc::Area::Timer, 9));
    EXPECT_EQ(0x2222, plcWord(plc::Area::Counter, 9));
}

} // namespace
