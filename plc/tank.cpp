#include "plc/tank.h"

#include <algorithm>
#include <cmath>

#include "plc/memory_values.h"

namespace plc {

using namespace tank_map;

namespace {

constexpr double kScanSeconds = 0.1;
constexpr double kLongestAdvance = 3600.0;

std::uint16_t tenths(double value) {
    return static_cast<std::uint16_t>(static_cast<std::int16_t>(std::lround(value * 10)));
}

} // namespace

void Tank::start(Memory& memory) {
    program_.loadDefaults(memory);
    measure(memory);
}

bool Tank::isIn(const Memory& memory) {
    return wordAt(memory, kFillLevel) != 0 && wordAt(memory, kBatchTarget) != 0;
}

void Tank::resume(Memory& memory) {
    plant_.set(floatAt(memory, kLevelFloat), floatAt(memory, kTemperatureFloat));
    uptime_ = doubleWordAt(memory, kUptime);
    pumpedBefore_ = doubleWordAt(memory, kPumpedTotal);
    heatBefore_ = static_cast<std::int32_t>(doubleWordAt(memory, kHeat));
    program_.resume(memory);
    measure(memory);
}

void Tank::advance(Memory& memory, double seconds, bool programRuns) {
    double left = std::clamp(seconds, 0.0, kLongestAdvance);
    while (left > 0) {
        const double step = std::min(left, kScanSeconds);
        left -= step;
        if (programRuns) {
            program_.scan(memory, step);
        } else {
            TankProgram::outputsOff(memory);
        }
        TankPlant::Actuators actuators;
        actuators.pump = bitAt(memory, kPump);
        actuators.outlet = bitAt(memory, kOutlet);
        actuators.heater = bitAt(memory, kHeater);
        actuators.leak = bitAt(memory, kSimulateLeak);
        plant_.advance(step, actuators);
        uptime_ += step;
        measure(memory);
    }
}

void Tank::measure(Memory& memory) {
    putWord(memory, kLevel, tenths(plant_.level()));
    putWord(memory, kTemperature, tenths(plant_.temperature()));
    putFloat(memory, kLevelFloat, static_cast<float>(plant_.level()));
    putFloat(memory, kTemperatureFloat, static_cast<float>(plant_.temperature()));
    putWord(memory, kFlow, tenths(plant_.flow()));
    putDoubleWord(memory, kUptime, static_cast<std::uint32_t>(uptime_));
    putDoubleWord(memory, kPumpedTotal,
                  static_cast<std::uint32_t>(pumpedBefore_ + plant_.pumped()));
    putDoubleWord(
        memory, kHeat,
        static_cast<std::uint32_t>(static_cast<std::int64_t>(heatBefore_ + plant_.heat())));
    putBit(memory, kLevelLowSwitch, plant_.level() < 0.05 * TankPlant::kCapacity);
    putBit(memory, kLevelHighSwitch, plant_.level() > 0.95 * TankPlant::kCapacity);
    putBit(memory, kPumpRuns, bitAt(memory, kPump));
    putBit(memory, kOutletOpen, bitAt(memory, kOutlet));
    putBit(memory, kHeaterOn, bitAt(memory, kHeater));
}

} // namespace plc
