#ifndef VELKOR_TESTS_MODEL_EXCLUSIONS_H
#define VELKOR_TESTS_MODEL_EXCLUSIONS_H

#include "model/call.h"
#include "model/driver.h"

namespace model {

/// Whether hosts are told what comes of the call, made now, and the test has the memory for it.
/// What is left out stands in this function's file and nowhere else.
bool isToldToHosts(const Call& call, const Driver& driver);

} // namespace model

#endif
