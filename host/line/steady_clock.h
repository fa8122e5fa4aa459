#ifndef VELKOR_HOST_LINE_STEADY_CLOCK_H
#define VELKOR_HOST_LINE_STEADY_CLOCK_H

#include "host/wire/exchange.h"

namespace velkor_host {

/// The machine's clock that is never set.
class SteadyClock : public Clock {
public:
    qint64 now() const override;
};

} // namespace velkor_host

#endif
