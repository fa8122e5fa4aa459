#ifndef VELKOR_DRIVER_RECORDS_H
#define VELKOR_DRIVER_RECORDS_H

/// The five records of the driver.
///
/// KEY_ADDRESS, _RCP_VAR_PRO and FRAME_PRO (with the VARIABLE inside it) cross the boundary to the
/// host: the order and width of their fields are part of the host contract and never change. Every
/// number is a signed 32-bit int unless its field says otherwise; every buffer is a plain byte
/// array; on the 32-bit target no field of these is padded (asserted at the end of
/// this file).
///
/// All are plain value types: copying copies every field and every byte of the buffers, whatever
/// the lengths say. A default-made record has empty texts; its numbers and buffers are NOT
/// initialised. Write `VARIABLE v = VARIABLE();` for one that is all zero.
///
/// Addresses: a word register's address is its word number. A register whose name ends in "_bit"
/// has bit addresses, word * 16 + bit with bit 0 to 15, and its lengths count bits.

#include <QtCore/QString>

#include <cstddef>

enum {
    VELKOR_FRAME_SIZE = 1024, ///< bytes of FRAME_PRO::frame
    VELKOR_DATA_SIZE = 1024   ///< bytes of VARIABLE::data and KEY_ADDRESS::data
};

/// One request to the PLC: what a frame is built from and what the request lists hold.
struct VARIABLE {
    int type;        ///< request tag, stored and never interpreted: 4 for cyclic reads; what the
                     ///< caller of intf_addConditionRead or intf_setData passed; in a recipe's
                     ///< frame that of the request before it, so it does not tell what a frame is
    int station;     ///< the host's station number; a key and a callback argument, nothing more
    QString regName; ///< register name, e.g. "DM" or "CIO_bit"
    int addr;        ///< first address, words or (for "_bit" names) bits
    int len;         ///< number of words, or of bits for a "_bit" write
    unsigned char data[VELKOR_DATA_SIZE]; ///< write data: each word low byte first, or one byte
                                          ///< for each bit, as the host gave it; zero in
                                          ///< reads
};

/// One address range as the host lists it.
struct KEY_ADDRESS {
    QString keyText;  ///< the host's; copied along, never read
    int keyValue;     ///< the host's; copied along, never read
    int rcpOffset;    ///< recipes: first word in the host's recipe buffer
    int station;      ///< as in VARIABLE
    QString regName;  ///< as in VARIABLE
    QString keyText2; ///< the host's; copied along, never read
    int addr;         ///< as in VARIABLE
    int countKind;    ///< -1: a condition read is split by the frame's limit in bits, else in words
    int len;          ///< number of words, or of bits for "_bit" names
    unsigned char data[VELKOR_DATA_SIZE]; ///< the host's; copied along, never read
};

/// One frame with what is needed to judge its reply.
struct FRAME_PRO {
    unsigned char frame[VELKOR_FRAME_SIZE]; ///< the bytes to send, from byte 0; zero behind them
    int sendLen;                            ///< how many bytes of `frame` to send
    int rcvLen;                             ///< the exact length the reply must have, in bytes
    int headLen;  ///< where the data start in the reply: 14 for a read, else 0
    int dataLen;  ///< data bytes in the reply: 2 * count for a read, else 0; nonzero marks a reply
                  ///< that carries data
    int spare;    ///< always 0
    VARIABLE var; ///< copy of the request the frame was built from; empty for the mode change and
                  ///< the node-address request
};

/// One cached PLC word. Its key is (station, regName, wordAddr).
struct _DATA_ {
    unsigned char firstByteFlag; ///< zero at creation and after every reply; read by nothing
    unsigned char writePending;  ///< 1 while a host write of the word, or of a bit of it, awaits
                                 ///< the PLC's answer: the host then sees writeValue
    int pendingBits;             ///< bit n set: a write of bit n awaits the PLC's answer
    int wordMonitor;             ///< bit 0 set: the host is told when the word changes
    int bitMonitor;              ///< bit n set: the host is told when bit n changes
    int station;
    QString regName; ///< a bit register's words stand under its base name, e.g. "CIO"
    int wordAddr;
    unsigned char readValue[4];  ///< as last read: byte 0 = bits 0..7, byte 1 = bits 8..15; the
                                 ///< other two stay zero
    unsigned char writeValue[4]; ///< as last written by the host, same order
};

/// One recipe variable as the host lists it, or one merged recipe block.
struct _RCP_VAR_PRO {
    int hostTag; ///< owner: a driver keeps only variables with its own tag; 0 in merged blocks
    int station;
    QString regName;
    int addr;      ///< first word address in the PLC
    int len;       ///< length in words
    int rcpOffset; ///< first word in the host's recipe buffer
    int spare;     ///< never read
};

// The layout on the 32-bit target, asserted wherever pointers are 32 bits wide. A text is one
// pointer up to Qt 5; Qt 6 made it larger, and no such host is built for that target.
#if QT_VERSION < 0x060000
#define VELKOR_32BIT_LAYOUT(condition)                                                             \
    static_assert(sizeof(void*) != 4 || (condition), "host record layout changed")

VELKOR_32BIT_LAYOUT(sizeof(int) == 4 && sizeof(QString) == sizeof(void*));

VELKOR_32BIT_LAYOUT(sizeof(VARIABLE) == 1044);
VELKOR_32BIT_LAYOUT(offsetof(VARIABLE, type) == 0);
VELKOR_32BIT_LAYOUT(offsetof(VARIABLE, station) == 4);
VELKOR_32BIT_LAYOUT(offsetof(VARIABLE, regName) == 8);
VELKOR_32BIT_LAYOUT(offsetof(VARIABLE, addr) == 12);
VELKOR_32BIT_LAYOUT(offsetof(VARIABLE, len) == 16);
VELKOR_32BIT_LAYOUT(offsetof(VARIABLE, data) == 20);

VELKOR_32BIT_LAYOUT(sizeof(KEY_ADDRESS) == 1060);
VELKOR_32BIT_LAYOUT(offsetof(KEY_ADDRESS, keyText) == 0);
VELKOR_32BIT_LAYOUT(offsetof(KEY_ADDRESS, keyValue) == 4);
VELKOR_32BIT_LAYOUT(offsetof(KEY_ADDRESS, rcpOffset) == 8);
VELKOR_32BIT_LAYOUT(offsetof(KEY_ADDRESS, station) == 12);
VELKOR_32BIT_LAYOUT(offsetof(KEY_ADDRESS, regName) == 16);
VELKOR_32BIT_LAYOUT(offsetof(KEY_ADDRESS, keyText2) == 20);
VELKOR_32BIT_LAYOUT(offsetof(KEY_ADDRESS, addr) == 24);
VELKOR_32BIT_LAYOUT(offsetof(KEY_ADDRESS, countKind) == 28);
VELKOR_32BIT_LAYOUT(offsetof(KEY_ADDRESS, len) == 32);
VELKOR_32BIT_LAYOUT(offsetof(KEY_ADDRESS, data) == 36);

VELKOR_32BIT_LAYOUT(sizeof(FRAME_PRO) == 2088);
VELKOR_32BIT_LAYOUT(offsetof(FRAME_PRO, frame) == 0);
VELKOR_32BIT_LAYOUT(offsetof(FRAME_PRO, sendLen) == 1024);
VELKOR_32BIT_LAYOUT(offsetof(FRAME_PRO, rcvLen) == 1028);
VELKOR_32BIT_LAYOUT(offsetof(FRAME_PRO, headLen) == 1032);
VELKOR_32BIT_LAYOUT(offsetof(FRAME_PRO, dataLen) == 1036);
VELKOR_32BIT_LAYOUT(offsetof(FRAME_PRO, spare) == 1040);
VELKOR_32BIT_LAYOUT(offsetof(FRAME_PRO, var) == 1044);

VELKOR_32BIT_LAYOUT(sizeof(_DATA_) == 36);
VELKOR_32BIT_LAYOUT(offsetof(_DATA_, firstByteFlag) == 0);
VELKOR_32BIT_LAYOUT(offsetof(_DATA_, writePending) == 1);
VELKOR_32BIT_LAYOUT(offsetof(_DATA_, pendingBits) == 4);
VELKOR_32BIT_LAYOUT(offsetof(_DATA_, wordMonitor) == 8);
VELKOR_32BIT_LAYOUT(offsetof(_DATA_, bitMonitor) == 12);
VELKOR_32BIT_LAYOUT(offsetof(_DATA_, station) == 16);
VELKOR_32BIT_LAYOUT(offsetof(_DATA_, regName) == 20);
VELKOR_32BIT_LAYOUT(offsetof(_DATA_, wordAddr) == 24);
VELKOR_32BIT_LAYOUT(offsetof(_DATA_, readValue) == 28);
VELKOR_32BIT_LAYOUT(offsetof(_DATA_, writeValue) == 32);

VELKOR_32BIT_LAYOUT(sizeof(_RCP_VAR_PRO) == 28);
VELKOR_32BIT_LAYOUT(offsetof(_RCP_VAR_PRO, hostTag) == 0);
VELKOR_32BIT_LAYOUT(offsetof(_RCP_VAR_PRO, station) == 4);
VELKOR_32BIT_LAYOUT(offsetof(_RCP_VAR_PRO, regName) == 8);
VELKOR_32BIT_LAYOUT(offsetof(_RCP_VAR_PRO, addr) == 12);
VELKOR_32BIT_LAYOUT(offsetof(_RCP_VAR_PRO, len) == 16);
VELKOR_32BIT_LAYOUT(offsetof(_RCP_VAR_PRO, rcpOffset) == 20);
VELKOR_32BIT_LAYOUT(offsetof(_RCP_VAR_PRO, spare) == 24);

#endif

#endif
