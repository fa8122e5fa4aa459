#ifndef VELKOR_BENCH_POLL_KEYS_H
#define VELKOR_BENCH_POLL_KEYS_H

/// What the measuring programs poll.

#include <velkor/records.h>

#include <QtCore/QList>

const int wordsPerBlock = 64; ///< words of a frame

/// Keys of one word each, of consecutive words of "DM"; the same disorder in every run.
QList<KEY_ADDRESS> wordKeys(int count, bool shuffled);

#endif
