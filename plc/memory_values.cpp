#include "plc/memory_values.h"

#include <algorithm>
#include <cstring>

namespace plc {

std::uint16_t wordAt(const Memory& memory, const tank_map::Word& at) {
    return memory.word(at.area, at.address);
}

void putWord(Memory& memory, const tank_map::Word& at, std::uint16_t value) {
    memory.setWord(at.area, at.address, value);
}

std::uint32_t doubleWordAt(const Memory& memory, const tank_map::Word& at) {
    const std::uint32_t high = memory.word(at.area, at.address + 1);
    return (high << 16U) | memory.word(at.area, at.address);
}

void putDoubleWord(Memory& memory, const tank_map::Word& at, std::uint32_t value) {
    memory.setWord(at.area, at.address, static_cast<std::uint16_t>(value & 0xFFFFU));
    memory.setWord(at.area, at.address + 1, static_cast<std::uint16_t>(value >> 16U));
}

float floatAt(const Memory& memory, const tank_map::Word& at) {
    const std::uint32_t bits = doubleWordAt(memory, at);
    float value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

void putFloat(Memory& memory, const tank_map::Word& at, float value) {
    std::uint32_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    putDoubleWord(memory, at, bits);
}

unsigned bcdAt(const Memory& memory, const tank_map::Word& at) {
    const unsigned word = wordAt(memory, at);
    unsigned value = 0;
    for (int shift = 12; shift >= 0; shift -= 4) {
        value = value * 10 + std::min((word >> shift) & 0xFU, 9U);
    }
    return value;
}

void putBcd(Memory& memory, const tank_map::Word& at, unsigned value) {
    unsigned rest = std::min(value, 9999U);
    unsigned word = 0;
    for (int shift = 0; shift <= 12; shift += 4) {
        word |= (rest % 10) << shift;
        rest /= 10;
    }
    putWord(memory, at, static_cast<std::uint16_t>(word));
}

void putText(Memory& memory, const tank_map::Word& at, std::uint32_t words,
             const std::string& text) {
    const auto character = [&text](std::size_t i) {
        return i < text.size() ? unsigned{static_cast<unsigned char>(text[i])} : 0U;
    };
    for (std::uint32_t i = 0; i < words; ++i) {
        memory.setWord(at.area, at.address + i,
                       static_cast<std::uint16_t>((character(2 * i) << 8U) | character(2 * i + 1)));
    }
}

bool bitAt(const Memory& memory, const tank_map::Bit& at) {
    return memory.bit(at.area, at.address, at.bit);
}

void putBit(Memory& memory, const tank_map::Bit& at, bool on) {
    memory.setBit(at.area, at.address, at.bit, on);
}

} // namespace plc
