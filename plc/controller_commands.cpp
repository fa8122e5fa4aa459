#include "plc/controller_commands.h"

#include <string>

namespace plc {

namespace {

// The program number may be left out; there is but one. FFFF is its number, and many clients send
// 0000 for it.
bool namesOnlyProgram(const Bytes& request) {
    if (request.size() == kParameters) {
        return true;
    }
    const std::uint16_t program = get16(request, kParameters);
    return program == 0xFFFF || program == 0;
}

void appendText(Bytes& to, const std::string& text, std::size_t width, char padding) {
    for (std::size_t i = 0; i < width; ++i) {
        to.push_back(static_cast<std::uint8_t>(i < text.size() ? text[i] : padding));
    }
}

void appendZeros(Bytes& to, std::size_t count) {
    to.insert(to.end(), count, 0);
}

std::uint8_t bcd(int value) {
    return static_cast<std::uint8_t>(value / 10 % 10 * 16 + value % 10);
}

void appendAreaData(Bytes& to) {
    append16(to, 20);     // program area, K words
    to.push_back(23);     // CIO, WR, HR, AR and the like, K words
    append16(to, 0x8000); // DM words
    to.push_back(8);      // timers and counters, K
    to.push_back(1);      // EM banks
    append16(to, 0);      // not used
    to.push_back(0);      // no memory card
    append16(to, 0);      // size of the card
}

Bytes identity() {
    Bytes data;
    appendText(data, "CJ2M-CPU31", 20, ' ');
    appendText(data, "02.01", 20, '\0'); // unlike the model, as CPUs of the CP series send it
    appendZeros(data, 40);               // system use
    appendAreaData(data);
    return data;
}

Bytes configuration() {
    Bytes data;
    appendZeros(data, 64); // no CPU bus units
    appendZeros(data, 1);  // no remote I/O
    appendZeros(data, 1);  // CPU unit
    return data;
}

} // namespace

Answer run(const Bytes& request, Mode& mode) {
    constexpr std::size_t kModeAt = kParameters + 2;
    const std::size_t length = request.size() - kParameters;
    if (length > 3) {
        return refused(endcode::kTooLong);
    }
    if (length == 1) {
        return refused(endcode::kTooShort);
    }
    const Mode wanted = length == 3 ? static_cast<Mode>(request[kModeAt]) : Mode::Monitor;
    const bool possible = wanted == Mode::Monitor || wanted == Mode::Run;
    if (!namesOnlyProgram(request) || !possible) {
        return refused(endcode::kParameterError);
    }
    mode = wanted;
    return {};
}

Answer stop(const Bytes& request, Mode& mode) {
    const std::size_t length = request.size() - kParameters;
    if (length > 2) {
        return refused(endcode::kTooLong);
    }
    if (length == 1) {
        return refused(endcode::kTooShort);
    }
    if (!namesOnlyProgram(request)) {
        return refused(endcode::kParameterError);
    }
    mode = Mode::Program;
    return {};
}

Answer controllerData(const Bytes& request) {
    const std::size_t length = request.size() - kParameters;
    if (length > 1) {
        return refused(endcode::kTooLong);
    }
    const unsigned part = length == 1 ? request[kParameters] : 0;
    if (part > 1) {
        return refused(endcode::kParameterError);
    }
    Answer answer;
    answer.data = part == 0 ? identity() : configuration();
    if (length == 0) {
        const Bytes rest = configuration();
        answer.data.insert(answer.data.end(), rest.begin(), rest.end());
    }
    return answer;
}

Answer status(const Bytes& request, Mode mode, bool alarm) {
    if (request.size() > kParameters) {
        return refused(endcode::kTooLong);
    }
    Answer answer;
    answer.data.push_back(mode == Mode::Program ? 0 : 1); // 1: the program is running
    answer.data.push_back(static_cast<std::uint8_t>(mode));
    append16(answer.data, 0);                  // no fatal error
    append16(answer.data, alarm ? 0x8000 : 0); // non-fatal: set by the user's program (bit 15)
    append16(answer.data, alarm ? 0x0001 : 0); // message 0 is there (bit 0); bits 8 to 15 are 0
    append16(answer.data, alarm ? 0x4101 : 0); // error code of the alarm number 1
    appendText(answer.data, alarm ? "ALARM 1" : "", 16, ' ');
    return answer;
}

Answer clock(const Bytes& request, const Clock& timeOfDay) {
    if (request.size() > kParameters) {
        return refused(endcode::kTooLong);
    }
    const ClockTime now = timeOfDay ? timeOfDay() : ClockTime();
    return {endcode::kNormal,
            {bcd(now.year), bcd(now.month), bcd(now.day), bcd(now.hour), bcd(now.minute),
             bcd(now.second), bcd(now.weekday)}};
}

} // namespace plc
