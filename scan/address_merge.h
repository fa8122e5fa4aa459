#ifndef VELKOR_SCAN_ADDRESS_MERGE_H
#define VELKOR_SCAN_ADDRESS_MERGE_H

#include "driver/records.h"

#include <QtCore/QList>

enum MergeMode {
    MERGE_CYCLIC = 1, ///< bits to words, sort, join, bridge gaps
    MERGE_RECIPE = 2  ///< join only, noting each block's first record in driver.rcpBlockFirst
};

/// Replaces the contents of `keys` by the merged blocks; each block is a copy of its first record
/// with the block's name, address and length. Any mode but MERGE_RECIPE is the full merge. An empty
/// list stays empty. Recipe mode appends to driver.rcpBlockFirst, which the caller clears.
void addrMerge(QList<KEY_ADDRESS>& keys, int mode);

#endif
