#include "host/poll/scan_pace.h"

#include <gtest/gtest.h>

using namespace velkor_host;

namespace {

const qint64 SECOND = 1000000;

TEST(ScanPace, fastScans_staleAfterASecond) {
    ScanPace pace(100);
    pace.restart(0);
    EXPECT_EQ(pace.staleAfter(), SECOND);
    pace.scanEnded(5000);
    EXPECT_EQ(pace.staleAfter(), SECOND);
}

TEST(ScanPace, longInterval_staleAfterFiveOfThem) {
    ScanPace pace(2000);
    pace.restart(0);
    EXPECT_EQ(pace.staleAfter(), 10 * SECOND);
}

TEST(ScanPace, slowScans_staleAfterThreeOfTheLongest) {
    ScanPace pace(100);
    pace.restart(0);
    pace.scanEnded(2 * SECOND);
    pace.scanEnded(3 * SECOND);
    EXPECT_EQ(pace.staleAfter(), 6 * SECOND);
}

TEST(ScanPace, oneBadSpell_isForgottenAfterFourScans) {
    ScanPace pace(100);
    pace.restart(0);
    pace.scanEnded(60 * SECOND);
    EXPECT_EQ(pace.staleAfter(), 180 * SECOND);
    for (int scan = 1; scan <= 4; ++scan) {
        pace.scanEnded(60 * SECOND + scan * 1000);
    }
    EXPECT_EQ(pace.staleAfter(), SECOND);
}

TEST(ScanPace, restarted_countsFromThere) {
    ScanPace pace(100);
    pace.restart(0);
    pace.scanEnded(60 * SECOND);
    pace.restart(100 * SECOND);
    EXPECT_EQ(pace.staleAfter(), SECOND);
    pace.scanEnded(101 * SECOND);
    EXPECT_EQ(pace.staleAfter(), 3 * SECOND);
}

} // namespace
