// What the PLC's own program does with the tank: one batch after the other is filled, heated, held
// at its temperature and drained. All set points and commands come from the memory, all outputs go
// there.
#pragma once

#include <cstdint>

#include "plc/memory.h"

namespace plc {

enum class TankStep : std::uint16_t {
    Idle = 0,
    Filling = 1,
    Heating = 2,
    Holding = 3,
    Draining = 4
};

const char* nameOf(TankStep step);

class TankProgram {
public:
    // Set points and counters of a first start; automatic is on.
    void loadDefaults(Memory& memory) const;

    // Takes up the step that the memory shows.
    void resume(const Memory& memory);

    // One scan: reads the measured level and temperature and the commands, sets the outputs.
    void scan(Memory& memory, double seconds);

    // All outputs off, as in PROGRAM mode.
    static void outputsOff(Memory& memory);

    TankStep step() const { return step_; }

private:
    void doCommands(Memory& memory);
    void nextStep(Memory& memory);
    void enter(TankStep step, Memory& memory);
    void runHoldTimer(Memory& memory, double seconds);
    void setOutputs(Memory& memory);
    void watchLimits(Memory& memory) const;
    void show(Memory& memory) const;

    TankStep step_ = TankStep::Idle;
    double secondsInStep_ = 0;
    double holdLeft_ = 0; // s
};

} // namespace plc
