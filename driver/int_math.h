#ifndef VELKOR_DRIVER_INT_MATH_H
#define VELKOR_DRIVER_INT_MATH_H

/// Arithmetic on ints that come from the host or the PLC. It wraps at 32 bits, as on the target,
/// where a signed overflow would be undefined.

#include <QtCore/QtGlobal>

inline int wrapToInt(qint64 value) {
    return static_cast<int>(static_cast<quint32>(static_cast<quint64>(value) & 0xFFFFFFFFU));
}

inline int wrapAdd(int a, int b) {
    return wrapToInt(static_cast<qint64>(a) + b);
}
inline int wrapSubtract(int a, int b) {
    return wrapToInt(static_cast<qint64>(a) - b);
}
inline int wrapMultiply(int a, int b) {
    return wrapToInt(static_cast<qint64>(a) * b);
}

#endif
