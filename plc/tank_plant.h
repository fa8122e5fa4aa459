// The physical tank: water, a pump, an outlet valve, a heater. Knows nothing of the PLC.
#pragma once

namespace plc {

class TankPlant {
public:
    static constexpr double kCapacity = 200.0; // l
    static constexpr double kPumpFlow = 4.0;   // l/s, of water at kFeedTemperature
    static constexpr double kOutletFlow = 5.0; // l/s
    static constexpr double kLeakFlow = 1.0;   // l/s
    static constexpr double kFeedTemperature = 15.0;
    static constexpr double kAmbient = 20.0;
    static constexpr double kHeaterPower = 500.0; // kW
    static constexpr double kMaxTemperature = 100.0;

    struct Actuators {
        bool pump = false;
        bool outlet = false;
        bool heater = false;
        bool leak = false;
    };

    void advance(double seconds, const Actuators& actuators);

    // Takes up an earlier state; values that no tank can have are brought to the nearest possible.
    void set(double level, double temperature);

    double level() const { return level_; }             // l
    double temperature() const { return temperature_; } // degrees
    double flow() const { return flow_; }               // l/s, in minus out, of the last advance
    double pumped() const { return pumped_; }           // l since the start
    double heat() const { return heat_; }               // kJ heated minus lost since the start

private:
    void fill(double litres);
    void warm(double seconds, bool heater);

    double level_ = 20.0;
    double temperature_ = kAmbient;
    double flow_ = 0;
    double pumped_ = 0;
    double heat_ = 0;
};

} // namespace plc
