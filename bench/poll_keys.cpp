#include "poll_keys.h"

#include <random>
#include <utility>
#include <vector>

namespace {

KEY_ADDRESS wordKey(int address) {
    KEY_ADDRESS key = KEY_ADDRESS();
    key.station = 1;
    key.regName = QLatin1String("DM");
    key.addr = address;
    key.len = 1;
    return key;
}

} // namespace

QList<KEY_ADDRESS> wordKeys(int count, bool shuffled) {
    std::vector<int> addresses(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i) {
        addresses[static_cast<size_t>(i)] = i;
    }
    if (shuffled) {
        std::mt19937 chance(1); // the engine's own numbers: a library's shuffle may differ
        for (size_t i = addresses.size() - 1; i > 0; --i) {
            std::swap(addresses[i], addresses[chance() % (i + 1)]);
        }
    }
    QList<KEY_ADDRESS> keys;
    for (int address : addresses) {
        keys.append(wordKey(address));
    }
    return keys;
}
