#ifndef VELKOR_TESTS_UNIT_NAIVE_MERGE_H
#define VELKOR_TESTS_UNIT_NAIVE_MERGE_H

/// Address merging once more, word for word as its rules are written, with nothing shared with the
/// driver: the second opinion that random lists are compared with.

#include "driver/records.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace naive {

/// A key without the fields that merging only carries along; `mark` tells the records apart.
struct Key {
    std::string regName;
    int addr;
    int len;
    int station;
    int mark;
};

inline int wrapped(std::uint32_t bits) {
    return static_cast<int>(bits);
}
inline std::uint32_t bitsOf(int value) {
    return static_cast<std::uint32_t>(value);
}
inline int plus(int a, int b) {
    return wrapped(bitsOf(a) + bitsOf(b));
}
inline int minus(int a, int b) {
    return wrapped(bitsOf(a) - bitsOf(b));
}

inline std::uint32_t weight(const std::string& regName, int addr) {
    static const char* const names[12] = {"CIO_bit", "WR_bit", "HR_bit", "AR_bit", "DM_bit", "CIO",
                                          "WR",      "HR",     "AR",     "T",      "C",      "DM"};
    for (std::uint32_t i = 0; i < 12; ++i) {
        if (regName == names[i]) {
            return (i + 1) * 65535U + bitsOf(addr);
        }
    }
    return bitsOf(addr);
}

inline void normaliseBits(Key& key) {
    const std::size_t size = key.regName.size();
    if (size < 4 || key.regName.substr(size - 4) != "_bit") {
        return;
    }
    key.regName = key.regName.substr(0, size - 4);
    const int len = plus(key.addr % 16, key.len);
    key.len = len % 16 == 0 ? len / 16 : len / 16 + 1;
    key.addr = key.addr / 16;
}

/// Any record with regName and addr.
template <class Record> void bubbleSort(std::vector<Record>& records) {
    const int n = static_cast<int>(records.size());
    for (int p = 0; p <= n - 2; ++p) {
        for (int j = 0; j <= n - p - 2; ++j) {
            Record& left = records[static_cast<std::size_t>(j)];
            Record& right = records[static_cast<std::size_t>(j) + 1];
            if (weight(left.regName, left.addr) > weight(right.regName, right.addr)) {
                std::swap(left, right);
            }
        }
    }
}

/// Joins touching and overlapping ranges; appends to `blockFirst` the index of each block's first
/// record.
inline std::vector<Key> join(const std::vector<Key>& keys, int maxWords,
                             std::vector<int>& blockFirst) {
    std::vector<Key> out;
    Key cur = keys[0];
    blockFirst.push_back(0);
    for (std::size_t i = 1; i < keys.size(); ++i) {
        const Key& r = keys[i];
        const bool touches =
            r.regName == cur.regName && minus(r.addr, plus(cur.addr, cur.len)) <= 0;
        const int newLen = minus(plus(r.addr, r.len), cur.addr);
        if (touches && newLen <= maxWords) {
            cur.len = newLen;
        } else {
            out.push_back(cur);
            cur = r;
            blockFirst.push_back(static_cast<int>(i));
        }
    }
    out.push_back(cur);
    return out;
}

inline std::vector<Key> bridge(const std::vector<Key>& blocks, int maxWords) {
    std::vector<Key> result;
    Key cur = blocks[0];
    for (std::size_t i = 1; i < blocks.size(); ++i) {
        const Key& b = blocks[i];
        const int gap = minus(b.addr, plus(cur.addr, cur.len));
        const int span = minus(plus(b.addr, b.len), cur.addr);
        if (b.regName == cur.regName && gap <= maxWords && span <= maxWords) {
            cur.len = span;
        } else {
            result.push_back(cur);
            cur = b;
        }
    }
    result.push_back(cur);
    return result;
}

/// `keys` must not be empty. Mode 2 is the recipe mode.
inline std::vector<Key> merge(std::vector<Key> keys, int mode, int maxWords,
                              std::vector<int>& blockFirst) {
    if (mode == 2) {
        return join(keys, maxWords, blockFirst);
    }
    for (Key& key : keys) {
        normaliseBits(key);
    }
    bubbleSort(keys);
    std::vector<int> ignored;
    return bridge(join(keys, maxWords, ignored), maxWords);
}

} // namespace naive

#endif
