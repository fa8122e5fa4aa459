#ifndef VELKOR_HOST_END_CODES_H
#define VELKOR_HOST_END_CODES_H

/// FINS end codes in words. An end code is MRES * 256 + SRES as it stands in bytes 12 and 13 of a
/// reply.

#include <QtCore/QString>
#include <velkor/host/export.h>

namespace velkor_host {

/// Done, whatever the PLC tells of itself besides: 0x0040 is a normal end (it has a non-fatal
/// error).
VELKOR_HOST_EXPORT bool isNormalEnd(int endCode);

/// The code without what the PLC tells of itself, and in words: "1103 address out of range".
VELKOR_HOST_EXPORT QString endCodeText(int endCode);

} // namespace velkor_host

#endif
