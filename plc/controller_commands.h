// The commands about the PLC itself: run and stop, identity, status, clock. Each takes the whole
// request frame, which is known to hold at least header and command code.
#pragma once

#include "plc/answer.h"
#include "plc/plc_core.h"

namespace plc {

// 0401: program number FFFF or 0000, then the mode (2 MONITOR, 4 RUN). Without the mode, or alone,
// it means MONITOR. Sets `mode` when it is accepted.
Answer run(const Bytes& request, Mode& mode);

// 0402: alone or with the program number FFFF or 0000. Sets `mode` to PROGRAM when it is accepted.
Answer stop(const Bytes& request, Mode& mode);

// 0501: alone all 158 bytes; with one byte 00 the first 92 of them (model, version, system use,
// area data), with 01 the other 66.
Answer controllerData(const Bytes& request);

Answer status(const Bytes& request, Mode mode, bool alarm);
// 0701. Asks `timeOfDay` only when the command is answered.
Answer clock(const Bytes& request, const Clock& timeOfDay);

} // namespace plc
