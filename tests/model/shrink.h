#ifndef VELKOR_TESTS_MODEL_SHRINK_H
#define VELKOR_TESTS_MODEL_SHRINK_H

#include "model/call.h"

#include <functional>

namespace model {

/// A shorter and simpler sequence that `fails` too; `calls` must. Nothing in the result can be left
/// out or made simpler by itself, unless `tries` are used up.
std::vector<Call> shrunk(const std::vector<Call>& calls,
                         const std::function<bool(const std::vector<Call>&)>& fails, int tries);

} // namespace model

#endif
