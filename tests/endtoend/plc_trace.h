#ifndef VELKOR_TESTS_ENDTOEND_PLC_TRACE_H
#define VELKOR_TESTS_ENDTOEND_PLC_TRACE_H

/// What velkor-plc's trace says that the PLC received, executed and sent, in that order. It is what
/// the panel's words are held against: the trace is written before a reply leaves.

#include <QtCore/QString>
#include <QtCore/QVector>

/// A run of words as a command names it.
struct TracedRange {
    QString area;
    int address = 0;
    int count = 0;
};

inline bool operator==(const TracedRange& one, const TracedRange& other) {
    return one.area == other.area && one.address == other.address && one.count == other.count;
}

/// A memory read (0101) or write (0102) of words.
struct TracedCommand {
    bool write = false;
    TracedRange range;
    QVector<quint16>
        data; ///< of a write, all of them; writes of more than 8 words are not traced whole
};

struct TraceEvent {
    enum Kind { Received, Executed, Sent };
    Kind kind = Received;
    qint64 at = 0; ///< where its line begins in the trace, in bytes
    int request = 0;
    /// Received and executed:
    int sid = 0;
    bool whole = false;    ///< a read or write of words with all of its bytes
    TracedCommand command; ///< then
};

/// All events of a trace. A request that met no fault on its way is executed where it was received,
/// and so has two events of one line.
QVector<TraceEvent> readPlcTrace(const QString& text);

#endif
