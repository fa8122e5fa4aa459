#ifndef VELKOR_TESTS_SUPPORT_PLC_TRACE_H
#define VELKOR_TESTS_SUPPORT_PLC_TRACE_H

/// What velkor-plc's trace says that the PLC received, executed and sent, in that order. It is what
/// the words of panels and lines are held against: the trace is written before a reply leaves.

#include <QtCore/QString>
#include <QtCore/QVector>

/// A run of words or bits as a command names it.
struct TracedRange {
    QString area;
    int address = 0; ///< word, or word * 16 + bit
    int count = 0;
};

inline bool operator==(const TracedRange& one, const TracedRange& other) {
    return one.area == other.area && one.address == other.address && one.count == other.count;
}

/// A memory read (0101) or write (0102).
struct TracedCommand {
    bool write = false;
    bool bits = false;
    TracedRange range;
    QVector<quint16> data;  ///< of a write: its items, as far as the trace shows them
    bool shortened = false; ///< it shows the first ones only
};

struct TraceEvent {
    enum Kind { Received, Executed, Sent };
    Kind kind = Received;
    qint64 at = 0; ///< where its line begins in the trace, in bytes
    int request = 0;
    QString faults; ///< those that it met, as the line names them
    /// Received and executed:
    int sid = 0;
    QString text;          ///< the command as the trace has it: "0102 write DM 100, 1 word: 00 07"
    bool complete = false; ///< a read, or a write with as many items as it announces
    TracedCommand command; ///< then

    /// A read or write of words with all of its items to be seen.
    bool isWholeWordCommand() const { return complete && !command.bits && !command.shortened; }
};

/// All events of a trace. A request that met no fault on its way is executed where it was received,
/// and so has two events of one line.
QVector<TraceEvent> readPlcTrace(const QString& text);

#endif
