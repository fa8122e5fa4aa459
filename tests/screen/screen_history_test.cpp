#include "panel/trend/history.h"

#include <gtest/gtest.h>

#include <limits>

using namespace panel::screen;

namespace {

const qint64 STEP = History::SAMPLE_MS * qint64(1000);
const qint64 START = 4000 * STEP;

Sample value(double number) {
    return {Sample::Value, number};
}

const Sample GAP = {Sample::Gap, 0};

/// One letter for each sample: "v" value, "g" gap, "." none.
std::string kinds(const QVector<Sample>& samples) {
    std::string text;
    for (const Sample& sample : samples) {
        text += sample.kind == Sample::Value ? 'v' : sample.kind == Sample::Gap ? 'g' : '.';
    }
    return text;
}

/// A sample of each tag, the same for all.
void sample(History* history, qint64 now, const Sample& all) {
    history->sample(now, [&all](int) { return all; });
}

TEST(History, samples_comeBackOldestFirst) {
    History history(1);
    sample(&history, START, value(1));
    sample(&history, START + STEP, GAP);
    sample(&history, START + 2 * STEP, value(3));
    const QVector<Sample> last = history.last(0, 4);
    EXPECT_EQ(kinds(last), ".vgv");
    EXPECT_EQ(last.at(1).value, 1.0);
    EXPECT_EQ(last.at(3).value, 3.0);
}

TEST(History, lateSample_leavesNoGap) {
    History history(1);
    sample(&history, START, value(1));
    sample(&history, START + 3 * STEP, value(2));
    EXPECT_EQ(kinds(history.last(0, 4)), "vvvv");
}

TEST(History, longPause_isNotFilledIn) {
    History history(1);
    sample(&history, START, value(1));
    sample(&history, START + 4 * STEP, value(2));
    EXPECT_EQ(kinds(history.last(0, 5)), "v...v");
}

TEST(History, secondSampleInTheSameMoment_isLeftOut) {
    History history(1);
    sample(&history, START, value(1));
    sample(&history, START + STEP / 2, value(2));
    EXPECT_EQ(history.last(0, 1).first().value, 1.0);
}

TEST(History, afterTenMinutes_theOldestIsForgotten) {
    History history(1);
    for (int index = 0; index < History::SAMPLES + 10; ++index) {
        sample(&history, START + index * STEP, value(index));
    }
    const QVector<Sample> last = history.last(0, History::SAMPLES + 1);
    EXPECT_EQ(last.at(0).kind, Sample::None);
    EXPECT_EQ(last.at(1).value, 10.0);
    EXPECT_EQ(last.last().value, History::SAMPLES + 9);
}

TEST(History, pauseLongerThanItHolds_forgetsAll) {
    History history(1);
    sample(&history, START, value(1));
    sample(&history, START + 3 * History::SAMPLES * STEP, value(2));
    EXPECT_EQ(kinds(history.last(0, History::SAMPLES)),
              std::string(History::SAMPLES - 1, '.') + "v");
}

TEST(History, valueThatIsNoFiniteNumber_isNotDrawn) {
    History history(1);
    sample(&history, START, value(std::numeric_limits<double>::quiet_NaN()));
    sample(&history, START + STEP, value(std::numeric_limits<double>::infinity()));
    EXPECT_EQ(kinds(history.last(0, 2)), "..");
    EXPECT_TRUE(history.recent(0).isEmpty());
}

/// Every number of 32 bits, scaled or not.
TEST(History, counterOf32Bits_comesBackToItsLastDigit) {
    History history(1);
    sample(&history, START, value(1000000001));
    sample(&history, START + STEP, value(4294967295.0));
    EXPECT_EQ(history.last(0, 2).at(0).value, 1000000001.0);
    EXPECT_EQ(history.last(0, 2).at(1).value, 4294967295.0);
    EXPECT_EQ(history.recent(0).first(), 1000000001.0);
}

TEST(History, recent_holdsOneValueASecondAndNoGaps) {
    History history(2);
    for (int index = 0; index < 12; ++index) {
        sample(&history, START + index * STEP, index == 4 ? GAP : value(index));
    }
    EXPECT_EQ(history.recent(1), QVector<double>({0, 8}));
}

TEST(History, longList_keepsOnlyTheNamedTags) {
    History history(History::ALL_KEPT + 1);
    sample(&history, START, value(1));
    history.keep({7});
    sample(&history, START + STEP, value(2));
    EXPECT_EQ(kinds(history.last(7, 2)), ".v");
    EXPECT_EQ(kinds(history.last(8, 2)), "..");
    history.keep({7, 8});
    sample(&history, START + 2 * STEP, value(3));
    EXPECT_EQ(kinds(history.last(7, 2)), "vv"); // naming it again loses nothing
    history.keep({8});
    EXPECT_EQ(kinds(history.last(7, 2)), "..");
}

TEST(History, longListWithAThousandNamedTags_keepsThemAll) {
    History history(History::ALL_KEPT + 1);
    QVector<int> named;
    for (int tag = 1; tag <= History::ALL_KEPT; ++tag) {
        named.append(tag);
    }
    history.keep(named);
    sample(&history, START, value(1));
    EXPECT_EQ(kinds(history.last(1, 1)), "v");
    EXPECT_EQ(kinds(history.last(History::ALL_KEPT, 1)), "v");
}

TEST(History, shortList_keepsAllWhateverIsNamed) {
    History history(3);
    history.keep({1});
    sample(&history, START, value(1));
    EXPECT_EQ(kinds(history.last(2, 1)), "v");
}

} // namespace
