#include "plc/trace.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "plc/fins_codes.h"
#include "plc/memory_items.h"

namespace plc {

namespace {

constexpr std::size_t kShownBytes = 16;

struct CodeName {
    std::uint16_t code;
    const char* name;
};

constexpr std::array<CodeName, 9> kCommands = {{
    {command::kMemoryRead, "read"},
    {command::kMemoryWrite, "write"},
    {command::kMemoryFill, "fill"},
    {command::kMultipleRead, "multiple read"},
    {command::kRun, "run"},
    {command::kStop, "stop"},
    {command::kControllerData, "controller data"},
    {command::kStatus, "status"},
    {command::kClock, "clock"},
}};

constexpr std::array<CodeName, 15> kEndCodes = {{
    {endcode::kNormal, "normal"},
    {endcode::kUndefinedCommand, "undefined command"},
    {endcode::kTooLong, "command too long"},
    {endcode::kTooShort, "command too short"},
    {endcode::kCountMismatch, "element count does not match the data"},
    {endcode::kNoSuchArea, "no such area"},
    {endcode::kAddressOutOfRange, "address out of range"},
    {endcode::kRangeExceeded, "address range exceeded"},
    {endcode::kResponseTooLong, "response too long"},
    {endcode::kParameterError, "parameter error"},
    {endcode::kReadOnly, "read-only"},
    {endcode::kWrongModeProgram, "wrong mode: PROGRAM"},
    {endcode::kWrongModeDebug, "wrong mode: DEBUG"},
    {endcode::kWrongModeMonitor, "wrong mode: MONITOR"},
    {endcode::kWrongModeRun, "wrong mode: RUN"},
}};

template <std::size_t size>
std::string nameIn(const std::array<CodeName, size>& table, unsigned code) {
    for (const CodeName& entry : table) {
        if (entry.code == code) {
            return entry.name;
        }
    }
    return "unknown";
}

std::string hexText(unsigned value, int digits) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "%0*X", digits, value);
    return text.data();
}

std::string bytesText(const Bytes& bytes, std::size_t from) {
    std::string text;
    const std::size_t end = std::min(bytes.size(), from + kShownBytes);
    for (std::size_t i = from; i < end; ++i) {
        text += (text.empty() ? "" : " ") + hexText(bytes[i], 2);
    }
    return end < bytes.size() ? text + " ..." : text;
}

std::string plural(std::size_t count, const std::string& one) {
    return std::to_string(count) + " " + one + (count == 1 ? "" : "s");
}

// "DM 100", "CIO 2.03", "T 5 flag"; an address that does not exist is shown as it came.
std::string addressText(const ItemAddress& address) {
    ItemRun run;
    if (locate(address, 1, run) != endcode::kNormal) {
        return "area " + hexText(address.areaCode, 2) + " address " + hexText(address.address, 4) +
               "." + hexText(address.bit, 2);
    }
    const AreaFacts& facts = factsOf(run.area);
    const std::string word =
        std::string(facts.name) + " " + std::to_string(address.address - facts.firstAddress);
    if (run.kind == ItemKind::Flag) {
        return word + " flag";
    }
    const std::string bit = (address.bit < 10 ? ".0" : ".") + std::to_string(address.bit);
    return run.kind == ItemKind::Bit ? word + bit : word;
}

std::string itemName(std::uint8_t areaCode) {
    switch (kindOfCode(areaCode).value_or(ItemKind::Word)) {
    case ItemKind::Bit:
        return "bit";
    case ItemKind::Flag:
        return "flag";
    case ItemKind::Word:
        break;
    }
    return "word";
}

std::string runText(const Bytes& frame) {
    constexpr std::size_t kCountAt = kParameters + 4;
    constexpr std::size_t kDataAt = kCountAt + 2;
    if (frame.size() < kDataAt) {
        return " " + bytesText(frame, kParameters) + " (short)";
    }
    const std::string text = " " + addressText(itemAddressAt(frame, kParameters)) + ", " +
                             plural(get16(frame, kCountAt), itemName(frame[kParameters]));
    return frame.size() == kDataAt ? text : text + ": " + bytesText(frame, kDataAt);
}

std::string itemsText(const Bytes& frame) {
    std::string text;
    for (std::size_t at = kParameters; at + 4 <= frame.size(); at += 4) {
        text += (text.empty() ? " " : ", ") + addressText(itemAddressAt(frame, at));
    }
    return text;
}

std::string parametersText(const Bytes& frame) {
    switch (get16(frame, kMrc)) {
    case command::kMemoryRead:
    case command::kMemoryWrite:
    case command::kMemoryFill:
        return runText(frame);
    case command::kMultipleRead:
        return itemsText(frame);
    default:
        return frame.size() == kParameters ? "" : " " + bytesText(frame, kParameters);
    }
}

} // namespace

std::string describeRequest(const Bytes& frame) {
    if (frame.size() < kParameters || (frame[kIcf] & kIcfResponse) != 0) {
        return "no command, " + plural(frame.size(), "byte") + ": " + bytesText(frame, 0);
    }
    const unsigned code = get16(frame, kMrc);
    return "sid " + hexText(frame[kSid], 2) + " node " + std::to_string(frame[kSa1]) + " to " +
           std::to_string(frame[kDa1]) + ": " + hexText(code, 4) + " " + nameIn(kCommands, code) +
           parametersText(frame);
}

std::string describeReply(const Bytes& frame) {
    if (frame.size() < kReplyData) {
        return "cut short, " + plural(frame.size(), "byte") + ": " + bytesText(frame, 0);
    }
    const unsigned code = get16(frame, kMres);
    std::string text = "sid " + hexText(frame[kSid], 2) + ": " + hexText(code, 4) + " " +
                       nameIn(kEndCodes, code & ~unsigned{kSresAlarm});
    if ((code & kSresAlarm) != 0) {
        text += " with alarm";
    }
    const std::size_t dataSize = frame.size() - kReplyData;
    return dataSize == 0
               ? text
               : text + ", " + plural(dataSize, "byte") + ": " + bytesText(frame, kReplyData);
}

std::string describeFaults(const FaultDecision& faults) {
    std::string text;
    for (const FaultVerb verb : faults.verbs()) {
        text += (text.empty() ? "" : ", ") + std::string(nameOf(verb));
        if (verb == FaultVerb::Truncate) {
            text += " to " + std::to_string(faults.truncateTo.value_or(0));
        } else if (verb == FaultVerb::TruncateRequest) {
            text += " to " + std::to_string(faults.truncateRequestTo.value_or(0));
        } else if (verb == FaultVerb::DelayRequest) {
            text += " by " + std::to_string(faults.delayRequestMs) + "ms";
        } else if (verb == FaultVerb::Delay) {
            text += " by " + std::to_string(faults.delayMs) + "ms";
        } else if (verb == FaultVerb::Sid) {
            text += (faults.sidOffset < 0 ? "" : "+") + std::to_string(faults.sidOffset);
        }
    }
    return text.empty() ? "none" : text;
}

} // namespace plc
