#ifndef VELKOR_HOST_LINE_LINE_NOTICES_H
#define VELKOR_HOST_LINE_LINE_NOTICES_H

/// Which of the host's listeners a notice is for.

#include "host/line/line_core.h"

namespace velkor_host {

/// Whether anybody listens. Nobody does at a line that has been destroyed (null).
bool wanted(const Notice& notice, const Line* line);

/// Calls the listener, which may destroy the line.
void tell(const Notice& notice, const Line& line);

} // namespace velkor_host

#endif
