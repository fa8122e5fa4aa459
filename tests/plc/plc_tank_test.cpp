#include <gtest/gtest.h>

#include <random>

#include "plc/memory_values.h"
#include "plc/tank.h"

namespace {

using plc::Memory;
using plc::Tank;
using plc::TankPlant;
namespace map = plc::tank_map;

struct LiveTank {
    LiveTank() { tank.start(memory); }

    void run(double seconds, bool programRuns = true) {
        tank.advance(memory, seconds, programRuns);
    }

    // Advances until the step is reached; the seconds that it took, or 1000 when it never came.
    double runUntil(plc::TankStep step) {
        double seconds = 0;
        while (plc::wordAt(memory, map::kStep) != static_cast<std::uint16_t>(step) &&
               seconds < 1000) {
            run(0.1);
            seconds += 0.1;
        }
        return seconds;
    }

    Memory memory;
    Tank tank;
};

TEST(PlcTank, start_putsValuesAndSetPointsIntoTheMemory) {
    LiveTank live;
    EXPECT_EQ(live.memory.word(plc::Area::Dm, 0), 200); // 20.0 l
    EXPECT_EQ(live.memory.word(plc::Area::Dm, 1), 200); // 20.0 degrees
    EXPECT_EQ(live.memory.word(plc::Area::Dm, 100), 1200);
    EXPECT_EQ(live.memory.word(plc::Area::Holding, 101), 0x5741); // "WA"
    EXPECT_TRUE(live.memory.bit(plc::Area::Work, 0, 0));
    EXPECT_EQ(live.memory.word(plc::Area::Counter, 0), 0x0100); // BCD
}

TEST(PlcTank, advance_automatic_runsThroughAllSteps) {
    LiveTank live;
    EXPECT_LT(live.runUntil(plc::TankStep::Filling), 1);
    // 100 l are missing, at 4 l/s
    EXPECT_NEAR(live.runUntil(plc::TankStep::Heating), 25.0, 0.5);
    EXPECT_NEAR(plc::wordAt(live.memory, map::kLevel), 1200, 10);
    // 100 l of 15 degrees in 20 l of 20 give 15.8; 44.2 K x 120 l x 4.186 kJ / 500 kW = 44.4 s
    EXPECT_NEAR(live.runUntil(plc::TankStep::Holding), 44.4, 1.5);
    EXPECT_NEAR(live.runUntil(plc::TankStep::Draining), 20.0, 0.5);
    // 100 l at 5 l/s
    EXPECT_NEAR(live.runUntil(plc::TankStep::Idle), 20.0, 0.5);
    EXPECT_EQ(live.memory.word(plc::Area::Counter, 0), 0x0099);
    EXPECT_EQ(live.memory.word(plc::Area::Counter, 1), 0x0001);
}

TEST(PlcTank, advance_eachStep_showsItsOutputsNumberAndName) {
    LiveTank live;
    live.runUntil(plc::TankStep::Filling);
    EXPECT_EQ(live.memory.word(plc::Area::Cio, 100), 0x0001);
    EXPECT_EQ(live.memory.word(plc::Area::Dm, 11), 0x0101);
    EXPECT_EQ(live.memory.word(plc::Area::Dm, 20), 0x4649);                       // "FI"
    EXPECT_EQ(static_cast<std::int16_t>(live.memory.word(plc::Area::Dm, 8)), 40); // 4 l/s
    live.runUntil(plc::TankStep::Heating);
    EXPECT_EQ(live.memory.word(plc::Area::Cio, 100), 0x0004);
    live.runUntil(plc::TankStep::Draining);
    live.run(0.1);
    EXPECT_EQ(live.memory.word(plc::Area::Cio, 100), 0x0002);
    EXPECT_EQ(live.memory.word(plc::Area::Dm, 11), 0x0402);
    EXPECT_EQ(static_cast<std::int16_t>(live.memory.word(plc::Area::Dm, 8)), -50);
}

TEST(PlcTank, advance_holding_countsTheTimerDownAndHoldsTheTemperature) {
    LiveTank live;
    live.runUntil(plc::TankStep::Holding);
    EXPECT_EQ(plc::bcdAt(live.memory, map::kHoldTimer), 200U);
    live.run(10);
    EXPECT_NEAR(plc::bcdAt(live.memory, map::kHoldTimer), 100, 2);
    EXPECT_FALSE(live.memory.flag(plc::Area::Timer, 0));
    EXPECT_NEAR(live.tank.plant().temperature(), 60.0, 1.5);
}

// On at the lower end of the hysteresis (1 degree below 60), off at the set point, not in between.
// A scan of 0.1 s warms 120 l by 0.1 degrees.
TEST(PlcTank, advance_holding_heatsFromOneEndOfTheHysteresisToTheOther) {
    LiveTank live;
    live.memory.setWord(plc::Area::Dm, 103, 0xFFFF); // hold for long
    live.runUntil(plc::TankStep::Holding);
    live.run(0.1);
    bool on = live.memory.bit(plc::Area::Cio, 100, 2);
    int switched = 0;
    for (int i = 0; i < 2000; ++i) {
        live.run(0.1);
        const bool nowOn = live.memory.bit(plc::Area::Cio, 100, 2);
        if (nowOn != on) {
            EXPECT_NEAR(plc::wordAt(live.memory, map::kTemperature), nowOn ? 590 : 600, 1);
            ++switched;
        }
        on = nowOn;
    }
    EXPECT_GE(switched, 4);
}

TEST(PlcTank, advance_wordsAndFloats_agree) {
    LiveTank live;
    for (int i = 0; i < 200; ++i) {
        live.run(1);
        EXPECT_NEAR(plc::wordAt(live.memory, map::kLevel) / 10.0,
                    plc::floatAt(live.memory, map::kLevelFloat), 0.051);
        EXPECT_NEAR(plc::wordAt(live.memory, map::kTemperature) / 10.0,
                    plc::floatAt(live.memory, map::kTemperatureFloat), 0.051);
    }
    EXPECT_NEAR(plc::doubleWordAt(live.memory, map::kUptime), 200, 1);
}

TEST(PlcTank, advance_inOneOrManyPieces_isTheSame) {
    LiveTank whole;
    LiveTank pieces;
    whole.run(60);
    for (int i = 0; i < 120; ++i) {
        pieces.run(0.5);
    }
    EXPECT_NEAR(whole.tank.plant().level(), pieces.tank.plant().level(), 0.5);
    EXPECT_NEAR(whole.tank.plant().temperature(), pieces.tank.plant().temperature(), 0.5);
    EXPECT_EQ(plc::wordAt(whole.memory, map::kStep), plc::wordAt(pieces.memory, map::kStep));
}

TEST(PlcTank, advance_noTimeOrNegativeTime_changesNothing) {
    LiveTank live;
    live.run(10);
    const double level = live.tank.plant().level();
    const std::uint16_t scans = plc::wordAt(live.memory, map::kScanCount);
    live.run(0);
    live.run(-5);
    EXPECT_EQ(live.tank.plant().level(), level);
    EXPECT_EQ(plc::wordAt(live.memory, map::kScanCount), scans);
}

TEST(PlcTank, advance_programStopped_switchesAllOutputsOff) {
    LiveTank live;
    live.runUntil(plc::TankStep::Heating);
    const double temperature = live.tank.plant().temperature();
    live.run(10, false);
    EXPECT_EQ(live.memory.word(plc::Area::Cio, 100), 0);
    EXPECT_NEAR(live.tank.plant().temperature(), temperature, 0.5);
    EXPECT_EQ(plc::wordAt(live.memory, map::kStep), 2);
}

TEST(PlcTank, advance_anyCommandsAndSetPoints_staysWithinTheTank) {
    std::mt19937 generator(1);
    const auto random = [&generator](unsigned below) {
        return static_cast<unsigned>(generator() % below);
    };
    const auto anyWord = [&random] { return static_cast<std::uint16_t>(random(0x10000)); };
    LiveTank live;
    for (int i = 0; i < 3000; ++i) {
        live.memory.setWord(plc::Area::Work, 0, anyWord());
        live.memory.setWord(plc::Area::Dm, 100 + random(5), anyWord());
        live.memory.setWord(plc::Area::Dm, random(31), anyWord());
        live.memory.setWord(plc::Area::Counter, 0, anyWord());
        live.run(random(100) / 10.0, random(8) != 0);
        ASSERT_GE(live.tank.plant().level(), 0);
        ASSERT_LE(live.tank.plant().level(), TankPlant::kCapacity);
        ASSERT_GE(live.tank.plant().temperature(), 0);
        ASSERT_LE(live.tank.plant().temperature(), TankPlant::kMaxTemperature);
    }
}

TEST(PlcTank, advance_byHand_obeysTheManualBits) {
    LiveTank live;
    live.memory.setWord(plc::Area::Work, 0, 0x0002); // automatic off, pump by hand
    live.run(10);
    EXPECT_NEAR(live.tank.plant().level(), 60.0, 0.5);
    live.memory.setWord(plc::Area::Work, 0, 0x0004); // outlet by hand
    live.run(4);
    EXPECT_NEAR(live.tank.plant().level(), 40.0, 0.5);
    EXPECT_EQ(plc::doubleWordAt(live.memory, map::kPumpedTotal), 40U);
}

TEST(PlcTank, advance_pumpForever_endsAtTheRim) {
    LiveTank live;
    live.memory.setWord(plc::Area::Work, 0, 0x0002);
    live.run(300);
    EXPECT_EQ(live.memory.word(plc::Area::Dm, 0), 2000);
    EXPECT_TRUE(live.memory.bit(plc::Area::Cio, 0, 1));
    EXPECT_TRUE(live.memory.bit(plc::Area::Holding, 0, 0)); // level high
    EXPECT_TRUE(live.memory.bit(plc::Area::Cio, 100, 3));
}

TEST(PlcTank, alarm_acknowledgedWhileItsCauseLasts_stays) {
    LiveTank live;
    live.memory.setWord(plc::Area::Work, 0, 0x0002);
    live.run(60);
    live.memory.setWord(plc::Area::Work, 0, 0x0010); // acknowledge
    live.run(1);
    EXPECT_TRUE(live.memory.bit(plc::Area::Holding, 0, 0));
    EXPECT_FALSE(live.memory.bit(plc::Area::Work, 0, 4));
}

TEST(PlcTank, alarm_causeGone_staysUntilItIsAcknowledged) {
    LiveTank live;
    live.memory.setWord(plc::Area::Work, 0, 0x0002);
    live.run(60);
    live.memory.setWord(plc::Area::Work, 0, 0x0004);
    live.run(20);
    EXPECT_TRUE(live.memory.bit(plc::Area::Holding, 0, 0));
    live.memory.setWord(plc::Area::Work, 0, 0x0010);
    live.run(1);
    EXPECT_FALSE(live.memory.bit(plc::Area::Holding, 0, 0));
    EXPECT_FALSE(live.memory.bit(plc::Area::Cio, 100, 3));
}

TEST(PlcTank, alarm_undisturbedBatches_raiseNone) {
    LiveTank live;
    for (int i = 0; i < 600; ++i) {
        live.run(1);
        ASSERT_EQ(live.memory.word(plc::Area::Holding, 0), 0) << "after " << i << " s";
    }
    EXPECT_LT(plc::bcdAt(live.memory, map::kBatchesLeft), 97U);
}

TEST(PlcTank, leak_whileHolding_raisesLevelLow) {
    LiveTank live;
    live.memory.setWord(plc::Area::Dm, 103, 0xFFFF); // hold for long
    live.runUntil(plc::TankStep::Holding);
    live.memory.setBit(plc::Area::Dm, 30, 0, true);
    live.run(60);
    EXPECT_FALSE(live.memory.bit(plc::Area::Holding, 0, 1));
    live.run(15); // 120 l less 75 is below 50
    EXPECT_TRUE(live.memory.bit(plc::Area::Holding, 0, 1));
}

TEST(PlcTank, counters_noBatchLeft_waitsInIdleUntilReset) {
    LiveTank live;
    live.memory.setWord(plc::Area::Counter, 0, 0x0001);
    live.runUntil(plc::TankStep::Draining);
    live.runUntil(plc::TankStep::Idle);
    EXPECT_TRUE(live.memory.flag(plc::Area::Counter, 0));
    live.run(30);
    EXPECT_EQ(plc::wordAt(live.memory, map::kStep), 0);
    live.memory.setBit(plc::Area::Work, 0, 5, true);
    live.run(1);
    EXPECT_EQ(live.memory.word(plc::Area::Counter, 0), 0x0100);
    EXPECT_FALSE(live.memory.bit(plc::Area::Work, 0, 5));
    EXPECT_EQ(plc::wordAt(live.memory, map::kStep), 1);
}

TEST(PlcTank, resume_savedMemory_goesOnWhereItWas) {
    LiveTank before;
    before.runUntil(plc::TankStep::Heating);
    before.run(10);
    Tank after;
    after.resume(before.memory);
    EXPECT_NEAR(after.plant().level(), before.tank.plant().level(), 0.01);
    EXPECT_NEAR(after.plant().temperature(), before.tank.plant().temperature(), 0.01);
    after.advance(before.memory, 0.1, true);
    EXPECT_EQ(plc::wordAt(before.memory, map::kStep), 2);
    EXPECT_EQ(plc::doubleWordAt(before.memory, map::kPumpedTotal), 100U);
}

TEST(PlcTank, isIn_memoryOfATank_isToldFromAnyOther) {
    LiveTank live;
    EXPECT_TRUE(Tank::isIn(live.memory));
    EXPECT_FALSE(Tank::isIn(Memory()));
}

TEST(PlcTank, resume_impossibleValues_areBroughtIntoTheTank) {
    Memory memory;
    plc::putFloat(memory, map::kLevelFloat, 1e9F);
    plc::putDoubleWord(memory, map::kTemperatureFloat, 0x7FC00000); // not a number
    plc::putWord(memory, map::kStep, 77);
    Tank tank;
    tank.resume(memory);
    EXPECT_EQ(tank.plant().level(), TankPlant::kCapacity);
    EXPECT_EQ(tank.plant().temperature(), TankPlant::kAmbient);
}

} // namespace
