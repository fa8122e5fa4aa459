#ifndef VELKOR_TESTS_MODEL_REMEMBERED_H
#define VELKOR_TESTS_MODEL_REMEMBERED_H

/// Enters long lists in a journal again and again, and works out the sum only of those records that
/// have changed since.

#include "contract/host_records.h"
#include "model/journal.h"

#include <cstring>
#include <deque>

namespace model {

/// Whether `text` is the one that was copied. The copy shares the characters, so these cannot have
/// been changed in their place, nor others been put there.
inline bool isUnchanged(const QString& copy, const QString& text) {
    return copy.constData() == text.constData() && copy.size() == text.size();
}

inline bool isUnchanged(const host::Variable& copy, const host::Variable& now) {
    return copy.type == now.type && copy.station == now.station && copy.addr == now.addr &&
           copy.len == now.len && isUnchanged(copy.regName, now.regName) &&
           std::memcmp(copy.data, now.data, sizeof now.data) == 0;
}

inline bool isUnchanged(const host::FramePro& copy, const host::FramePro& now) {
    return copy.sendLen == now.sendLen && copy.rcvLen == now.rcvLen &&
           copy.headLen == now.headLen && copy.dataLen == now.dataLen && copy.spare == now.spare &&
           std::memcmp(copy.frame, now.frame, sizeof now.frame) == 0 &&
           isUnchanged(copy.var, now.var);
}

inline bool isUnchanged(const host::DataRecord& copy, const host::DataRecord& now) {
    return copy.firstByteFlag == now.firstByteFlag && copy.writePending == now.writePending &&
           copy.pendingBits == now.pendingBits && copy.wordMonitor == now.wordMonitor &&
           copy.bitMonitor == now.bitMonitor && copy.station == now.station &&
           isUnchanged(copy.regName, now.regName) && copy.wordAddr == now.wordAddr &&
           std::memcmp(copy.readValue, now.readValue, sizeof now.readValue) == 0 &&
           std::memcmp(copy.writeValue, now.writeValue, sizeof now.writeValue) == 0;
}

template <typename Record> class Remembered {
public:
    template <typename List> void tellList(Journal& journal, const char* name, const List& list);
    /// One record, under a number of its own; numbers are given out from 0 upwards.
    void tellRecord(Journal& journal, std::size_t index, const Record& record);

private:
    std::uint64_t sumOf(std::size_t index, const Record& record);
    template <typename List> void forgetSome(const List& list);

    std::deque<Record> copies_;
    std::deque<std::uint64_t> sums_;
};

template <typename Record>
std::uint64_t Remembered<Record>::sumOf(std::size_t index, const Record& record) {
    if (index == copies_.size()) {
        copies_.push_back(record);
        sums_.push_back(0);
    } else if (isUnchanged(copies_[index], record)) {
        return sums_[index];
    }
    copies_[index] = record;
    Journal alone(false);
    tell(alone, record);
    sums_[index] = alone.sum();
    return sums_[index];
}

/// Lists get shorter at their heads.
template <typename Record>
template <typename List>
void Remembered<Record>::forgetSome(const List& list) {
    while (!list.empty() && copies_.size() > static_cast<std::size_t>(list.size()) &&
           !isUnchanged(copies_.front(), *list.begin())) {
        copies_.pop_front();
        sums_.pop_front();
    }
}

template <typename Record>
template <typename List>
void Remembered<Record>::tellList(Journal& journal, const char* name, const List& list) {
    journal.entry(name);
    journal.number("size", static_cast<long long>(list.size()));
    forgetSome(list);
    std::size_t index = 0;
    for (typename List::const_iterator it = list.begin(); it != list.end(); ++it, ++index) {
        if (journal.isInWords()) {
            journal.entry("   -");
        }
        tellRecord(journal, index, *it);
    }
}

template <typename Record>
void Remembered<Record>::tellRecord(Journal& journal, std::size_t index, const Record& record) {
    if (journal.isInWords()) {
        tell(journal, record);
    } else {
        journal.number("sum", static_cast<long long>(sumOf(index, record)));
    }
}

} // namespace model

#endif
