#ifndef VELKOR_TESTS_MODEL_COMPARISON_H
#define VELKOR_TESTS_MODEL_COMPARISON_H

/// Makes one sequence of calls on a driver, as a rule the loaded library, and on the naive driver,
/// and compares.

#include "model/call.h"
#include "model/driver.h"

#include <string>
#include <vector>

namespace model {

struct Comparison {
    bool differs = false;
    long long calls = 0; ///< made, but for those left out
    long long callbacks = 0;
    std::string report; ///< in words, when it was asked for: the first difference
};

/// `actual`: a driver as it is after loading. `inWords`: slowly, with a report. `trace`: prints
/// each call before it is made, for a library that does not come back.
Comparison compare(Driver& actual, const std::vector<Call>& calls, bool inWords, bool trace);

/// The same with a fresh copy of the library in `file`.
Comparison compareLibrary(const std::string& file, const std::vector<Call>& calls, bool inWords,
                          bool trace);

} // namespace model

#endif
