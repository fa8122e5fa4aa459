#ifndef VELKOR_BENCH_SAME_RESULTS_H
#define VELKOR_BENCH_SAME_RESULTS_H

#include "loaded_library.h"

#include <string>

/// Polls the same words by the driver and by the textbook's algorithms, in order and shuffled,
/// words and bits, with replies that change nothing, something and everything. Empty when blocks,
/// frames, callbacks and values were the same; otherwise what differed first.
std::string differenceFromTextbook(const DriverEntries& entries);

#endif
