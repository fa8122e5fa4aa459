// The memory image on disk.
#pragma once

#include <QtCore/QString>

#include "plc/memory.h"

namespace plc {

// Empty, or what is wrong: "FILE:LINE: ..." for its content. The file must exist.
QString loadImage(const QString& file, Memory& memory);

// Empty, or what is wrong. The file is replaced as a whole, or stays as it was.
QString saveImage(const QString& file, const Memory& memory);

} // namespace plc
