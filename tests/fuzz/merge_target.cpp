// Lists of ranges handed to merging, with any limit of words per frame, over a cache that holds
// earlier lists. The blocks are compared with those of the tests' own merging.

#include "fuzz/driver_host.h"
#include "unit/naive_merge.h"

#include <algorithm>

namespace {

const int MOST_KEYS = 60;

naive::Key naiveKey(const KEY_ADDRESS& key) {
    return {key.regName.toStdString(), key.addr, key.len, key.station, key.keyValue};
}

void checkBlocks(const QList<KEY_ADDRESS>& keys, const QList<KEY_ADDRESS>& blocks, int words) {
    std::vector<naive::Key> asked;
    std::transform(keys.begin(), keys.end(), std::back_inserter(asked), naiveKey);
    std::vector<int> ignored;
    const std::vector<naive::Key> wanted =
        asked.empty() ? asked : naive::merge(asked, 1, words, ignored);
    require(static_cast<std::size_t>(blocks.size()) == wanted.size(), "as many blocks as wanted");
    for (int i = 0; i < blocks.size(); ++i) {
        const naive::Key& block = wanted[static_cast<std::size_t>(i)];
        require(blocks.at(i).addr == block.addr && blocks.at(i).len == block.len &&
                    blocks.at(i).regName.toStdString() == block.regName &&
                    blocks.at(i).keyValue == block.mark,
                "each block as wanted");
    }
}

KEY_ADDRESS usualKey(Input& input) {
    const QString reg = registerName(input);
    const int addr = input.upTo(2000);
    return keyOf(reg, addr, input.upTo(255));
}

QList<KEY_ADDRESS> keysFrom(Input& input) {
    const bool realistic = input.flag();
    QList<KEY_ADDRESS> keys;
    for (int left = input.upTo(MOST_KEYS); left > 0 && !input.empty(); --left) {
        KEY_ADDRESS key = realistic ? usualKey(input) : anyKey(input);
        key.keyValue = static_cast<int>(keys.size());
        keys.append(key);
    }
    return keys;
}

void mergeOnce(Input& input, int words) {
    const QList<KEY_ADDRESS> keys = keysFrom(input);
    QList<KEY_ADDRESS> blocks = keys;
    const int count = intf_addrMerge(blocks);
    require(count == blocks.size() && count == driver.readList.size(), "the number of reads");
    checkBlocks(keys, blocks, words);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    Input input(bytes, size);
    DriverHost host;
    const int words = input.number();
    DriverHost::bind("7#0#0#3#" + QByteArray::number(words));
    const int turns = 1 + input.upTo(2);
    for (int i = 0; i < turns; ++i) {
        mergeOnce(input, words);
        for (int reads = input.upTo(3); reads > 0 && host.ask(); --reads) {
            host.deal(anyReply(host.frame, input));
        }
    }
    DriverHost::checkCache();
    return 0;
}
