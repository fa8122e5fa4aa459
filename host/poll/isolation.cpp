#include "host/poll/isolation.h"

#include "host/poll/poll_plan.h"
#include "host/wire/end_code_kinds.h"

#include <algorithm>

namespace velkor_host {
namespace {

/// The words of `wanted` inside `block`, divided wherever a tag begins or ends.
QVector<WordRange> segmentsOf(const WordRange& block, const QVector<WordRange>& wanted) {
    QVector<WordRange> inside;
    QVector<int> ends;
    for (const WordRange& range : wanted) {
        if (overlap(range, block)) {
            inside.append(range);
            ends << std::max(range.address, block.address) << std::min(range.end(), block.end());
        }
    }
    std::sort(ends.begin(), ends.end());
    ends.erase(std::unique(ends.begin(), ends.end()), ends.end());
    QVector<WordRange> segments;
    for (int index = 0; index + 1 < ends.size(); ++index) {
        const WordRange segment{block.reg, ends.at(index), ends.at(index + 1) - ends.at(index)};
        if (std::any_of(inside.begin(), inside.end(),
                        [&](const WordRange& range) { return overlap(range, segment); })) {
            segments.append(segment);
        }
    }
    return segments;
}

} // namespace

bool isAddressRefusal(const RequestEnd& end) {
    switch (end.refused ? plainEndCode(end.endCode) : 0) {
    case 0x1101: // no such area
    case 0x1102: // access size
    case 0x1103: // first address out of range
    case 0x1104: // last address out of range
    case 0x2102: // protected
    case 0x3001: // no access right
        return true;
    default:
        return false;
    }
}

Isolation::Isolation(const WordRange& block, const QVector<WordRange>& wanted,
                     const RequestEnd& refusal)
    : m_block(block), m_segments(segmentsOf(block, wanted)) {
    if (!m_segments.isEmpty()) {
        divide(0, static_cast<int>(m_segments.size()) - 1, refusal);
    }
}

WordRange Isolation::rangeOf(int first, int last) const {
    const WordRange& begin = m_segments.at(first);
    return {begin.reg, begin.address, m_segments.at(last).end() - begin.address};
}

std::optional<WordRange> Isolation::next() const {
    return finished()
               ? std::nullopt
               : std::optional<WordRange>(rangeOf(m_tasks.last().first, m_tasks.last().last));
}

void Isolation::ended(const RequestEnd& end) {
    if (finished()) {
        return;
    }
    if (!end.ok && !isAddressRefusal(end)) {
        return; // it tells nothing of these words
    }
    const Task asked = m_tasks.takeLast();
    if (!end.ok) {
        divide(asked.first, asked.last, end);
    }
    closeHalves();
}

void Isolation::divide(int first, int last, const RequestEnd& refusal) {
    if (first == last) {
        m_refused.append({m_segments.at(first), refusal});
        return;
    }
    const int middle = first + (last - first + 1) / 2;
    Task halves;
    halves.first = first;
    halves.last = last;
    halves.middle = middle;
    halves.findings = findings();
    m_tasks.append(halves);
    m_tasks.append({middle, last});
    m_tasks.append({first, middle - 1});
}

void Isolation::closeHalves() {
    while (!m_tasks.isEmpty() && m_tasks.last().middle >= 0) {
        const Task halves = m_tasks.takeLast();
        const WordRange& left = m_segments.at(halves.middle - 1);
        const WordRange& right = m_segments.at(halves.middle);
        if (halves.findings == findings() && right.address > left.end()) {
            m_gaps.append({left.reg, left.end(), right.address - left.end()});
        }
    }
}

} // namespace velkor_host
