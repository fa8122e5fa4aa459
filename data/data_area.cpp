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

const int noRecord = -1;
const int fewestBuckets = 64;
const quint32 bucketSpread = 16777619U; // the multiplier of the FNV hash
const int bucketShift = 8;

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

/// Enters every record, with room for as many again.
void DataAreaIndex::rebuild() {
    const int records = static_cast<int>(driver.dataAreaList.size());
    int buckets = fewestBuckets;
    while (buckets < 2 * records) {
        buckets *= 2;
    }
    first_.fill(noRecord, buckets);
    next_.fill(noRecord, records);
    for (int i = records - 1; i >= 0; --i) { // from the end, so that a first record comes first
        enter(i);
    }
}

void DataAreaIndex::enter(int index) {
    const _DATA_& record = driver.dataAreaList.at(index);
    int& first = first_[bucketOf(record.station, record.regName, record.wordAddr)];
    next_[index] = first;
    first = index;
}

/// Words in a row get buckets in a row; registers and stations begin anywhere.
int DataAreaIndex::bucketOf(int station, const QString& regName, int wordAddr) const {
    quint32 start = static_cast<quint32>(station);
    for (int i = 0; i < regName.size(); ++i) {
        start = (start ^ regName.at(i).unicode()) * bucketSpread;
    }
    const quint32 buckets = static_cast<quint32>(first_.size()); // a power of two
    return static_cast<int>(((start >> bucketShift) + static_cast<quint32>(wordAddr)) &
                            (buckets - 1));
}

int DataAreaIndex::indexOf(int station, const QString& regName, int wordAddr) {
    const int bucket = bucketOf(station, regName, wordAddr);
    for (int i = first_.at(bucket); i != noRecord; i = next_.at(i)) {
        if (hasKey(driver.dataAreaList.at(i), station, regName, wordAddr)) {
            return i;
        }
    }
    const int added = appendRecord(station, regName, wordAddr, driver.dataAreaList);
    if (added < first_.size()) {
        next_.append(noRecord);
        enter(added);
    } else {
        rebuild();
    }
    return added;
}
