#include "plc/faulty_line.h"

#include "plc/fins_codes.h"

namespace plc {

namespace {

void corrupt(Bytes& bytes, std::uint64_t noise) {
    const std::size_t at = static_cast<std::size_t>((noise >> 8U) % bytes.size());
    const auto change = static_cast<std::uint8_t>(noise % 255U + 1U); // never 0: it does change
    bytes[at] = static_cast<std::uint8_t>(bytes[at] ^ change);
}

Bytes spoilt(const Bytes& reply, const FaultDecision& faults) {
    Bytes bytes = reply;
    bytes[kSid] = static_cast<std::uint8_t>(bytes[kSid] + faults.sidOffset);
    if (faults.corrupt) {
        corrupt(bytes, faults.noise);
    }
    if (faults.truncateTo && *faults.truncateTo < bytes.size()) {
        bytes.resize(*faults.truncateTo);
    }
    return bytes;
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
    for (const FaultVerb verb : result.faults.verbs()) {
        ++faultCounts_.at(static_cast<std::size_t>(verb));
    }
    if (result.faults.silent) {
        return result;
    }
    const auto reply = core_.handle(datagram);
    if (reply && !result.faults.drop) {
        answer(*reply, from, result);
    }
    return result;
}

void FaultyLine::answer(const Bytes& reply, const Peer& to, Result& result) {
    const Outgoing outgoing{spoilt(reply, result.faults), to, result.faults.delayMs, requests_};
    std::vector<Outgoing>& queue = result.faults.late ? late_ : result.outgoing;
    queue.push_back(outgoing);
    if (result.faults.duplicate) {
        queue.push_back(outgoing);
    }
}

} // namespace plc
