#include "host/line/steady_clock.h"

#include <chrono>

namespace velkor_host {

qint64 SteadyClock::now() const {
    using namespace std::chrono;
    return duration_cast<microseconds>(steady_clock::now().time_since_epoch()).count();
}

} // namespace velkor_host
