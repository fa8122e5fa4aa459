#ifndef VELKOR_HOST_SCALED_VALUE_H
#define VELKOR_HOST_SCALED_VALUE_H

/// Values in the unit that people use: value = raw * scale + offset, where raw is the number that
/// the PLC keeps; and limits in that unit.

#include <velkor/host/export.h>
#include <velkor/host/value.h>

namespace velkor_host {

struct Scaling {
    double scale = 1; ///< not 0
    double offset = 0;
    int decimals = -1; ///< digits behind the point, 0 to 9; -1: as many as the value has

    /// The PLC's number is shown as it stands.
    bool isPlain() const { return scale == 1.0 && offset == 0.0 && decimals < 0; }
};

/// Numbers can be scaled; bool, hex and string cannot.
VELKOR_HOST_EXPORT bool canBeScaled(ValueType type);

/// As formatItems(), each value scaled. Words that are no number of the type (not BCD, not a finite
/// float) are shown as they are.
VELKOR_HOST_EXPORT QString formatScaled(ValueType type, const Items& items, const Scaling& scaling);

/// The values as numbers, scaled; nothing for one that is no number.
VELKOR_HOST_EXPORT QVector<std::optional<double>> scaledValues(ValueType type, const Items& items,
                                                               const Scaling& scaling);

/// As parseValues(), for scaled values. A value that no raw number stands for is refused, and the
/// text names the nearest that can be written: nothing is rounded in secret.
VELKOR_HOST_EXPORT QString parseScaled(ValueType type, const QStringList& texts,
                                       const Scaling& scaling, int wordsForString, Items* items);

struct Limits {
    std::optional<double> low;
    std::optional<double> high;
};

enum class Limit {
    Inside,        ///< every value, or there are no limits
    Below,         ///< one at least, and none above
    Above,         ///< one at least, and none below
    BelowAndAbove, ///< of several values
    NoNumber       ///< none lies outside, but one is no number: not BCD, or not a finite float
};

/// Where the values lie, each of them judged. A value at a limit is inside: the limit is taken for
/// the number that the PLC keeps for it, as parseScaled() would write it. An infinite float lies
/// beyond the limit of its side; where there is none, it is NoNumber.
VELKOR_HOST_EXPORT Limit limitOf(ValueType type, const Items& items, const Scaling& scaling,
                                 const Limits& limits);

} // namespace velkor_host

#endif
