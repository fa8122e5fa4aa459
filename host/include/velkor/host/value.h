#ifndef VELKOR_HOST_VALUE_H
#define VELKOR_HOST_VALUE_H

/// Values as people write them, and the PLC words or bits that hold them.
///
/// An item is one word of a word register or one bit (0 or 1) of a bit register. Values of 32 bits
/// stand low word first, texts two characters to a word, the first in the high byte: as these PLCs
/// keep them.

#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>
#include <velkor/host/export.h>

#include <optional>

namespace velkor_host {

typedef QVector<quint16> Items;

enum class ValueType { Bool, Uint16, Int16, Hex, Bcd, Uint32, Int32, Float32, String };

/// "bool, uint16, int16, hex, bcd, uint32, int32, float32, string"
VELKOR_HOST_EXPORT QString valueTypeNames();
VELKOR_HOST_EXPORT QString valueTypeName(ValueType type);
VELKOR_HOST_EXPORT std::optional<ValueType> valueTypeFromName(const QString& name);

/// bool stands in bit registers only, every other type in word registers only.
VELKOR_HOST_EXPORT bool typeFitsRegister(ValueType type, bool bitRegister);

/// Items that one value takes: 2 for 32-bit types, else 1. A string's count is its words.
VELKOR_HOST_EXPORT int itemsPerValue(ValueType type);

/// The values, separated by one blank. A word that is no decimal number in BCD is shown as such. A
/// float has as many digits as tell it from every other float, 6 to `mostDigits`.
VELKOR_HOST_EXPORT QString formatItems(ValueType type, const Items& items, int mostDigits = 9);

/// The first value as a number, for the small graph; nothing for texts and words that are not BCD.
VELKOR_HOST_EXPORT std::optional<double> numericValue(ValueType type, const Items& items);

/// Parses one text for each value and appends the items. On failure `items` is unchanged and the
/// result says what would be right; on success it is empty. A string takes exactly one text;
/// `wordsForString` words are filled up with zeros (0: as many as the text needs).
VELKOR_HOST_EXPORT QString parseValues(ValueType type, const QStringList& texts, int wordsForString,
                                       Items* items);

} // namespace velkor_host

#endif
