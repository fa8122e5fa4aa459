// The PLC without its socket and clock: a FINS request goes in as bytes, the reply comes out.
//
//     plc::Options options;
//     options.node = 10;
//     plc::Core plc(options);
//     plc.memory().setWord(plc::Area::Dm, 100, 0x1234);
//     std::optional<plc::Bytes> reply = plc.handle(request);
//
// Nothing happens between two calls, nothing is shared between two objects.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "plc/bytes.h"
#include "plc/memory.h"
#include "plc/refused_words.h"

namespace plc {

struct Answer;

// The numbers are those of the status reply. DEBUG exists on older PLCs only; it is here so that a
// client can meet the refusal that belongs to it.
enum class Mode : std::uint8_t { Program = 0, Debug = 1, Monitor = 2, Run = 4 };

struct Options {
    std::uint8_t node = 1;
    Mode mode = Mode::Run;
    // Set: writes and fills are refused in every other mode, with 2203 (the PLC is in PROGRAM),
    // 2204 (DEBUG), 2205 (MONITOR) or 2206 (RUN). Unset: writes are taken in every mode.
    std::optional<Mode> writesOnlyIn;
    // Longest frame in bytes, both ways: a longer request gets 1001, a command whose reply would be
    // longer 110B.
    std::size_t maxMessage = 2012;
    // A non-fatal error is present: SRES bit 6 is set in every reply, so success reads 0040.
    bool alarm = false;
    // Memory commands that touch one of these get 1103.
    std::vector<RefusedWords> refused;
};

// What the PLC's clock shows. Plain numbers: year 0 to 99, month and day from 1, weekday 0 =
// Sunday.
struct ClockTime {
    int year = 0;
    int month = 1;
    int day = 1;
    int hour = 0;
    int minute = 0;
    int second = 0;
    int weekday = 6;
};

using Clock = std::function<ClockTime()>;

// What a datagram is to this PLC. Only a Command is executed.
enum class Reception {
    Command,
    TooShort, // no room for header and command code
    Response, // ICF says that it is a reply
    OtherNode // DA1 is neither 0 nor this node
};

struct Counters {
    unsigned long commands = 0;       // executed, or refused with an end code
    unsigned long replies = 0;        // handed out by handle()
    unsigned long errorReplies = 0;   // of these, with another end code than normal
    unsigned long noReplyWanted = 0;  // commands with ICF bit 0 set
    unsigned long ignoredShort = 0;   // TooShort
    unsigned long ignoredReplies = 0; // Response
    unsigned long ignoredNode = 0;    // OtherNode
};

class Core {
public:
    explicit Core(const Options& options = Options());

    // Executes one datagram. No value: there is no reply to it, because it is no command for this
    // PLC (counted, see Reception) or because it wants none (executed all the same).
    std::optional<Bytes> handle(const Bytes& request);

    // What handle() would take the datagram for; changes nothing.
    Reception classify(const Bytes& request) const;

    Memory& memory() { return memory_; }
    const Memory& memory() const { return memory_; }

    std::uint8_t node() const { return options_.node; }
    Mode mode() const { return options_.mode; }
    void setMode(Mode mode) { options_.mode = mode; }
    void setWritesOnlyIn(std::optional<Mode> mode) { options_.writesOnlyIn = mode; }
    void setAlarm(bool present) { options_.alarm = present; }
    // Asked for each command that needs the time, and by no other: telling the local time costs
    // more than answering a read. Without one it is midnight of 1 January 2000.
    void setClock(Clock clock) { clock_ = std::move(clock); }

    // The next `times` commands are not executed; each is answered with this end code and no data.
    // Replaces what was forced before; 0 times ends it.
    void forceEndCode(std::uint16_t endCode, unsigned times);

    const Counters& counters() const { return counters_; }

private:
    Answer execute(const Bytes& request);
    bool writesAllowed() const;
    Bytes reply(const Bytes& request, const Answer& answer) const;

    Options options_;
    Memory memory_;
    Clock clock_;
    Counters counters_;
    std::uint16_t forcedEndCode_ = 0;
    unsigned forcedTimes_ = 0;
};

} // namespace plc
