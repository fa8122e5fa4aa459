#ifndef VELKOR_TESTS_ENDTOEND_PLC_DEEDS_H
#define VELKOR_TESTS_ENDTOEND_PLC_DEEDS_H

/// What a PLC has done, by its trace, and what its memory has come to.

#include "support/plc_trace.h"

#include <QtCore/QHash>
#include <QtCore/QPair>

#include <functional>

/// AR below it is refused to writes.
constexpr int READ_ONLY_END = 448;

/// A part of the trace, in bytes.
struct TraceSpan {
    qint64 begin = 0;
    qint64 end = 0;
};

class PlcDeeds {
public:
    explicit PlcDeeds(const QString& trace);

    /// The words as they are in the end.
    QVector<quint16> words(const TracedRange& range) const;

    /// Whether the PLC has, in this part, told or taken exactly these values of this range.
    bool hasTold(const TraceSpan& span, const TracedRange& range,
                 const QVector<quint16>& values) const;
    bool hasTaken(const TraceSpan& span, const TracedRange& range,
                  const QVector<quint16>& values) const;
    bool hasEverTaken(const TracedRange& range, const QVector<quint16>& values) const;

    /// Whether such a write has ever been sent to the PLC, whatever came of it.
    bool wasSent(const TracedRange& range, const QVector<quint16>& values) const;

    /// Replies in this part to requests from before it, and of these the ones whose service ID is
    /// also that of a request of this part: nothing in a reply tells the two apart.
    int strayReplies(const TraceSpan& span) const;
    int twinReplies(const TraceSpan& span) const;

private:
    /// A read or write that has been done, with the values told or taken.
    struct Deed {
        qint64 at = 0;
        TracedCommand command;
    };

    void execute(const TraceEvent& event);
    bool has(const TraceSpan& span, bool write, const TracedRange& range,
             const QVector<quint16>& values) const;
    int countStrays(const TraceSpan& span, const std::function<bool(int sid)>& counts) const;

    QVector<TraceEvent> m_events;
    QHash<int, int> m_sids; ///< of each request
    QVector<Deed> m_deeds;
    QHash<QPair<QString, int>, quint16> m_words;
};

#endif
