#ifndef VELKOR_SCAN_RECIPE_H
#define VELKOR_SCAN_RECIPE_H

#include "driver/records.h"

/// Turns a recipe block into a request. `request.type` is left as it was; the data buffer is
/// cleared and, with `withData` nonzero, filled with 2 * len bytes (at most 1024) from the host's
/// recipe buffer from word rcpOffset on.
void rcpAddrToVar(const _RCP_VAR_PRO& block, VARIABLE& request, int withData);

#endif
