/// Makes one kind of call of the loaded driver, a given number of times, so that whoever counts the
/// instructions of the whole program learns from two runs what one call takes. See
/// tools/instructions.sh.

#include "loaded_library.h"
#include "poll_keys.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

const int mostRounds = 4;

enum { WRONG_USAGE = 2 };

/// A failed assumption about the driver would make every figure worthless.
void require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "driver_calls: %s\n", what);
        std::exit(1);
    }
}

/// What is asked for, e.g. "exchange-changed 1000 shuffled".
struct Case {
    std::string call;
    int words; ///< cached, or keys to merge
    bool shuffled;
};

/// The replies that a PLC gives, all words 0 or all different from that.
QByteArray replyOf(char wordByte) {
    QByteArray reply(14 + 2 * wordsPerBlock, wordByte);
    std::memset(reply.data(), 0, 14);
    return reply;
}

class Calls {
public:
    Calls(const DriverEntries& entries, const Case& which)
        : intf_(entries), case_(which), reply_{replyOf(0), replyOf(0x55)}, frame_(FRAME_PRO()) {
        bindDriver(intf_, memory_);
        if (case_.call == "merge") {
            // Prepared whether they are used or not: every run has the same to prepare.
            for (int i = 0; i <= mostRounds; ++i) {
                keys_.push_back(wordKeys(case_.words, case_.shuffled));
            }
        } else {
            fillCache();
        }
    }

    /// Units of work in one round; the figures are for one of them.
    int units() const { return case_.call == "merge" ? case_.words : case_.words / wordsPerBlock; }

    void round(int number) {
        if (case_.call == "merge") {
            intf_.addrMerge(keys_.at(static_cast<size_t>(number)));
        } else if (case_.call == "exchange-same") {
            exchangeAll(reply_[0]);
        } else if (case_.call == "exchange-changed") {
            exchangeAll(reply_[(number + 1) % 2]);
        } else {
            readAll(case_.call == "read-word" ? 1 : wordsPerBlock);
        }
    }

private:
    /// Whole blocks of 64 polled words, and words that nobody polls to make up the number.
    void fillCache() {
        QList<KEY_ADDRESS> keys = wordKeys(units() * wordsPerBlock, case_.shuffled);
        require(intf_.addrMerge(keys) == units(), "the keys did not merge into blocks of 64 words");
        unsigned char values[2 * wordsPerBlock];
        intf_.getData(1, QLatin1String("HR"), 0, case_.words % wordsPerBlock, values);
    }

    void exchangeAll(QByteArray& reply) {
        for (int i = 0; i < units(); ++i) {
            require(intf_.getSendFrame(frame_) == 1, "nothing to send");
            reply.data()[9] = static_cast<char>(frame_.frame[9]); // the service ID
            require(intf_.dealRcvFrame(&reply, &message_) == REPLY_ACCEPTED, "a reply was refused");
        }
    }

    void readAll(int count) {
        const QString name = QLatin1String("DM");
        unsigned char values[2 * wordsPerBlock];
        for (int i = 0; i < units(); ++i) {
            intf_.getData(1, name, i * wordsPerBlock + (wordsPerBlock - count) / 2, count, values);
        }
    }

    const DriverEntries& intf_;
    Case case_;
    LentMemory memory_;
    std::vector<QList<KEY_ADDRESS>> keys_;
    QByteArray reply_[2];
    FRAME_PRO frame_;
    QString message_;
};

bool parseCase(char** arguments, Case& parsed) {
    static const char* const calls[] = {"exchange-same", "exchange-changed", "merge", "read-word",
                                        "read-block"};
    const std::string order = arguments[2];
    parsed.call = arguments[0];
    parsed.words = std::atoi(arguments[1]);
    parsed.shuffled = order == "shuffled";
    return std::find(std::begin(calls), std::end(calls), parsed.call) != std::end(calls) &&
           parsed.words >= wordsPerBlock && parsed.words <= 50000 &&
           (parsed.shuffled || order == "ordered");
}

} // namespace

int main(int argc, char** argv) {
    Case which;
    const int rounds = argc == 6 ? std::atoi(argv[5]) : -1;
    if (argc != 6 || !parseCase(argv + 2, which) || rounds < 0 || rounds > mostRounds) {
        std::fprintf(stderr,
                     "usage: driver_calls LIBRARY CALL WORDS ordered|shuffled ROUNDS\n"
                     "CALL: exchange-same, exchange-changed, merge, read-word, read-block\n"
                     "WORDS: 64 to 50000; ROUNDS: 0 to %d, after a first one that is always made\n"
                     "Prints how many calls (merge: keys) a round has.\n",
                     mostRounds);
        return WRONG_USAGE;
    }
    dropDebugLines();
    const DriverEntries entries = loadDriver(argv[1]);
    static Calls* const calls = new Calls(entries, which);
    for (int i = 0; i <= rounds; ++i) {
        calls->round(i);
    }
    std::printf("%d\n", calls->units());
    std::fflush(stdout);
    std::_Exit(0); // releasing what is left would be counted, and differs from run to run
}
