#ifndef VELKOR_HOST_STATISTICS_H
#define VELKOR_HOST_STATISTICS_H

/// What the link has been like: counts, round trips and the last end code.

#include <velkor/host/export.h>
#include <velkor/host/request_end.h>
#include <velkor/host/witness.h>

#include <QtCore/QVector>

namespace velkor_host {

/// Round trip times, in microseconds: the last thousand.
class VELKOR_HOST_EXPORT RoundTrips {
public:
    void add(qint64 microseconds);
    int count() const { return static_cast<int>(m_samples.size()); }
    /// The smallest sample that at least `percent` of all samples do not exceed (nearest rank);
    /// -1 without a sample. 0 gives the minimum.
    qint64 percentile(int percent) const;

private:
    QVector<qint64> m_samples;
    int m_next = 0;
};

class VELKOR_HOST_EXPORT LinkStatistics {
public:
    void sent(int attempt);
    void received(Verdict verdict);
    void timedOut() { ++m_timeouts; }
    void settled(const RequestEnd& end, qint64 now);

    const RoundTrips& roundTrips() const { return m_roundTrips; }
    qint64 exchanges() const { return m_exchanges; }
    qint64 retries() const { return m_retries; }
    qint64 timeouts() const { return m_timeouts; }
    qint64 dropped() const { return m_dropped; }
    qint64 failures() const { return m_failures; }
    int lastEndCode() const { return m_lastEndCode; }
    qint64 lastEndCodeAt() const { return m_lastEndCodeAt; }
    /// The last end code that was an error, and when it came; -1: none so far.
    int lastError() const { return m_lastError; }
    qint64 lastErrorAt() const { return m_lastErrorAt; }
    /// Since when no request has been answered; -1: the last one was.
    qint64 silentSince() const { return m_silentSince; }

    /// Settled requests per second over the last two seconds.
    double exchangeRate(qint64 now) const;

private:
    RoundTrips m_roundTrips;
    QVector<qint64> m_recent; ///< when requests were settled, oldest first
    qint64 m_exchanges = 0;
    qint64 m_retries = 0;
    qint64 m_timeouts = 0;
    qint64 m_dropped = 0;
    qint64 m_failures = 0;
    int m_lastEndCode = -1;
    qint64 m_lastEndCodeAt = -1;
    int m_lastError = -1;
    qint64 m_lastErrorAt = -1;
    qint64 m_silentSince = -1;
};

} // namespace velkor_host

#endif
