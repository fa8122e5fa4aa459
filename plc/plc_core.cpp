#include "plc/plc_core.h"

#include <algorithm>

#include "plc/answer.h"
#include "plc/controller_commands.h"
#include "plc/fins_codes.h"
#include "plc/memory_commands.h"

namespace plc {

namespace {

std::uint16_t refusalOf(Mode mode) {
    switch (mode) {
    case Mode::Program:
        return endcode::kWrongModeProgram;
    case Mode::Debug:
        return endcode::kWrongModeDebug;
    case Mode::Monitor:
        return endcode::kWrongModeMonitor;
    case Mode::Run:
        break;
    }
    return endcode::kWrongModeRun;
}

} // namespace

Core::Core(const Options& options) : options_(options) {}

Reception Core::classify(const Bytes& request) const {
    if (request.size() < kParameters) {
        return Reception::TooShort;
    }
    if ((request[kIcf] & kIcfResponse) != 0) {
        return Reception::Response;
    }
    const std::uint8_t destination = request[kDa1];
    return destination == 0 || destination == options_.node ? Reception::Command
                                                            : Reception::OtherNode;
}

std::optional<Bytes> Core::handle(const Bytes& request) {
    switch (classify(request)) {
    case Reception::TooShort:
        ++counters_.ignoredShort;
        return std::nullopt;
    case Reception::Response:
        ++counters_.ignoredReplies;
        return std::nullopt;
    case Reception::OtherNode:
        ++counters_.ignoredNode;
        return std::nullopt;
    case Reception::Command:
        break;
    }
    ++counters_.commands;
    Answer answer = execute(request);
    if (kReplyData + answer.data.size() > options_.maxMessage) { // what writes has no data
        answer = refused(endcode::kResponseTooLong);
    }
    if ((request[kIcf] & kIcfNoReplyWanted) != 0) {
        ++counters_.noReplyWanted;
        return std::nullopt;
    }
    ++counters_.replies;
    counters_.errorReplies += answer.endCode != endcode::kNormal ? 1 : 0;
    return reply(request, answer);
}

void Core::forceEndCode(std::uint16_t endCode, unsigned times) {
    forcedEndCode_ = endCode;
    forcedTimes_ = times;
}

Answer Core::execute(const Bytes& request) {
    if (forcedTimes_ > 0) {
        --forcedTimes_;
        return refused(forcedEndCode_);
    }
    if (request.size() > options_.maxMessage) {
        return refused(endcode::kTooLong);
    }
    switch (get16(request, kMrc)) {
    case command::kMemoryRead:
        return readMemory(memory_, options_.refused, request);
    case command::kMemoryWrite:
        return writesAllowed() ? writeMemory(memory_, options_.refused, request)
                               : refused(refusalOf(mode()));
    case command::kMemoryFill:
        return writesAllowed() ? fillMemory(memory_, options_.refused, request)
                               : refused(refusalOf(mode()));
    case command::kMultipleRead:
        return readMultiple(memory_, options_.refused, request);
    case command::kRun:
        return run(request, options_.mode);
    case command::kStop:
        return stop(request, options_.mode);
    case command::kControllerData:
        return controllerData(request);
    case command::kStatus:
        return status(request, options_.mode, options_.alarm);
    case command::kClock:
        return clock(request, clock_);
    default:
        return refused(endcode::kUndefinedCommand);
    }
}

bool Core::writesAllowed() const {
    return !options_.writesOnlyIn || *options_.writesOnlyIn == options_.mode;
}

// Source and destination change places; the node is this PLC's own even when it was asked as 0.
Bytes Core::reply(const Bytes& request, const Answer& answer) const {
    Bytes frame(kReplyData + answer.data.size());
    frame[kIcf] = kIcfOfReply;
    frame[kGct] = kGatewayCount;
    frame[kDna] = request[kSna];
    frame[kDa1] = request[kSa1];
    frame[kDa2] = request[kSa2];
    frame[kSna] = request[kDna];
    frame[kSa1] = options_.node;
    frame[kSa2] = request[kDa2];
    frame[kSid] = request[kSid];
    frame[kMrc] = request[kMrc];
    frame[kSrc] = request[kSrc];
    frame[kMres] = static_cast<std::uint8_t>(answer.endCode >> 8U);
    frame[kSres] =
        static_cast<std::uint8_t>((answer.endCode & 0xFFU) | (options_.alarm ? kSresAlarm : 0U));
    std::copy(answer.data.begin(), answer.data.end(), frame.begin() + kReplyData);
    return frame;
}

} // namespace plc
