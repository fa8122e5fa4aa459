#include "host/poll/poll_plan.h"

#include "host/poll/disjoint_ranges.h"

#include <algorithm>

namespace velkor_host {
namespace {

/// Takes the first hole's words out of one range.
void cut(const WordRange& range, const WordRange& hole, QVector<WordRange>* out) {
    if (range.address < hole.address) {
        out->append({range.reg, range.address, hole.address - range.address});
    }
    if (hole.end() < range.end()) {
        out->append({range.reg, hole.end(), range.end() - hole.end()});
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

QVector<WordRange> withoutHoles(const QVector<WordRange>& ranges, const QVector<WordRange>& holes) {
    QVector<WordRange> left = ranges;
    for (const WordRange& hole : holes) {
        QVector<WordRange> next;
        for (const WordRange& range : left) {
            if (overlap(range, hole)) {
                cut(range, hole, &next);
            } else {
                next.append(range);
            }
        }
        left.swap(next);
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
