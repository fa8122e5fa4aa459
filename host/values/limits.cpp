#include <velkor/host/scaled_value.h>

#include "host/values/raw_number.h"

namespace velkor_host {
namespace {

/// Of a float32 that is infinite or no number, low word first.
bool isInfinite(const Items& value) {
    return (value.at(1) & 0x7F) == 0 && value.at(0) == 0;
}

bool isNegative(const Items& value) {
    return (value.at(1) & 0x8000) != 0;
}

/// Of one value in the PLC's numbers; so are `low` and `high`.
Limit limitOfOne(ValueType type, const Items& value, const std::optional<double>& low,
                 const std::optional<double>& high) {
    const std::optional<double> number = numericValue(type, value);
    if (number) {
        return low && *number < *low     ? Limit::Below
               : high && *number > *high ? Limit::Above
                                         : Limit::Inside;
    }
    if (type != ValueType::Float32 || !isInfinite(value)) {
        return Limit::NoNumber;
    }
    if (isNegative(value)) {
        return low ? Limit::Below : Limit::NoNumber;
    }
    return high ? Limit::Above : Limit::NoNumber;
}

} // namespace

Limit limitOf(ValueType type, const Items& items, const Scaling& scaling, const Limits& limits) {
    if ((!limits.low && !limits.high) || !canBeScaled(type)) {
        return Limit::Inside;
    }
    const auto raw = [&](const std::optional<double>& limit) {
        return limit ? std::optional<double>(rawNumber(type, *limit, scaling).number)
                     : std::nullopt;
    };
    const bool turn = scaling.scale < 0; // the larger number is the smaller value
    const std::optional<double> low = raw(turn ? limits.high : limits.low);
    const std::optional<double> high = raw(turn ? limits.low : limits.high);
    bool below = false;
    bool above = false;
    bool noNumber = false;
    const int step = itemsPerValue(type);
    for (int at = 0; at + step <= items.size(); at += step) {
        const Limit limit = limitOfOne(type, items.mid(at, step), low, high);
        below = below || limit == (turn ? Limit::Above : Limit::Below);
        above = above || limit == (turn ? Limit::Below : Limit::Above);
        noNumber = noNumber || limit == Limit::NoNumber;
    }
    if (below || above) {
        return below && above ? Limit::BelowAndAbove : below ? Limit::Below : Limit::Above;
    }
    return noNumber ? Limit::NoNumber : Limit::Inside;
}

QString exactNumberText(double value) {
    const int CERTAIN_DIGITS = 15;
    const int ALL_DIGITS = 17;
    QString text;
    for (int digits = CERTAIN_DIGITS; digits <= ALL_DIGITS; ++digits) {
        text = QString::number(value, 'g', digits);
        if (text.toDouble() == value) {
            break;
        }
    }
    return text;
}

} // namespace velkor_host
