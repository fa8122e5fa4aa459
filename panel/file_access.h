#ifndef VELKOR_PANEL_FILE_ACCESS_H
#define VELKOR_PANEL_FILE_ACCESS_H

/// Files that a user names: read whole, saved whole.

#include <QtCore/QByteArray>
#include <QtCore/QString>

namespace panel {

/// Saves `bytes`; the result is empty or names the file and says why not. A file is saved whole or
/// not at all: on a fault the old one, or none, is there as before. What is no file, such as a
/// device or a named pipe (which waits for its reader), takes the bytes as they come.
QString saveFile(const QString& path, const QByteArray& bytes);

/// Is that path another name of standard output, such as /dev/stdout?
bool isStandardOutput(const QString& path);

} // namespace panel

#endif
