// Datagrams to the simulated PLC: its parser, its commands and its trace.

#include "fuzz/input.h"
#include "plc/plc_core.h"
#include "plc/trace.h"

#include <algorithm>

namespace {

const int MOST_REQUESTS = 40;

plc::Options optionsFrom(Input& input) {
    plc::Options options;
    options.node = static_cast<std::uint8_t>(1 + input.upTo(1));
    options.maxMessage = std::size_t{64} + static_cast<unsigned>(input.upTo(2000));
    options.alarm = input.flag();
    if (input.flag()) {
        options.writesOnlyIn = plc::Mode::Monitor;
    }
    return options;
}

plc::Bytes bytesOf(const QByteArray& array) {
    return plc::Bytes(array.begin(), array.end());
}

/// The header of a command to node 1 (or any bytes) with what the input says behind it.
plc::Bytes requestFrom(Input& input) {
    const int kind = input.upTo(15);
    if (kind == 0) {
        return bytesOf(input.bytes());
    }
    plc::Bytes request = {0x80, 0, 2, 0, 1, 0, 0, 10, 0, input.byte()};
    if (kind == 1) { // one byte of the header is another
        const int at = input.upTo(9);
        request.at(static_cast<std::size_t>(at)) = input.byte();
    }
    const plc::Bytes command = bytesOf(input.bytes());
    request.insert(request.end(), command.begin(), command.end());
    if (kind == 2) { // a long write
        const int more = input.upTo(2100);
        request.resize(request.size() + static_cast<std::size_t>(more), input.byte());
    }
    return request;
}

void checkReply(const plc::Bytes& request, const plc::Bytes& reply, const plc::Options& options) {
    require(reply.size() >= 14, "a reply has an end code");
    // What echoes a broken request or has no data is short whatever the limit.
    require(reply.size() <= options.maxMessage, "no reply is longer than the longest message");
    require((reply.at(0) & 0x40) != 0, "ICF says that it is a reply");
    require(std::equal(reply.begin() + 3, reply.begin() + 6, request.begin() + 6),
            "it goes to where the request came from");
    require(std::equal(reply.begin() + 9, reply.begin() + 12, request.begin() + 9),
            "service ID and command are the request's");
    require(((reply.at(13) & 0x40) != 0) == options.alarm, "the alarm stands in every end code");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    Input input(bytes, size);
    const plc::Options options = optionsFrom(input);
    plc::Core core(options);
    for (int left = MOST_REQUESTS; left > 0 && !input.empty(); --left) {
        const plc::Bytes request = requestFrom(input);
        require(!plc::describeRequest(request).empty(), "every request can be told");
        const plc::Reception reception = core.classify(request);
        const std::optional<plc::Bytes> reply = core.handle(request);
        require(!reply || reception == plc::Reception::Command, "only commands are answered");
        if (reply) {
            checkReply(request, *reply, options);
            require(!plc::describeReply(*reply).empty(), "every reply can be told");
        }
    }
    return 0;
}
