#include "panel/trend/history.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace panel {
namespace screen {
namespace {

const qint64 SLOT = History::SAMPLE_MS * qint64(1000);
const qint64 SECOND = 1000000;
const int BRIDGED = 3; // slots that a late timer may skip
const double GAP = std::numeric_limits<double>::quiet_NaN();
const double NONE = std::numeric_limits<double>::infinity();

/// A sample in eight bytes. A float of the PLC's that is no finite number cannot be drawn.
double stored(const Sample& sample) {
    switch (sample.kind) {
    case Sample::Value:
        return std::isfinite(sample.value) ? sample.value : NONE;
    case Sample::Gap:
        return GAP;
    case Sample::None:
        break;
    }
    return NONE;
}

Sample restored(double value) {
    return std::isnan(value)   ? Sample{Sample::Gap, 0}
           : std::isinf(value) ? Sample{Sample::None, 0}
                               : Sample{Sample::Value, value};
}

} // namespace

History::History(int tags) : m_tags(tags), m_recent(tags * RECENT, NONE) {
    if (tags <= ALL_KEPT) {
        for (int tag = 0; tag < tags; ++tag) {
            m_kept.insert(tag, Kept());
        }
    }
}

void History::keep(const QVector<int>& tags) {
    if (m_tags <= ALL_KEPT) {
        return;
    }
    QHash<int, Kept> kept;
    for (const int tag : tags.mid(0, ALL_KEPT)) {
        kept.insert(tag, m_kept.take(tag));
    }
    m_kept = kept;
}

void History::sample(qint64 now, const std::function<Sample(int)>& look) {
    const qint64 slot = now / SLOT;
    if (slot <= m_slot) {
        return;
    }
    for (auto kept = m_kept.begin(); kept != m_kept.end(); ++kept) {
        kept->store(slot, stored(look(kept.key())));
    }
    m_slot = slot;
    if (m_recentAt >= 0 && now - m_recentAt < SECOND - SLOT / 2) {
        return;
    }
    m_recentAt = now;
    for (int tag = 0; tag < m_tags; ++tag) {
        const double value = stored(look(tag));
        if (std::isfinite(value)) {
            double* values = m_recent.data() + tag * RECENT;
            std::copy(values + 1, values + RECENT, values);
            values[RECENT - 1] = value;
        }
    }
}

void History::Kept::store(qint64 slot, double value) {
    if (samples.empty()) {
        samples.assign(SAMPLES, NONE);
        first = slot;
        end = slot;
    }
    const double skipped = slot - end < BRIDGED ? value : NONE;
    for (qint64 at = std::max(end, slot - SAMPLES + 1); at < slot; ++at) {
        samples[static_cast<std::size_t>(at % SAMPLES)] = skipped;
    }
    samples[static_cast<std::size_t>(slot % SAMPLES)] = value;
    end = slot + 1;
    first = std::max(first, end - SAMPLES);
}

QVector<double> History::recent(int tag) const {
    QVector<double> result;
    for (int index = 0; index < RECENT; ++index) {
        const double value = m_recent.at(tag * RECENT + index);
        if (std::isfinite(value)) {
            result.append(value);
        }
    }
    return result;
}

QVector<Sample> History::last(int tag, int count) const {
    QVector<Sample> result(count);
    const auto found = m_kept.constFind(tag);
    if (found == m_kept.constEnd()) {
        return result;
    }
    for (int index = 0; index < count; ++index) {
        const qint64 slot = m_slot - count + 1 + index;
        if (slot >= found->first && slot < found->end) {
            result[index] = restored(found->samples[static_cast<std::size_t>(slot % SAMPLES)]);
        }
    }
    return result;
}

QVector<Column> columnsOf(const QVector<Sample>& samples, int count) {
    QVector<Column> columns(count);
    const qint64 size = samples.size();
    for (int index = 0; index < count && size > 0; ++index) {
        const qint64 from = index * size / count;
        const qint64 end = std::max(from + 1, (index + 1) * size / count);
        Column& column = columns[index];
        for (qint64 at = from; at < end; ++at) {
            const Sample& sample = samples.at(static_cast<int>(at));
            column.gap = column.gap || sample.kind == Sample::Gap;
            if (sample.kind == Sample::Value) {
                const double value = sample.value;
                column.low = column.value ? std::min(column.low, value) : value;
                column.high = column.value ? std::max(column.high, value) : value;
                column.last = value;
                column.value = true;
            }
        }
    }
    return columns;
}

} // namespace screen
} // namespace panel
