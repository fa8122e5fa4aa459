#include "host/poll/poll_plan.h"

#include "host/poll/disjoint_ranges.h"

#include <QtCore/QHash>

#include <algorithm>

namespace velkor_host {
namespace {

/// By register: sorted by address, and none overlapping another.
QHash<QString, QVector<WordRange>> disjointHoles(const QVector<WordRange>& holes) {
    QHash<QString, QVector<WordRange>> byRegister;
    for (const WordRange& hole : holes) {
        byRegister[hole.reg].append(hole);
    }
    for (QVector<WordRange>& own : byRegister) {
        std::sort(own.begin(), own.end(),
                  [](const WordRange& a, const WordRange& b) { return a.address < b.address; });
        QVector<WordRange> merged;
        for (const WordRange& hole : own) {
            if (!merged.isEmpty() && hole.address <= merged.last().end()) {
                WordRange& last = merged.last();
                last.length = std::max(last.end(), hole.end()) - last.address;
            } else {
                merged.append(hole);
            }
        }
        own = merged;
    }
    return byRegister;
}

/// `holes` as disjointHoles() gives them for the range's register.
void appendWithoutHoles(const WordRange& range, const QVector<WordRange>& holes,
                        QVector<WordRange>* out) {
    auto hole = std::upper_bound(
        holes.begin(), holes.end(), range.address,
        [](int address, const WordRange& candidate) { return address < candidate.end(); });
    int at = range.address;
    for (; hole != holes.end() && hole->address < range.end(); ++hole) {
        if (at < hole->address) {
            out->append({range.reg, at, hole->address - at});
        }
        at = hole->end();
    }
    if (at < range.end()) {
        out->append({range.reg, at, range.end() - at});
    }
}

/// The first hole inside `block`, by address; length 0 when there is none.
WordRange firstHoleIn(const WordRange& block, const QVector<WordRange>& holes) {
    WordRange first;
    for (const WordRange& hole : holes) {
        if (overlap(block, hole) && (first.length == 0 || hole.address < first.address)) {
            first = hole;
        }
    }
    return first;
}

/// Moves the ranges that stand behind a hole in one of the blocks. False: there are none.
bool moveApart(const QVector<WordRange>& blocks, const QVector<WordRange>& holes,
               QVector<WordRange>* polled, QVector<WordRange>* apart) {
    bool moved = false;
    for (const WordRange& block : blocks) {
        const WordRange hole = firstHoleIn(block, holes);
        if (hole.length == 0) {
            continue;
        }
        const auto behind = [&](const WordRange& range) {
            return overlap(range, block) && range.address >= hole.end();
        };
        const int before = static_cast<int>(apart->size());
        std::copy_if(polled->begin(), polled->end(), std::back_inserter(*apart), behind);
        polled->erase(std::remove_if(polled->begin(), polled->end(), behind), polled->end());
        moved = moved || apart->size() > before;
    }
    return moved;
}

/// Neighbours become one read where that fits a frame and reads over no hole.
QVector<WordRange> joined(QVector<WordRange> ranges, const QVector<WordRange>& holes, int limit) {
    std::sort(ranges.begin(), ranges.end(), [](const WordRange& a, const WordRange& b) {
        return a.reg != b.reg ? a.reg < b.reg : a.address < b.address;
    });
    QVector<WordRange> out;
    for (const WordRange& range : ranges) {
        if (!out.isEmpty() && out.last().reg == range.reg) {
            WordRange both = out.last();
            both.length = std::max(both.end(), range.end()) - both.address;
            if (both.length <= limit && firstHoleIn(both, holes).length == 0) {
                out.last() = both;
                continue;
            }
        }
        out.append(range);
    }
    return out;
}

} // namespace

bool overlap(const WordRange& a, const WordRange& b) {
    return a.reg == b.reg && a.address < b.end() && b.address < a.end();
}

/// With thousands of ranges and as many holes, looking at each pair would take seconds.
QVector<WordRange> withoutHoles(const QVector<WordRange>& ranges, const QVector<WordRange>& holes) {
    const QHash<QString, QVector<WordRange>> byRegister = disjointHoles(holes);
    QVector<WordRange> left;
    for (const WordRange& range : ranges) {
        appendWithoutHoles(range, byRegister.value(range.reg), &left);
    }
    return left;
}

PollPlan planPolling(const QVector<WordRange>& wanted, const QVector<WordRange>& holes, int limit,
                     const MergeFunction& merge) {
    QVector<WordRange> polled = withoutHoles(disjointRanges(wanted, limit), holes);
    const QVector<WordRange> all = polled;
    QVector<WordRange> apart;
    PollPlan plan;
    plan.blocks = merge(polled);
    while (moveApart(plan.blocks, holes, &polled, &apart)) {
        plan.blocks = merge(polled);
    }
    apart += withoutHoles(withoutHoles(all, plan.blocks), apart);
    plan.apart = joined(apart, holes, limit);
    return plan;
}

} // namespace velkor_host
