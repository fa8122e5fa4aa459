// Which faults meet which request. A pure function of script, seed and request number, so that a
// run can be repeated.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "plc/fault_script.h"

namespace plc {

struct FaultDecision {
    // The request.
    bool silent = false; // neither executed nor answered; nothing else counts then
    bool duplicateRequest = false;
    bool lateRequest = false;                     // executed after the next request
    std::optional<std::size_t> truncateRequestTo; // bytes
    unsigned delayRequestMs = 0;

    // Its reply.
    bool drop = false; // executed, not answered
    bool late = false; // answered when the next request has arrived
    bool duplicate = false;
    bool corrupt = false;
    std::optional<std::size_t> truncateTo; // bytes
    unsigned delayMs = 0;
    int sidOffset = 0;
    std::uint64_t noise = 0; // chooses what `corrupt` changes

    // Whether what arrives at the PLC, or when and how often, is something else than what was sent.
    bool requestMeetsFaults() const;

    // Those that act, in the order of FaultVerb; empty when nothing goes wrong.
    std::vector<FaultVerb> verbs() const;
};

class FaultPlan {
public:
    FaultPlan() = default;
    FaultPlan(std::vector<FaultRule> rules, std::uint64_t seed);

    // All rules that name the request act together.
    FaultDecision decide(unsigned long request) const;

private:
    bool names(std::size_t rule, unsigned long request) const;

    std::vector<FaultRule> rules_;
    std::uint64_t seed_ = 0;
};

} // namespace plc
