#ifndef VELKOR_TESTS_MODEL_RANDOM_H
#define VELKOR_TESTS_MODEL_RANDOM_H

#include <cstddef>
#include <random>
#include <vector>

namespace model {

/// Random choices; the same on every machine.
class Random {
public:
    explicit Random(unsigned seed) : engine_(seed) {}

    /// 0 to bound - 1.
    int below(int bound) { return static_cast<int>(engine_() % static_cast<unsigned>(bound)); }
    int between(int lowest, int highest) { return lowest + below(highest - lowest + 1); }
    bool percent(int chance) { return below(100) < chance; }
    template <typename Value> const Value& oneOf(const std::vector<Value>& values) {
        return values[static_cast<std::size_t>(below(static_cast<int>(values.size())))];
    }

private:
    std::mt19937 engine_;
};

} // namespace model

#endif
