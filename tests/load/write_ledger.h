#ifndef VELKOR_TESTS_LOAD_WRITE_LEDGER_H
#define VELKOR_TESTS_LOAD_WRITE_LEDGER_H

/// The writes of a run, what the line said became of them, and whether that is so.

#include "load/traced_writes.h"

#include <velkor/host/outcome.h>

#include <QtCore/QHash>
#include <QtCore/QSet>
#include <QtCore/QStringList>

#include <functional>

namespace velkor_host {

struct LedgerEntry {
    QString reg;
    int address = 0;
    Items items;
    int told = 0; ///< how often its outcome came
    WriteOutcome outcome;
};

class WriteLedger {
public:
    void add(quint64 id, const QString& reg, int address, const Items& items);
    void settled(const WriteOutcome& outcome);

    int size() const { return static_cast<int>(m_entries.size()); }
    int settledCount() const { return m_settledCount; }
    const QVector<LedgerEntry>& entries() const { return m_entries; }

    /// A word or bit may hold this, by all outcomes that have been told so far.
    bool mayHold(const QString& reg, int address, quint16 item) const;
    /// Somebody has at least asked for this word or bit to hold it, or it is 0.
    bool mayEverHold(const QString& reg, int address, quint16 item) const;

    /// Every write was told once.
    QStringList untold() const;
    struct Circumstances {
        bool exactlyOnce = false; ///< nothing was to be executed twice
        bool inOrder = false;     ///< no command could overtake another
    };
    /// The outcomes held against what the PLC has executed. A write that was told as refused, and
    /// of which the PLC got a command cut short or a reply to it was corrupted, may have been
    /// executed all the same: no client can tell a refusal of damaged bytes from another. Such are
    /// counted.
    QStringList disagreements(const QVector<TracedWrite>& trace, const Circumstances& circumstances,
                              int* excused) const;
    /// The words and bits that were written held against the PLC's memory.
    QStringList memoryDisagreements(
        const std::function<quint16(const QString& reg, int address)>& memory) const;

    /// What the PLC has done with one item of a write.
    struct ItemFate {
        int executed = 0;
        int refused = 0;
        int damaged = 0;
        int firstAt = -1; ///< place in the trace of its first execution
    };
    typedef QVector<ItemFate> Fates;

private:
    typedef QPair<QString, int> Place;

    QVector<Fates> fates(const QVector<TracedWrite>& trace, QStringList* faults) const;

    QVector<LedgerEntry> m_entries; ///< in the order of their handing over
    QHash<quint64, int> m_byId;
    QHash<Place, QSet<quint16>> m_allowed; ///< what it may hold; not there: 0
    QHash<Place, QSet<quint16>> m_asked;
    int m_settledCount = 0;
};

} // namespace velkor_host

#endif
