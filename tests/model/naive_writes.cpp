#include "model/naive_driver.h"

#include <cstring>

namespace model {

namespace {

int wordOf(const unsigned char* bytes) {
    return bytes[0] + 256 * bytes[1];
}

int maskIn(int bitOfByte) {
    return 1 << bitOfByte;
}

/// What the host sees of a word.
int shownWord(const host::DataRecord& record) {
    return wordOf(record.writePending == 1 ? record.writeValue : record.readValue);
}

QString writeLine(const host::Variable& request) {
    QString line = QLatin1String("write: \"") + request.regName + QLatin1String("\" ") +
                   QString::number(request.addr) + QLatin1Char(' ') + QString::number(request.len) +
                   QLatin1Char(' ');
    if (request.data[0] != 0) { // the line ends at a zero
        line += QLatin1Char(static_cast<char>(request.data[0]));
        line += QLatin1Char(' ');
    }
    return line;
}

/// Items of one piece: what the settings say, but no more than a frame can carry.
int pieceSize(int wordsPerFrame, bool bits) {
    const int most = bits ? 1006 : 503;
    return wordsPerFrame < 1 || wordsPerFrame > most ? most : wordsPerFrame;
}

} // namespace

bool sameRequest(const host::Variable& a, const host::Variable& b) {
    return a.station == b.station && a.regName == b.regName && a.addr == b.addr && a.len == b.len;
}

void placeRequest(std::vector<host::Variable>& list, const host::Variable& request) {
    for (std::size_t i = list.size(); i > 1; --i) { // the first one is not compared
        if (sameRequest(list[i - 1], request)) {
            list[i - 1] = request;
            return;
        }
    }
    if (list.size() > 512) {
        list[512] = request;
    } else {
        list.push_back(request);
    }
}

int NaiveDriver::setData(int station, const QString& name, int addr, int count, unsigned char* data,
                         int type) {
    const bool bits = endsInBit(name);
    const int bytesEach = bits ? 1 : 2;
    const int size = pieceSize(s.wordsPerFrame, bits);
    for (int done = 0; s.writeDisabled == 0 && done < count; done += size) {
        host::Variable request = host::Variable();
        request.type = type;
        request.station = station;
        request.regName = name;
        request.addr = wrapped(static_cast<long long>(addr) + done);
        request.len = count - done < size ? count - done : size;
        std::memcpy(request.data, data + bytesEach * done,
                    static_cast<std::size_t>(bytesEach) * static_cast<std::size_t>(request.len));
        placeRequest(s.writeList, request);
        debugLine_(writeLine(request));
    }
    if (!bits) {
        saveWords(station, name, addr, count, data);
        return 1;
    }
    for (int i = 0; i < count; ++i) {
        saveBit(station, name, wrapped(static_cast<long long>(addr) + i), data[i]);
    }
    return 1;
}

void NaiveDriver::saveWords(int station, const QString& name, int addr, int count,
                            const unsigned char* data) {
    for (int i = 0; i < count; ++i) {
        const int address = wrapped(static_cast<long long>(addr) + i);
        const std::size_t at = static_cast<std::size_t>(findWord(station, name, address));
        const int before = shownWord(s.dataAreaList[at]);
        wordChange(before, wordOf(data + 2 * i), station, name, address);
        host::DataRecord& record = s.dataAreaList[at];
        record.writeValue[0] = data[2 * i];
        record.writeValue[1] = data[2 * i + 1];
        record.writePending = 1;
    }
}

void NaiveDriver::saveBit(int station, const QString& name, int address, int value) {
    const BitPlace place = placeOf(name, address);
    const std::size_t at = static_cast<std::size_t>(findWord(station, place.base, place.word));
    const int before = shownWord(s.dataAreaList[at]);
    int after = before;
    if (place.exists) {
        const int mask = maskIn(8 * place.byteOfWord + place.bitOfByte);
        after = value == 1 ? before | mask : before & ~mask;
    }
    wordChange(before, after, station, place.base, place.word);

    host::DataRecord& record = s.dataAreaList[at];
    if (record.writePending == 0) { // the other bits go on as the PLC has them
        record.writeValue[0] = record.readValue[0];
        record.writeValue[1] = record.readValue[1];
    }
    if (place.exists) {
        const int byte = place.byteOfWord == 0 ? after & 0xFF : after >> 8;
        record.writeValue[place.byteOfWord] = static_cast<unsigned char>(byte);
        record.pendingBits |= maskIn(place.bit);
    }
    record.writePending = 1;
}

void NaiveDriver::settleWords(int station, const QString& name, int addr, int count, int result) {
    for (int i = 0; i < count; ++i) {
        const int address = wrapped(static_cast<long long>(addr) + i);
        const std::size_t at = static_cast<std::size_t>(findWord(station, name, address));
        host::DataRecord& record = s.dataAreaList[at];
        record.writePending = 0;
        if (result == 1) {
            record.readValue[0] = record.writeValue[0];
            record.readValue[1] = record.writeValue[1];
        } else {
            wordChange(wordOf(record.readValue), wordOf(record.writeValue), station, name, address);
        }
    }
}

void NaiveDriver::settleBits(int station, const QString& name, int addr, int count, int result) {
    for (int i = 0; i < count; ++i) {
        const BitPlace place = placeOf(name, wrapped(static_cast<long long>(addr) + i));
        const std::size_t at = static_cast<std::size_t>(findWord(station, place.base, place.word));
        host::DataRecord& record = s.dataAreaList[at];
        if (place.exists) {
            record.pendingBits &= ~maskIn(place.bit);
        }
        if (record.pendingBits == 0) {
            record.writePending = 0;
        }
        if (place.exists && result == 1) {
            const int mask = maskIn(place.bitOfByte);
            const int written = record.writeValue[place.byteOfWord];
            const int read = record.readValue[place.byteOfWord];
            const int merged = (read & ~mask) | (written & mask);
            record.readValue[place.byteOfWord] = static_cast<unsigned char>(merged);
        }
        callBack(s.hostTag, station, name, addr); // the first address, each time
    }
}

} // namespace model
