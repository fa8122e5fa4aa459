#ifndef VELKOR_HOST_VALUES_ITEM_BYTES_H
#define VELKOR_HOST_VALUES_ITEM_BYTES_H

/// Items as the driver's buffers hold them, and bits out of words.

#include <velkor/host/value.h>

#include <QtCore/QByteArray>

namespace velkor_host {

/// `count` bits from bit address `bit` (word * 16 + bit) on, out of words of which the first has
/// the address `firstWord` and which hold them all.
Items bitsOf(const Items& words, int firstWord, int bit, int count);

/// Words low byte first, bits one byte each.
QByteArray toDriverBytes(const Items& items, bool bitRegister);
Items fromDriverBytes(const QByteArray& bytes, bool bitRegister);

} // namespace velkor_host

#endif
