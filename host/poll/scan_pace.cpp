#include "host/poll/scan_pace.h"

#include <algorithm>

namespace velkor_host {
namespace {

const int SCANS_REMEMBERED = 4;
const qint64 SHORTEST = 1000000;

} // namespace

void ScanPace::restart(qint64 now) {
    m_begun = now;
    m_recent.clear();
}

void ScanPace::scanEnded(qint64 now) {
    m_recent.append(now - m_begun);
    m_begun = now;
    if (m_recent.size() > SCANS_REMEMBERED) {
        m_recent.removeFirst();
    }
}

qint64 ScanPace::staleAfter() const {
    const qint64 longest =
        m_recent.isEmpty() ? 0 : *std::max_element(m_recent.begin(), m_recent.end());
    return std::max({SHORTEST, 5 * m_interval, 3 * longest});
}

} // namespace velkor_host
