#ifndef VELKOR_DRIVER_BYTE_ORDER_H
#define VELKOR_DRIVER_BYTE_ORDER_H

/// Words as bytes: high byte first on the wire, low byte first in every buffer of the driver and of
/// the host.

inline unsigned char lowByteOf(int value) {
    return static_cast<unsigned char>(static_cast<unsigned int>(value) & 0xFFU);
}

inline unsigned char highByteOf(int value) {
    return static_cast<unsigned char>((static_cast<unsigned int>(value) >> 8) & 0xFFU);
}

/// Puts the low 16 bits of `value` at `target`, high byte first.
inline void putBigEndianWord(unsigned char* target, int value) {
    target[0] = highByteOf(value);
    target[1] = lowByteOf(value);
}

/// The word, 0 to 65535, at `source`, low byte first.
inline int littleEndianWord(const unsigned char* source) {
    return source[0] + 256 * source[1];
}

#endif
