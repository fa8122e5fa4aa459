#include "panel/trend/scale.h"

#include <algorithm>
#include <cmath>

namespace panel {
namespace screen {
namespace {

const int MOST_STEPS = 20;
const int FEWEST_DIGITS = 10; // whole numbers up to so many are written without an exponent
const int MOST_DIGITS = 15;   // all that a double is sure of

// A range that is smaller, for the size of its numbers, has steps that MOST_DIGITS cannot tell.
const double LEAST_PART = 1e-12;
const double LEAST_SIZE = 1e-290; // a step within smaller numbers may be none that is above 0

/// Digits from the first one of the largest number to the one in which the steps differ.
int digitsOf(const Scale& scale) {
    const double size = std::max(std::fabs(scale.low), std::fabs(scale.high));
    const int digits =
        1 + static_cast<int>(std::floor(std::log10(size)) - std::floor(std::log10(scale.step)));
    return std::max(FEWEST_DIGITS, std::min(MOST_DIGITS, digits));
}

} // namespace

Scale roundScale(double low, double high, int steps) {
    const double size = std::max(std::fabs(low), std::fabs(high));
    if (size < LEAST_SIZE) {
        low = 0;
        high = 1;
    } else if (high - low < size * LEAST_PART) { // steady
        low -= size / 20;
        high += size / 20;
    }
    const double least = (high - low) / std::max(1, std::min(MOST_STEPS - 2, steps));
    const double power = std::pow(10, std::floor(std::log10(least)));
    Scale scale;
    scale.step = 10 * power;
    for (const int factor : {5, 2, 1}) {
        scale.step = factor * power >= least * (1 - 1e-9) ? factor * power : scale.step;
    }
    scale.low = std::floor(low / scale.step + 1e-9) * scale.step;
    scale.high = std::ceil(high / scale.step - 1e-9) * scale.step;
    return scale;
}

int lineOf(const Scale& scale, double value, int lines) {
    const double part = (scale.high - value) / (scale.high - scale.low);
    const double inside = std::max(0.0, std::min(1.0, part)); // a value may lie beyond FARTHEST
    return static_cast<int>(std::lround(inside * (lines - 1)));
}

QVector<ScaleLabel> stepLabels(const Scale& scale) {
    const int digits = digitsOf(scale);
    QVector<ScaleLabel> labels;
    for (int step = 0; step <= MOST_STEPS; ++step) {
        const double sum = scale.low + step * scale.step;
        if (sum > scale.high + scale.step / 2) {
            break;
        }
        // Close to 0 the sum of steps is not 0.
        const double value = std::fabs(sum) < scale.step / 1000 ? 0 : sum;
        labels.append({value, QString::number(value, 'g', digits), QString(), false});
    }
    return labels;
}

ScaleLabel limitLabel(double limit, const QString& name) {
    const QString number = QString::number(limit, 'g', MOST_DIGITS);
    return {limit, name + QLatin1Char(' ') + number, name, true};
}

} // namespace screen
} // namespace panel
