// The PLC at the end of a bad line: takes datagrams, says what is to be sent, to whom and when.
// Knows no socket and no clock.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "plc/fault_plan.h"
#include "plc/plc_core.h"

namespace plc {

// Where a datagram came from and its reply goes.
struct Peer {
    std::uint32_t address = 0; // IPv4
    std::uint16_t port = 0;
};

// A request as it reaches the PLC.
struct Arrival {
    Bytes bytes; // perhaps not all of them
    Peer peer;
    unsigned long request = 0; // its number
    FaultDecision faults;      // of which those of the request have acted, but for the delay
};

struct Outgoing {
    Bytes bytes;
    Peer peer;
    unsigned delayMs = 0;
    unsigned long request = 0; // number of the request that this answers
};

class FaultyLine {
public:
    // The core is borrowed and must outlive this.
    FaultyLine(Core& core, FaultPlan plan);

    struct Result {
        std::optional<unsigned long> request; // its number; none: no command for this PLC
        FaultDecision faults;
        std::vector<Arrival> executed;  // in this order: the request itself and held ones
        std::vector<Arrival> delayed;   // each to be given to arrive() after faults.delayRequestMs
        std::vector<Outgoing> outgoing; // in the order of sending
    };

    // Only commands for this PLC are numbered, from 1, and meet faults.
    Result receive(const Bytes& datagram, const Peer& from);

    // A delayed request that has reached the PLC. `request` of the result is empty.
    Result arrive(const Arrival& arrival);

    unsigned long requests() const { return requests_; }
    unsigned long faultCount(FaultVerb verb) const {
        return faultCounts_.at(static_cast<std::size_t>(verb));
    }

private:
    void execute(const Arrival& arrival, Result& result);
    void answer(const Bytes& reply, const Arrival& arrival, Result& result);

    Core& core_;
    FaultPlan plan_;
    unsigned long requests_ = 0;
    std::vector<Arrival> lateRequests_; // these and
    std::vector<Outgoing> late_;        // these wait for the next request
    std::array<unsigned long, kFaultVerbCount> faultCounts_{};
};

} // namespace plc
