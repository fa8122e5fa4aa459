// The PLC's data memory: eight areas of 16-bit words. A bit is part of its word, so a write of one
// is seen by a read of the other. Timers and counters have a completion flag beside their present
// value.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace plc {

enum class Area : std::uint8_t {
    Cio,       // CIO 0 to 6143
    Work,      // WR 0 to 511
    Holding,   // HR 0 to 1535
    Auxiliary, // AR 0 to 959; 0 to 447 are written by the PLC alone
    Timer,     // T 0 to 4095
    Counter,   // C 0 to 4095
    Dm,        // DM 0 to 32767
    Em0        // EM bank 0, 0 to 32767
};

constexpr std::size_t kAreaCount = 8;

struct AreaFacts {
    Area area;
    const char* name; // "CIO", "WR", "HR", "AR", "T", "C", "DM", "EM0"
    std::uint8_t wordCode;
    std::uint8_t bitCode;       // completion flags for timers and counters
    std::uint16_t firstAddress; // what the wire calls word 0 of the area
    std::uint32_t size;         // words
    std::uint32_t readOnlySize; // the first so many words refuse writes from outside
};

const std::array<AreaFacts, kAreaCount>& areaTable();
const AreaFacts& factsOf(Area area);
std::optional<Area> areaNamed(const std::string& name);
bool hasCompletionFlags(Area area);

// Every address is a word number within its area, from 0 for counters too. An address or bit
// outside the area is the caller's mistake and throws std::out_of_range. Read-only words are
// writable here: the PLC itself writes them.
class Memory {
public:
    Memory();

    std::uint16_t word(Area area, std::uint32_t address) const;
    void setWord(Area area, std::uint32_t address, std::uint16_t value);

    // Bit 0 to 15 of a word.
    bool bit(Area area, std::uint32_t address, unsigned bitNumber) const;
    void setBit(Area area, std::uint32_t address, unsigned bitNumber, bool on);

    // Completion flag of a timer or counter.
    bool flag(Area area, std::uint32_t number) const;
    void setFlag(Area area, std::uint32_t number, bool on);

private:
    std::array<std::vector<std::uint16_t>, kAreaCount> words_;
    std::array<std::vector<bool>, kAreaCount> flags_;
};

} // namespace plc
