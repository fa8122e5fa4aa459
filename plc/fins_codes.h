// The numbers of the FINS protocol that this PLC knows: the header, the commands, the end codes.
#pragma once

#include <cstddef>
#include <cstdint>

namespace plc {

// Header of every frame, then the command code. A reply goes on with the end code and its data.
enum HeaderByte : std::size_t {
    kIcf = 0,
    kRsv = 1,
    kGct = 2,
    kDna = 3,
    kDa1 = 4,
    kDa2 = 5,
    kSna = 6,
    kSa1 = 7,
    kSa2 = 8,
    kSid = 9,
    kMrc = 10,
    kSrc = 11,
    kParameters = 12, // of a command
    kMres = 12,       // of a reply
    kSres = 13,
    kReplyData = 14
};

constexpr std::uint8_t kIcfResponse = 0x40;
constexpr std::uint8_t kIcfNoReplyWanted = 0x01;
constexpr std::uint8_t kIcfOfReply = 0xC0;
constexpr std::uint8_t kGatewayCount = 0x02;

// SRES bit 6: a non-fatal error is present in the CPU; the reply itself is as without it.
constexpr std::uint8_t kSresAlarm = 0x40;

namespace command {
constexpr std::uint16_t kMemoryRead = 0x0101;
constexpr std::uint16_t kMemoryWrite = 0x0102;
constexpr std::uint16_t kMemoryFill = 0x0103;
constexpr std::uint16_t kMultipleRead = 0x0104;
constexpr std::uint16_t kRun = 0x0401;
constexpr std::uint16_t kStop = 0x0402;
constexpr std::uint16_t kControllerData = 0x0501;
constexpr std::uint16_t kStatus = 0x0601;
constexpr std::uint16_t kClock = 0x0701;
} // namespace command

namespace endcode {
constexpr std::uint16_t kNormal = 0x0000;
constexpr std::uint16_t kUndefinedCommand = 0x0401;
constexpr std::uint16_t kTooLong = 0x1001;
constexpr std::uint16_t kTooShort = 0x1002;
constexpr std::uint16_t kCountMismatch = 0x1003;
constexpr std::uint16_t kNoSuchArea = 0x1101;
constexpr std::uint16_t kAddressOutOfRange = 0x1103;
constexpr std::uint16_t kRangeExceeded = 0x1104;
constexpr std::uint16_t kResponseTooLong = 0x110B;
constexpr std::uint16_t kParameterError = 0x110C;
constexpr std::uint16_t kReadOnly = 0x2101;
constexpr std::uint16_t kWrongModeProgram = 0x2203;
constexpr std::uint16_t kWrongModeDebug = 0x2204;
constexpr std::uint16_t kWrongModeMonitor = 0x2205;
constexpr std::uint16_t kWrongModeRun = 0x2206;
} // namespace endcode

} // namespace plc
