#include "model/comparison.h"

#include "model/exclusions.h"
#include "model/loaded_library.h"
#include "model/naive_driver.h"
#include "model/session.h"

#include <cstdio>
#include <cstring>
#include <deque>

namespace model {

namespace {

const int longestReply = 2100;

/// The frames that were given out, the last one first.
typedef std::deque<host::FramePro> Frames;

QByteArray bytesOf(const Reply& reply, const Frames& frames, unsigned char newestSid) {
    const std::size_t age = static_cast<std::size_t>(reply.age);
    const host::FramePro frame = age < frames.size() ? frames[age] : host::FramePro();
    long long length = reply.length;
    if (!reply.exactLength) {
        length += frame.rcvLen;
    }
    QByteArray bytes(length < 0 || length > longestReply ? 0 : static_cast<int>(length), '\0');
    unsigned char head[14] = {0xC0, 0, 2};
    head[9] = reply.sid == Reply::OfFrame  ? frame.frame[9]
              : reply.sid == Reply::Newest ? newestSid
                                           : static_cast<unsigned char>(reply.sidValue);
    head[10] = frame.frame[10];
    head[11] = frame.frame[11];
    head[12] = static_cast<unsigned char>(reply.mres);
    head[13] = static_cast<unsigned char>(reply.sres);
    for (int i = 0; i < bytes.size() && i < 14; ++i) {
        bytes[i] = static_cast<char>(head[i]);
    }
    for (int i = 14; i < bytes.size(); ++i) {
        const unsigned word =
            static_cast<unsigned>(frame.var.addr) + static_cast<unsigned>(i - 14) / 2;
        const unsigned value =
            scrambled(reply.seed, word) & static_cast<unsigned>(reply.pattern) & 0xFFFFU;
        bytes[i] = static_cast<char>(i % 2 == 0 ? value >> 8 : value & 0xFFU);
    }
    return bytes;
}

void remember(Frames& frames, const host::FramePro* frame) {
    const bool again = frame != nullptr && !frames.empty() &&
                       std::memcmp(frames.front().frame, frame->frame, 24) == 0;
    if (frame != nullptr && !again) {
        frames.push_front(*frame);
        if (frames.size() > 4) {
            frames.pop_back();
        }
    }
}

/// The first line from `from` on in which the two journals differ, and where it stands.
std::string difference(const Journal& naive, const Journal& library, std::size_t from) {
    const std::vector<std::string>& a = naive.lines();
    const std::vector<std::string>& b = library.lines();
    std::string heading;
    std::string list;
    std::size_t i = from;
    for (; i < a.size() && i < b.size() && a[i] == b[i]; ++i) {
        if (a[i].compare(0, 1, " ") != 0) {
            heading = a[i];
            list.clear();
        } else if (a[i].compare(0, 3, "   ") != 0) {
            list = a[i];
        }
    }
    const std::string nothing = "nothing more";
    return "after: " + heading + "\nin:    " + list +
           "\nmodel:   " + (i < a.size() ? a[i] : nothing) +
           "\nlibrary: " + (i < b.size() ? b[i] : nothing) + '\n';
}

} // namespace

Comparison compare(Driver& driver, const std::vector<Call>& calls, bool inWords, bool trace) {
    NaiveDriver naive(&Session::hearDebugLine);
    Session expected(naive, inWords);
    Session actual(driver, inWords);
    const auto differ = [&] { return expected.journal().sum() != actual.journal().sum(); };
    Comparison result;
    Frames frames;
    std::size_t linesBefore = 0;
    for (std::size_t i = 0; i < calls.size() && !differ(); ++i) {
        const Call& call = calls[i];
        if (!isToldToHosts(call, naive)) {
            continue;
        }
        if (trace) {
            std::fprintf(stderr, "%4d %s\n", static_cast<int>(i), describe(call).c_str());
        }
        linesBefore = expected.journal().lines().size();
        const QByteArray reply = bytesOf(call.reply, frames, naive.sid());
        expected.perform(call, reply);
        actual.perform(call, reply);
        remember(frames, expected.frameGivenOut());
        ++result.calls;
    }
    if (!differ()) {
        linesBefore = expected.journal().lines().size();
        expected.tellMemories();
        actual.tellMemories();
    }
    result.callbacks = expected.callbacks();
    result.differs = differ();
    if (result.differs && inWords) {
        result.report = difference(expected.journal(), actual.journal(), linesBefore);
    }
    return result;
}

Comparison compareLibrary(const std::string& file, const std::vector<Call>& calls, bool inWords,
                          bool trace) {
    LoadedLibrary loaded(file);
    return compare(loaded, calls, inWords, trace);
}

} // namespace model
