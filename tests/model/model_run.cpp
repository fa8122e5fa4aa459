// Compares the loaded library with the naive driver, sequence after sequence.
// Usage: model_run [--seed N] [--sequences N] [--calls N] [--part K/N] [--library FILE]
//                  [--shrink TRIES] [--trace]
// Without options, VELKOR_MODEL_SEED, VELKOR_MODEL_SEQUENCES and VELKOR_MODEL_CALLS count.
// Sequence i is that of seed + i; with --part only the K-th of N equal shares of them is run. Exit
// code: 0 no difference, 1 a difference, 2 wrong usage.

#include "model/comparison.h"
#include "model/sequence_generator.h"
#include "model/session.h"
#include "model/shrink.h"
#include "support/message_handler.h"

#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

const unsigned secondsForASequence = 60;

struct Options {
    unsigned seed = 1;
    long sequences = 2000;
    long part = 1;
    long parts = 1;
    int calls = 200;
    std::string library = VELKOR_LIBRARY;
    int triesToShrink = 4000;
    bool trace = false;
};

volatile unsigned seedUnderWay = 0;

/// A crash, or a call that does not come back: says where, without allocating.
extern "C" void die(int signal) {
    char text[160];
    const int length = std::snprintf(text, sizeof text,
                                     "seed %u: signal %d; repeat with --seed %u --sequences 1 "
                                     "--trace\n",
                                     seedUnderWay, signal, seedUnderWay);
    if (length > 0 && write(STDERR_FILENO, text, static_cast<std::size_t>(length)) < 0) {
        _exit(1);
    }
    _exit(1);
}

void watchForDeath() {
    for (const int signal : {SIGSEGV, SIGABRT, SIGFPE, SIGBUS, SIGALRM}) {
        std::signal(signal, &die);
    }
}

bool readNumber(const char* text, long& number) {
    char* end = nullptr;
    number = text == nullptr ? 0 : std::strtol(text, &end, 10);
    return text != nullptr && end != text && *end == '\0' && number >= 0;
}

/// "K/N", K from 1 to N.
bool readPart(const char* value, Options& options) {
    char rest = 0;
    return value != nullptr &&
           std::sscanf(value, "%ld/%ld%c", &options.part, &options.parts, &rest) == 2 &&
           options.part >= 1 && options.part <= options.parts;
}

bool readOption(const std::string& name, const char* value, Options& options) {
    long number = 0;
    if (name == "--library") {
        options.library = value == nullptr ? "" : value;
        return value != nullptr;
    }
    if (name == "--part") {
        return readPart(value, options);
    }
    if (!readNumber(value, number)) {
        return false;
    }
    if (name == "--seed") {
        options.seed = static_cast<unsigned>(number);
    } else if (name == "--sequences") {
        options.sequences = number;
    } else if (name == "--calls") {
        options.calls = static_cast<int>(number);
    } else if (name == "--shrink") {
        options.triesToShrink = static_cast<int>(number);
    } else {
        return false;
    }
    return true;
}

bool readEnvironment(Options& options) {
    const char* const names[][2] = {{"VELKOR_MODEL_SEED", "--seed"},
                                    {"VELKOR_MODEL_SEQUENCES", "--sequences"},
                                    {"VELKOR_MODEL_CALLS", "--calls"}};
    for (const char* const* name : names) {
        const char* value = std::getenv(name[0]);
        if (value != nullptr && !readOption(name[1], value, options)) {
            std::fprintf(stderr, "%s: \"%s\" is no number of 0 or more\n", name[0], value);
            return false;
        }
    }
    return true;
}

bool readArguments(int argc, char** argv, Options& options) {
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--trace") == 0) {
            options.trace = true;
        } else if (readOption(argv[i], i + 1 < argc ? argv[i + 1] : nullptr, options)) {
            ++i;
        } else {
            std::fprintf(stderr,
                         "%s: not understood\nusage: model_run [--seed N] [--sequences N] "
                         "[--calls N] [--part K/N] [--library FILE] [--shrink TRIES] [--trace]\n",
                         argv[i]);
            return false;
        }
    }
    return true;
}

/// Prints the difference of a sequence that has one, made as short as possible.
void tellDifference(const Options& options, unsigned seed, const std::vector<model::Call>& calls) {
    const std::vector<model::Call> few = model::shrunk(
        calls,
        [&](const std::vector<model::Call>& fewer) {
            alarm(secondsForASequence);
            return model::compareLibrary(options.library, fewer, false, false).differs;
        },
        options.triesToShrink);
    std::printf("seed %u: a difference; the shortest sequence found that shows one:\n", seed);
    for (const model::Call& call : few) {
        std::printf("    %s\n", model::describe(call).c_str());
    }
    const model::Comparison last = model::compareLibrary(options.library, few, true, false);
    std::printf("%s", last.report.c_str());
    std::printf("repeat with --seed %u --sequences 1 --calls %d\n", seed, options.calls);
}

int run(const Options& options) {
    typedef std::chrono::steady_clock Clock;
    const Clock::time_point start = Clock::now();
    long long calls = 0;
    long long callbacks = 0;
    for (long i = 0; i < options.sequences; ++i) {
        const unsigned seed = options.seed + static_cast<unsigned>(i);
        seedUnderWay = seed;
        alarm(secondsForASequence);
        const std::vector<model::Call> sequence = model::sequenceOf(seed, options.calls);
        const model::Comparison one =
            model::compareLibrary(options.library, sequence, false, options.trace);
        calls += one.calls;
        callbacks += one.callbacks;
        if (one.differs) {
            tellDifference(options, seed, sequence);
            return 1;
        }
    }
    alarm(0);
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    std::printf("no difference: seeds %u to %u, %ld sequences, %lld calls, %lld callbacks, "
                "%.1f s, %.0f calls/s\n",
                options.seed, options.seed + static_cast<unsigned>(options.sequences) - 1,
                options.sequences, calls, callbacks, seconds,
                seconds > 0 ? static_cast<double>(calls) / seconds : 0.0);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    if (!readEnvironment(options) || !readArguments(argc, argv, options)) {
        return 2;
    }
    installMessageHandler(&handleMessage<model::Session::hearDebugLine>);
    watchForDeath();
    const long share = options.sequences / options.parts;
    const long first = share * (options.part - 1);
    options.seed += static_cast<unsigned>(first);
    options.sequences = options.part == options.parts ? options.sequences - first : share;
    return run(options);
}
