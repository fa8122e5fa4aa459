// Where the tank's values lie in the PLC's memory. The same map, for people, is
// examples/tank/README.md; for the panel it is examples/tank/tags.csv and recipe.csv.
#pragma once

#include <cstdint>

#include "plc/memory.h"

namespace plc {
namespace tank_map {

struct Word {
    Area area;
    std::uint32_t address;
};

struct Bit {
    Area area;
    std::uint32_t address;
    unsigned bit;
};

// Inputs: what the plant reports.
constexpr Bit kLevelLowSwitch{Area::Cio, 0, 0};
constexpr Bit kLevelHighSwitch{Area::Cio, 0, 1};
constexpr Bit kPumpRuns{Area::Cio, 0, 2};
constexpr Bit kOutletOpen{Area::Cio, 0, 3};
constexpr Bit kHeaterOn{Area::Cio, 0, 4};

// Outputs of the PLC's program.
constexpr Bit kPump{Area::Cio, 100, 0};
constexpr Bit kOutlet{Area::Cio, 100, 1};
constexpr Bit kHeater{Area::Cio, 100, 2};
constexpr Bit kAlarmLamp{Area::Cio, 100, 3};

// Commands from the panel. The last two are taken back by the PLC once they are done.
constexpr Bit kAutomatic{Area::Work, 0, 0};
constexpr Bit kManualPump{Area::Work, 0, 1};
constexpr Bit kManualOutlet{Area::Work, 0, 2};
constexpr Bit kManualHeater{Area::Work, 0, 3};
constexpr Bit kAcknowledge{Area::Work, 0, 4};
constexpr Bit kResetCounters{Area::Work, 0, 5};

// Alarms, held until they are acknowledged.
constexpr Bit kLevelHighAlarm{Area::Holding, 0, 0};
constexpr Bit kLevelLowAlarm{Area::Holding, 0, 1};
constexpr Bit kTemperatureHighAlarm{Area::Holding, 0, 2};
constexpr Bit kTemperatureLowAlarm{Area::Holding, 0, 3};

constexpr Word kPumpedTotal{Area::Holding, 10}; // two words, litres
constexpr Word kScanCount{Area::Auxiliary, 0};

constexpr Word kLevel{Area::Dm, 0};            // 0.1 l
constexpr Word kTemperature{Area::Dm, 1};      // 0.1 degrees, signed
constexpr Word kLevelFloat{Area::Dm, 2};       // two words, l
constexpr Word kTemperatureFloat{Area::Dm, 4}; // two words, degrees
constexpr Word kUptime{Area::Dm, 6};           // two words, s
constexpr Word kFlow{Area::Dm, 8};             // 0.1 l/s, signed: in minus out
constexpr Word kHeat{Area::Dm, 9};             // two words, kJ, signed: heated minus lost
constexpr Word kStatus{Area::Dm, 11};          // step in the high byte, outputs in the low
constexpr Word kStepSeconds{Area::Dm, 12};     // BCD, s in this step
constexpr Word kStep{Area::Dm, 13};
constexpr Word kStepName{Area::Dm, 20}; // eight words of text
constexpr std::uint32_t kStepNameWords = 8;
constexpr Bit kSimulateLeak{Area::Dm, 30, 0}; // makes the tank lose 1 l/s

constexpr Word kHoldTimer{Area::Timer, 0};     // BCD, 0.1 s left; flag: it has run out
constexpr Word kBatchesLeft{Area::Counter, 0}; // BCD; flag: none is left
constexpr Word kPumpStarts{Area::Counter, 1};  // BCD

// Recipe, first block: the process.
constexpr Word kFillLevel{Area::Dm, 100};       // 0.1 l
constexpr Word kHeatTemperature{Area::Dm, 101}; // 0.1 degrees
constexpr Word kHysteresis{Area::Dm, 102};      // 0.1 degrees
constexpr Word kHoldTime{Area::Dm, 103};        // 0.1 s
constexpr Word kDrainLevel{Area::Dm, 104};      // 0.1 l

// Second block: alarm limits.
constexpr Word kLevelHighLimit{Area::Dm, 200};       // 0.1 l
constexpr Word kLevelLowLimit{Area::Dm, 201};        // 0.1 l
constexpr Word kTemperatureHighLimit{Area::Dm, 202}; // 0.1 degrees
constexpr Word kTemperatureLowLimit{Area::Dm, 203};  // 0.1 degrees

// Third block: the product.
constexpr Word kProductCode{Area::Holding, 100};
constexpr Word kProductName{Area::Holding, 101}; // eight words of text
constexpr std::uint32_t kProductNameWords = 8;
constexpr Word kBatchTarget{Area::Holding, 109}; // 1 to 9999

} // namespace tank_map
} // namespace plc
