#ifndef VELKOR_PANEL_TAG_FILE_H
#define VELKOR_PANEL_TAG_FILE_H

/// The list of tags: a CSV file or arguments of the form REGISTER:ADDRESS[:COUNT].

#include "panel/csv_reader.h"
#include "panel/host_names.h"
#include "panel/tag.h"
#include <velkor/host/registers.h>

namespace panel {

struct TagList {
    QVector<Tag> tags;
    CsvErrors errors; ///< not empty: nothing is to be polled
};

/// Columns: name, register, address, type and, if wanted, count, unit, comment, in any order. An
/// empty type means bool in a bit register and uint16 in a word register; an empty count means 1.
TagList readTags(const QByteArray& csv, const Catalogue& catalogue);

/// One REGISTER:ADDRESS[:COUNT]; the result is empty or says what would be right. `type` empty as
/// above.
QString parseTagArgument(const QString& argument, const QString& type, const Catalogue& catalogue,
                         Tag* tag);

} // namespace panel

#endif
