#ifndef VELKOR_HOST_VALUES_RAW_NUMBER_H
#define VELKOR_HOST_VALUES_RAW_NUMBER_H

/// From a value in people's unit to the number that the PLC keeps for it; limits in full.

#include <velkor/host/scaled_value.h>

namespace velkor_host {

/// What a type of numbers can hold, of float32 its finite numbers.
struct NumberRange {
    double lowest = 0;
    double highest = 0;
};
NumberRange numberRange(ValueType type);

struct RawNumber {
    double number = 0; ///< where it is not exact, it lies between two that the PLC can keep
    bool exact = true;
};

/// Not held against numberRange(): the number may lie outside.
RawNumber rawNumber(ValueType type, double value, const Scaling& scaling);

/// The number in as few digits as give the very same number back, 15 at least if it has them.
QString exactNumberText(double value);

} // namespace velkor_host

#endif
