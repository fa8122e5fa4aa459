#ifndef VELKOR_PANEL_TAG_H
#define VELKOR_PANEL_TAG_H

#include "panel/value_codec.h"

#include <QtCore/QString>

namespace panel {

/// Words of one word register.
struct WordRange {
    QString reg;
    int address = 0;
    int length = 0;

    int end() const { return address + length; }
};

/// One named value of the PLC.
struct Tag {
    QString name;
    QString reg;
    bool bitRegister = false;
    int address = 0; ///< as the driver counts: word, or word * 16 + bit
    ValueType type = ValueType::Uint16;
    int count = 1; ///< values; for a string, words
    QString unit;
    QString comment;

    int itemCount() const { return count * itemsPerValue(type); }
};

/// "DM 100" or "CIO_bit 100.5"
QString tagAddressText(const Tag& tag);

/// The words that hold `count` items from `address`: for a bit register the words of its base
/// register that hold all the bits.
WordRange wordsHolding(const QString& reg, bool bitRegister, int address, int count);
WordRange wordsHolding(const Tag& tag);

/// The longest piece of at most `limit` words that a long range is cut into: an even number of
/// them, so that no 32-bit value is read or written in two halves.
int pieceLength(int limit);

} // namespace panel

#endif
