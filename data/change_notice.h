#ifndef VELKOR_DATA_CHANGE_NOTICE_H
#define VELKOR_DATA_CHANGE_NOTICE_H

/// Telling the host which monitored bits and words changed.

#include "driver/host_interface.h"

#include <QtCore/QString>

/// Compares two values of one word and calls the host for each monitored bit that differs (if
/// `firstBit` is 0; ascending) and then for the word, if it is monitored and they differ. The
/// record is found first, and created when missing, even if nothing changed. Stores nothing.
void _wordDataChange(const int* oldValue, const int* newValue, int station, QString regName,
                     int wordAddr, int firstBit, int guess = -1);

/// The same for a word whose record and change are known: `changed` has the bits that differ set,
/// at least one.
void notifyWordChange(int index, int changed, int firstBit);

/// The byte-sized sibling, exported and called by nothing inside the driver: one call for each
/// monitored bit 0 to 7 that differs, with the name as given and `address` + bit. The record is
/// that of the name and address as given, and is created when missing.
VELKOR_EXPORT void _byteDataChange(unsigned char* oldValue, unsigned char* newValue, int station,
                                   QString regName, int address);

#endif
