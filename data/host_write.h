#ifndef VELKOR_DATA_HOST_WRITE_H
#define VELKOR_DATA_HOST_WRITE_H

#include <QtCore/QString>

/// Stores a host write into the cache as pending and tells the host what changed, each change
/// before the cache holds it. `data`: 2 bytes for each word, low byte first, or 1 byte for each
/// bit; only the value 1 sets a bit.
void write_saveDataToArea(int station, QString regName, int addr, int count,
                          const unsigned char* data);

#endif
