/// DataAreaIndex: the same records as a search of the whole cache, for calls that look up very many
/// scattered words.

#include "data/data_area.h"
#include "support/fresh_driver.h"

#include <gmock/gmock.h>

#include <climits>
#include <random>

namespace {

class DataAreaIndexes : public FreshDriver {
protected:
    struct Word {
        int station;
        QString regName;
        int addr;
    };

    /// A word of a few stations and names, near 0 and near both ends of the addresses.
    Word anyWord() {
        static const char* const names[] = {"DM", "CIO",    "CIO_bit",
                                            "",   "D\xC4M", "a long register name"};
        static const int bases[] = {0, 32000, INT_MAX - 100, INT_MIN};
        return Word{below(3) - 1, QLatin1String(names[below(6)]), bases[below(4)] + below(100)};
    }

private:
    int below(int limit) { return static_cast<int>(chance_() % static_cast<unsigned int>(limit)); }
    std::mt19937 chance_{20};
};

TEST_F(DataAreaIndexes, indexOf_wordsFromAnEmptyCacheOn_asASearchInListOrder) {
    QList<_DATA_> searched;
    DataAreaIndex index;
    for (int i = 0; i < 5000; ++i) {
        const Word word = anyWord();
        ASSERT_EQ(index.indexOf(word.station, word.regName, word.addr),
                  getIndexOfDataArea(word.station, word.regName, word.addr, searched));
    }
    ASSERT_EQ(driver.dataAreaList.size(), searched.size());
    ASSERT_GT(searched.size(), 1000);
    for (int i = 0; i < searched.size(); ++i) {
        const _DATA_& record = driver.dataAreaList.at(i);
        ASSERT_EQ(record.station, searched.at(i).station);
        ASSERT_EQ(record.regName, searched.at(i).regName);
        ASSERT_EQ(record.wordAddr, searched.at(i).wordAddr);
    }
}

TEST_F(DataAreaIndexes, indexOf_wordsCachedBefore_foundAndNotAddedAgain) {
    for (int addr = 0; addr < 1000; ++addr) {
        getIndexOfDataArea(1, QLatin1String("DM"), addr, driver.dataAreaList);
    }
    DataAreaIndex index;
    for (int addr = 999; addr >= 0; --addr) {
        ASSERT_EQ(index.indexOf(1, QLatin1String("DM"), addr), addr);
    }
    EXPECT_EQ(driver.dataAreaList.size(), 1000);
}

TEST_F(DataAreaIndexes, indexOf_recordThatStandsTwice_firstOne) {
    for (int i = 0; i < 3; ++i) {
        _DATA_ record = _DATA_();
        record.station = 1;
        record.regName = QLatin1String("DM");
        record.wordAddr = 5;
        driver.dataAreaList.append(record);
    }
    DataAreaIndex index;
    EXPECT_EQ(index.indexOf(1, QLatin1String("DM"), 5), 0);
}

} // namespace
