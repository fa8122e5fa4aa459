// Fault scripts as texts of any kind, and the faults that they make of a run of requests.

#include "fuzz/input.h"
#include "plc/faulty_line.h"
#include "plc/trace.h"

#include <string>

namespace {

const int REQUESTS = 24;
const std::size_t LONGEST_REPLY = 64; // of the reads below, spoilt or not

void checkRules(const plc::ParsedFaults& parsed, const std::string& script) {
    if (parsed.error) {
        require(parsed.rules.empty(), "a script that is refused has no rules");
        require(parsed.error->column >= 1 && parsed.error->column <= script.size() + 1,
                "the column of a fault lies in the script");
        require(!parsed.error->message.empty(), "a refusal says why");
        return;
    }
    require(!parsed.rules.empty(), "a script that is taken has rules");
    for (const plc::FaultRule& rule : parsed.rules) {
        require(!rule.which.empty(), "each rule names requests");
        for (const plc::FaultSelector& selector : rule.which) {
            require(selector.percent != 0 ? selector.percent <= 100
                                          : 1 <= selector.first && selector.first <= selector.last,
                    "a range or a share");
        }
    }
}

void look(const plc::FaultyLine::Result& result) {
    require(!plc::describeFaults(result.faults).empty(), "faults can be told");
    for (const plc::Outgoing& outgoing : result.outgoing) {
        require(outgoing.bytes.size() <= LONGEST_REPLY, "no fault makes a reply longer");
    }
}

void run(const plc::ParsedFaults& parsed, Input& input) {
    plc::Core core;
    plc::FaultyLine line(core, plc::FaultPlan(parsed.rules, input.byte()));
    for (int number = 0; number < REQUESTS; ++number) {
        plc::Bytes request = {
            0x80,         0, 2, 0, 1, 0, 0, 10, 0, static_cast<std::uint8_t>(number), 1, 1, 0x82, 0,
            input.byte(), 0, 0, 3};
        const plc::FaultyLine::Result result = line.receive(request, plc::Peer{1, 2});
        look(result);
        for (const plc::Arrival& arrival : result.delayed) {
            look(line.arrive(arrival));
        }
    }
    require(line.requests() == static_cast<unsigned long>(REQUESTS), "every request is counted");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    Input input(bytes, size);
    Input line(bytes, size); // the same bytes decide about the requests
    const std::string script = input.rest().toStdString();
    const plc::ParsedFaults parsed = plc::parseFaultScript(script);
    checkRules(parsed, script);
    if (!parsed.error) {
        run(parsed, line);
    }
    return 0;
}
