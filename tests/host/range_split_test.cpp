#include "host/poll/disjoint_ranges.h"

#include <QtCore/QStringList>

#include "panel/text.h"

#include <gtest/gtest.h>

using namespace velkor_host;

namespace {

std::string text(const QVector<WordRange>& ranges) {
    QStringList parts;
    for (const WordRange& range : ranges) {
        parts.append(QString("%1 %2+%3").arg(range.reg).arg(range.address).arg(range.length));
    }
    return plain(parts.join(", "));
}

TEST(DisjointRanges, rangesApart_stayAsTheyAre) {
    EXPECT_EQ(text(disjointRanges({{"DM", 20, 2}, {"CIO", 5, 1}, {"DM", 10, 3}}, 256)),
              "CIO 5+1, DM 10+3, DM 20+2");
}

TEST(DisjointRanges, touchingRanges_stayTwo) {
    EXPECT_EQ(text(disjointRanges({{"DM", 10, 2}, {"DM", 12, 2}}, 256)), "DM 10+2, DM 12+2");
}

TEST(DisjointRanges, innerRange_doesNotShortenTheOuterOne) {
    EXPECT_EQ(text(disjointRanges({{"DM", 100, 10}, {"DM", 105, 2}}, 256)), "DM 100+10");
}

TEST(DisjointRanges, overlappingRanges_becomeOne) {
    EXPECT_EQ(text(disjointRanges({{"DM", 100, 10}, {"DM", 105, 10}}, 256)), "DM 100+15");
}

TEST(DisjointRanges, overlapBeyondTheLimit_isSplitAtTheEnds) {
    // 100 to 109 and 105 to 114 with at most 12 words a frame: cut at 105 and 110.
    EXPECT_EQ(text(disjointRanges({{"DM", 100, 10}, {"DM", 105, 10}}, 12)),
              "DM 100+5, DM 105+5, DM 110+5");
}

TEST(DisjointRanges, rangeLongerThanTheLimit_isCut) {
    EXPECT_EQ(text(disjointRanges({{"DM", 0, 25}}, 10)), "DM 0+10, DM 10+10, DM 20+5");
}

TEST(DisjointRanges, oddLimit_cutsNo32BitValueInTwo) {
    EXPECT_EQ(text(disjointRanges({{"DM", 0, 12}}, 5)), "DM 0+4, DM 4+4, DM 8+4");
    EXPECT_EQ(text(disjointRanges({{"DM", 0, 5}}, 5)), "DM 0+5");
}

TEST(DisjointRanges, sameNumbersOfOtherRegisters_doNotOverlap) {
    EXPECT_EQ(text(disjointRanges({{"DM", 5, 4}, {"HR", 5, 4}}, 256)), "DM 5+4, HR 5+4");
}

TEST(DisjointRanges, chainOfOverlaps_isOneCluster) {
    EXPECT_EQ(text(disjointRanges({{"DM", 0, 10}, {"DM", 2, 1}, {"DM", 8, 5}, {"DM", 13, 1}}, 256)),
              "DM 0+13, DM 13+1");
}

TEST(DisjointRanges, emptyRanges_areLeftOut) {
    EXPECT_EQ(text(disjointRanges({{"DM", 5, 0}}, 256)), "");
}

} // namespace
