// What holds of the blocks for whatever ranges a host hands over.

#include "contract/loaded_driver.h"
#include "model/random.h"
#include "support/silence.h"

#include <map>
#include <set>
#include <sstream>

namespace {

const int rounds = 3000;

/// A range of words.
struct Words {
    std::string reg;
    int first;
    int end; ///< behind the last one

    bool operator<(const Words& other) const {
        return std::make_tuple(reg, first, end) <
               std::make_tuple(other.reg, other.first, other.end);
    }
};

typedef std::vector<Words> Ranges;

/// The words that hold what a key asks for.
Words wordsOf(const host::KeyAddress& key) {
    const std::string name = key.regName.toStdString();
    const std::size_t suffix = name.find("_bit");
    if (suffix == std::string::npos) {
        return {name, key.addr, key.addr + key.len};
    }
    return {name.substr(0, suffix), key.addr / 16, (key.addr + key.len - 1) / 16 + 1};
}

Ranges wordsOf(const QList<host::KeyAddress>& keys) {
    Ranges ranges;
    for (const host::KeyAddress& key : keys) {
        ranges.push_back(wordsOf(key));
    }
    return ranges;
}

QList<host::KeyAddress> randomKeys(model::Random& random) {
    static const std::vector<const char*> names = {"DM",     "DM", "CIO", "CIO_bit",
                                                   "DM_bit", "T",  "C"};
    const int space = random.oneOf(std::vector<int>{20, 80, 300});
    QList<host::KeyAddress> keys;
    for (int i = random.between(1, 12); i > 0; --i) {
        const char* name = random.oneOf(names);
        const bool bits = std::string(name).find("_bit") != std::string::npos;
        const int most = random.percent(10) ? 150 : 12;
        keys.append(makeKey(name, random.below(bits ? 16 * space : space),
                            random.between(1, bits ? 4 * most : most)));
    }
    return keys;
}

bool covers(const Ranges& blocks, const std::string& reg, int word) {
    for (const Words& block : blocks) {
        if (block.reg == reg && block.first <= word && word < block.end) {
            return true;
        }
    }
    return false;
}

/// Whether a range that begins in `asked` ends at or before `word`: it cuts the block back.
bool isCutBack(const Ranges& all, const Words& asked, int word) {
    for (const Words& other : all) {
        if (other.reg == asked.reg && other.first >= asked.first && other.end <= word) {
            return true;
        }
    }
    return false;
}

std::string text(const Ranges& ranges) {
    std::ostringstream out;
    for (const Words& range : ranges) {
        out << range.reg << ' ' << range.first << " to " << range.end - 1 << ", ";
    }
    return out.str();
}

} // namespace

class MergeProperty : public LoadedDriver {
protected:
    const Silence silence;

    void setLimit(int words) { host.bind(intf, ("7#0#0#3#" + std::to_string(words)).c_str()); }

    /// Merges random ranges; `asked` and `blocks` are then what went in and what came out.
    void mergeAny(model::Random& random) {
        limit = random.oneOf(std::vector<int>{1, 4, 16, 64, 64, 500});
        setLimit(limit);
        QList<host::KeyAddress> keys = randomKeys(random);
        asked = wordsOf(keys);
        intf.addrMerge(keys);
        blocks = wordsOf(keys);
    }

    int limit = 0;
    Ranges asked;
    Ranges blocks;
};

TEST_F(MergeProperty, addrMerge_anyRanges_everyWordReadUnlessARangeInsideCutsItsBlockBack) {
    int covered = 0;
    int cut = 0;
    for (int round = 0; round < rounds; ++round) {
        model::Random random(static_cast<unsigned>(round));
        mergeAny(random);
        for (const Words& range : asked) {
            for (int word = range.first; word < range.end; ++word) {
                const bool isRead = covers(blocks, range.reg, word);
                ++(isRead ? covered : cut);
                ASSERT_TRUE(isRead || isCutBack(asked, range, word))
                    << range.reg << ' ' << word << " is not read; round " << round << ", limit "
                    << limit << "\nasked:  " << text(asked) << "\nblocks: " << text(blocks);
            }
        }
    }
    EXPECT_GT(covered, 10 * rounds);
    EXPECT_GT(cut, rounds / 10); // both happen
}

TEST_F(MergeProperty, addrMerge_noRangeInsideAnother_everyWordRead) {
    for (int round = 0; round < rounds; ++round) {
        model::Random random(static_cast<unsigned>(round));
        setLimit(random.between(1, 70));
        QList<host::KeyAddress> keys;
        int next = 0;
        for (int i = random.between(1, 15); i > 0; --i) { // they overlap at their ends at most
            const int length = random.between(2, 30);
            keys.append(makeKey("DM", next, length));
            next += random.percent(30) ? length - 1 : length + random.below(20);
        }
        asked = wordsOf(keys);
        intf.addrMerge(keys);
        blocks = wordsOf(keys);
        for (const Words& range : asked) {
            for (int word = range.first; word < range.end; ++word) {
                ASSERT_TRUE(covers(blocks, "DM", word)) << word << " in round " << round;
            }
        }
    }
}

TEST_F(MergeProperty, addrMerge_anyRanges_noBlockIsTooLongButOneLongRange) {
    int tooLong = 0;
    for (int round = 0; round < rounds; ++round) {
        model::Random random(static_cast<unsigned>(round));
        mergeAny(random);
        const std::set<Words> single(asked.begin(), asked.end());
        for (const Words& block : blocks) {
            const bool fits = block.end - block.first <= limit;
            tooLong += fits ? 0 : 1;
            ASSERT_TRUE(fits || single.count(block) == 1)
                << "round " << round << ", limit " << limit << "\nasked:  " << text(asked)
                << "\nblocks: " << text(blocks);
        }
    }
    EXPECT_GT(tooLong, 0);
}

TEST_F(MergeProperty, addrMerge_anyRanges_blocksAscendAndNoWordIsReadThatNobodyCouldWant) {
    for (int round = 0; round < rounds; ++round) {
        model::Random random(static_cast<unsigned>(round));
        mergeAny(random);
        std::map<std::string, std::pair<int, int>> bounds;
        for (const Words& range : asked) {
            auto place = bounds.insert({range.reg, {range.first, range.end}}).first;
            place->second.first = std::min(place->second.first, range.first);
            place->second.second = std::max(place->second.second, range.end);
        }
        for (std::size_t i = 0; i < blocks.size(); ++i) {
            const std::pair<int, int> bound = bounds.at(blocks[i].reg);
            ASSERT_GE(blocks[i].first, bound.first) << "round " << round;
            ASSERT_LE(blocks[i].end, bound.second) << "round " << round;
            if (i > 0 && blocks[i - 1].reg == blocks[i].reg) {
                ASSERT_LE(blocks[i - 1].first, blocks[i].first) << "round " << round;
            }
        }
    }
}
