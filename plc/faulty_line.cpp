#include "plc/faulty_line.h"

#include "plc/fins_codes.h"

namespace plc {

namespace {

void corrupt(Bytes& bytes, std::uint64_t noise) {
    const std::size_t at = static_cast<std::size_t>((noise >> 8U) % bytes.size());
    const auto change = static_cast<std::uint8_t>(noise % 255U + 1U); // never 0: it does change
    bytes[at] = static_cast<std::uint8_t>(bytes[at] ^ change);
}

Bytes cut(const Bytes& bytes, std::optional<std::size_t> length) {
    return length && *length < bytes.size()
               ? Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(*length))
               : bytes;
}

Bytes spoilt(const Bytes& reply, const FaultDecision& faults) {
    Bytes bytes = reply;
    bytes[kSid] = static_cast<std::uint8_t>(bytes[kSid] + faults.sidOffset);
    if (faults.corrupt) {
        corrupt(bytes, faults.noise);
    }
    return cut(bytes, faults.truncateTo);
}

} // namespace

FaultyLine::FaultyLine(Core& core, FaultPlan plan) : core_(core), plan_(std::move(plan)) {}

FaultyLine::Result FaultyLine::receive(const Bytes& datagram, const Peer& from) {
    Result result;
    if (core_.classify(datagram) != Reception::Command) {
        core_.handle(datagram); // counts it
        return result;
    }
    result.request = ++requests_;
    result.faults = plan_.decide(requests_);
    result.outgoing.swap(late_);
    std::vector<Arrival> overtaken;
    overtaken.swap(lateRequests_);
    for (const FaultVerb verb : result.faults.verbs()) {
        ++faultCounts_.at(static_cast<std::size_t>(verb));
    }
    if (!result.faults.silent) {
        const Arrival arrival{cut(datagram, result.faults.truncateRequestTo), from, requests_,
                              result.faults};
        for (int copy = 0; copy < (result.faults.duplicateRequest ? 2 : 1); ++copy) {
            if (result.faults.lateRequest) {
                lateRequests_.push_back(arrival);
            } else if (result.faults.delayRequestMs > 0) {
                result.delayed.push_back(arrival);
            } else {
                execute(arrival, result);
            }
        }
    }
    for (const Arrival& arrival : overtaken) {
        execute(arrival, result);
    }
    return result;
}

FaultyLine::Result FaultyLine::arrive(const Arrival& arrival) {
    Result result;
    execute(arrival, result);
    return result;
}

void FaultyLine::execute(const Arrival& arrival, Result& result) {
    result.executed.push_back(arrival);
    const auto reply = core_.handle(arrival.bytes);
    if (reply && !arrival.faults.drop) {
        answer(*reply, arrival, result);
    }
}

void FaultyLine::answer(const Bytes& reply, const Arrival& arrival, Result& result) {
    const FaultDecision& faults = arrival.faults;
    const Outgoing outgoing{spoilt(reply, faults), arrival.peer, faults.delayMs, arrival.request};
    std::vector<Outgoing>& queue = faults.late ? late_ : result.outgoing;
    queue.push_back(outgoing);
    if (faults.duplicate) {
        queue.push_back(outgoing);
    }
}

} // namespace plc
