#ifndef VELKOR_FINS_FINS_WIRE_H
#define VELKOR_FINS_FINS_WIRE_H

/// The bytes of FINS as this driver uses them: offsets, commands, codes and lengths, by name.
/// Multi-byte numbers on the wire are big-endian.

#include "driver/records.h"
#include "driver/request_list.h"

/// Command and reply header, bytes 0 to 9, and what follows it.
enum FinsOffset {
    OFFSET_ICF = 0, ///< information control field
    OFFSET_RSV = 1, ///< reserved
    OFFSET_GCT = 2, ///< gateway count
    OFFSET_DNA = 3,
    OFFSET_DA1 = 4,
    OFFSET_DA2 = 5,
    OFFSET_SNA = 6,
    OFFSET_SA1 = 7,
    OFFSET_SA2 = 8,
    OFFSET_SID = 9,
    OFFSET_MRC = 10, ///< main request code
    OFFSET_SRC = 11, ///< sub request code
    // Memory area read and write:
    OFFSET_AREA = 12,
    OFFSET_ADDRESS = 13,
    OFFSET_BIT = 15,
    OFFSET_COUNT = 16,
    OFFSET_WRITE_DATA = 18,
    // RUN command:
    OFFSET_PROGRAM = 12,
    OFFSET_MODE = 14,
    // Reply:
    OFFSET_MRES = 12, ///< end code, main
    OFFSET_SRES = 13, ///< end code, sub
    OFFSET_REPLY_DATA = 14
};

enum FinsHeaderValue {
    ICF_COMMAND = 0x80, ///< a command whose reply is wanted
    RSV_FIXED = 0x00,
    GCT_DEFAULT = 0x02
};

enum FinsCommand {
    MRC_MEMORY_AREA = 0x01,
    SRC_MEMORY_AREA_READ = 0x01,
    SRC_MEMORY_AREA_WRITE = 0x02,
    MRC_OPERATING_MODE = 0x04,
    SRC_RUN = 0x01
};

enum FinsOperand {
    PROGRAM_ALL = 0xFFFF,     ///< RUN: the program number that stands for all
    MODE_MONITOR = 0x02,      ///< RUN: MONITOR mode
    COUNTER_HIGH_BYTE = 0x80, ///< counters lie 0x8000 above the timers of the same area
    AREA_CODE_UNKNOWN = 0x00, ///< for a name outside the catalogue
    SID_NEVER_ISSUED = 255
};

/// End codes that say "not in this operating mode".
enum FinsEndCode {
    MRES_WRONG_MODE = 0x22,
    SRES_PROGRAM_MODE = 0x03,
    SRES_DEBUG_MODE = 0x04,
    SRES_RUN_MODE = 0x06
};

enum FinsLength {
    LENGTH_READ_COMMAND = OFFSET_WRITE_DATA,
    LENGTH_WRITE_HEAD = OFFSET_WRITE_DATA,
    LENGTH_MODE_CHANGE = OFFSET_MODE + 1,
    LENGTH_REPLY_HEAD = OFFSET_REPLY_DATA,
    /// Frames queued at most when a refusal still leads to a mode change.
    MAX_QUEUED_FOR_MODE_CHANGE = 2
};

/// The node-address request and its reply (FINS/TCP framing).
enum NodeAddressFrame {
    LENGTH_NODE_REQUEST = 20,
    LENGTH_NODE_REPLY = 24,
    OFFSET_NODE_LENGTH = 4, ///< 32-bit length of what follows
    NODE_REQUEST_FOLLOWING = 12,
    OFFSET_CLIENT_NODE = 19, ///< low byte of the client's node number, in the reply
    OFFSET_SERVER_NODE = 23  ///< low byte of the server's node number, in the reply
};

static_assert(LENGTH_READ_COMMAND == 18, "a memory area read is 18 bytes");
static_assert(LENGTH_MODE_CHANGE == 15, "a RUN command is 15 bytes");
static_assert(int(MAX_WRITE_BITS) == int(VELKOR_FRAME_SIZE) - int(LENGTH_WRITE_HEAD),
              "a full frame of bits");
static_assert(int(MAX_WRITE_WORDS) == int(MAX_WRITE_BITS) / 2, "and of words");
static_assert(int(MAX_WRITE_BITS) <= int(VELKOR_DATA_SIZE),
              "a request's buffer holds what a frame carries");

#endif
