// One line of text for a frame, for people who watch the line.
#pragma once

#include <string>

#include "plc/bytes.h"
#include "plc/fault_plan.h"

namespace plc {

// "sid 2A node 5 to 10: read DM 100, 10 words", "... write CIO 2.03, 1 bit: 01". Takes any bytes:
// what is no FINS command is shown as hex.
std::string describeRequest(const Bytes& frame);

// "sid 2A: 0000 normal, 20 bytes of data", "sid 2A: 1103 address out of range".
std::string describeReply(const Bytes& frame);

// "drop", "truncate to 13, sid+1", "none".
std::string describeFaults(const FaultDecision& faults);

} // namespace plc
