#ifndef VELKOR_HOST_END_CODES_H
#define VELKOR_HOST_END_CODES_H

/// FINS end codes in words. An end code is MRES * 256 + SRES as it stands in bytes 12 and 13 of a
/// reply.

#include <QtCore/QString>

namespace velkor_host {

/// The code without its flags: MRES bit 7 (the error arose at a relay), SRES bit 7 (the PLC has a
/// fatal error) and SRES bit 6 (a non-fatal one). The flags tell of the PLC, not of the command:
/// 0x0040 is a normal end.
int plainEndCode(int endCode);

bool isNormalEnd(int endCode);

/// The PLC refused the command because of its operating mode and a change to MONITOR may help
/// (2203, 2204, 2206).
bool isModeRefusal(int endCode);

/// The command has surely not been carried out: the PLC refused it. Not so of a normal end, and of
/// errors that say only that the answer was lost on the way (0001, 0103, 0205).
bool isSurelyNotDone(int endCode);

/// For example "address out of range", with what the flags add.
QString endCodeWords(int endCode);

/// The plain code and its words: "1103 address out of range".
QString endCodeText(int endCode);

} // namespace velkor_host

#endif
