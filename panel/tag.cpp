#include "panel/tag.h"

#include <velkor/host/registers.h>

namespace panel {

QString tagAddressText(const Tag& tag) {
    return tag.reg + QLatin1Char(' ') + addressText(tag.address, tag.bitRegister);
}

WordRange wordsHolding(const Tag& tag) {
    return velkor_host::wordsHolding(tag.reg, tag.bitRegister, tag.address, tag.itemCount());
}

} // namespace panel
