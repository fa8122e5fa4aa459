// A live process for the PLC: a tank and the program that runs it, both in the PLC's memory (see
// tank_map.h). Knows no clock; time passes by advance().
#pragma once

#include "plc/tank_plant.h"
#include "plc/tank_program.h"

namespace plc {

class Tank {
public:
    // A first start: set points, counters and the measured values are put into the memory.
    void start(Memory& memory);

    // Does the memory hold a tank's set points? If not, it is to be started, not resumed.
    static bool isIn(const Memory& memory);

    // Goes on from what the memory holds, saved by an earlier run.
    void resume(Memory& memory);

    // Lets so many seconds pass, in scans of at most 0.1 s. Without a running program (PROGRAM
    // mode) all outputs are off, and the water does what it does. More than an hour is cut to an
    // hour, less than nothing is nothing.
    void advance(Memory& memory, double seconds, bool programRuns);

    const TankPlant& plant() const { return plant_; }

private:
    void measure(Memory& memory);

    TankPlant plant_;
    TankProgram program_;
    double uptime_ = 0;
    double pumpedBefore_ = 0; // l, by earlier runs
    double heatBefore_ = 0;   // kJ, by earlier runs
};

} // namespace plc
