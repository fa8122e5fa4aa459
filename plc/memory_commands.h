// The memory commands 0101 to 0104. Each takes the whole request frame, which is known to hold at
// least header and command code. Checks go in this order: length, area, number of data, address,
// write protection, length of the reply. A refused command has changed nothing.
#pragma once

#include <cstddef>

#include "plc/answer.h"
#include "plc/memory.h"

namespace plc {

Answer readMemory(const Memory& memory, const Bytes& request, std::size_t maxMessage);
Answer writeMemory(Memory& memory, const Bytes& request);
Answer fillMemory(Memory& memory, const Bytes& request);
Answer readMultiple(const Memory& memory, const Bytes& request, std::size_t maxMessage);

} // namespace plc
