#include "host/poll/disjoint_ranges.h"

#include <algorithm>

namespace velkor_host {
namespace {

void appendCut(const QString& reg, int from, int to, int limit, QVector<WordRange>* out) {
    const int piece = to - from > limit ? pieceLength(limit) : limit;
    for (int at = from; at < to; at += piece) {
        out->append({reg, at, std::min(piece, to - at)});
    }
}

/// Appends a run of ranges that overlap one another, sorted by address.
void appendCluster(const QVector<WordRange>& cluster, int limit, QVector<WordRange>* out) {
    QVector<int> ends;
    for (const WordRange& range : cluster) {
        ends.append(range.address);
        ends.append(range.end());
    }
    std::sort(ends.begin(), ends.end());
    ends.erase(std::unique(ends.begin(), ends.end()), ends.end());
    const QString& reg = cluster.first().reg;
    if (ends.last() - ends.first() <= limit) {
        out->append({reg, ends.first(), ends.last() - ends.first()});
        return;
    }
    for (int index = 0; index + 1 < ends.size(); ++index) {
        appendCut(reg, ends.at(index), ends.at(index + 1), limit, out);
    }
}

} // namespace

QVector<WordRange> disjointRanges(QVector<WordRange> ranges, int limit) {
    ranges.erase(std::remove_if(ranges.begin(), ranges.end(),
                                [](const WordRange& range) { return range.length < 1; }),
                 ranges.end());
    std::sort(ranges.begin(), ranges.end(), [](const WordRange& a, const WordRange& b) {
        return a.reg != b.reg ? a.reg < b.reg : a.address < b.address;
    });
    QVector<WordRange> out;
    QVector<WordRange> cluster;
    int clusterEnd = 0;
    for (const WordRange& range : ranges) {
        const bool overlaps =
            !cluster.isEmpty() && cluster.first().reg == range.reg && range.address < clusterEnd;
        if (!overlaps && !cluster.isEmpty()) {
            appendCluster(cluster, limit, &out);
            cluster.clear();
        }
        clusterEnd = overlaps ? std::max(clusterEnd, range.end()) : range.end();
        cluster.append(range);
    }
    if (!cluster.isEmpty()) {
        appendCluster(cluster, limit, &out);
    }
    return out;
}

} // namespace velkor_host
