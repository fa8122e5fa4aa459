#ifndef VELKOR_HOST_POLL_POLL_PLAN_H
#define VELKOR_HOST_POLL_POLL_PLAN_H

/// How the words of all tags are read in one scan, when some words must not be read.
///
/// The driver makes blocks of the ranges that it is given, and reads the words of small gaps as
/// well. A hole (a word that the PLC refuses to give) inside such a gap would fail the whole block,
/// and the driver cannot be told to leave the gap open. So of a block with a hole in it the ranges
/// behind the hole are not given to the driver's polling; they are read apart, by one-shot reads,
/// once in every scan.

#include "host/values/word_range.h"

#include <QtCore/QVector>

#include <functional>

namespace velkor_host {

struct PollPlan {
    QVector<WordRange> blocks; ///< the driver's, as it gave them back
    QVector<WordRange> apart;  ///< to be read by one-shot reads; none longer than a frame
};

/// Hands ranges to the driver and returns the blocks that it has made of them.
typedef std::function<QVector<WordRange>(const QVector<WordRange>&)> MergeFunction;

/// `wanted` may overlap; `holes` are left out of everything. No read is longer than `limit` words.
/// What has been merged last is what the plan says. Every wanted word outside the holes stands in
/// a block or apart: this is checked against what the driver gave back, and what its blocks do not
/// cover is read apart.
PollPlan planPolling(const QVector<WordRange>& wanted, const QVector<WordRange>& holes, int limit,
                     const MergeFunction& merge);

/// `ranges` without the words of `holes`, in the same order.
QVector<WordRange> withoutHoles(const QVector<WordRange>& ranges, const QVector<WordRange>& holes);

bool overlap(const WordRange& a, const WordRange& b);

} // namespace velkor_host

#endif
