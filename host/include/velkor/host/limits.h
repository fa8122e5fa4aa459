#ifndef VELKOR_HOST_LIMITS_H
#define VELKOR_HOST_LIMITS_H

/// Limits of a value, in the unit that people use.

#include <velkor/host/export.h>
#include <velkor/host/scaled_value.h>

namespace velkor_host {

struct Limits {
    std::optional<double> low;
    std::optional<double> high;
};

enum class Limit { Inside, Below, Above };

/// Where the values lie: that of the first one outside. A value at a limit is inside: the limit is
/// taken for the number that the PLC keeps for it, as parseScaled() would write it. With a limit,
/// an infinite float is Below or Above by its sign, and one that is no number is Above; what else
/// is no number is Inside.
VELKOR_HOST_EXPORT Limit limitOf(ValueType type, const Items& items, const Scaling& scaling,
                                 const Limits& limits);

/// The number in as few digits as give the very same number back, 15 at least if it has them.
VELKOR_HOST_EXPORT QString exactNumberText(double value);

} // namespace velkor_host

#endif
