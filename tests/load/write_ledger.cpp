#include "load/write_ledger.h"

#include <algorithm>

namespace velkor_host {
namespace {

typedef WriteLedger::ItemFate ItemFate;
typedef WriteLedger::Fates Fates;

/// A write is known in the trace by its place and its first item: no two writes of a run to one
/// place have the same.
struct Key {
    QString reg;
    int address;
    quint16 value;
    bool operator==(const Key& other) const {
        return reg == other.reg && address == other.address && value == other.value;
    }
};

uint qHash(const Key& key) {
    return uint(::qHash(key.reg)) ^ uint(key.address * 65599) ^ uint(key.value << 8);
}

QHash<Key, int> byItem(const QVector<LedgerEntry>& entries) {
    QHash<Key, int> index;
    for (int entry = 0; entry < entries.size(); ++entry) {
        const LedgerEntry& write = entries.at(entry);
        for (int item = 0; item < write.items.size(); ++item) {
            index.insert({write.reg, write.address + item, write.items.at(item)}, entry);
        }
    }
    return index;
}

QString describe(const LedgerEntry& entry) {
    static const char* const names[] = {"taken", "refused", "unknown", "not sent"};
    return QStringLiteral("write %1: %2 %3, %4 items from value %5, told %6 (%7 taken, %8 unknown)")
        .arg(QString::number(entry.outcome.id), entry.reg, QString::number(entry.address),
             QString::number(entry.items.size()), QString::number(entry.items.first()),
             QLatin1String(names[static_cast<int>(entry.outcome.result)]),
             QString::number(entry.outcome.taken), QString::number(entry.outcome.unknown));
}

/// Empty when the items that were told as taken have been executed.
QString falseTaken(const LedgerEntry& entry, const Fates& fates, bool exactlyOnce) {
    const WriteOutcome& outcome = entry.outcome;
    if (outcome.result == WriteResult::Taken && outcome.taken != entry.items.size()) {
        return QStringLiteral("counted wrong");
    }
    for (int item = 0; item < outcome.taken; ++item) {
        const int executed = fates.at(item).executed;
        if (executed == 0 || (exactlyOnce && executed > 1)) {
            return QStringLiteral("item %1 was executed %2 times").arg(item).arg(executed);
        }
    }
    return QString();
}

/// Empty when the items that were told as not taken have not been executed.
QString falseNotTaken(const LedgerEntry& entry, const Fates& fates, int* excused) {
    const WriteOutcome& outcome = entry.outcome;
    const bool refused = outcome.result == WriteResult::Refused;
    for (int item = outcome.taken + outcome.unknown; item < entry.items.size(); ++item) {
        const ItemFate& fate = fates.at(item);
        if (fate.executed > 0 && refused && fate.damaged > 0) {
            ++*excused;
            return QString();
        }
        if (fate.executed > 0) {
            return QStringLiteral("item %1 was executed").arg(item);
        }
    }
    if (refused && fates.at(outcome.taken).refused + fates.at(outcome.taken).damaged == 0) {
        return QStringLiteral("it was not refused");
    }
    return QString();
}

} // namespace

void WriteLedger::add(quint64 id, const QString& reg, int address, const Items& items) {
    LedgerEntry entry;
    entry.reg = reg;
    entry.address = address;
    entry.items = items;
    m_byId.insert(id, size());
    m_entries.append(entry);
    for (int item = 0; item < items.size(); ++item) {
        m_asked[Place(reg, address + item)].insert(items.at(item));
    }
}

void WriteLedger::settled(const WriteOutcome& outcome) {
    LedgerEntry& entry = m_entries[m_byId.value(outcome.id)];
    entry.outcome = outcome;
    m_settledCount += ++entry.told == 1 ? 1 : 0;
    for (int item = 0; item < outcome.taken + outcome.unknown; ++item) {
        QSet<quint16>& allowed = m_allowed[Place(entry.reg, entry.address + item)];
        if (item < outcome.taken) {
            allowed = {entry.items.at(item)};
        } else {
            if (allowed.isEmpty()) {
                allowed.insert(0);
            }
            allowed.insert(entry.items.at(item));
        }
    }
}

bool WriteLedger::mayHold(const QString& reg, int address, quint16 item) const {
    const auto found = m_allowed.constFind(Place(reg, address));
    return found == m_allowed.constEnd() ? item == 0 : found->contains(item);
}

bool WriteLedger::mayEverHold(const QString& reg, int address, quint16 item) const {
    return item == 0 || m_asked.value(Place(reg, address)).contains(item);
}

QStringList WriteLedger::untold() const {
    QStringList faults;
    for (const LedgerEntry& entry : m_entries) {
        if (entry.told != 1) {
            faults += QStringLiteral("%1: told %2 times").arg(describe(entry)).arg(entry.told);
        }
    }
    return faults;
}

QVector<WriteLedger::Fates> WriteLedger::fates(const QVector<TracedWrite>& trace,
                                               QStringList* faults) const {
    const QHash<Key, int> index = byItem(m_entries);
    QVector<Fates> fates;
    for (const LedgerEntry& entry : m_entries) {
        fates.append(Fates(static_cast<int>(entry.items.size())));
    }
    for (int at = 0; at < trace.size(); ++at) {
        const TracedWrite& write = trace.at(at);
        const QString reg = write.bit ? write.area + QStringLiteral("_bit") : write.area;
        const auto found = index.constFind({reg, write.address, quint16(write.first)});
        if (found == index.constEnd()) {
            *faults += QStringLiteral("the PLC got a write to %1 %2 that nobody asked for")
                           .arg(reg)
                           .arg(write.address);
            continue;
        }
        const int begin = write.address - m_entries.at(*found).address;
        for (int item = begin; item < begin + write.count; ++item) {
            ItemFate& fate = fates[*found][item];
            fate.executed += write.executed ? 1 : 0;
            fate.damaged += write.damaged ? 1 : 0;
            fate.refused += write.executed || write.damaged ? 0 : 1;
            fate.firstAt = fate.firstAt < 0 && write.executed ? at : fate.firstAt;
        }
    }
    return fates;
}

QStringList WriteLedger::disagreements(const QVector<TracedWrite>& trace,
                                       const Circumstances& circumstances, int* excused) const {
    QStringList faults;
    const QVector<Fates> all = fates(trace, &faults);
    int last = -1; // place in the trace of the item that was executed last
    for (int entry = 0; entry < size(); ++entry) {
        const LedgerEntry& write = m_entries.at(entry);
        QString fault = falseTaken(write, all.at(entry), circumstances.exactlyOnce);
        if (fault.isEmpty()) {
            fault = falseNotTaken(write, all.at(entry), excused);
        }
        for (const ItemFate& fate : all.at(entry)) {
            if (circumstances.inOrder && fate.executed > 0 && fate.firstAt < last) {
                fault = QStringLiteral("executed before an earlier one");
            }
            last = std::max(last, fate.firstAt);
        }
        if (!fault.isEmpty()) {
            faults += describe(write) + QStringLiteral(": ") + fault;
        }
    }
    return faults;
}

QStringList WriteLedger::memoryDisagreements(
    const std::function<quint16(const QString& reg, int address)>& memory) const {
    QStringList faults;
    for (auto at = m_asked.constBegin(); at != m_asked.constEnd(); ++at) {
        const quint16 held = memory(at.key().first, at.key().second);
        if (!mayHold(at.key().first, at.key().second, held)) {
            faults +=
                QStringLiteral("the PLC's memory holds %1 in %2 %3, which no outcome explains")
                    .arg(held)
                    .arg(at.key().first)
                    .arg(at.key().second);
        }
    }
    return faults;
}

} // namespace velkor_host
