#ifndef VELKOR_PANEL_FILES_TAG_FILE_H
#define VELKOR_PANEL_FILES_TAG_FILE_H

/// The list of tags: a CSV file or arguments of the form REGISTER:ADDRESS[:COUNT].

#include "panel/files/csv_reader.h"
#include "panel/host_names.h"
#include "panel/watch/panel_tag.h"
#include <velkor/host/registers.h>

namespace panel {

struct TagList {
    QVector<PanelTag> tags;
    CsvErrors errors; ///< not empty: nothing is to be polled
};

/// Columns: name, register, address, type and, if wanted, count, unit, comment, plc, scale, offset,
/// decimals, low, high, in any order. An empty type means bool in a bit register and uint16 in a
/// word register, an empty count 1, an empty scale 1, an empty offset 0. `plcs` are the names of
/// the PLCs; with several each tag names its own, with one the column may be left out or empty: the
/// tag gets the name of that one.
TagList readTags(const QByteArray& csv, const Catalogue& catalogue, const QStringList& plcs);

/// One REGISTER:ADDRESS[:COUNT], with PLC/ before it when there are several; the result is empty or
/// says what would be right. `type` empty as above.
QString parseTagArgument(const QString& argument, const QString& type, const Catalogue& catalogue,
                         const QStringList& plcs, PanelTag* tag);

} // namespace panel

#endif
