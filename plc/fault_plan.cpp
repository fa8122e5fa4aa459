#include "plc/fault_plan.h"

#include <random>

namespace plc {

namespace {

// A stream of its own for each share and request, so that a request's luck hangs neither on the
// requests before it nor on the other rules.
std::mt19937 randomFor(std::uint64_t seed, std::size_t rule, std::size_t selector,
                       unsigned long request) {
    std::seed_seq sequence{static_cast<std::uint32_t>(seed),
                           static_cast<std::uint32_t>(seed >> 32U),
                           static_cast<std::uint32_t>(rule), static_cast<std::uint32_t>(selector),
                           static_cast<std::uint32_t>(request)};
    return std::mt19937(sequence);
}

void apply(const FaultRule& rule, FaultDecision& decision) {
    switch (rule.verb) {
    case FaultVerb::Drop:
        decision.drop = true;
        break;
    case FaultVerb::Duplicate:
        decision.duplicate = true;
        break;
    case FaultVerb::Truncate:
        decision.truncateTo = static_cast<std::size_t>(rule.amount);
        break;
    case FaultVerb::Delay:
        decision.delayMs += static_cast<unsigned>(rule.amount);
        break;
    case FaultVerb::Late:
        decision.late = true;
        break;
    case FaultVerb::Sid:
        decision.sidOffset += rule.amount;
        break;
    case FaultVerb::Corrupt:
        decision.corrupt = true;
        break;
    case FaultVerb::Silent:
        decision.silent = true;
        break;
    case FaultVerb::DuplicateRequest:
        decision.duplicateRequest = true;
        break;
    case FaultVerb::TruncateRequest:
        decision.truncateRequestTo = static_cast<std::size_t>(rule.amount);
        break;
    case FaultVerb::DelayRequest:
        decision.delayRequestMs += static_cast<unsigned>(rule.amount);
        break;
    case FaultVerb::LateRequest:
        decision.lateRequest = true;
        break;
    }
}

} // namespace

std::vector<FaultVerb> FaultDecision::verbs() const {
    if (silent) {
        return {FaultVerb::Silent};
    }
    std::vector<FaultVerb> all;
    const auto add = [&all](bool acts, FaultVerb verb) {
        if (acts) {
            all.push_back(verb);
        }
    };
    add(drop, FaultVerb::Drop);
    add(!drop && duplicate, FaultVerb::Duplicate);
    add(!drop && truncateTo.has_value(), FaultVerb::Truncate);
    add(!drop && delayMs > 0, FaultVerb::Delay);
    add(!drop && late, FaultVerb::Late);
    add(!drop && sidOffset != 0, FaultVerb::Sid);
    add(!drop && corrupt, FaultVerb::Corrupt);
    add(duplicateRequest, FaultVerb::DuplicateRequest);
    add(truncateRequestTo.has_value(), FaultVerb::TruncateRequest);
    add(delayRequestMs > 0, FaultVerb::DelayRequest);
    add(lateRequest, FaultVerb::LateRequest);
    return all;
}

bool FaultDecision::requestMeetsFaults() const {
    return silent || duplicateRequest || lateRequest || truncateRequestTo || delayRequestMs > 0;
}

FaultPlan::FaultPlan(std::vector<FaultRule> rules, std::uint64_t seed)
    : rules_(std::move(rules)), seed_(seed) {}

FaultDecision FaultPlan::decide(unsigned long request) const {
    FaultDecision decision;
    for (std::size_t i = 0; i < rules_.size(); ++i) {
        if (names(i, request)) {
            apply(rules_[i], decision);
        }
    }
    if (decision.corrupt) {
        std::mt19937 random = randomFor(seed_, rules_.size(), 0, request);
        const std::uint64_t high = random();
        decision.noise = (high << 32U) | random();
    }
    return decision;
}

bool FaultPlan::names(std::size_t rule, unsigned long request) const {
    const std::vector<FaultSelector>& which = rules_[rule].which;
    for (std::size_t i = 0; i < which.size(); ++i) {
        const bool named = which[i].percent > 0
                               ? randomFor(seed_, rule, i, request)() % 100 < which[i].percent
                               : request >= which[i].first && request <= which[i].last;
        if (named) {
            return true;
        }
    }
    return false;
}

} // namespace plc
