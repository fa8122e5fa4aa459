#include "model/shrink.h"

#include <cstdlib>

namespace model {

namespace {

class Shrinker {
public:
    typedef std::function<bool(const std::vector<Call>&)> Fails;

    Shrinker(const std::vector<Call>& calls, const Fails& fails, int tries)
        : best_(calls), fails_(fails), triesLeft_(tries) {}

    std::vector<Call> run() {
        std::size_t before = 0;
        do { // simpler arguments let further calls go
            before = changes_;
            dropCalls();
            for (std::size_t i = 0; i < best_.size(); ++i) {
                simplifyCall(i);
            }
        } while (changes_ != before && triesLeft_ > 0);
        return best_;
    }

private:
    bool accept(const std::vector<Call>& candidate) {
        if (triesLeft_ <= 0 || !fails_(candidate)) {
            --triesLeft_;
            return false;
        }
        --triesLeft_;
        ++changes_;
        best_ = candidate;
        return true;
    }

    void dropCalls() {
        for (std::size_t size = best_.size() / 2 + 1; size > 0; size /= 2) {
            for (std::size_t at = best_.size(); at > 0;) {
                at = at > size ? at - size : 0;
                std::vector<Call> candidate = best_;
                const std::size_t end = at + size < candidate.size() ? at + size : candidate.size();
                candidate.erase(candidate.begin() + static_cast<std::ptrdiff_t>(at),
                                candidate.begin() + static_cast<std::ptrdiff_t>(end));
                accept(candidate);
            }
        }
    }

    /// Tries the sequence with one call changed by `change`, which gets that call.
    template <typename Change> bool attempt(std::size_t index, Change change) {
        std::vector<Call> candidate = best_;
        change(candidate[index]);
        return accept(candidate);
    }

    void simplifyCall(std::size_t index) {
        for (std::size_t r = best_[index].reactions.size(); r > 0; --r) {
            const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(r) - 1;
            attempt(index, [at](Call& call) { call.reactions.erase(call.reactions.begin() + at); });
        }
        for (std::size_t r = best_[index].ranges.size(); r > 0; --r) {
            const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(r) - 1;
            attempt(index, [at](Call& call) { call.ranges.erase(call.ranges.begin() + at); });
        }
        simplifyNumbers(index);
        simplifyReply(index);
        for (std::size_t r = 0; r < best_[index].ranges.size(); ++r) {
            simplifyRange(index, r);
        }
    }

    void simplifyNumbers(std::size_t index) {
        simplify(index, [](Call& call) -> int& { return call.station; });
        simplify(index, [](Call& call) -> int& { return call.addr; });
        simplify(index, [](Call& call) -> int& { return call.count; });
        simplify(index, [](Call& call) -> int& { return call.number; });
        simplify(index, [](Call& call) -> int& { return call.pattern; });
        attempt(index, [](Call& call) { call.seed = 0; });
    }

    void simplifyReply(std::size_t index) {
        if (best_[index].kind != Deal) {
            return;
        }
        simplify(index, [](Call& call) -> int& { return call.reply.age; });
        simplify(index, [](Call& call) -> int& { return call.reply.length; });
        simplify(index, [](Call& call) -> int& { return call.reply.mres; });
        simplify(index, [](Call& call) -> int& { return call.reply.sres; });
        simplify(index, [](Call& call) -> int& { return call.reply.pattern; });
        attempt(index, [](Call& call) { call.reply.seed = 0; });
        attempt(index, [](Call& call) { call.reply.sid = Reply::OfFrame; });
        attempt(index, [](Call& call) { call.reply = Reply(); });
    }

    void simplifyRange(std::size_t index, std::size_t r) {
        simplify(index, [r](Call& call) -> int& { return call.ranges.at(r).station; });
        simplify(index, [r](Call& call) -> int& { return call.ranges.at(r).addr; });
        simplify(index, [r](Call& call) -> int& { return call.ranges.at(r).len; });
        simplify(index, [r](Call& call) -> int& { return call.ranges.at(r).offset; });
        simplify(index, [r](Call& call) -> int& { return call.ranges.at(r).countKind; });
    }

    /// Towards 0, by zero, halves and ones. Changes nothing that is as good: an attempt that does
    /// not change the number is not made.
    template <typename Field> void simplify(std::size_t index, Field field) {
        int last = 1;
        while (last != 0) {
            last = 0;
            const int value = field(best_[index]);
            for (const int smaller : {0, 1, value / 2, value > 0 ? value - 1 : value + 1}) {
                if (std::llabs(smaller) < std::llabs(value) &&
                    attempt(index, [&](Call& call) { field(call) = smaller; })) {
                    last = smaller;
                    break;
                }
            }
        }
    }

    std::vector<Call> best_;
    Fails fails_;
    int triesLeft_;
    std::size_t changes_ = 0;
};

} // namespace

std::vector<Call> shrunk(const std::vector<Call>& calls,
                         const std::function<bool(const std::vector<Call>&)>& fails, int tries) {
    return Shrinker(calls, fails, tries).run();
}

} // namespace model
