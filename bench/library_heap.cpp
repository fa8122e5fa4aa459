/// What the loaded driver takes from the heap: when it is loaded, and with words in its cache.
/// Starts no process and no thread, so it runs under an emulator as well. See
/// tools/measure_library.sh.

#include "loaded_library.h"

#include <cstdio>
#include <cstdlib>

#include <malloc.h>

namespace {

const int cachedWords = 10000;

size_t inUse() {
    const struct mallinfo2 heap = mallinfo2();
    return heap.uordblks + heap.hblkhd;
}

/// Polls `words` words from DM 0 on, which brings them all into the cache: a key for each, all with
/// one text for the register, as a host has them from a list of its registers.
void pollWords(const DriverEntries& driver, int words) {
    QList<KEY_ADDRESS> keys;
    KEY_ADDRESS key = KEY_ADDRESS();
    key.station = 1;
    key.regName = QLatin1String("DM");
    key.len = 1;
    for (int i = 0; i < words; ++i) {
        key.addr = i;
        keys.append(key);
    }
    driver.addrMerge(keys);
}

/// A read of a word that was not cached would bring it in, and take memory.
bool everyWordIsCached(const DriverEntries& driver) {
    const size_t before = inUse();
    unsigned char values[2 * cachedWords];
    driver.getData(1, QLatin1String("DM"), 0, cachedWords, values);
    return inUse() == before;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr,
                     "usage: library_heap LIBRARY\nPrints the bytes taken by loading it, and "
                     "those with %d words cached.\n",
                     cachedWords);
        return 2;
    }
    dropDebugLines();
    LentMemory memory;
    const size_t before = inUse();
    const DriverEntries driver = loadDriver(argv[1]);
    const size_t loaded = inUse() - before;
    bindDriver(driver, memory);
    pollWords(driver, cachedWords);
    if (!everyWordIsCached(driver)) {
        std::fprintf(stderr, "library_heap: the poll did not bring %d words into the cache\n",
                     cachedWords);
        return 1;
    }
    const size_t cached = inUse() - before;
    std::printf("%zu %zu\n", loaded, cached);
    std::fflush(stdout);
    std::_Exit(0);
}
