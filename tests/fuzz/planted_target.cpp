// A law that does not hold for inputs that begin with "bad": tools/fuzz.sh has to find and tell one
// (tests/fuzz/fuzz_selftest.sh).

#include "fuzz/input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    Input input(bytes, size);
    const bool bad = input.byte() == 'b' && input.byte() == 'a' && input.byte() == 'd';
    require(!bad, "no input is bad");
    return 0;
}
