// The text that says which requests and replies go wrong and how:
//
//     script = rule { ";" rule }
//     rule   = verb which { "," which } [ "to" BYTES | "by" MILLISECONDS "ms" ]
//     which  = NUMBER | NUMBER "-" NUMBER | PERCENT "%"
//     verb   = "drop" | "duplicate" | "truncate" | "delay" | "late" | "corrupt" | "silent"
//            | "sid+" NUMBER | "sid-" NUMBER
//            | "duplicate-request" | "truncate-request" | "delay-request" | "late-request"
//
// Blanks and line breaks may stand between them. "to" belongs to the truncate verbs and "by" to the
// delay verbs, and they need it. Requests are numbered from 1. What each verb does is told in
// docs/simulated-plc.md.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace plc {

enum class FaultVerb {
    // What happens to the reply.
    Drop,
    Duplicate,
    Truncate,
    Delay,
    Late,
    Sid,
    Corrupt,
    // What happens to the request on its way to the PLC.
    Silent,
    DuplicateRequest,
    TruncateRequest,
    DelayRequest,
    LateRequest
};
constexpr std::size_t kFaultVerbCount = 12;

const char* nameOf(FaultVerb verb);

// A run of request numbers, or a share of all requests.
struct FaultSelector {
    unsigned long first = 0;
    unsigned long last = 0;
    unsigned percent = 0; // not 0: first and last mean nothing
};

struct FaultRule {
    FaultVerb verb = FaultVerb::Drop;
    std::vector<FaultSelector> which;
    int amount = 0; // truncate verbs: bytes left; delay verbs: milliseconds; sid: what is added
};

struct FaultScriptError {
    std::size_t column = 0; // of the script, from 1
    std::string message;    // what is wrong there and what would be right
};

struct ParsedFaults {
    std::vector<FaultRule> rules;
    std::optional<FaultScriptError> error; // then there are no rules
};

ParsedFaults parseFaultScript(const std::string& script);

} // namespace plc
