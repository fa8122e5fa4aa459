#ifndef VELKOR_BENCH_WIRE_CLIENTS_H
#define VELKOR_BENCH_WIRE_CLIENTS_H

/// Those who ask a PLC, or what answers like one, on a loopback port, one request after the other,
/// as fast as they can. Each makes exchanges for a time and says how many.

#include "loaded_library.h"

#include <velkor/host/line.h>

#include <cstdint>
#include <memory>
#include <string>

std::int64_t nanoseconds(); ///< on a clock that never goes back

/// A UDP socket of the loopback interface that gives up waiting after a second; connected to `port`
/// where that is not 0. Ends the program when there is none.
int loopbackSocket(std::uint16_t port);

class WireClient {
public:
    virtual ~WireClient() = default;
    /// Exchanges made in that time; -1 when one failed.
    virtual long exchangesIn(std::int64_t milliseconds) = 0;
};

/// The same datagram again and again: what the wire allows.
std::unique_ptr<WireClient> bareClient(std::uint16_t port, int words);

/// A host's plain loop around the driver, with 1,000 words cached.
std::unique_ptr<WireClient> loopClient(const DriverEntries& entries, std::uint16_t port, int words);

/// A line of the host layer that makes one-shot reads.
std::unique_ptr<WireClient> lineClient(const std::string& driverFile, std::uint16_t port,
                                       int words);

#endif
