// Words that this PLC is told to be without, as one that is smaller would be: a command that
// touches one of them is refused as if its address did not exist.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "plc/memory.h"
#include "plc/memory_items.h"

namespace plc {

struct RefusedWords {
    Area area = Area::Cio;
    std::uint32_t first = 0; // word numbers within the area
    std::uint32_t last = 0;  // this one included
};

// "DM 100-110" or "DM 100". No value: that is no such range, or one outside the area.
std::optional<RefusedWords> parseRefusedWords(const std::string& text);

// Whether one of the run's items lies in one of the words; a completion flag lies where the present
// value of its number does.
bool touches(const ItemRun& run, const std::vector<RefusedWords>& refused);

} // namespace plc
