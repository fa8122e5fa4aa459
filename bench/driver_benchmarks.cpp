/// Times the calls of the loaded driver beside a textbook's way of doing the same. See
/// tools/bench.sh.

#include "benchmark_report.h"
#include "loaded_library.h"
#include "poll_keys.h"
#include "same_results.h"
#include "textbook_driver.h"

#include <cstdio>
#include <cstring>
#include <memory>

namespace {

const int REPLY_HEAD = 14;
const int SERVICE_ID = 9;
const int WRITE_BURST = 600;
const int FULL_QUEUE = 513;
const int TEXTBOOK_MOST_KEYS = 10000; ///< beyond, its first merge takes minutes

DriverEntries driverEntries;

int ignoreChange(int /*tag*/, int /*station*/, QString /*regName*/, int /*address*/) {
    return 0;
}

/// The driver, bound anew, so that its cache is empty.
class Driver {
public:
    Driver() { bindDriver(driverEntries, m_memory); }
    int addrMerge(QList<KEY_ADDRESS>& keys) { return driverEntries.addrMerge(keys); }
    unsigned getSendFrame(FRAME_PRO& frame) { return driverEntries.getSendFrame(frame); }
    unsigned dealRcvFrame(QByteArray& reply) {
        return driverEntries.dealRcvFrame(&reply, &m_message);
    }
    void getData(int station, const QString& name, int addr, int count, unsigned char* out) {
        driverEntries.getData(station, name, addr, count, out);
    }

private:
    LentMemory m_memory;
    QString m_message;
};

class Textbook : public TextbookDriver {
public:
    Textbook() : TextbookDriver(7, wordsPerBlock, ignoreChange) {}
};

QByteArray replyOf(int words, char wordByte) {
    QByteArray reply(REPLY_HEAD + 2 * words, wordByte);
    std::memset(reply.data(), 0, REPLY_HEAD);
    return reply;
}

template <typename Side> bool exchange(Side& side, QByteArray& reply) {
    static FRAME_PRO frame = FRAME_PRO();
    // After five writes it is the reads' turn; where there are none, the next call has a write
    // again.
    if (side.getSendFrame(frame) != 1 && side.getSendFrame(frame) != 1) {
        return false;
    }
    reply.data()[SERVICE_ID] = static_cast<char>(frame.frame[SERVICE_ID]);
    return side.dealRcvFrame(reply) == REPLY_ACCEPTED;
}

// --- Merge: one round is one list
// -----------------------------------------------------------------

template <typename Side> void merge(benchmark::State& state, int count, bool shuffled) {
    Side side;
    const QList<KEY_ADDRESS> keys = wordKeys(count, shuffled);
    QList<KEY_ADDRESS> first = keys;
    side.addrMerge(first); // the cache has the words
    for (auto _ : state) {
        QList<KEY_ADDRESS> list = keys;
        benchmark::DoNotOptimize(side.addrMerge(list));
    }
}

// --- Exchanges of 64 words: one round is a poll of all blocks
// -------------------------------------

enum Change { NOTHING, EVERYTHING, BITS };

/// The same words by their bits.
QList<KEY_ADDRESS> bitKeys(QList<KEY_ADDRESS> keys) {
    for (KEY_ADDRESS& key : keys) {
        key.regName = QLatin1String("DM_bit");
        key.addr *= 16;
        key.len = 16;
    }
    return keys;
}

template <typename Side>
void poll(benchmark::State& state, int words, bool shuffled, Change change) {
    Side side;
    const int blocks = words / wordsPerBlock;
    QList<KEY_ADDRESS> keys = wordKeys(blocks * wordsPerBlock, shuffled);
    if (change == BITS) {
        keys = bitKeys(keys);
    }
    unsigned char values[2 * wordsPerBlock];
    if (side.addrMerge(keys) != blocks) {
        state.SkipWithError("the keys did not merge into blocks of 64 words");
    }
    // Words that nobody polls make up the number.
    side.getData(1, QLatin1String("HR"), 0, words % wordsPerBlock, values);
    // As words all bits change, or one bit of each word does.
    QByteArray replies[2] = {replyOf(wordsPerBlock, 0), replyOf(wordsPerBlock, 0x55)};
    if (change == BITS) {
        replies[1] = replyOf(wordsPerBlock, 0);
        for (int i = 0; i < wordsPerBlock; ++i) {
            replies[1][REPLY_HEAD + 2 * i + 1] = 1;
        }
    }
    int round = 0;
    for (auto _ : state) {
        QByteArray& reply = replies[change == NOTHING ? 0 : ++round % 2];
        for (int i = 0; i < blocks; ++i) {
            if (!exchange(side, reply)) {
                state.SkipWithError("an exchange failed");
                return;
            }
        }
    }
    state.counters["units"] = blocks;
}

// --- The host's reads and writes
// ------------------------------------------------------------------

/// Of every block in turn.
template <typename Side>
void read(benchmark::State& state, int words, int count, const char* name) {
    Side side;
    QList<KEY_ADDRESS> keys = wordKeys(words, false);
    side.addrMerge(keys);
    const QString regName = QLatin1String(name);
    const int perBlock = std::strcmp(name, "DM") == 0 ? wordsPerBlock : 16 * wordsPerBlock;
    unsigned char values[2 * wordsPerBlock];
    int block = 0;
    for (auto _ : state) {
        side.getData(1, regName, block * perBlock, count, values);
        block = (block + 1) % (words / wordsPerBlock);
    }
}

/// The write and the exchange of its frame; nothing is polled meanwhile.
void write(benchmark::State& state, int words, int count, const char* name) {
    Driver side;
    unsigned char values[2 * wordsPerBlock] = {};
    driverEntries.getData(1, QLatin1String("DM"), 0, words,
                          std::vector<unsigned char>(2 * static_cast<size_t>(words)).data());
    const QString regName = QLatin1String(name);
    QByteArray reply = replyOf(0, 0);
    unsigned char value = 0;
    for (auto _ : state) {
        values[0] = value ^= 1;
        driverEntries.setData(1, regName, 0, count, values, 0);
        if (!exchange(side, reply)) {
            state.SkipWithError("the write failed");
            return;
        }
    }
}

/// 600 writes of a word each at once, of which the queue keeps 513, and their exchanges; for each.
void writeBurst(benchmark::State& state) {
    Driver side;
    unsigned char values[2] = {1, 0};
    QByteArray reply = replyOf(0, 0);
    for (auto _ : state) {
        for (int i = 0; i < WRITE_BURST; ++i) {
            driverEntries.setData(1, QLatin1String("DM"), i, 1, values, 0);
        }
        for (int i = 0; i < FULL_QUEUE; ++i) {
            if (!exchange(side, reply)) {
                state.SkipWithError("a write failed");
                return;
            }
        }
    }
    state.counters["units"] = WRITE_BURST;
}

/// With 513 that wait: one more, which replaces the one in the last place.
void conditionRead(benchmark::State& state) {
    const Driver side;
    KEY_ADDRESS key = KEY_ADDRESS();
    key.station = 1;
    key.regName = QLatin1String("DM");
    key.len = 1;
    for (auto _ : state) {
        driverEntries.addConditionRead(key, 0);
        key.addr = (key.addr + 1) % 5000;
    }
}

// --- Names
// ------------------------------------------------------------------------------------------

std::string named(const char* what, int count, const char* unit, bool shuffled) {
    return std::string(what) + ", " + std::to_string(count) + " " + unit +
           (shuffled ? " shuffled" : "");
}

template <typename Function, typename... Arguments>
void add(const char* side, const std::string& name, Function function, Arguments... arguments) {
    benchmark::RegisterBenchmark((std::string(side) + "/" + name).c_str(), function, arguments...)
        ->MinTime(0.1)
        ->Unit(benchmark::kNanosecond);
}

void addPoll(int words, bool shuffled, Change change, const char* what) {
    const std::string name = named(what, words, "words", shuffled);
    add("driver", name, poll<Driver>, words, shuffled, change);
    if (words <= TEXTBOOK_MOST_KEYS) {
        add("textbook", name, poll<Textbook>, words, shuffled, change);
    }
}

void addMergesAndPolls() {
    for (bool shuffled : {false, true}) {
        for (int count : {100, 1000, 10000}) {
            const std::string name = named("merge", count, "keys", shuffled);
            add("driver", name, merge<Driver>, count, shuffled);
            add("textbook", name, merge<Textbook>, count, shuffled);
        }
    }
    for (bool shuffled : {false, true}) {
        for (int words : {100, 1000, 10000, 50000}) {
            addPoll(words, shuffled, NOTHING, "64 unchanged of");
            addPoll(words, shuffled, EVERYTHING, "64 changed of");
            addPoll(words, shuffled, BITS, "64 with a changed bit of");
        }
    }
}

void addHostCalls() {
    for (int words : {1000, 10000}) {
        for (int count : {1, 64}) {
            const std::string wordsOf =
                named(count == 1 ? "1 word of" : "64 words of", words, "words", false);
            const std::string bitsOf =
                named(count == 1 ? "1 bit of" : "64 bits of", words, "words", false);
            add("driver", "read " + wordsOf, read<Driver>, words, count, "DM");
            add("textbook", "read " + wordsOf, read<Textbook>, words, count, "DM");
            add("driver", "read " + bitsOf, read<Driver>, words, count, "DM_bit");
            add("driver", "write " + wordsOf, write, words, count, "DM");
            add("driver", "write " + bitsOf, write, words, count, "DM_bit");
        }
    }
    add("driver", "each of a burst of 600 writes", writeBurst);
    add("driver", "condition read, 513 wait", conditionRead);
}

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: driver_benchmarks [--benchmark_...] LIBRARY\n");
        return 2;
    }
    dropDebugLines();
    driverEntries = loadDriver(argv[1]);
    const std::string difference = differenceFromTextbook(driverEntries);
    if (!difference.empty()) {
        std::fprintf(stderr, "driver_benchmarks: driver and textbook: %s\n", difference.c_str());
        return 1;
    }
    addMergesAndPolls();
    addHostCalls();
    BenchmarkReport report;
    benchmark::RunSpecifiedBenchmarks(&report);
    return report.failed() ? 1 : 0;
}
