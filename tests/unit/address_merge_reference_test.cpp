/// The driver's merge against the naive one of naive_merge.h, over random lists from a fixed seed.

#include "scan/address_merge.h"
#include "support/fresh_driver.h"
#include "unit/expected.h"
#include "unit/naive_merge.h"

#include <gmock/gmock.h>

#include <random>
#include <sstream>

namespace {

class MergeAgainstNaive : public FreshDriver {
protected:
    typedef std::vector<naive::Key> Keys;

    int below(int bound) { return static_cast<int>(random() % static_cast<std::uint32_t>(bound)); }
    template <std::size_t N> int oneOf(const int (&values)[N]) {
        return values[below(static_cast<int>(N))];
    }

    /// Names, addresses and lengths as a host lists them, crowded enough to touch and overlap.
    naive::Key ordinaryKey(int mark) {
        static const char* const names[] = {"CIO_bit", "WR_bit", "HR_bit", "AR_bit", "DM_bit",
                                            "CIO",     "WR",     "HR",     "AR",     "T",
                                            "C",       "DM",     "DM",     "CIO",    "CIO_bit"};
        const std::string name = names[below(15)];
        const bool isBit = name.size() > 4;
        return naive::Key{name, below(isBit ? 3000 : 300), 1 + below(isBit ? 40 : 20), below(3),
                          mark};
    }

    /// Anything at all: unknown and odd names, lengths below 1, numbers at the edges of an int.
    naive::Key wildKey(int mark) {
        static const char* const names[] = {"DM", "DM_bit", "CIO", "CIO_bit", "XX",     "XX_bit",
                                            "",   "_bit",   "dm",  "A_B_bit", "CIO_BIT"};
        static const int addresses[] = {
            highestInt,      highestInt - 1, lowestInt,  lowestInt + 1, -1,      0,
            65535,           65536,          -65535,     -786420,       -786421, 16,
            highestInt - 20, -393210,        1073741824, 458745};
        static const int lengths[] = {
            0, -1, -16, highestInt, lowestInt, lowestInt + 1, highestInt - 1, 64};
        const int addr = below(2) != 0 ? oneOf(addresses) : below(200) - 50;
        const int len = below(3) == 0 ? oneOf(lengths) : below(24) - 4;
        return naive::Key{names[below(11)], addr, len, below(3), mark};
    }

    Keys randomKeys(bool wild) {
        const int count = 1 + below(40);
        Keys keys;
        for (int i = 0; i < count; ++i) {
            keys.push_back(wild ? wildKey(i) : ordinaryKey(i));
        }
        return keys;
    }

    static QList<KEY_ADDRESS> asHostList(const Keys& keys) {
        QList<KEY_ADDRESS> list;
        for (const naive::Key& key : keys) {
            KEY_ADDRESS record = makeKey(key.regName.c_str(), key.addr, key.len, key.station);
            record.keyValue = key.mark;
            list.append(record);
        }
        return list;
    }

    static std::string line(const Range& range, int station, int mark) {
        std::ostringstream text;
        text << range << " station " << station << " mark " << mark;
        return text.str();
    }
    static std::vector<std::string> lines(const Keys& keys) {
        std::vector<std::string> texts;
        for (const naive::Key& key : keys) {
            texts.push_back(line(Range{key.regName, key.addr, key.len}, key.station, key.mark));
        }
        return texts;
    }
    static std::vector<std::string> lines(const QList<KEY_ADDRESS>& keys) {
        std::vector<std::string> texts;
        for (const KEY_ADDRESS& key : keys) {
            texts.push_back(line(rangeOf(key), key.station, key.keyValue));
        }
        return texts;
    }

    /// One random list through both, in one mode.
    void compare(bool wild, int mode, int maxWords) {
        const Keys keys = randomKeys(wild);
        QList<KEY_ADDRESS> list = asHostList(keys);
        driver.maxWordsPerFrame = maxWords;
        driver.rcpBlockFirst.clear();
        std::vector<int> blockFirst;
        const Keys expected = naive::merge(keys, mode, maxWords, blockFirst);

        addrMerge(list, mode);

        ASSERT_EQ(lines(list), lines(expected));
        if (mode == MERGE_RECIPE) {
            ASSERT_THAT(driver.rcpBlockFirst, ::testing::ElementsAreArray(blockFirst));
        } else {
            ASSERT_TRUE(driver.rcpBlockFirst.isEmpty());
        }
    }

    void compareMany(bool wild, int mode, int rounds) {
        static const int limits[] = {64, 64, 64, 1, 503, 0, -3, highestInt, lowestInt};
        for (int round = 0; round < rounds; ++round) {
            SCOPED_TRACE("round " + std::to_string(round));
            compare(wild, mode, oneOf(limits));
            if (HasFatalFailure()) {
                return;
            }
        }
    }

    std::mt19937 random{20240611U};
};

TEST_F(MergeAgainstNaive, addrMerge_ordinaryKeysFullMode_sameBlocks) {
    compareMany(false, 1, 300);
}

TEST_F(MergeAgainstNaive, addrMerge_ordinaryKeysRecipeMode_sameBlocksAndFirsts) {
    compareMany(false, 2, 300);
}

TEST_F(MergeAgainstNaive, addrMerge_wildKeysFullMode_sameBlocks) {
    compareMany(true, 1, 400);
}

TEST_F(MergeAgainstNaive, addrMerge_wildKeysRecipeMode_sameBlocksAndFirsts) {
    compareMany(true, 2, 400);
}

TEST_F(MergeAgainstNaive, addrMerge_wildKeysOtherModes_sameBlocksAsFullMode) {
    for (int mode : {0, -1, 3}) {
        compareMany(true, mode, 50);
    }
}

TEST_F(MergeAgainstNaive, addrMerge_longList_sameBlocks) {
    Keys keys;
    for (int i = 0; i < 400; ++i) {
        naive::Key key = ordinaryKey(i);
        key.addr = below(8000);
        keys.push_back(key);
    }
    QList<KEY_ADDRESS> list = asHostList(keys);
    std::vector<int> ignored;
    const Keys expected = naive::merge(keys, 1, 64, ignored);
    addrMerge(list, MERGE_CYCLIC);
    EXPECT_EQ(lines(list), lines(expected));
}

} // namespace
