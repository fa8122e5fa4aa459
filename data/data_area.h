#ifndef VELKOR_DATA_DATA_AREA_H
#define VELKOR_DATA_DATA_AREA_H

/// The cache of PLC words: one _DATA_ record for each word that was ever monitored, read or
/// written, found by (station, register name, word address). The words of a bit register stand
/// under its base name, so "CIO" and "CIO_bit" share their records.
///
/// Records are only appended, and the list is emptied only by intf_initProperty, so an index stays
/// valid across callbacks; a pointer or reference into the list does not.

#include "driver/records.h"

#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QPair>
#include <QtCore/QString>
#include <QtCore/QVector>

/// Index of the first record with this key, appended (all zero but its key) when there is none.
/// Never negative. `regName` is taken as it is: pass the base name of a bit register.
int getIndexOfDataArea(int station, const QString& regName, int wordAddr, QList<_DATA_>& list);

/// Switches monitoring on for `count` addresses from `addr`: of words, or, for a "_bit" name, of
/// bits. A `count` below 1 changes nothing. Always returns 0. Nothing here switches it off.
int _setDataAreaMonitorFlag(int station, const QString& regName, int addr, int count);

/// Clears every monitor mark; the records stay.
void clearMonitorFlags();

/// `value` with one bit set (`on` nonzero) or cleared. Only the low 8 bits of `bit` are looked at;
/// a bit number of 32 or more in them changes nothing.
int _setBitValue(int value, int bit, int on);

/// The value the host is to see: what it wrote while that is pending, else what was read.
const unsigned char* visibleValue(const _DATA_& record);

/// Finds the records of a run of words in one pass over the cache, for a run that is about to be
/// worked through word by word. Lives inside one call. What it remembers is checked at every use,
/// so callbacks may add records meanwhile.
class DataAreaRun {
public:
    DataAreaRun(int station, const QString& regName, int firstWord, int wordCount);
    /// The run of words that holds `bitCount` bits of a bit register.
    static DataAreaRun ofBits(int station, const QString& bitRegName, int bitAddr, int bitCount);

    /// The same as getIndexOfDataArea on the driver's cache, for any word; fast for those in the
    /// run.
    int indexOf(int wordAddr);
    const QString& regName() const { return regName_; }

private:
    int station_;
    QString regName_;
    int firstWord_;
    int searchedUpTo_;   ///< records before this index have been looked at
    QVector<int> found_; ///< for each word of the run, its index or -1
};

/// A hash of the whole cache, for a call that looks up very many scattered words. Lives inside one
/// call; valid as long as nothing else adds records.
class DataAreaIndex {
public:
    DataAreaIndex();
    int indexOf(int station, const QString& regName, int wordAddr);
    /// The same as _setDataAreaMonitorFlag.
    void setMonitorFlag(int station, const QString& regName, int addr, int count);

private:
    typedef QPair<QPair<int, int>, QString> Key;
    QHash<Key, int> indices_;
};

#endif
