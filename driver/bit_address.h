#ifndef VELKOR_DRIVER_BIT_ADDRESS_H
#define VELKOR_DRIVER_BIT_ADDRESS_H

/// Bit registers: their names, and bit addresses taken apart.
///
/// There are three ways of turning a range of bits into words, different on purpose, and they keep
/// three names: foldBit (the cache: one bit onto its word), wordsOfBitsFromFirstWord (condition
/// reads: the first bit's place in its word is not counted) and wordsHoldingBits (cyclic reads: the
/// smallest run of words that holds all the bits).

#include <QtCore/QString>

enum { BITS_PER_WORD = 16, BITS_PER_BYTE = 8 };

/// True for a name whose last four characters are "_bit".
bool isBitRegister(const QString& regName);

/// The name under which cache and PLC keep a bit register's words: the text before the first "_".
QString baseRegisterName(const QString& regName);

/// The name without its last four characters, as merging takes it: the same as the base name for
/// every register of the catalogue, and different for a name with another "_" in it.
QString withoutBitSuffix(const QString& regName);

/// The name of a word register's bits: the name followed by "_bit".
QString bitRegisterName(const QString& regName);

/// A bit address folded onto its word. All divisions truncate toward zero and remainders take the
/// sign of the address, so for a negative address byteOfWord or bitOfByte may come out negative:
/// such a bit does not exist (see exists()).
struct FoldedBit {
    int word;       ///< word address
    int bit;        ///< bit in the word
    int byteOfWord; ///< 0: bits 0..7, 1: bits 8..15
    int bitOfByte;  ///< bit in that byte

    /// False: the bit reads as 0, and writing it changes nothing.
    bool exists() const { return byteOfWord >= 0 && bitOfByte >= 0; }
};

FoldedBit foldBit(int bitAddress);

/// A run of words.
struct WordRange {
    int addr;
    int len;
};

/// Condition reads: len / 16 words, one more for a remainder, from the first bit's word.
WordRange wordsOfBitsFromFirstWord(int bitAddress, int bitCount);

/// Cyclic reads: for addresses from 0, the smallest run of whole words that holds all the bits.
WordRange wordsHoldingBits(int bitAddress, int bitCount);

#endif
