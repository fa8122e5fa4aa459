#include "host/values/raw_number.h"

#include <cmath>
#include <limits>

namespace velkor_host {
namespace {

/// How far a scaled value may be from a raw number and still mean it: decimal fractions such as
/// 70.6 / 0.1 are not exact in binary. The second is in units of value and offset, whose last
/// digits the division by a small scale brings to the front: a value is shown with 15 digits, so
/// that what is typed as it was shown is half a unit of the last one away, 5e-15 of it at most.
const double TOLERANCE = 1e-9;
const double RELATIVE_TOLERANCE = 6e-15;

} // namespace

NumberRange numberRange(ValueType type) {
    switch (type) {
    case ValueType::Bool:
        return {0, 1};
    case ValueType::Int16:
        return {-32768, 32767};
    case ValueType::Bcd:
        return {0, 9999};
    case ValueType::Uint32:
        return {0, std::numeric_limits<quint32>::max()};
    case ValueType::Int32:
        return {std::numeric_limits<qint32>::min(), std::numeric_limits<qint32>::max()};
    case ValueType::Float32:
        return {std::numeric_limits<float>::lowest(), std::numeric_limits<float>::max()};
    case ValueType::Uint16:
    case ValueType::Hex:
    case ValueType::String:
        break;
    }
    return {0, 65535};
}

RawNumber rawNumber(ValueType type, double value, const Scaling& scaling) {
    const double raw = (value - scaling.offset) / scaling.scale;
    if (type == ValueType::Float32) {
        const bool beyond = std::abs(raw) > numberRange(type).highest;
        return {beyond ? raw : static_cast<double>(static_cast<float>(raw)), true};
    }
    const double nearest = std::round(raw);
    const double tolerance = TOLERANCE + RELATIVE_TOLERANCE *
                                             (std::abs(value) + std::abs(scaling.offset)) /
                                             std::abs(scaling.scale);
    const bool exact = std::abs(raw - nearest) <= tolerance;
    return {exact ? nearest : raw, exact};
}

} // namespace velkor_host
