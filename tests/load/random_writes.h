#ifndef VELKOR_TESTS_LOAD_RANDOM_WRITES_H
#define VELKOR_TESTS_LOAD_RANDOM_WRITES_H

/// What is written and polled in a run of host_faults: all kinds of writes, in an order that the
/// seed decides.

#include <velkor/host/tag.h>

#include <random>

namespace velkor_host {

struct RandomWrite {
    QString reg;
    int address = 0;
    Items items;
};

class RandomWrites {
public:
    explicit RandomWrites(unsigned seed) : m_random(seed) {}

    /// Words, values of two words, runs of several frames, bits, and words that the PLC refuses.
    /// Words of all writes differ by their values; a bit is written once and set.
    RandomWrite next();
    /// One of two pages of tags, over what is written.
    static QVector<Tag> page(int number);
    int below(int bound) { return std::uniform_int_distribution<int>(0, bound - 1)(m_random); }

private:
    std::mt19937 m_random;
    quint16 m_value = 0;
    int m_bit = 0;
};

} // namespace velkor_host

#endif
