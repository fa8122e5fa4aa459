#ifndef VELKOR_TESTS_HOST_FAILED_OUTCOMES_H
#define VELKOR_TESTS_HOST_FAILED_OUTCOMES_H

/// Outcomes of writes and recipes that did not end well, as a line tells them.

#include <velkor/host/outcome.h>

namespace failed_outcomes {

using namespace velkor_host;

/// A write of DM 100 to 105 in pieces of two words, whose piece from DM `failed` on has failed.
inline WriteOutcome failedWrite(WriteResult result, int taken, int unknown) {
    WriteOutcome outcome;
    outcome.reg = "DM";
    outcome.address = 100;
    outcome.count = 6;
    outcome.result = result;
    outcome.taken = taken;
    outcome.unknown = unknown;
    outcome.last.reg = "DM";
    outcome.last.address = 100 + taken;
    outcome.last.length = 2;
    outcome.last.tries = 3;
    outcome.last.write = true;
    return outcome;
}

inline RecipeOutcome failedDownload() {
    RecipeOutcome outcome;
    outcome.result = RecipeResult::Unknown;
    outcome.blocks = {{"DM", 100, 4, RecipeBlock::Moved},
                      {"DM", 200, 2, RecipeBlock::Unknown},
                      {"HR", 5, 1, RecipeBlock::NotMoved}};
    return outcome;
}

/// Every block acknowledged, not read back.
inline RecipeOutcome downloadNotCompared() {
    RecipeOutcome outcome;
    outcome.result = RecipeResult::NotVerified;
    outcome.blocks = {{"DM", 100, 4, RecipeBlock::Moved}, {"DM", 200, 2, RecipeBlock::Moved}};
    return outcome;
}

} // namespace failed_outcomes

#endif
