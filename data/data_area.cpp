#include "data/data_area.h"

#include "driver/byte_order.h"
#include "driver/int_math.h"
#include "driver/register_catalogue.h"
#include "driver/velkor.h"

#include <algorithm>

namespace {

const int besideRun = -1;
const int highestShift = 31;
const quint32 anyDistance = static_cast<quint32>(-1);

/// The words of the lowest and of the highest bit address.
const int lowestWordOfBits = -134217728;
const int highestWordOfBits = 134217727;

bool hasKey(const _DATA_& record, int station, const QString& regName, int wordAddr) {
    return record.station == station && record.wordAddr == wordAddr &&
           isSameName(record.regName, regName);
}

int appendRecord(int station, const QString& regName, int wordAddr, QList<_DATA_>& list) {
    _DATA_ record = _DATA_();
    record.station = station;
    record.regName = regName;
    record.wordAddr = wordAddr;
    list.append(record);
    return static_cast<int>(list.size()) - 1;
}

/// Marks `count` (at least 1) words or bits from `addr` on; `indexOf` finds a word's record.
template <typename IndexOf>
void markRange(const QString& regName, int addr, int count, IndexOf indexOf) {
    const bool bits = isBitRegister(regName);
    for (int i = 0; i < count; ++i) {
        const int address = wrapAdd(addr, i);
        if (bits) {
            const FoldedBit folded = foldBit(address);
            int& mask = driver.dataAreaList[indexOf(folded.word)].bitMonitor;
            mask = _setBitValue(mask, folded.bit, 1);
        } else {
            int& flag = driver.dataAreaList[indexOf(address)].wordMonitor;
            flag = _setBitValue(flag, 0, 1);
        }
    }
}

QString recordName(const QString& regName) {
    return isBitRegister(regName) ? baseRegisterName(regName) : regName;
}

} // namespace

int getIndexOfDataArea(int station, const QString& regName, int wordAddr, QList<_DATA_>& list,
                       int guess) {
    if (guess >= 0 && guess < list.size() && hasKey(list.at(guess), station, regName, wordAddr)) {
        return guess;
    }
    for (int i = 0; i < list.size(); ++i) {
        if (hasKey(list.at(i), station, regName, wordAddr)) {
            return i;
        }
    }
    return appendRecord(station, regName, wordAddr, list);
}

int _setDataAreaMonitorFlag(int station, const QString& regName, int addr, int count,
                            DataAreaIndex* index) {
    if (count < 1) {
        return 0;
    }
    if (index != nullptr) {
        const QString name = recordName(regName);
        markRange(regName, addr, count, [index, station, &name](int word) {
            return index->indexOf(station, name, word);
        });
    } else {
        DataAreaRun run(station, regName, addr, count);
        markRange(regName, addr, count, [&run](int word) { return run.indexOf(word); });
    }
    return 0;
}

void clearMonitorFlags() {
    for (int i = 0; i < driver.dataAreaList.size(); ++i) {
        driver.dataAreaList[i].wordMonitor = 0;
        driver.dataAreaList[i].bitMonitor = 0;
    }
}

int _setBitValue(int value, int bit, int on) {
    const unsigned int shift = static_cast<unsigned int>(bit) & 0xFFU;
    const unsigned int mask = shift <= highestShift ? 1U << shift : 0U;
    const unsigned int bits = static_cast<unsigned int>(value);
    return wrapToInt(on != 0 ? bits | mask : bits & ~mask);
}

const unsigned char* visibleValue(const _DATA_& record) {
    return record.writePending == 1 ? record.writeValue : record.readValue;
}

int bitOfWord(const unsigned char* word, const FoldedBit& bit) {
    return bit.exists() ? (word[bit.byteOfWord] >> bit.bitOfByte) & 1 : 0;
}

void setBitOfWord(unsigned char* word, const FoldedBit& bit, int on) {
    if (bit.exists()) {
        unsigned char& byte = word[bit.byteOfWord];
        byte = lowByteOf(_setBitValue(byte, bit.bitOfByte, on));
    }
}

DataAreaRun::DataAreaRun(int station, const QString& regName, int addr, int count, Unit unit)
    : station_(station), keyName_(unit == WORDS ? regName : recordName(regName)), firstWord_(addr),
      wordsToEnd_(qMax(count, 0)), searchedUpTo_(0) {
    int wordsFromLowest = 0;
    if (unit == HOST_UNITS && isBitRegister(regName) && count >= 1) {
        const int lastBit = wrapAdd(addr, count - 1);
        const bool passesEnd = lastBit < addr;
        const int lastWord = passesEnd ? highestWordOfBits : foldBit(lastBit).word;
        firstWord_ = foldBit(addr).word;
        wordsToEnd_ = lastWord - firstWord_ + 1;
        wordsFromLowest = passesEnd ? foldBit(lastBit).word - lowestWordOfBits + 1 : 0;
    }
    missing_ = wordsToEnd_ + wordsFromLowest;
    reach_ = wordsFromLowest == 0 ? static_cast<quint32>(wordsToEnd_ - 1) : anyDistance;
    found_.resize(missing_);
    std::fill(found_.begin(), found_.end(), int(notFound));
    searchOn();
}

int DataAreaRun::placeOf(int wordAddr) const {
    const quint32 fromFirst = static_cast<quint32>(wrapSubtract(wordAddr, firstWord_));
    if (fromFirst < static_cast<quint32>(wordsToEnd_)) {
        return static_cast<int>(fromFirst);
    }
    const quint32 fromLowest = static_cast<quint32>(wrapSubtract(wordAddr, lowestWordOfBits));
    const quint32 wordsFromLowest = static_cast<quint32>(found_.size() - wordsToEnd_);
    return fromLowest < wordsFromLowest ? wordsToEnd_ + static_cast<int>(fromLowest) : besideRun;
}

/// The first record from `from` on whose address may be of the run, or the number of records. The
/// loop that every record passes: it looks at nothing but the address.
int DataAreaRun::nextInReach(int from) const {
    const QList<_DATA_>& list = driver.dataAreaList;
    const quint32 first = static_cast<quint32>(firstWord_);
    QList<_DATA_>::const_iterator record = list.constBegin() + from;
    const QList<_DATA_>::const_iterator end = list.constEnd();
    while (record != end && static_cast<quint32>(record->wordAddr) - first > reach_) {
        ++record;
    }
    return static_cast<int>(record - list.constBegin());
}

/// Looks at the records from searchedUpTo_ on, until every word of the run has been found.
void DataAreaRun::searchOn() {
    const QList<_DATA_>& list = driver.dataAreaList;
    const int records = static_cast<int>(list.size());
    while (missing_ > 0) {
        searchedUpTo_ = nextInReach(searchedUpTo_);
        if (searchedUpTo_ == records) {
            return;
        }
        const _DATA_& record = list.at(searchedUpTo_);
        const int place = placeOf(record.wordAddr);
        if (place != besideRun && found_[place] == notFound && record.station == station_ &&
            isSameName(record.regName, keyName_)) {
            found_[place] = searchedUpTo_;
            --missing_;
        }
        ++searchedUpTo_;
    }
}

int DataAreaRun::searchedIndexOf(int wordAddr) {
    const int place = placeOf(wordAddr);
    if (place == besideRun) {
        return getIndexOfDataArea(station_, keyName_, wordAddr, driver.dataAreaList);
    }
    if (found_[place] == notFound) {
        searchOn(); // a callback may have added it since
    }
    if (found_[place] == notFound) {
        appendRecord(station_, keyName_, wordAddr, driver.dataAreaList);
        searchOn();
    }
    return found_[place];
}

DataAreaIndex::DataAreaIndex() {
    const QList<_DATA_>& list = driver.dataAreaList;
    indices_.reserve(list.size());
    for (int i = static_cast<int>(list.size()) - 1; i >= 0;
         --i) { // from the end, so that a first record wins
        const _DATA_& record = list.at(i);
        indices_.insert(Key(qMakePair(record.station, record.wordAddr), record.regName), i);
    }
}

int DataAreaIndex::indexOf(int station, const QString& regName, int wordAddr) {
    const Key key(qMakePair(station, wordAddr), regName);
    const QHash<Key, int>::const_iterator known = indices_.constFind(key);
    if (known != indices_.constEnd()) {
        return known.value();
    }
    const int added = appendRecord(station, regName, wordAddr, driver.dataAreaList);
    indices_.insert(key, added);
    return added;
}
