#ifndef VELKOR_PANEL_FILES_FILE_ACCESS_H
#define VELKOR_PANEL_FILES_FILE_ACCESS_H

/// Files that a user names: read whole, saved whole.

#include <QtCore/QByteArray>
#include <QtCore/QString>

namespace panel {

/// The most that is read of a file, in bytes: more than the largest lists of tags have, and still
/// quickly told to be no such list.
const int LONGEST_FILE = 8 * 1024 * 1024;

/// The whole of a file, or of a device or a named pipe up to its end; the result is empty or names
/// the file and says why not. Longer than LONGEST_FILE is refused.
QString readFile(const QString& path, QByteArray* bytes);

/// Saves `bytes`; the result is empty or names the file and says why not. A file is saved whole or
/// not at all: on a fault the old one, or none, is there as before. What is no file, such as a
/// device or a named pipe (which waits for its reader), takes the bytes as they come.
QString saveFile(const QString& path, const QByteArray& bytes);

/// Sees to it that what has been written to a file is on the disk; some find out only now that
/// there is no room. The result is empty or says so, with the file's name. Of what is no file:
/// empty.
QString synchroniseFile(const QString& path);

/// Do both paths name one file, by whatever way: links followed, and also where there is no file
/// yet? False for what is no file, such as a device.
bool isSameFile(const QString& one, const QString& other);

/// Is that the file, and no device or pipe, into which an open descriptor leads?
bool isOpenFile(const QString& path, int descriptor);

/// Is that path another name of standard output, such as /dev/stdout?
bool isStandardOutput(const QString& path);

} // namespace panel

#endif
