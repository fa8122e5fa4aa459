#ifndef VELKOR_PANEL_TAG_H
#define VELKOR_PANEL_TAG_H

#include "host/values/word_range.h"
#include "panel/host_names.h"

#include <velkor/host/value.h>

#include <QtCore/QString>

namespace panel {

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

using velkor_host::wordsHolding;
/// The words that hold the tag's items.
WordRange wordsHolding(const Tag& tag);

} // namespace panel

#endif
