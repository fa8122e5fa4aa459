// The text that says which replies go wrong and how:
//
//     script = rule { ";" rule }
//     rule   = verb which { "," which } [ "to" BYTES | "by" MILLISECONDS "ms" ]
//     which  = NUMBER | NUMBER "-" NUMBER | PERCENT "%"
//     verb   = "drop" | "duplicate" | "truncate" | "delay" | "late" | "corrupt" | "silent"
//            | "sid+" NUMBER | "sid-" NUMBER
//
// Blanks and line breaks may stand between them. "to" belongs to truncate and "by" to delay, and
// both need it. Requests are numbered from 1. What each verb does is told in docs/simulated-plc.md.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace plc {

enum class FaultVerb { Drop, Duplicate, Truncate, Delay, Late, Sid, Corrupt, Silent };
constexpr std::size_t kFaultVerbCount = 8;

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
    int amount = 0; // truncate: bytes left; delay: milliseconds; sid: what is added
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
