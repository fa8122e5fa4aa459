// What a command comes to: an end code, and the reply's data when it is normal.
#pragma once

#include <cstdint>

#include "plc/bytes.h"
#include "plc/fins_codes.h"

namespace plc {

struct Answer {
    std::uint16_t endCode = endcode::kNormal;
    Bytes data;
};

inline Answer refused(std::uint16_t endCode) {
    return {endCode, {}};
}

} // namespace plc
