#ifndef VELKOR_DATA_DATA_AREA_H
#define VELKOR_DATA_DATA_AREA_H

/// The cache of PLC words: one _DATA_ record for each word that was ever monitored, read or
/// written, found by (station, register name, word address). The words of a bit register stand
/// under its base name, so "CIO" and "CIO_bit" share their records.
///
/// Records are only appended, and the list is emptied only by intf_initProperty, so an index stays
/// valid across callbacks; a pointer or reference into the list does not.

#include "driver/bit_address.h"
#include "driver/records.h"

#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QVarLengthArray>
#include <QtCore/QVector>

class DataAreaIndex;

/// Index of the first record with this key, appended (all zero but its key) when there is none.
/// Never negative. `regName` is taken as it is: pass the base name of a bit register. `guess` is an
/// index where the caller has reason to expect the record (there is at most one); it is checked.
int getIndexOfDataArea(int station, const QString& regName, int wordAddr, QList<_DATA_>& list,
                       int guess = -1);

/// Switches monitoring on for `count` addresses from `addr`: of words, or, for a "_bit" name, of
/// bits. A `count` below 1 changes nothing. Always returns 0. Only clearMonitorFlags switches it
/// off. `index` serves a caller that marks very many ranges.
int _setDataAreaMonitorFlag(int station, const QString& regName, int addr, int count,
                            DataAreaIndex* index = nullptr);

/// Clears every monitor mark, for a new list of what is polled; the records stay.
void clearMonitorFlags();

/// `value` with one bit set (`on` nonzero) or cleared. Only the low 8 bits of `bit` are looked at;
/// a bit number of 32 or more in them changes nothing.
int _setBitValue(int value, int bit, int on);

/// The value the host is to see: what it wrote while that is pending, else what was read. Two
/// bytes, low byte first, inside the record.
const unsigned char* visibleValue(const _DATA_& record);

/// One bit of a word of two bytes, low byte first: 0 or 1; 0 for a bit that does not exist.
int bitOfWord(const unsigned char* word, const FoldedBit& bit);

/// Sets (`on` nonzero) or clears one bit of such a word; nothing for a bit that does not exist.
void setBitOfWord(unsigned char* word, const FoldedBit& bit, int on);

/// Finds the records of a run of words in one pass over the driver's cache, for a run that is about
/// to be worked through word by word. Lives inside one call; callbacks may add records meanwhile.
class DataAreaRun {
public:
    /// HOST_UNITS: `addr` and `count` in the register's own unit, the words of a word register, or
    /// the words that hold the bits of a "_bit" register, which are looked up under its base name.
    /// WORDS: words under exactly this name, as a reply brings them (a recipe may read a "_bit"
    /// name; its words stand apart from the base name's).
    enum Unit { HOST_UNITS, WORDS };
    DataAreaRun(int station, const QString& regName, int addr, int count, Unit unit = HOST_UNITS);

    /// The same as getIndexOfDataArea on the driver's cache; fast for the words of the run.
    int indexOf(int wordAddr) {
        const quint32 fromFirst = static_cast<quint32>(wordAddr) - static_cast<quint32>(firstWord_);
        if (fromFirst < static_cast<quint32>(wordsToEnd_)) {
            const int index = found_[static_cast<int>(fromFirst)];
            if (index != notFound) {
                return index;
            }
        }
        return searchedIndexOf(wordAddr);
    }

private:
    enum { notFound = -1 };
    int searchedIndexOf(int wordAddr);
    void searchOn();
    int nextInReach(int from) const;
    /// A word's index in found_, or -1 for one that lies beside the run.
    int placeOf(int wordAddr) const;

    int station_;
    QString keyName_;
    int firstWord_;
    int wordsToEnd_;   ///< words from firstWord_ on: all of them, unless bits pass the last
                       ///< address; they go on from the lowest, in the words that follow
    int searchedUpTo_; ///< records before this index have been looked at
    int missing_;      ///< words of the run not found so far
    quint32 reach_;    ///< words of the run lie no further from firstWord_ than this, wrapping
    /// For each word of the run, the index of its record or -1; those of a block that a frame holds
    /// without an allocation.
    QVarLengthArray<int, VELKOR_DATA_SIZE / 2> found_;
};

/// A hash of the driver's whole cache, for a call that looks up very many scattered words. Lives
/// inside one call; valid as long as nothing else adds records.
class DataAreaIndex {
public:
    DataAreaIndex() { rebuild(); }
    /// The same as getIndexOfDataArea on the driver's cache.
    int indexOf(int station, const QString& regName, int wordAddr);

private:
    void rebuild();
    void enter(int index);
    int bucketOf(int station, const QString& regName, int wordAddr) const;

    // Chains of indices, so that there is no allocation for each record.
    QVector<int> first_; ///< for each bucket, the index of its first record or -1
    QVector<int> next_;  ///< for each record, the index of the next one of its bucket or -1
};

#endif
