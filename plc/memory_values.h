// Values of more than one bit in the PLC's memory: signed words, double words (low word first),
// floats, BCD and text (two characters a word, the first in the high byte).
#pragma once

#include <cstdint>
#include <string>

#include "plc/tank_map.h"

namespace plc {

std::uint16_t wordAt(const Memory& memory, const tank_map::Word& at);
void putWord(Memory& memory, const tank_map::Word& at, std::uint16_t value);

std::uint32_t doubleWordAt(const Memory& memory, const tank_map::Word& at);
void putDoubleWord(Memory& memory, const tank_map::Word& at, std::uint32_t value);

float floatAt(const Memory& memory, const tank_map::Word& at);
void putFloat(Memory& memory, const tank_map::Word& at, float value);

// Four BCD digits; a digit above 9 counts as 9, a value above 9999 is stored as 9999.
unsigned bcdAt(const Memory& memory, const tank_map::Word& at);
void putBcd(Memory& memory, const tank_map::Word& at, unsigned value);

// Cut at, or filled with zero bytes up to, so many words.
void putText(Memory& memory, const tank_map::Word& at, std::uint32_t words,
             const std::string& text);

bool bitAt(const Memory& memory, const tank_map::Bit& at);
void putBit(Memory& memory, const tank_map::Bit& at, bool on);

} // namespace plc
