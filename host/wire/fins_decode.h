#ifndef VELKOR_HOST_WIRE_FINS_DECODE_H
#define VELKOR_HOST_WIRE_FINS_DECODE_H

/// What a FINS frame or reply says, for the trace, the statistics and the judgement of a reply. The
/// panel's own reading of the bytes; it builds none.

#include <QtCore/QByteArray>
#include <QtCore/QString>

namespace velkor_host {

enum FinsCommand {
    FINS_MEMORY_READ = 0x0101,
    FINS_MEMORY_WRITE = 0x0102,
    FINS_RUN = 0x0401,
};

/// Fields that the bytes do not reach are -1.
struct FinsFrame {
    int length = 0;
    int icf = -1;
    int dna = -1, da1 = -1, da2 = -1; ///< destination network, node, unit
    int sna = -1, sa1 = -1, sa2 = -1; ///< source network, node, unit
    int sid = -1;
    int command = -1; ///< MRC * 256 + SRC
    // Commands to read or write memory:
    int area = -1;
    int word = -1;
    int bit = -1;
    int count = -1;
    // Replies:
    int endCode = -1;

    bool isReply() const { return icf >= 0 && (icf & 0x40) != 0; }
};

FinsFrame decodeFins(const QByteArray& bytes);

/// The driver's name of a memory area ("DM", "CIO_bit", ...; counters are area 0x89 from word
/// 0x8000), or the area code in hexadecimal.
QString areaName(int area, int word);

/// "DM 100" or "CIO_bit 100.5": register and address of a memory command.
QString memoryText(const FinsFrame& frame);

/// "read", "write", "set mode", or the code.
QString commandText(int command);

} // namespace velkor_host

#endif
