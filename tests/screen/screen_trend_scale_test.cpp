#include "panel/trend/scale.h"

#include "screen/utf8.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace panel::screen;

namespace {

std::string texts(const QVector<ScaleLabel>& labels) {
    QString all;
    for (const ScaleLabel& label : labels) {
        all += (all.isEmpty() ? "" : " ") + label.text;
    }
    return plain(all);
}

TEST(RoundScale, range_liesBetweenRoundNumbers) {
    const Scale scale = roundScale(3, 47, 5);
    EXPECT_EQ(scale.low, 0);
    EXPECT_EQ(scale.high, 50);
    EXPECT_EQ(scale.step, 10);
}

TEST(RoundScale, exactRange_isNotWidened) {
    const Scale scale = roundScale(0.1, 0.3, 2);
    EXPECT_NEAR(scale.low, 0.1, 1e-9);
    EXPECT_NEAR(scale.high, 0.3, 1e-9);
}

TEST(RoundScale, steadyValue_liesInside) {
    for (const double value : {0.0, 1.0, -40.0, 1e12, -3e38, FARTHEST}) {
        const Scale scale = roundScale(value, value, 3);
        EXPECT_LE(scale.low, value);
        EXPECT_GE(scale.high, value);
        EXPECT_LT(scale.low, scale.high);
    }
}

TEST(RoundScale, rangeTooSmallForItsNumbers_isThatOfASteadyValue) {
    const Scale scale = roundScale(1e9, 1e9 + 1e-6, 3);
    EXPECT_LE(scale.low, 0.95e9);
    EXPECT_GE(scale.high, 1.05e9);
}

TEST(RoundScale, numbersCloseToNone_haveAScaleAllTheSame) {
    const double smallest = std::numeric_limits<double>::denorm_min();
    for (const double high : {smallest, 1e-300, 1e-280}) {
        const Scale scale = roundScale(-smallest, high, 3);
        EXPECT_GT(scale.step, 0);
        EXPECT_LT(scale.low, scale.high);
    }
}

TEST(StepLabels, countersLastDigits_areWritten) {
    EXPECT_EQ(texts(stepLabels(roundScale(1000014, 1000029, 3))),
              "1000010 1000015 1000020 1000025 1000030");
    EXPECT_EQ(texts(stepLabels(roundScale(1000000001, 1000000015, 6))),
              "1000000000 1000000005 1000000010 1000000015");
    EXPECT_EQ(texts(stepLabels(roundScale(4294967290.0, 4294967295.0, 3))),
              "4294967290 4294967292 4294967294 4294967296");
}

TEST(StepLabels, fractions_haveNoMoreDigitsThanTheyNeed) {
    EXPECT_EQ(texts(stepLabels(roundScale(-0.1, 0.3, 4))), "-0.1 0 0.1 0.2 0.3");
    EXPECT_EQ(texts(stepLabels(roundScale(100000.01, 100000.05, 2))),
              "100000 100000.02 100000.04 100000.06");
}

/// Of any range: what is written is the number, within a tenth of a step.
TEST(StepLabels, readBack_areTheSteps) {
    for (const double low : {-1e300, -4294967295.0, -70000.5, -1e-9, 0.0, 1e-280, 0.1, 999999.0,
                             1000000001.0, 123456789012.0, 9e299}) {
        for (const double range : {1e-12, 1e-11, 3e-7, 0.002, 0.5, 1.0, 1.9}) {
            for (const int steps : {0, 1, 3, 6, 19, 70}) {
                const double size = low == 0 ? 1 : std::fabs(low);
                const Scale scale = roundScale(low, std::min(FARTHEST, low + size * range), steps);
                const QVector<ScaleLabel> labels = stepLabels(scale);
                ASSERT_GE(labels.size(), 2) << low << " " << range;
                EXPECT_GE(labels.last().value, scale.high - scale.step / 2) << low << " " << range;
                for (const ScaleLabel& label : labels) {
                    EXPECT_NEAR(label.text.toDouble(), label.value, scale.step / 10)
                        << plain(label.text) << " of " << low << " " << range << " " << steps;
                }
            }
        }
    }
}

TEST(LimitLabel, everyDigit_isWritten) {
    EXPECT_EQ(plain(limitLabel(1180.5, "high").text), "high 1180.5");
    EXPECT_EQ(plain(limitLabel(-123456789.0125, "b low").text), "b low -123456789.0125");
    EXPECT_EQ(plain(limitLabel(0.1, "low").text), "low 0.1");
    EXPECT_EQ(plain(limitLabel(1180.5, "high").withoutNumber), "high");
}

} // namespace
