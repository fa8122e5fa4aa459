// Frames as hex text, so that a test shows the bytes of the wire.
#pragma once

#include <cstdio>
#include <sstream>
#include <stdexcept>
#include <string>

#include "plc/plc_core.h"

namespace plc_test {

// "80 00 02" or "800002"; blanks between bytes are ignored.
inline plc::Bytes hex(const std::string& text) {
    std::string digits;
    for (const char c : text) {
        if (c != ' ') {
            digits.push_back(c);
        }
    }
    if (digits.size() % 2 != 0) {
        throw std::invalid_argument("odd number of hex digits: " + text);
    }
    plc::Bytes bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        std::size_t used = 0;
        const int value = std::stoi(digits.substr(i, 2), &used, 16);
        if (used != 2) {
            throw std::invalid_argument("no hex digits: " + text);
        }
        bytes.push_back(static_cast<std::uint8_t>(value));
    }
    return bytes;
}

inline std::string text(const plc::Bytes& bytes) {
    std::string out;
    for (const std::uint8_t byte : bytes) {
        char digits[4];
        std::snprintf(digits, sizeof digits, "%02X ", static_cast<unsigned>(byte));
        out += digits;
    }
    return out.substr(0, out.empty() ? 0 : out.size() - 1);
}

// A command from node 5 to node 1 (the node of a PLC built without options), SID 07.
inline plc::Bytes command(const std::string& commandAndParameters) {
    return hex("80 00 02 00 01 00 00 05 00 07 " + commandAndParameters);
}

// The reply after its 10 bytes of header and its echoed command: end code and data as hex text.
inline std::string ask(plc::Core& core, const std::string& commandAndParameters) {
    const auto reply = core.handle(command(commandAndParameters));
    return reply ? text(plc::Bytes(reply->begin() + 12, reply->end())) : "no reply";
}

inline std::string zeros(std::size_t count) {
    std::string out;
    for (std::size_t i = 0; i < count; ++i) {
        out += " 00";
    }
    return out;
}

} // namespace plc_test
