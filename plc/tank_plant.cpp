#include "plc/tank_plant.h"

#include <algorithm>
#include <cmath>

namespace plc {

namespace {

constexpr double kHeatOfLitre = 4.186;     // kJ for one litre and degree
constexpr double kLossOfDegree = 0.25;     // kW for each degree above the surroundings
constexpr double kLeastHeatedLitres = 5.0; // below, the heater's own switch keeps it off

} // namespace

void TankPlant::advance(double seconds, const Actuators& actuators) {
    const double before = level_;
    if (actuators.pump) {
        fill(kPumpFlow * seconds);
    }
    const double outflow =
        (actuators.outlet ? kOutletFlow : 0.0) + (actuators.leak ? kLeakFlow : 0.0);
    level_ = std::max(0.0, level_ - outflow * seconds);
    warm(seconds, actuators.heater);
    flow_ = seconds > 0 ? (level_ - before) / seconds : 0.0;
}

void TankPlant::set(double level, double temperature) {
    level_ = std::isfinite(level) ? std::clamp(level, 0.0, kCapacity) : 0.0;
    temperature_ =
        std::isfinite(temperature) ? std::clamp(temperature, 0.0, kMaxTemperature) : kAmbient;
}

// What does not fit runs over, after it has mixed.
void TankPlant::fill(double litres) {
    const double mixed = level_ + litres;
    if (mixed > 0) {
        temperature_ = (temperature_ * level_ + kFeedTemperature * litres) / mixed;
    }
    level_ = std::min(mixed, kCapacity);
    pumped_ += litres;
}

void TankPlant::warm(double seconds, bool heater) {
    if (level_ < kLeastHeatedLitres) {
        return; // a few litres take the temperature that the tank has
    }
    const double heated = heater && temperature_ < kMaxTemperature ? kHeaterPower * seconds : 0.0;
    const double lost = (temperature_ - kAmbient) * kLossOfDegree * seconds;
    heat_ += heated - lost;
    temperature_ =
        std::min(kMaxTemperature, temperature_ + (heated - lost) / (level_ * kHeatOfLitre));
}

} // namespace plc
