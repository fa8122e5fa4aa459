#ifndef VELKOR_TESTS_UNIT_EXPECTED_H
#define VELKOR_TESTS_UNIT_EXPECTED_H

/// How unit tests write down requests, cached words and callbacks.

#include "support/fresh_driver.h"

#include <cstddef>
#include <limits>
#include <ostream>
#include <string>
#include <vector>

constexpr int highestInt = std::numeric_limits<int>::max();
constexpr int lowestInt = std::numeric_limits<int>::min();

/// The part of a request, key or recipe block that says what is read or written.
struct Range {
    std::string regName;
    int addr;
    int len;

    bool operator==(const Range& other) const {
        return regName == other.regName && addr == other.addr && len == other.len;
    }
};

inline std::ostream& operator<<(std::ostream& out, const Range& range) {
    return out << range.regName << ' ' << range.addr << " len " << range.len;
}

template <class Record> Range rangeOf(const Record& record) {
    return Range{record.regName.toStdString(), record.addr, record.len};
}

template <class Records> std::vector<Range> rangesOf(const Records& records) {
    std::vector<Range> ranges;
    for (const auto& record : records) {
        ranges.push_back(rangeOf(record));
    }
    return ranges;
}

/// The callback for a value of the host's own: it carries the fixture's host tag, 7.
inline Notice dataNotice(const char* regName, int address, int station = 1) {
    return Notice{7, station, regName, address};
}

/// The cached record of a word, appended when there is none; to be filled by the test.
inline _DATA_& cacheRecord(const char* regName, int wordAddr, int station = 1) {
    for (_DATA_& record : driver.dataAreaList) {
        if (record.station == station && record.regName == QLatin1String(regName) &&
            record.wordAddr == wordAddr) {
            return record;
        }
    }
    _DATA_ record = _DATA_();
    record.station = station;
    record.regName = QLatin1String(regName);
    record.wordAddr = wordAddr;
    driver.dataAreaList.append(record);
    return driver.dataAreaList.last();
}

/// The cached words of the driver in list order, as "name address".
inline std::vector<std::string> cachedWords() {
    std::vector<std::string> words;
    for (const _DATA_& record : driver.dataAreaList) {
        words.push_back(record.regName.toStdString() + " " + std::to_string(record.wordAddr));
    }
    return words;
}

inline void setReadValue(_DATA_& record, int word) {
    record.readValue[0] = static_cast<unsigned char>(word & 0xFF);
    record.readValue[1] = static_cast<unsigned char>((word >> 8) & 0xFF);
}

inline void setWriteValue(_DATA_& record, int word) {
    record.writeValue[0] = static_cast<unsigned char>(word & 0xFF);
    record.writeValue[1] = static_cast<unsigned char>((word >> 8) & 0xFF);
}

inline int readWord(const _DATA_& record) {
    return record.readValue[0] + 256 * record.readValue[1];
}

inline int writtenWord(const _DATA_& record) {
    return record.writeValue[0] + 256 * record.writeValue[1];
}

/// What intf_getData gives the host for a run of words.
inline std::vector<int> hostWords(const char* regName, int addr, int count, int station = 1) {
    std::vector<unsigned char> bytes(2 * static_cast<std::size_t>(count), 0xEE);
    intf_getData(station, QLatin1String(regName), addr, count, bytes.data());
    std::vector<int> words;
    for (std::size_t i = 0; i < bytes.size(); i += 2) {
        words.push_back(bytes[i] + 256 * bytes[i + 1]);
    }
    return words;
}

/// What intf_getData gives the host for a run of bits.
inline std::vector<int> hostBits(const char* regName, int addr, int count, int station = 1) {
    std::vector<unsigned char> bytes(static_cast<std::size_t>(count), 0xEE);
    intf_getData(station, QLatin1String(regName), addr, count, bytes.data());
    return std::vector<int>(bytes.begin(), bytes.end());
}

#endif
