// The memory image on disk.
#pragma once

#include <QtCore/QString>

#include "plc/memory.h"

namespace plc {

// Empty, or why the memory could not be saved there at the end: what the name stands for is no
// regular file (a device, a FIFO or a folder would be replaced by one), it is the file of the
// standard output or error, which would lose what is said, or no file can be made in its folder.
// Changes nothing.
QString checkImageFile(const QString& file);

// Empty, or what is wrong: "FILE:LINE: ..." for its content. The file must exist and is read up to
// 8 MiB, many times what a full memory takes; a longer one is refused.
QString loadImage(const QString& file, Memory& memory);

// Empty, or what is wrong. The file is replaced as a whole once all of the new one is on the disk,
// or stays as it was.
QString saveImage(const QString& file, const Memory& memory);

} // namespace plc
