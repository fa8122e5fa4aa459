// Bytes as they travel in a datagram.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace plc {

using Bytes = std::vector<std::uint8_t>;

// FINS sends the high byte of a 16-bit number first.
inline std::uint16_t get16(const Bytes& from, std::size_t at) {
    return static_cast<std::uint16_t>(from.at(at) << 8U | from.at(at + 1));
}

inline void append16(Bytes& to, std::uint16_t value) {
    to.push_back(static_cast<std::uint8_t>(value >> 8U));
    to.push_back(static_cast<std::uint8_t>(value & 0xFFU));
}

} // namespace plc
