#ifndef VELKOR_HOST_VALUES_WORD_RANGE_H
#define VELKOR_HOST_VALUES_WORD_RANGE_H

#include <QtCore/QString>

namespace velkor_host {

/// Words of one word register.
struct WordRange {
    QString reg;
    int address = 0;
    int length = 0;

    int end() const { return address + length; }
};

/// What a write changes: whole words, or of them only bits.
struct WrittenItems {
    WrittenItems(const WordRange& wholeWords) : words(wholeWords) {} // every range of words is one
    WrittenItems(const QString& reg, int address, int length) : words{reg, address, length} {}
    WrittenItems(const WordRange& ofWords, int first, int count)
        : words(ofWords), firstBit(first), bits(count) {}

    WordRange words;
    int firstBit = 0; ///< word * 16 + bit
    int bits = 0;     ///< 0: the whole words
};

/// The words that hold `count` items from `address`: for a bit register the words of its base
/// register that hold all the bits.
WordRange wordsHolding(const QString& reg, bool bitRegister, int address, int count);

/// The longest piece of at most `limit` words that a long range is cut into: an even number of
/// them, so that no 32-bit value is read or written in two halves.
int pieceLength(int limit);

} // namespace velkor_host

#endif
