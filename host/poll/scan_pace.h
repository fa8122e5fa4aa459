#ifndef VELKOR_HOST_POLL_SCAN_PACE_H
#define VELKOR_HOST_POLL_SCAN_PACE_H

#include <QtCore/QVector>

namespace velkor_host {

/// How long scans take of late, and so how old a value may be before it counts as stale. Times in
/// microseconds.
class ScanPace {
public:
    explicit ScanPace(int scanMs) : m_interval(qint64(scanMs) * 1000) {}

    void restart(qint64 now);
    void scanEnded(qint64 now);

    /// Five scan intervals, three times the longest of the last scans, or a second, whichever is
    /// longest. Only recent scans count: one bad spell must not let dead values pass for fresh ones
    /// ever after.
    qint64 staleAfter() const;

private:
    qint64 m_interval;
    qint64 m_begun = 0;
    QVector<qint64> m_recent; ///< oldest first
};

} // namespace velkor_host

#endif
