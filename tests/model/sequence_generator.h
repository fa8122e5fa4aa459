#ifndef VELKOR_TESTS_MODEL_SEQUENCE_GENERATOR_H
#define VELKOR_TESTS_MODEL_SEQUENCE_GENERATOR_H

#include "model/call.h"

namespace model {

/// The sequence of that seed, always the same one.
std::vector<Call> sequenceOf(unsigned seed, int calls);

} // namespace model

#endif
