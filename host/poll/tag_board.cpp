#include "host/poll/tag_board.h"

#include "host/poll/poll_plan.h"
#include "host/values/item_bytes.h"

#include <velkor/host/registers.h>

#include <algorithm>

namespace velkor_host {
namespace {

/// The tag's items out of words that hold them all.
Items itemsOf(const Tag& tag, const WordRange& read, const Items& words) {
    if (!tag.bitRegister()) {
        return words.mid(tag.address - read.address, tag.itemCount());
    }
    return bitsOf(words, read.address, tag.address, tag.itemCount());
}

QString notRefreshed() {
    return QStringLiteral("not refreshed");
}

/// What went wrong, without the details that change from request to request.
QString kindOf(const QString& reason) {
    return reason.section(QLatin1Char(':'), 0, 0);
}

/// Leaves it empty. The result ascends and has each index once.
QVector<int> takeOrdered(QVector<int>* indices) {
    QVector<int> taken;
    taken.swap(*indices);
    std::sort(taken.begin(), taken.end());
    taken.erase(std::unique(taken.begin(), taken.end()), taken.end());
    return taken;
}

bool covers(const WordRange& outer, const WordRange& inner) {
    return outer.reg == inner.reg && outer.address <= inner.address && inner.end() <= outer.end();
}

} // namespace

TagBoard::TagBoard(const QVector<Tag>& tags) : m_tags(tags) {
    for (const Tag& tag : tags) {
        Entry entry;
        entry.words = wordsHolding(tag.reg, tag.bitRegister(), tag.address, tag.itemCount());
        Register& reg = m_registers[entry.words.reg];
        reg.byAddress.append(size());
        reg.longest = std::max(reg.longest, entry.words.length);
        m_entries.append(entry);
    }
    for (Register& reg : m_registers) {
        std::stable_sort(reg.byAddress.begin(), reg.byAddress.end(), [this](int a, int b) {
            return m_entries.at(a).words.address < m_entries.at(b).words.address;
        });
    }
}

QVector<WordRange> TagBoard::words() const {
    QVector<WordRange> ranges;
    ranges.reserve(m_entries.size());
    for (const Entry& entry : m_entries) {
        ranges.append(entry.words);
    }
    return ranges;
}

/// With many tags, looking at each one after each read would cost more than the reads.
QVector<int> TagBoard::touching(const WordRange& range) const {
    QVector<int> indices;
    const auto found = m_registers.constFind(range.reg);
    if (found == m_registers.constEnd()) {
        return indices;
    }
    const QVector<int>& sorted = found->byAddress;
    const int lowest = range.address - found->longest;
    auto at = std::lower_bound(sorted.begin(), sorted.end(), lowest, [this](int index, int word) {
        return m_entries.at(index).words.address < word;
    });
    for (; at != sorted.end() && m_entries.at(*at).words.address < range.end(); ++at) {
        if (overlap(m_entries.at(*at).words, range)) {
            indices.append(*at);
        }
    }
    return indices;
}

void TagBoard::wordsRead(const WordRange& read, const FetchFunction& fetch, qint64 askedAt,
                         qint64 now) {
    Items words;
    for (const int index : touching(read)) {
        Entry& entry = m_entries[index];
        if (overlap(entry.words, m_inDriversHands)) {
            continue;
        }
        markRead(&entry, read, askedAt, now);
        settlePending(index);
        if (entry.dirty && !entry.inPieces()) {
            if (words.isEmpty()) {
                words = fetch(read);
            }
            takeValue(index, read, words, now);
        }
        judge(index, now);
    }
}

void TagBoard::markRead(Entry* entry, const WordRange& read, qint64 askedAt, qint64 now) {
    if (covers(read, entry->words)) {
        entry->wordReadAt.clear();
        entry->status.readAt = askedAt;
        entry->answeredAt = now;
        entry->written = false;
        return;
    }
    if (!entry->inPieces()) {
        entry->wordReadAt = QVector<qint64>(entry->words.length, -1);
    }
    noteReadAt(entry, read, askedAt);
}

void TagBoard::noteReadAt(Entry* entry, const WordRange& words, qint64 askedAt) {
    const int first = std::max(entry->words.address, words.address);
    const int end = std::min(entry->words.end(), words.end());
    for (int word = first; entry->inPieces() && word < end; ++word) {
        entry->wordReadAt[word - entry->words.address] = askedAt;
    }
}

/// Half of a value's words may be of one scan and half of the next until the scan has ended. Where
/// a word was not read in this scan, there is no value of this scan.
void TagBoard::scanEnded(const FetchFunction& fetch, qint64 now) {
    for (int index = 0; index < size(); ++index) {
        Entry& entry = m_entries[index];
        if (!entry.inPieces()) {
            continue;
        }
        const qint64 oldest = *std::min_element(entry.wordReadAt.begin(), entry.wordReadAt.end());
        entry.wordReadAt.fill(-1);
        if (oldest < 0 || overlap(entry.words, m_inDriversHands)) {
            continue;
        }
        entry.status.readAt = oldest;
        entry.answeredAt = now;
        entry.written = false;
        settlePending(index);
        if (entry.dirty) {
            takeValue(index, entry.words, fetch(entry.words), now);
        }
        judge(index, now);
    }
}

void TagBoard::takeValue(int index, const WordRange& read, const Items& words, qint64 now) {
    Entry& entry = m_entries[index];
    entry.dirty = false;
    Items items = itemsOf(m_tags.at(index), read, words);
    if (items == entry.status.m_items) {
        return;
    }
    if (!entry.status.m_items.isEmpty()) {
        ++entry.status.changes;
        entry.status.changedAt = now;
    }
    entry.status.m_items = items;
    changed(index);
}

void TagBoard::readFailed(const WordRange& asked, const QString& reason, qint64 since, qint64 now) {
    for (const int index : touching(asked)) {
        noteReadAt(&m_entries[index], asked, -1); // what was read of it before counts no more
        fail(index, reason, since, now);
    }
}

void TagBoard::fail(int index, const QString& reason, qint64 since, qint64 now) {
    Entry& entry = m_entries[index];
    if (entry.status.state == TagState::Refused) {
        return;
    }
    const bool first = entry.failedAt <= entry.answeredAt;
    const QString kind = kindOf(reason);
    if (kindOf(entry.status.reason) != kind) {
        const bool asTheLink = kindOf(m_linkFailure) == kind;
        entry.status.since = asTheLink ? std::min(since, m_linkFailingSince) : since;
    }
    entry.failedAt = now;
    entry.status.reason = reason;
    judge(index, now);
    if (first && entry.status.state == TagState::NotRead) {
        changed(index); // that it could not even be read once is told by its reason
    }
}

void TagBoard::timePasses(qint64 now, qint64 staleAfter) {
    m_staleAfter = staleAfter;
    for (int index = 0; index < size(); ++index) {
        growOlder(index, now);
    }
}

void TagBoard::growOlder(int index, qint64 now) {
    Entry& entry = m_entries[index];
    if (now - entry.status.readAt > m_staleAfter) {
        entry.grownOld = entry.status.readAt;
    }
    judge(index, now);
}

void TagBoard::judge(int index, qint64 now) {
    Entry& entry = m_entries[index];
    TagStatus& status = entry.status;
    if (status.state == TagState::Refused) {
        return;
    }
    const bool failed = entry.failedAt > entry.answeredAt;
    const bool known = status.readAt >= 0 && !status.m_items.isEmpty();
    TagState state = TagState::NotRead;
    if (known) {
        const bool old = now - status.readAt > m_staleAfter || entry.grownOld == status.readAt;
        state = failed || old ? TagState::Stale : TagState::Fresh;
    }
    if (state != status.state) {
        status.state = state;
        changed(index);
        settlePending(index);
    }
    explain(&entry, failed);
}

/// A failed request of its own has left its reason already.
void TagBoard::explain(Entry* entry, bool failed) {
    TagStatus& status = entry->status;
    if (status.state == TagState::Fresh) {
        status.reason.clear();
        status.since = -1;
    } else if (!failed && !m_linkFailure.isEmpty()) {
        status.reason = m_linkFailure;
        status.since = m_linkFailingSince;
    } else if (!failed) {
        status.reason = status.state == TagState::Stale ? notRefreshed() : QString();
        status.since = status.readAt;
    }
}

void TagBoard::valueChanged(const QString& reg, int address) {
    const bool bit = isBitRegister(reg);
    lookAt({wordRegisterName(reg), bit ? address / 16 : address, 1});
}

void TagBoard::lookAtAll() {
    for (Entry& entry : m_entries) {
        entry.dirty = true;
    }
}

void TagBoard::lookAt(const WordRange& words) {
    for (const int index : touching(words)) {
        m_entries[index].dirty = true;
    }
}

QVector<int> TagBoard::changedBy(const WrittenItems& items) const {
    QVector<int> indices = touching(items.words);
    const auto otherBits = [this, &items](int index) {
        const Tag& tag = m_tags.at(index);
        return items.bits > 0 && tag.bitRegister() &&
               (tag.address + tag.itemCount() <= items.firstBit ||
                items.firstBit + items.bits <= tag.address);
    };
    indices.erase(std::remove_if(indices.begin(), indices.end(), otherBits), indices.end());
    return indices;
}

void TagBoard::writeBegun(const WrittenItems& items) {
    for (const int index : changedBy(items)) {
        ++m_entries[index].writes;
        settlePending(index);
    }
}

void TagBoard::writeEnded(const WrittenItems& items, WriteEnd end, qint64 now) {
    writeSettled(items);
    wordsWritten(items, end, now);
}

void TagBoard::writeSettled(const WrittenItems& items) {
    // What the driver announced while it had the write was not looked at: of the whole words.
    lookAt(items.words);
    for (const int index : changedBy(items)) {
        Entry& entry = m_entries[index];
        entry.writes = std::max(0, entry.writes - 1);
        settlePending(index);
    }
}

void TagBoard::wordsWritten(const WrittenItems& items, WriteEnd end, qint64 now) {
    if (end == WriteEnd::NotExecuted) {
        return;
    }
    for (const int index : changedBy(items)) {
        // Of a tag that comes in several reads a word may have been read in this scan already: that
        // was before the write, and the driver may show what was written for what was read.
        noteReadAt(&m_entries[index], items.words, -1);
        if (end == WriteEnd::Taken) {
            m_entries[index].written = true;
            settlePending(index);
        } else {
            fail(index,
                 QStringLiteral("perhaps written: no answer says so, and it has not been read "
                                "since"),
                 now, now);
        }
    }
}

void TagBoard::settlePending(int index) {
    Entry& entry = m_entries[index];
    // A stale value says already that it is not what the PLC holds.
    const bool fresh = entry.status.state == TagState::Fresh;
    const bool pending = entry.writes > 0 || (entry.written && fresh);
    if (pending != entry.status.pending) {
        entry.status.pending = pending;
        m_pendingChanged.append(index);
    }
}

void TagBoard::setRefused(const QVector<RefusedRange>& refused,
                          const std::function<QString(const RequestEnd&)>& reason, qint64 now) {
    QVector<const RefusedRange*> of(size(), nullptr);
    for (const RefusedRange& range : refused) {
        for (const int index : touching(range.range)) {
            of[index] = &range;
        }
    }
    for (int index = 0; index < size(); ++index) {
        TagStatus& status = m_entries[index].status;
        const bool was = status.state == TagState::Refused;
        const RefusedRange* range = of.at(index);
        if (range != nullptr && (!was || status.endCode != range->refusal.endCode)) {
            status.state = TagState::Refused;
            status.since = now;
            status.endCode = range->refusal.endCode;
            status.reason = reason(range->refusal);
            changed(index);
        } else if (range == nullptr && was) {
            // What was read before the refusal is not fresh, however lately that was.
            status.state = TagState::NotRead;
            status.endCode = -1;
            status.reason = status.readAt >= 0 ? notRefreshed() : QString();
            status.since = now;
            m_entries[index].failedAt = now;
            changed(index);
            judge(index, now);
        }
    }
}

void TagBoard::linkFails(const QString& reason, qint64 since) {
    if (kindOf(m_linkFailure) != kindOf(reason)) {
        m_linkFailingSince = since;
    }
    m_linkFailure = reason;
}

QVector<int> TagBoard::takeChanged() {
    return takeOrdered(&m_changed);
}

QVector<int> TagBoard::takePendingChanged() {
    return takeOrdered(&m_pendingChanged);
}

bool TagBoard::allFresh() const {
    return std::all_of(m_entries.begin(), m_entries.end(),
                       [](const Entry& entry) { return entry.status.state == TagState::Fresh; });
}

} // namespace velkor_host
