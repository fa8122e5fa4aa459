#include "plc/tank_program.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "plc/memory_values.h"

namespace plc {

using namespace tank_map;

namespace {

constexpr std::array<const char*, 5> kStepNames = {"IDLE", "FILLING", "HEATING", "HOLDING",
                                                   "DRAINING"};

int level(const Memory& memory) {
    return wordAt(memory, kLevel);
}

int temperature(const Memory& memory) {
    return static_cast<std::int16_t>(wordAt(memory, kTemperature));
}

int setPoint(const Memory& memory, const Word& at) {
    return wordAt(memory, at);
}

void loadBatchCounter(Memory& memory) {
    putBcd(memory, kBatchesLeft, wordAt(memory, kBatchTarget));
    memory.setFlag(kBatchesLeft.area, kBatchesLeft.address, wordAt(memory, kBatchTarget) == 0);
}

void countBatch(Memory& memory) {
    const unsigned left = bcdAt(memory, kBatchesLeft);
    putBcd(memory, kBatchesLeft, left > 0 ? left - 1 : 0);
    memory.setFlag(kBatchesLeft.area, kBatchesLeft.address, left <= 1);
}

// An alarm comes with its cause and stays; only an acknowledgement after the cause has gone ends
// it.
void latch(Memory& memory, const Bit& alarm, bool cause, bool acknowledged) {
    putBit(memory, alarm, cause || (bitAt(memory, alarm) && !acknowledged));
}

} // namespace

const char* nameOf(TankStep step) {
    return kStepNames.at(static_cast<std::size_t>(step));
}

void TankProgram::loadDefaults(Memory& memory) const {
    putWord(memory, kFillLevel, 1200);
    putWord(memory, kHeatTemperature, 600);
    putWord(memory, kHysteresis, 10);
    putWord(memory, kHoldTime, 200);
    putWord(memory, kDrainLevel, 200);
    putWord(memory, kLevelHighLimit, 1800);
    putWord(memory, kLevelLowLimit, 500);
    putWord(memory, kTemperatureHighLimit, 800);
    putWord(memory, kTemperatureLowLimit, 550);
    putWord(memory, kProductCode, 1);
    putText(memory, kProductName, kProductNameWords, "WATER");
    putWord(memory, kBatchTarget, 100);
    loadBatchCounter(memory);
    putBit(memory, kAutomatic, true);
}

void TankProgram::resume(const Memory& memory) {
    const std::uint16_t shown = wordAt(memory, kStep);
    step_ = shown < kStepNames.size() ? static_cast<TankStep>(shown) : TankStep::Idle;
    secondsInStep_ = bcdAt(memory, kStepSeconds);
    holdLeft_ = bcdAt(memory, kHoldTimer) / 10.0;
}

void TankProgram::scan(Memory& memory, double seconds) {
    putWord(memory, kScanCount, static_cast<std::uint16_t>(wordAt(memory, kScanCount) + 1));
    secondsInStep_ += seconds;
    runHoldTimer(memory, seconds);
    nextStep(memory);
    watchLimits(memory);
    doCommands(memory);
    setOutputs(memory);
    show(memory);
}

void TankProgram::outputsOff(Memory& memory) {
    for (const Bit& output : {kPump, kOutlet, kHeater, kAlarmLamp}) {
        putBit(memory, output, false);
    }
}

// Done after the alarms were looked at, because the acknowledgement belongs to them.
void TankProgram::doCommands(Memory& memory) {
    putBit(memory, kAcknowledge, false);
    if (bitAt(memory, kResetCounters)) {
        loadBatchCounter(memory);
        putBcd(memory, kPumpStarts, 0);
        putBit(memory, kResetCounters, false);
    }
}

void TankProgram::nextStep(Memory& memory) {
    if (!bitAt(memory, kAutomatic)) {
        if (step_ != TankStep::Idle) {
            enter(TankStep::Idle, memory);
        }
        return;
    }
    switch (step_) {
    case TankStep::Idle:
        if (bcdAt(memory, kBatchesLeft) > 0) {
            enter(TankStep::Filling, memory);
        }
        break;
    case TankStep::Filling:
        if (level(memory) >= setPoint(memory, kFillLevel) ||
            bitAt(memory, kLevelHighSwitch)) { // a set point above the tank ends here, too
            enter(TankStep::Heating, memory);
        }
        break;
    case TankStep::Heating:
        if (temperature(memory) >= setPoint(memory, kHeatTemperature)) {
            enter(TankStep::Holding, memory);
        }
        break;
    case TankStep::Holding:
        if (holdLeft_ <= 0) {
            enter(TankStep::Draining, memory);
        }
        break;
    case TankStep::Draining:
        if (level(memory) <= setPoint(memory, kDrainLevel)) {
            countBatch(memory);
            enter(TankStep::Idle, memory);
        }
        break;
    }
}

void TankProgram::enter(TankStep step, Memory& memory) {
    step_ = step;
    secondsInStep_ = 0;
    holdLeft_ = step == TankStep::Holding ? setPoint(memory, kHoldTime) / 10.0 : 0.0;
}

void TankProgram::runHoldTimer(Memory& memory, double seconds) {
    if (step_ == TankStep::Holding) {
        holdLeft_ = std::max(0.0, holdLeft_ - seconds);
    }
    memory.setFlag(kHoldTimer.area, kHoldTimer.address,
                   step_ == TankStep::Holding && holdLeft_ <= 0);
}

void TankProgram::setOutputs(Memory& memory) {
    const bool automatic = bitAt(memory, kAutomatic);
    const bool pumped = bitAt(memory, kPump);
    const bool pump = automatic ? step_ == TankStep::Filling : bitAt(memory, kManualPump);
    const bool outlet = automatic ? step_ == TankStep::Draining : bitAt(memory, kManualOutlet);
    bool heater = !automatic && bitAt(memory, kManualHeater);
    if (automatic && step_ == TankStep::Heating) {
        heater = true;
    } else if (automatic && step_ == TankStep::Holding) {
        // Between the two ends of the hysteresis it stays as it is.
        const int below = setPoint(memory, kHeatTemperature) - temperature(memory);
        heater = below >= setPoint(memory, kHysteresis) || (below > 0 && bitAt(memory, kHeater));
    }
    putBit(memory, kPump, pump);
    putBit(memory, kOutlet, outlet);
    putBit(memory, kHeater, heater);
    if (pump && !pumped) {
        putBcd(memory, kPumpStarts, (bcdAt(memory, kPumpStarts) + 1) % 10000);
    }
}

void TankProgram::watchLimits(Memory& memory) const {
    const bool holding = step_ == TankStep::Holding;
    const bool full = holding || step_ == TankStep::Heating;
    const bool acknowledged = bitAt(memory, kAcknowledge);
    latch(memory, kLevelHighAlarm, level(memory) > setPoint(memory, kLevelHighLimit), acknowledged);
    latch(memory, kLevelLowAlarm, full && level(memory) < setPoint(memory, kLevelLowLimit),
          acknowledged);
    latch(memory, kTemperatureHighAlarm,
          temperature(memory) > setPoint(memory, kTemperatureHighLimit), acknowledged);
    latch(memory, kTemperatureLowAlarm,
          holding && temperature(memory) < setPoint(memory, kTemperatureLowLimit), acknowledged);
    putBit(memory, kAlarmLamp,
           (memory.word(kLevelHighAlarm.area, kLevelHighAlarm.address) & 0xFU) != 0);
}

void TankProgram::show(Memory& memory) const {
    const auto number = static_cast<std::uint16_t>(step_);
    const unsigned outputs = memory.word(kPump.area, kPump.address) & 0xFFU;
    putWord(memory, kStep, number);
    putText(memory, kStepName, kStepNameWords, nameOf(step_));
    putWord(memory, kStatus, static_cast<std::uint16_t>((unsigned{number} << 8U) | outputs));
    putBcd(memory, kStepSeconds, static_cast<unsigned>(std::min(secondsInStep_, 9999.0)));
    putBcd(memory, kHoldTimer, static_cast<unsigned>(std::ceil(holdLeft_ * 10)));
}

} // namespace plc
