#include "host/values/word_range.h"

#include <velkor/host/registers.h>

namespace velkor_host {

WordRange wordsHolding(const QString& reg, bool bitRegister, int address, int count) {
    WordRange range;
    range.reg = wordRegisterName(reg);
    if (bitRegister) {
        range.address = address / 16;
        range.length = (address + count - 1) / 16 - range.address + 1;
    } else {
        range.address = address;
        range.length = count;
    }
    return range;
}

int pieceLength(int limit) {
    return limit > 1 ? limit - limit % 2 : 1;
}

} // namespace velkor_host
