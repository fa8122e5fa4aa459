#include "driver/bit_address.h"

#include "driver/int_math.h"

namespace {

const char bitSuffix[] = "_bit";
const int bitSuffixLength = sizeof bitSuffix - 1;

/// Words that `bitCount` bits fill, a started one counted; truncating, so a negative count that is
/// not a multiple of 16 gives one more than its quotient.
int wordsFilledBy(int bitCount) {
    const int words = bitCount / BITS_PER_WORD;
    return bitCount % BITS_PER_WORD == 0 ? words : words + 1;
}

} // namespace

bool isBitRegister(const QString& regName) {
    return regName.endsWith(QLatin1String(bitSuffix));
}

QString baseRegisterName(const QString& regName) {
    return regName.left(regName.indexOf(QLatin1Char('_')));
}

QString withoutBitSuffix(const QString& regName) {
    return regName.left(regName.size() - bitSuffixLength);
}

QString bitRegisterName(const QString& regName) {
    return regName + QLatin1String(bitSuffix);
}

FoldedBit foldBit(int bitAddress) {
    FoldedBit folded;
    folded.word = bitAddress / BITS_PER_WORD;
    folded.bit = bitAddress % BITS_PER_WORD;
    folded.byteOfWord = folded.bit / BITS_PER_BYTE;
    folded.bitOfByte = bitAddress % BITS_PER_BYTE;
    return folded;
}

WordRange wordsOfBitsFromFirstWord(int bitAddress, int bitCount) {
    const WordRange range = {bitAddress / BITS_PER_WORD, wordsFilledBy(bitCount)};
    return range;
}

WordRange wordsHoldingBits(int bitAddress, int bitCount) {
    const int fromWordStart = wrapAdd(bitAddress % BITS_PER_WORD, bitCount);
    const WordRange range = {bitAddress / BITS_PER_WORD, wordsFilledBy(fromWordStart)};
    return range;
}
