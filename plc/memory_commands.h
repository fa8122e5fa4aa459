// The memory commands 0101 to 0104. Each takes the whole request frame, which is known to hold at
// least header and command code. Checks go in this order: length, area, number of data, address,
// write protection. A refused command has changed nothing. One that touches
// one of `without` is refused as if that address did not exist.
#pragma once

#include "plc/answer.h"
#include "plc/memory.h"
#include "plc/refused_words.h"

namespace plc {

using Without = std::vector<RefusedWords>;

Answer readMemory(const Memory& memory, const Without& without, const Bytes& request);
Answer writeMemory(Memory& memory, const Without& without, const Bytes& request);
Answer fillMemory(Memory& memory, const Without& without, const Bytes& request);
Answer readMultiple(const Memory& memory, const Without& without, const Bytes& request);

} // namespace plc
