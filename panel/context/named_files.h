#ifndef VELKOR_PANEL_CONTEXT_NAMED_FILES_H
#define VELKOR_PANEL_CONTEXT_NAMED_FILES_H

/// The files that a command line names.

#include "panel/options/options.h"

namespace panel {

/// Whether the first argument of write names a file of tags: no register has a point or a slash in
/// its name.
bool namesFile(const QString& argument);

/// Empty, or that a file to be written is named a second time, to be written or read: one of the
/// two would be lost. By whatever name: "x", "./x", a link to it.
QString clashOfFiles(const Options& options);

} // namespace panel

#endif
