#ifndef VELKOR_HOST_STATISTICS_H
#define VELKOR_HOST_STATISTICS_H

/// What the link has been like: counts, round trips and the last end code.
///
/// An *exchange* is one block on its way: a read or a write of at most one frame, with all its
/// tries. A *retry* is a try of it behind the first, whether the one before was refused or not
/// answered. A *failure* is an exchange that has ended without being done: the last try was
/// refused, or not answered. So a block that is refused in all of three tries is one exchange, two
/// retries and one failure, whether it is a poll, a one-shot read or a piece of a write. A block of
/// a recipe download that the PLC refuses is not tried again; when the mode was switched for it, it
/// is a failure all the same, and the recipe begins again with new exchanges. Changes of the mode
/// count as nothing. Exchanges are counted when they end; what the line's closing has cut short is
/// not counted.
///
/// Points in time are microseconds on the clock of Line::now().

#include <velkor/host/export.h>
#include <velkor/host/request_end.h>
#include <velkor/host/witness.h>

#include <QtCore/QVector>

namespace velkor_host {

/// Round trip times, in microseconds: the last thousand. Each is of an exchange whose first try was
/// answered, by data or by a refusal: from that try to its reply.
class VELKOR_HOST_EXPORT RoundTrips {
public:
    void add(qint64 microseconds);
    int count() const { return static_cast<int>(m_samples.size()); }
    /// The smallest sample that at least `percent` of all samples do not exceed (nearest rank);
    /// -1 without a sample. `percent` from 0, the minimum, to 100, the maximum.
    qint64 percentile(int percent) const;

private:
    QVector<qint64> m_samples;
    int m_next = 0;
};

class VELKOR_HOST_EXPORT LinkStatistics {
public:
    void received(Verdict verdict);
    void timedOut() { ++m_timeouts; }
    void notSent() { ++m_unsent; }
    /// What the line has asked the driver for has ended, well or not.
    void requestEnded(const RequestEnd& end, qint64 now);
    /// Nothing more is sent of this block: `whole` is all that was sent of it together.
    void exchangeEnded(const RequestEnd& whole, qint64 now);

    /// A copy, as LinkStatistics itself is one of the line's.
    RoundTrips roundTrips() const { return m_roundTrips; }
    qint64 exchanges() const { return m_exchanges; }
    qint64 retries() const { return m_retries; }
    /// Frames, those of mode changes included, that were sent and no reply came to in time.
    qint64 timeouts() const { return m_timeouts; }
    /// Frames, those of mode changes included, that this computer could not send.
    qint64 unsent() const { return m_unsent; }
    /// Datagrams that were no reply to the frame in flight.
    qint64 dropped() const { return m_dropped; }
    qint64 failures() const { return m_failures; }
    /// MRES * 256 + SRES of the last reply, flags included, and when its request ended; -1: none so
    /// far.
    int lastEndCode() const { return m_lastEndCode; }
    qint64 lastEndCodeAt() const { return m_lastEndCodeAt; }
    /// The last end code that was an error, and when its request ended; -1: none so far.
    int lastError() const { return m_lastError; }
    qint64 lastErrorAt() const { return m_lastErrorAt; }
    /// Since when no request has been answered: when the first frame of the first of them left. -1:
    /// the last one was.
    qint64 silentSince() const { return m_silentSince; }
    /// No frame of the last request could be sent.
    bool cannotSend() const { return m_cannotSend; }

    /// Exchanges that have ended, per second over the two seconds before `now`, which is
    /// Line::now() or later than all that was counted.
    double exchangeRate(qint64 now) const;

private:
    RoundTrips m_roundTrips;
    QVector<qint64> m_recent; ///< when exchanges ended, oldest first
    qint64 m_exchanges = 0;
    qint64 m_retries = 0;
    qint64 m_timeouts = 0;
    qint64 m_unsent = 0;
    qint64 m_dropped = 0;
    qint64 m_failures = 0;
    int m_lastEndCode = -1;
    qint64 m_lastEndCodeAt = -1;
    int m_lastError = -1;
    qint64 m_lastErrorAt = -1;
    qint64 m_silentSince = -1;
    bool m_cannotSend = false;
};

} // namespace velkor_host

#endif
