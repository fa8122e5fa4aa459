#ifndef VELKOR_DRIVER_REGISTER_CATALOGUE_H
#define VELKOR_DRIVER_REGISTER_CATALOGUE_H

/// The twelve registers (memory areas of the CS/CJ family): name, address format and range, FINS
/// memory area code, in three tables indexed alike.

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <algorithm>

enum { REGISTER_COUNT = 12 };

/// Names, in catalogue order. Built before, and destroyed after, the driver object.
extern const QString REG_LIST[REGISTER_COUNT];

/// Five comma fields for each register; see RegisterField.
extern const QString ADDRESS_RANGE_FINS[REGISTER_COUNT];

/// FINS memory area codes (bit areas for "_bit" names, word areas for the others). "T" and "C"
/// share one; counters lie 0x8000 above timers.
extern const int AREA_CODE_CS_CJ[REGISTER_COUNT];

/// The fields of an ADDRESS_RANGE_FINS entry.
enum RegisterField {
    FIELD_FORMAT = 0,  ///< address format shown to the user
    FIELD_LOWEST = 1,  ///< lowest address, in the register's own syntax
    FIELD_HIGHEST = 2, ///< highest address, in the register's own syntax
    FIELD_KIND = 3,    ///< "0" bit register, anything else word register
    FIELD_ACCESS = 4,  ///< "0": not accessible; "1" everywhere
    FIELD_COUNT = 5
};

/// The same as a == b, which costs three times as much for names of two or three characters.
inline bool isSameName(const QString& a, const QString& b) {
    return a.size() == b.size() &&
           std::equal(a.constData(), a.constData() + a.size(), b.constData());
}

/// Index of the first register with exactly this name, or -1.
int registerIndex(const QString& regName);

/// The fields of a register's ADDRESS_RANGE_FINS entry, empty ones kept.
QStringList registerFields(int index);

/// Sort key of address sorts: (index + 1) * 65535 + addr, or the bare address for a name outside
/// the catalogue. Compared as an unsigned 32-bit number. 65535 (not 65536) is deliberate: the last
/// address of one register's 64 K and the first of the next weigh the same; RegisterWeight tests
/// hold it. The third argument is ignored.
int getRegAddressWeight(const QString& regName, int addr, int ignored);

#endif
