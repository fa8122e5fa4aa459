#include <velkor/host/statistics.h>

#include <gtest/gtest.h>

using namespace velkor_host;

namespace {

TEST(RoundTrips, percentiles_areOfTheNearestRank) {
    RoundTrips trips;
    for (int value = 1; value <= 200; ++value) {
        trips.add(value);
    }
    EXPECT_EQ(trips.percentile(0), 1);
    EXPECT_EQ(trips.percentile(50), 100);
    EXPECT_EQ(trips.percentile(99), 198);
    EXPECT_EQ(trips.percentile(100), 200);
}

TEST(RoundTrips, noSample_isMinusOne) {
    EXPECT_EQ(RoundTrips().percentile(50), -1);
}

TEST(RoundTrips, manySamples_keepsTheLastThousand) {
    RoundTrips trips;
    for (int value = 0; value < 1500; ++value) {
        trips.add(value);
    }
    EXPECT_EQ(trips.count(), 1000);
    EXPECT_EQ(trips.percentile(0), 500);
}

RequestEnd settled(bool ok, int endCode, qint64 roundTrip) {
    RequestEnd result;
    result.ok = ok;
    result.endCode = endCode;
    result.roundTrip = roundTrip;
    return result;
}

void end(LinkStatistics* statistics, const RequestEnd& request, qint64 now) {
    statistics->requestEnded(request, now);
    statistics->exchangeEnded(request, now);
}

TEST(LinkStatistics, settledRequests_areCounted) {
    LinkStatistics statistics;
    end(&statistics, settled(true, 0, 500), 1000000);
    end(&statistics, settled(false, 0x1103, -1), 1000001);
    EXPECT_EQ(statistics.exchanges(), 2);
    EXPECT_EQ(statistics.failures(), 1);
    EXPECT_EQ(statistics.lastEndCode(), 0x1103);
    EXPECT_EQ(statistics.roundTrips().count(), 1);
}

TEST(LinkStatistics, failureWithoutAnswer_keepsTheLastEndCode) {
    LinkStatistics statistics;
    end(&statistics, settled(true, 0, 500), 1);
    end(&statistics, settled(false, -1, -1), 2);
    EXPECT_EQ(statistics.lastEndCode(), 0);
}

TEST(LinkStatistics, triesBehindTheFirst_areRetries) {
    LinkStatistics statistics;
    RequestEnd unsent;
    RequestEnd third = settled(true, 0, -1);
    third.tries = 3;
    end(&statistics, unsent, 1);
    end(&statistics, third, 2);
    EXPECT_EQ(statistics.retries(), 2);
    EXPECT_EQ(statistics.failures(), 1);
}

TEST(LinkStatistics, refusal_isARoundTrip) {
    LinkStatistics statistics;
    end(&statistics, settled(false, 0x1103, 700), 1);
    EXPECT_EQ(statistics.roundTrips().percentile(50), 700);
}

TEST(LinkStatistics, everythingButReplies_isDropped) {
    LinkStatistics statistics;
    statistics.received(Verdict::Reply);
    statistics.received(Verdict::WrongServiceId);
    statistics.received(Verdict::NoReply);
    statistics.received(Verdict::NothingInFlight);
    EXPECT_EQ(statistics.dropped(), 3);
}

TEST(LinkStatistics, exchangeRate_isOfTheLastTwoSeconds) {
    LinkStatistics statistics;
    for (int index = 0; index < 10; ++index) {
        end(&statistics, settled(true, 0, 1), 1000000 + index);
    }
    EXPECT_DOUBLE_EQ(statistics.exchangeRate(1500000), 5.0);
    EXPECT_DOUBLE_EQ(statistics.exchangeRate(4000000), 0.0);
}

} // namespace
