/// DataAreaRun: the same records as a search of the whole cache, without its cost. A reply, a host
/// read and a host write are worked through with it.

#include "data/data_area.h"
#include "support/fresh_driver.h"
#include "unit/expected.h"

#include <gmock/gmock.h>

#include <ctime>
#include <random>

using ::testing::ElementsAre;

namespace {

class DataAreaRuns : public FreshDriver {
protected:
    static DataAreaRun run(const char* regName, int addr, int count,
                           DataAreaRun::Unit unit = DataAreaRun::HOST_UNITS) {
        return DataAreaRun(1, QLatin1String(regName), addr, count, unit);
    }

    /// Words of other areas, stations and places, which no run below may take for its own.
    static void fillWithOthers(int count) {
        for (int i = 0; i < count; ++i) {
            cacheRecordUnchecked("HR", i, 1);
        }
    }

    static void cacheRecordUnchecked(const char* regName, int wordAddr, int station) {
        _DATA_ record = _DATA_();
        record.station = station;
        record.regName = QLatin1String(regName);
        record.wordAddr = wordAddr;
        driver.dataAreaList.append(record);
    }
};

TEST_F(DataAreaRuns, indexOf_wordsOfTheRun_knownOnesFoundAndOthersAppended) {
    cacheRecord("DM", 11);
    cacheRecord("DM", 10, 2);
    DataAreaRun words = run("DM", 10, 3);
    EXPECT_EQ(words.indexOf(11), 0);
    EXPECT_EQ(words.indexOf(10), 2);
    EXPECT_EQ(words.indexOf(12), 3);
    EXPECT_EQ(words.indexOf(12), 3);
    EXPECT_THAT(cachedWords(), ElementsAre("DM 11", "DM 10", "DM 10", "DM 12"));
}

TEST_F(DataAreaRuns, indexOf_wordsBesideTheRun_foundLikeAnyOther) {
    for (int addr : {13, 9, 10, 11, 12}) {
        cacheRecord("DM", addr);
    }
    DataAreaRun words = run("DM", 10, 3);
    EXPECT_EQ(words.indexOf(13), 0);
    EXPECT_EQ(words.indexOf(9), 1);
    EXPECT_EQ(words.indexOf(10), 2);
    EXPECT_EQ(words.indexOf(12), 4);
    EXPECT_EQ(words.indexOf(14), 5);
    EXPECT_EQ(driver.dataAreaList.size(), 6);
}

TEST_F(DataAreaRuns, indexOf_countZeroOrNegative_everyWordLiesBesideTheRun) {
    for (const char* name : {"DM", "DM_bit"}) {
        for (int count : {0, -1, lowestInt}) {
            driver.dataAreaList.clear();
            cacheRecord("DM", 11);
            DataAreaRun words = run(name, 11, count);
            EXPECT_EQ(words.indexOf(11), 0);
            EXPECT_EQ(words.indexOf(0), 1);
        }
    }
}

TEST_F(DataAreaRuns, indexOf_recordAddedMeanwhile_isFound) {
    DataAreaRun words = run("DM", 10, 3);
    EXPECT_EQ(words.indexOf(10), 0);
    cacheRecord("DM", 12);
    EXPECT_EQ(words.indexOf(11), 2);
    EXPECT_EQ(words.indexOf(12), 1);
}

TEST_F(DataAreaRuns, indexOf_bitName_wordsUnderTheBaseNameUnlessWordsWereAskedFor) {
    cacheRecord("CIO_bit", 2);
    cacheRecord("CIO", 2);
    EXPECT_EQ(run("CIO_bit", 35, 1).indexOf(2), 1);
    EXPECT_EQ(run("CIO_bit", 2, 1, DataAreaRun::WORDS).indexOf(2), 0);
}

TEST_F(DataAreaRuns, indexOf_bitsBeyondHighestInt_lastWordsAndThenTheLowest) {
    cacheRecord("CIO", 134217728); // no bit lies in it, nor in the next
    cacheRecord("CIO", -134217729);
    cacheRecord("CIO", -134217727);
    cacheRecord("CIO", 134217727);
    // Bits 2147483630 and 2147483631 of word 134217726, the 16 of word 134217727, and 17 more from
    // the lowest on: bit -2147483648 alone has word -134217728, the next 16 have word -134217727.
    DataAreaRun words = run("CIO_bit", 2147483630, 35);
    EXPECT_EQ(words.indexOf(134217726), 4);
    EXPECT_EQ(words.indexOf(134217727), 3);
    EXPECT_EQ(words.indexOf(-134217728), 5);
    EXPECT_EQ(words.indexOf(-134217727), 2);
    EXPECT_EQ(words.indexOf(134217728), 0);
    EXPECT_EQ(words.indexOf(-134217729), 1);
    EXPECT_EQ(words.indexOf(-134217726), 6);
    EXPECT_EQ(driver.dataAreaList.size(), 7);
}

/// Chance, the same in each run of the tests.
class Chance {
public:
    int below(int bound) { return static_cast<int>(random() % static_cast<unsigned>(bound)); }
    /// A word near `word`, also around the end of the numbers.
    int near(int word) {
        return static_cast<int>(static_cast<unsigned>(word) + random() % 30U - 10U);
    }

private:
    std::mt19937 random{7331U};
};

/// Where a run begins, in its own unit, and words that it meets.
struct Place {
    const char* regName;
    int addr;
    int word, otherWord;
};

const Place places[] = {
    {"CIO", 0, 0, 10},
    {"CIO", -50, -50, -40},
    {"CIO", highestInt - 5, highestInt, lowestInt},
    {"CIO", lowestInt, lowestInt, lowestInt},
    {"CIO_bit", 0, 0, 5},
    {"CIO_bit", -70, -4, 0},
    {"CIO_bit", 1000, 62, 70},
    {"CIO_bit", highestInt - 80, 134217727, -134217728},
    {"CIO_bit", lowestInt, -134217728, -134217720},
};

TEST_F(DataAreaRuns, indexOf_runsByChance_sameIndicesAsASearchOfTheWholeCache) {
    Chance chance;
    for (int round = 0; round < 900; ++round) {
        const Place& place = places[round % 9];
        const auto someWord = [&] {
            return chance.near(chance.below(2) == 0 ? place.word : place.otherWord);
        };
        driver.dataAreaList.clear();
        for (int i = chance.below(40); i > 0; --i) {
            cacheRecordUnchecked(chance.below(5) == 0 ? "HR" : "CIO", someWord(),
                                 1 + chance.below(8) / 7);
        }
        DataAreaRun words = run(place.regName, place.addr, chance.below(200));
        for (int i = 0; i < 60; ++i) {
            const int word = someWord();
            QList<_DATA_> searched = driver.dataAreaList;
            const int expected = getIndexOfDataArea(1, QLatin1String("CIO"), word, searched);
            ASSERT_EQ(words.indexOf(word), expected) << word << " in round " << round;
            ASSERT_EQ(driver.dataAreaList.size(), searched.size());
        }
    }
}

// The cost. A search for each word costs words times cache: that is what a run is for.

/// Processor seconds, which other programs of a loaded machine do not lengthen.
template <typename Action> double secondsOf(Action action) {
    const std::clock_t start = std::clock();
    action();
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

/// The least of three: what else the machine does, and the first touch of memory, only lengthen it.
template <typename Action> double leastSecondsOf(Action action) {
    return std::min({secondsOf(action), secondsOf(action), secondsOf(action)});
}

/// How long a search for each of `count` words from `firstWord` takes. All are known.
double secondsOfSearches(const char* regName, int firstWord, int count) {
    return secondsOf([&] {
        for (int i = 0; i < count; ++i) {
            getIndexOfDataArea(1, QLatin1String(regName), firstWord + i, driver.dataAreaList);
        }
    });
}

/// A read that searched for each word would cost what the searches cost, or more. In truth it is
/// several hundred times faster, and under an emulator, where copying bytes is dear, about
/// twenty-five times.
const double muchFaster = 5.0;

TEST_F(DataAreaRuns, hostRead_tenThousandWords_costsNoSearchForEach) {
    const int count = 10000;
    std::vector<unsigned char> buffer(2 * count);
    intf_getData(1, QLatin1String("DM"), 5000, count, buffer.data());
    const double searches = secondsOfSearches("DM", 5000, count);
    const double read =
        leastSecondsOf([&] { intf_getData(1, QLatin1String("DM"), 5000, count, buffer.data()); });
    EXPECT_LT(read * muchFaster, searches);
}

TEST_F(DataAreaRuns, hostRead_tenThousandWordsOfBits_costsNoSearchForEach) {
    const int count = 10000;
    std::vector<unsigned char> buffer(16 * count);
    intf_getData(1, QLatin1String("DM_bit"), 80000, 16 * count, buffer.data());
    const double searches = secondsOfSearches("DM", 5000, count);
    const double read = leastSecondsOf(
        [&] { intf_getData(1, QLatin1String("DM_bit"), 80000, 16 * count, buffer.data()); });
    EXPECT_LT(read * muchFaster, searches);
}

TEST_F(DataAreaRuns, hostRead_bitsBeyondHighestInt_costsNoSearchForEach) {
    fillWithOthers(20000);
    std::vector<unsigned char> buffer(16000);
    const auto read = [&] {
        intf_getData(1, QLatin1String("CIO_bit"), highestInt - 7999, 16000, buffer.data());
    };
    read(); // 500 words up to 134217727, and 501 from -134217728
    EXPECT_EQ(driver.dataAreaList.size(), 20000 + 1001);
    const double searches = secondsOfSearches("CIO", 134217228, 500);
    EXPECT_LT(leastSecondsOf(read) * muchFaster, searches);
}

} // namespace
