#ifndef VELKOR_DRIVER_RECORD_COPY_H
#define VELKOR_DRIVER_RECORD_COPY_H

/// Assignment of the large records, with the buffers copied by the C library. The compiler's own
/// assignment copies them byte by byte, as it cannot know that the two records are not one; copy
/// construction has no such fault. `to` must be another record than `from`.

#include "driver/records.h"

#include <cstring>

inline void copyRecord(const VARIABLE& from, VARIABLE& to) {
    to.type = from.type;
    to.station = from.station;
    to.regName = from.regName;
    to.addr = from.addr;
    to.len = from.len;
    std::memcpy(to.data, from.data, sizeof to.data);
}

inline void copyRecord(const FRAME_PRO& from, FRAME_PRO& to) {
    std::memcpy(to.frame, from.frame, sizeof to.frame);
    to.sendLen = from.sendLen;
    to.rcvLen = from.rcvLen;
    to.headLen = from.headLen;
    to.dataLen = from.dataLen;
    to.spare = from.spare;
    copyRecord(from.var, to.var);
}

#endif
