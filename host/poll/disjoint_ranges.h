#ifndef VELKOR_HOST_POLL_DISJOINT_RANGES_H
#define VELKOR_HOST_POLL_DISJOINT_RANGES_H

/// The ranges that the driver is asked to poll. The driver joins ranges into block reads; a range
/// that lies inside another one cuts the block back, and the words behind it would never be read.
/// So what it is handed never overlaps.

#include "host/values/word_range.h"

#include <QtCore/QVector>

namespace velkor_host {

/// Covers exactly the words of `ranges`, in order of register and address, without overlap, none
/// longer than `limit`. Ranges that overlap become one while that fits the limit, so that a value
/// of two words is not torn between two reads; otherwise they are split at each other's ends.
QVector<WordRange> disjointRanges(QVector<WordRange> ranges, int limit);

} // namespace velkor_host

#endif
