// The memory commands 0101 to 0104. Each takes the whole request frame, which is known to hold at
// least header and command code. Checks go in this order: length, area, number of data, address,
// write protection, length of the reply. A refused command has changed nothing. One that touches
// one of `without` is refused as if that address did not exist.
#pragma once

#include <cstddef>

#include "plc/answer.h"
#include "plc/memory.h"
#include "plc/refused_words.h"

namespace plc {

using Without = std::vector<RefusedWords>;

Answer readMemory(const Memory& memory, const Without& without, const Bytes& request,
                  std::size_t maxMessage);
Answer writeMemory(Memory& memory, const Without& without, const Bytes& request);
Answer fillMemory(Memory& memory, const Without& without, const Bytes& request);
Answer readMultiple(const Memory& memory, const Without& without, const Bytes& request,
                    std::size_t maxMessage);

} // namespace plc
