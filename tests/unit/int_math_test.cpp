// Wrapping arithmetic. 2147483647 is the largest int, -2147483648 the smallest.

#include "driver/int_math.h"

#include <gtest/gtest.h>

#include <climits>

TEST(IntMath, wrapToInt_inRange_unchanged) {
    EXPECT_EQ(wrapToInt(0), 0);
    EXPECT_EQ(wrapToInt(-1), -1);
    EXPECT_EQ(wrapToInt(2147483647), INT_MAX);
    EXPECT_EQ(wrapToInt(-2147483648LL), INT_MIN);
}

TEST(IntMath, wrapToInt_outOfRange_keepsLow32Bits) {
    EXPECT_EQ(wrapToInt(2147483648LL), INT_MIN);
    EXPECT_EQ(wrapToInt(-2147483649LL), INT_MAX);
    EXPECT_EQ(wrapToInt(4294967296LL), 0);
    EXPECT_EQ(wrapToInt(4294967301LL), 5);
    EXPECT_EQ(wrapToInt(-4294967297LL), -1);
}

TEST(IntMath, wrapAdd_beyondEitherEnd_wraps) {
    EXPECT_EQ(wrapAdd(2, 3), 5);
    EXPECT_EQ(wrapAdd(INT_MAX, 1), INT_MIN);
    EXPECT_EQ(wrapAdd(INT_MIN, -1), INT_MAX);
    EXPECT_EQ(wrapAdd(INT_MIN, INT_MIN), 0);
    EXPECT_EQ(wrapAdd(INT_MAX, INT_MAX), -2);
}

TEST(IntMath, wrapSubtract_beyondEitherEnd_wraps) {
    EXPECT_EQ(wrapSubtract(2, 3), -1);
    EXPECT_EQ(wrapSubtract(INT_MIN, 1), INT_MAX);
    EXPECT_EQ(wrapSubtract(INT_MAX, -1), INT_MIN);
    EXPECT_EQ(wrapSubtract(0, INT_MIN), INT_MIN);
}

TEST(IntMath, wrapMultiply_beyondEitherEnd_wraps) {
    EXPECT_EQ(wrapMultiply(-6, 7), -42);
    EXPECT_EQ(wrapMultiply(134217728, 16), INT_MIN); // 2^27 * 2^4
    EXPECT_EQ(wrapMultiply(268435456, 16), 0);       // 2^28 * 2^4
    EXPECT_EQ(wrapMultiply(INT_MAX, 8), -8);         // 2^34 - 8
    EXPECT_EQ(wrapMultiply(INT_MIN, -1), INT_MIN);
    EXPECT_EQ(wrapMultiply(INT_MIN, INT_MIN), 0);
    EXPECT_EQ(wrapMultiply(INT_MAX, INT_MAX), 1);
}
