#ifndef VELKOR_TESTS_LOAD_TRACED_WRITES_H
#define VELKOR_TESTS_LOAD_TRACED_WRITES_H

/// What a PLC has executed, out of the trace that it printed.

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QVector>

/// A write command that has reached the PLC.
struct TracedWrite {
    QString area;    ///< "DM"
    int address = 0; ///< word, or word * 16 + bit
    bool bit = false;
    int count = 0;
    int first = 0; ///< the first item
    bool executed = false;
    bool damaged = false; ///< its reply was corrupted, or it arrived cut short and is not counted
                          ///< as refused
};

/// The writes in the order of their execution. `monitorOnly`: the PLC, in RUN at first, refuses
/// writes outside MONITOR.
QVector<TracedWrite> tracedWrites(const QByteArray& trace, bool monitorOnly);

#endif
