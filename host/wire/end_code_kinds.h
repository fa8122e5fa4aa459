#ifndef VELKOR_HOST_WIRE_END_CODE_KINDS_H
#define VELKOR_HOST_WIRE_END_CODE_KINDS_H

/// What an end code says of the command.

#include <QtCore/QString>

namespace velkor_host {

/// The code without its flags: MRES bit 7 (the error arose at a relay), SRES bit 7 (the PLC has a
/// fatal error) and SRES bit 6 (a non-fatal one). The flags tell of the PLC, not of the command:
/// 0x0040 is a normal end.
int plainEndCode(int endCode);

/// The PLC refused the command because of its operating mode and a change to MONITOR may help
/// (2203, 2204, 2206).
bool isModeRefusal(int endCode);

/// The command has surely not been carried out: the PLC refused it. Not so of a normal end, and of
/// errors told by what lies between host and memory for want of an answer (0001, 0103, 0205, 0301,
/// 0302, and a relay's error without a code of its own), nor of a code that is not known here.
bool isSurelyNotDone(int endCode);

/// For example "address out of range", with what the flags add.
QString endCodeWords(int endCode);

} // namespace velkor_host

#endif
