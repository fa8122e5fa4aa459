#include "panel/tag.h"

#include "panel/catalogue.h"

namespace panel {

QString tagAddressText(const Tag& tag) {
    return tag.reg + QLatin1Char(' ') + addressText(tag.address, tag.bitRegister);
}

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

WordRange wordsHolding(const Tag& tag) {
    return wordsHolding(tag.reg, tag.bitRegister, tag.address, tag.itemCount());
}

} // namespace panel
