// The search for refused words by halving, against a PLC that is a function.

#include "host/plain_text.h"
#include "host/poll/poll_plan.h"

#include <gtest/gtest.h>

#include <random>

using namespace velkor_host;

namespace {

RequestEnd okEnd() {
    RequestEnd end;
    end.ok = true;
    end.tries = 1;
    end.endCode = 0;
    return end;
}

RequestEnd refusalWith(int endCode) {
    RequestEnd end;
    end.tries = 3;
    end.refusals = 3;
    end.refused = true;
    end.endCode = endCode;
    return end;
}

RequestEnd noAnswer() {
    RequestEnd end;
    end.tries = 3;
    end.silent = 3;
    return end;
}

bool crosses(const WordRange& range, const QVector<WordRange>& bad) {
    for (const WordRange& words : bad) {
        if (overlap(range, words)) {
            return true;
        }
    }
    return false;
}

/// Runs a search on a PLC that refuses `bad`; the number of reads it took.
int search(Isolation* isolation, const QVector<WordRange>& bad) {
    int reads = 0;
    while (const std::optional<WordRange> next = isolation->next()) {
        EXPECT_LT(++reads, 1000);
        isolation->ended(crosses(*next, bad) ? refusalWith(0x1103) : okEnd());
    }
    return reads;
}

QVector<WordRange> singles(int first, int count) {
    QVector<WordRange> out;
    for (int index = 0; index < count; ++index) {
        out.append({QStringLiteral("DM"), first + index, 1});
    }
    return out;
}

class Culprit : public testing::TestWithParam<int> {};

TEST_P(Culprit, oneOfSixteen_isFoundAlone) {
    const QVector<WordRange> bad{{"DM", 100 + GetParam(), 1}};
    Isolation isolation({"DM", 100, 16}, singles(100, 16), refusalWith(0x1103));
    const int reads = search(&isolation, bad);
    EXPECT_EQ(plain(isolation.refused()), plain(bad));
    EXPECT_TRUE(isolation.gaps().isEmpty());
    EXPECT_LE(reads, 8); // two on each level
    EXPECT_EQ(isolation.refused().first().refusal.endCode, 0x1103);
}

INSTANTIATE_TEST_SUITE_P(Each, Culprit, testing::Range(0, 16));

TEST(Isolation, severalCulprits_areAllFound) {
    const QVector<WordRange> bad{{"DM", 100, 1}, {"DM", 107, 1}, {"DM", 108, 1}, {"DM", 115, 1}};
    Isolation isolation({"DM", 100, 16}, singles(100, 16), refusalWith(0x1103));
    search(&isolation, bad);
    EXPECT_EQ(plain(isolation.refused()), "DM 100+1, DM 107+1, DM 108+1, DM 115+1");
}

TEST(Isolation, everyWordBad_isFoundSo) {
    Isolation isolation({"DM", 100, 8}, singles(100, 8), refusalWith(0x1103));
    const int reads = search(&isolation, {{"DM", 0, 1000}});
    EXPECT_EQ(isolation.refused().size(), 8);
    EXPECT_LE(reads, 14);
}

TEST(Isolation, singleTag_isTheCulpritWithoutAQuestion) {
    Isolation isolation({"DM", 100, 4}, {{"DM", 100, 4}}, refusalWith(0x1104));
    EXPECT_TRUE(isolation.finished());
    EXPECT_EQ(plain(isolation.refused()), "DM 100+4");
}

TEST(Isolation, addressInAGap_isReportedAsAGap) {
    Isolation isolation({"DM", 100, 10}, {{"DM", 100, 3}, {"DM", 107, 3}}, refusalWith(0x1103));
    search(&isolation, {{"DM", 105, 1}});
    EXPECT_TRUE(isolation.refused().isEmpty());
    EXPECT_EQ(plain(isolation.gaps()), "DM 103+4");
}

TEST(Isolation, gapBesideACulprit_isNotSuspected) {
    const QVector<WordRange> tags{{"DM", 0, 1}, {"DM", 5, 1}, {"DM", 10, 1}, {"DM", 15, 1}};
    Isolation isolation({"DM", 0, 16}, tags, refusalWith(0x1103));
    search(&isolation, {{"DM", 5, 1}});
    EXPECT_EQ(plain(isolation.refused()), "DM 5+1");
    EXPECT_EQ(plain(isolation.gaps()), "");
}

TEST(Isolation, tagPartlyBad_isRefusedAsAWhole) {
    Isolation isolation({"DM", 100, 9}, {{"DM", 100, 3}, {"DM", 103, 3}, {"DM", 106, 3}},
                        refusalWith(0x1103));
    search(&isolation, {{"DM", 104, 1}});
    EXPECT_EQ(plain(isolation.refused()), "DM 103+3");
}

TEST(Isolation, overlappingTags_areDividedAtTheirEnds) {
    Isolation isolation({"DM", 100, 6}, {{"DM", 100, 4}, {"DM", 102, 4}}, refusalWith(0x1103));
    search(&isolation, {{"DM", 105, 1}});
    EXPECT_EQ(plain(isolation.refused()), "DM 104+2");
}

TEST(Isolation, tagThatReachesBeyondTheBlock_isTakenInsideItOnly) {
    Isolation isolation({"DM", 100, 4}, {{"DM", 90, 12}, {"DM", 102, 20}}, refusalWith(0x1103));
    search(&isolation, {{"DM", 101, 1}});
    EXPECT_EQ(plain(isolation.refused()), "DM 100+2");
}

TEST(Isolation, passingRefusal_findsNothing) {
    Isolation isolation({"DM", 100, 8}, singles(100, 8), refusalWith(0x1103));
    search(&isolation, {});
    EXPECT_TRUE(isolation.refused().isEmpty());
    EXPECT_TRUE(isolation.gaps().isEmpty());
}

TEST(Isolation, noAnswerInBetween_asksForThatPieceAgainAndKeepsWhatWasFound) {
    Isolation isolation({"DM", 100, 8}, singles(100, 8), refusalWith(0x1103));
    isolation.ended(refusalWith(0x1103));
    isolation.ended(refusalWith(0x1103));
    isolation.ended(refusalWith(0x1103)); // DM 100 is found
    for (int time = 0; time < 3; ++time) {
        ASSERT_TRUE(isolation.next().has_value());
        EXPECT_EQ(plain(QVector<WordRange>{*isolation.next()}), "DM 101+1");
        isolation.ended(noAnswer());
    }
    EXPECT_EQ(search(&isolation, {}), 3); // DM 101, then the other halves
    EXPECT_EQ(plain(isolation.refused()), "DM 100+1");
    EXPECT_TRUE(isolation.gaps().isEmpty());
    isolation.ended(okEnd()); // too late: does nothing
    EXPECT_TRUE(isolation.finished());
}

/// Whatever goes unanswered costs its own repetition, and changes nothing of what is found.
TEST(Isolation, eachReadUnansweredOnce_findsTheSameInTwiceTheReads) {
    const QVector<WordRange> tags{{"DM", 0, 1}, {"DM", 5, 1}, {"DM", 10, 1}, {"DM", 15, 1}};
    const QVector<WordRange> bad{{"DM", 5, 1}, {"DM", 12, 1}};
    Isolation smooth({"DM", 0, 16}, tags, refusalWith(0x1103));
    const int reads = search(&smooth, bad);
    Isolation bumpy({"DM", 0, 16}, tags, refusalWith(0x1103));
    int asked = 0;
    while (const std::optional<WordRange> next = bumpy.next()) {
        ASSERT_LT(asked, 1000);
        const RequestEnd answer = crosses(*next, bad) ? refusalWith(0x1103) : okEnd();
        bumpy.ended(++asked % 2 == 1 ? noAnswer() : answer);
    }
    EXPECT_EQ(asked, 2 * reads);
    EXPECT_EQ(plain(bumpy.refused()), "DM 5+1");
    EXPECT_EQ(plain(bumpy.gaps()), "DM 11+4");
}

TEST(Isolation, blockThatNoTagWants_isFinished) {
    Isolation isolation({"DM", 100, 8}, {{"HR", 100, 8}}, refusalWith(0x1103));
    EXPECT_TRUE(isolation.finished());
    EXPECT_FALSE(isolation.next().has_value());
}

TEST(Isolation, randomPlcs_onlyBadTagsAreRefusedAndWhatIsLeftCanBeRead) {
    std::mt19937 random(4);
    for (int round = 0; round < 500; ++round) {
        QVector<WordRange> tags;
        int at = 0;
        for (int index = 0; index < 12; ++index) {
            at += static_cast<int>(random() % 3);
            const int length = 1 + static_cast<int>(random() % 4);
            tags.append({"DM", at, length});
            at += length;
        }
        QVector<WordRange> bad;
        for (unsigned index = 0; index < 1 + random() % 3; ++index) {
            bad.append({"DM", static_cast<int>(random() % static_cast<unsigned>(at)), 1});
        }
        const WordRange block{"DM", tags.first().address, at - tags.first().address};
        if (!crosses(block, bad)) {
            continue;
        }
        Isolation isolation(block, tags, refusalWith(0x1103));
        search(&isolation, bad);
        EXPECT_FALSE(isolation.refused().isEmpty() && isolation.gaps().isEmpty()) << round;
        for (const RefusedRange& refused : isolation.refused()) {
            EXPECT_TRUE(crosses(refused.range, bad)) << round;
        }
        for (const WordRange& gap : isolation.gaps()) {
            EXPECT_TRUE(crosses(gap, bad)) << round;
        }
        for (const WordRange& tag : tags) {
            const bool found = std::any_of(
                isolation.refused().begin(), isolation.refused().end(),
                [&](const RefusedRange& refused) { return overlap(refused.range, tag); });
            EXPECT_EQ(found, crosses(tag, bad)) << round;
        }
    }
}

TEST(IsAddressRefusal, codes_areToldApart) {
    for (const int endCode : {0x1101, 0x1102, 0x1103, 0x1104, 0x2102, 0x3001, 0x1143, 0x9103}) {
        EXPECT_TRUE(isAddressRefusal(refusalWith(endCode))) << endCode;
    }
    for (const int endCode : {0x0204, 0x1001, 0x110B, 0x2203, 0x2301}) {
        EXPECT_FALSE(isAddressRefusal(refusalWith(endCode))) << endCode;
    }
    EXPECT_FALSE(isAddressRefusal(noAnswer()));
}

} // namespace
