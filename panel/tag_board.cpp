#include "panel/tag_board.h"

#include <velkor/host/registers.h>

#include <algorithm>
#include <numeric>

namespace panel {
namespace {

const int HISTORY = 32;
const qint64 SAMPLE_INTERVAL = 250000;

bool touches(const WordRange& a, const WordRange& b) {
    return a.reg == b.reg && a.address < b.end() && b.address < a.end();
}

} // namespace

TagBoard::TagBoard(const QVector<Tag>& tags, qint64 staleAfter) : m_staleAfter(staleAfter) {
    for (const Tag& tag : tags) {
        Entry entry;
        entry.status.tag = tag;
        entry.words = wordsHolding(tag);
        entry.wordReadAt = QVector<qint64>(entry.words.length, -1);
        m_byRegister[entry.words.reg].append(size());
        m_entries.append(entry);
    }
}

QVector<WordRange> TagBoard::words() const {
    QVector<WordRange> ranges;
    for (const Entry& entry : m_entries) {
        ranges.append(entry.words);
    }
    return ranges;
}

void TagBoard::readSettled(const Settled& settled, const QString& reason, qint64 now) {
    const WordRange read{settled.reg, settled.address, settled.length};
    for (const int index : m_byRegister.value(read.reg)) {
        Entry& entry = m_entries[index];
        if (!touches(entry.words, read)) {
            continue;
        }
        m_news.append(index);
        if (settled.ok) {
            markRead(&entry, read, now);
        } else {
            if (entry.failedAt <= entry.status.readAt) {
                entry.status.failingSince = now - settled.waited;
            }
            entry.failedAt = now;
            entry.status.reason = reason;
        }
    }
}

void TagBoard::markRead(Entry* entry, const WordRange& read, qint64 now) {
    const int first = std::max(entry->words.address, read.address);
    const int end = std::min(entry->words.end(), read.end());
    for (int word = first; word < end; ++word) {
        entry->wordReadAt[word - entry->words.address] = now;
    }
    entry->inPieces = entry->inPieces || end - first < entry->words.length;
    const bool firstTime = entry->status.readAt < 0;
    entry->status.readAt = *std::min_element(entry->wordReadAt.begin(), entry->wordReadAt.end());
    if (firstTime && entry->status.readAt >= 0) {
        entry->touched = true;
    }
}

void TagBoard::valueChanged(const QString& reg, int address) {
    const bool bit = reg.endsWith(QLatin1String("_bit"));
    const WordRange changed{wordRegisterName(reg), bit ? address / 16 : address, 1};
    for (const int index : m_byRegister.value(changed.reg)) {
        Entry& entry = m_entries[index];
        // A bit write is announced by its first bit only, whatever its length.
        if (touches(entry.words, changed) || bit) {
            entry.touched = true;
            m_news.append(index);
        }
    }
}

/// After a read most tags are as they were: with many blocks, looking at each tag after each read
/// would cost more than the reads.
QVector<int> TagBoard::lookedAt(Occasion occasion) {
    QVector<int> indices;
    if (occasion == Occasion::Read) {
        indices.swap(m_news);
        std::sort(indices.begin(), indices.end());
        indices.erase(std::unique(indices.begin(), indices.end()), indices.end());
    } else {
        m_news.clear();
        indices.resize(size());
        std::iota(indices.begin(), indices.end(), 0);
    }
    return indices;
}

QVector<TagEvent> TagBoard::refresh(const std::function<Items(const Tag&)>& fetch, qint64 now,
                                    Occasion occasion) {
    QVector<TagEvent> events;
    for (const int index : lookedAt(occasion)) {
        TagEvent event;
        event.index = index;
        if (refreshEntry(&m_entries[index], fetch, now, occasion, &event.kind)) {
            events.append(event);
        }
    }
    return events;
}

bool TagBoard::refreshEntry(Entry* entry, const std::function<Items(const Tag&)>& fetch, qint64 now,
                            Occasion occasion, TagEvent::Kind* kind) {
    TagStatus& status = entry->status;
    const bool whole = !entry->inPieces || occasion == Occasion::ScanEnd;
    if (status.readAt < 0 || (status.items.isEmpty() && !whole)) {
        *kind = TagEvent::Unreadable;
        explain(entry, entry->failedAt > status.readAt);
        const bool news = entry->failedAt >= 0 && !entry->told;
        entry->told = entry->told || news;
        return news;
    }
    const TagState before = status.state;
    const bool failed = entry->failedAt > status.readAt;
    const bool old = now - status.readAt > m_staleAfter;
    status.state = failed || old ? TagState::Stale : TagState::Fresh;
    explain(entry, failed);
    bool changed = false;
    if (entry->touched && whole) {
        entry->touched = false;
        const Items items = fetch(status.tag);
        changed = items != status.items;
        status.changes += changed && !status.items.isEmpty() ? 1 : 0;
        status.items = items;
    }
    if (status.state == TagState::Fresh) {
        sample(entry, now);
    }
    *kind = status.state == TagState::Fresh ? TagEvent::Value : TagEvent::NowStale;
    return changed || status.state != before;
}

/// A failed request of its own has left its reason already.
void TagBoard::explain(Entry* entry, bool failed) {
    TagStatus& status = entry->status;
    if (status.state == TagState::Fresh) {
        status.reason.clear();
        status.failingSince = -1;
    } else if (!failed && !m_linkFailure.isEmpty()) {
        status.reason = m_linkFailure;
        status.failingSince = m_linkFailingSince;
    } else if (!failed) {
        status.reason =
            status.state == TagState::Stale ? QStringLiteral("not refreshed") : QString();
        status.failingSince = status.readAt;
    }
}

void TagBoard::linkFails(const QString& reason, qint64 since) {
    if (m_linkFailure.isEmpty()) {
        m_linkFailingSince = since;
    }
    m_linkFailure = reason;
}

void TagBoard::sample(Entry* entry, qint64 now) {
    if (entry->sampledAt >= 0 && now - entry->sampledAt < SAMPLE_INTERVAL) {
        return;
    }
    const std::optional<double> value = numericValue(entry->status.tag.type, entry->status.items);
    if (!value) {
        return;
    }
    entry->sampledAt = now;
    QVector<double>& history = entry->status.history;
    history.append(*value);
    if (history.size() > HISTORY) {
        history.removeFirst();
    }
}

bool TagBoard::allFresh() const {
    return std::all_of(m_entries.begin(), m_entries.end(),
                       [](const Entry& entry) { return entry.status.state == TagState::Fresh; });
}

} // namespace panel
