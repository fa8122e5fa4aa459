#include "model/naive_driver.h"

namespace model {

namespace {

/// The bit's mask; only the low 8 bits of its number count, and there are 32 bits.
int maskOf(int bit) {
    const unsigned number = static_cast<unsigned>(bit) & 0xFFU;
    return number < 32 ? static_cast<int>(1U << number) : 0;
}

} // namespace

BitPlace placeOf(const QString& name, int bitAddress) {
    BitPlace place;
    place.base = piecesOf(name, QLatin1Char('_'))[0];
    place.word = bitAddress / 16;
    place.bit = bitAddress % 16;
    place.byteOfWord = place.bit / 8;
    place.bitOfByte = bitAddress % 8;
    place.exists = place.byteOfWord >= 0 && place.bitOfByte >= 0;
    return place;
}

int NaiveDriver::findWord(int station, const QString& name, int address) {
    const int count = static_cast<int>(s.dataAreaList.size());
    for (int i = 0; i < count; ++i) {
        const host::DataRecord& record = s.dataAreaList[static_cast<std::size_t>(i)];
        if (record.wordAddr == address && record.station == station && record.regName == name) {
            return i;
        }
    }
    host::DataRecord record = host::DataRecord();
    record.station = station;
    record.regName = name;
    record.wordAddr = address;
    s.dataAreaList.push_back(record);
    return count;
}

void NaiveDriver::monitor(int station, const QString& name, int addr, int count) {
    for (int i = 0; i < count; ++i) {
        const int address = wrapped(static_cast<long long>(addr) + i);
        if (endsInBit(name)) {
            const BitPlace place = placeOf(name, address);
            const int at = findWord(station, place.base, place.word);
            s.dataAreaList[static_cast<std::size_t>(at)].bitMonitor |= maskOf(place.bit);
        } else {
            const int at = findWord(station, name, address);
            s.dataAreaList[static_cast<std::size_t>(at)].wordMonitor |= 1;
        }
    }
}

void NaiveDriver::wordChange(int before, int after, int station, const QString& name, int address) {
    const int at = findWord(station, name, address);
    const host::DataRecord record = s.dataAreaList[static_cast<std::size_t>(at)];
    if (before == after) {
        return;
    }
    for (int bit = 0; bit < 16; ++bit) {
        const int mask = maskOf(bit);
        if ((record.bitMonitor & mask) != 0 && (before & mask) != (after & mask)) {
            callBack(s.hostTag, station, name + QLatin1String("_bit"),
                     wrapped(address * 16LL + bit));
        }
    }
    if (record.wordMonitor % 2 != 0) {
        callBack(s.hostTag, station, name, address);
    }
}

void NaiveDriver::byteDataChange(unsigned char* before, unsigned char* after, int station,
                                 const QString& name, int addr) {
    const int at = findWord(station, name, addr);
    const int monitored = s.dataAreaList[static_cast<std::size_t>(at)].bitMonitor;
    const int old = *before;
    const int now = *after;
    for (int bit = 0; bit < 8; ++bit) {
        const int mask = maskOf(bit);
        if ((monitored & mask) != 0 && (old & mask) != (now & mask)) {
            callBack(s.hostTag, station, name, wrapped(static_cast<long long>(addr) + bit));
        }
    }
}

int NaiveDriver::getData(int station, const QString& name, int addr, int count,
                         unsigned char* out) {
    for (int i = 0; i < count; ++i) {
        const int address = wrapped(static_cast<long long>(addr) + i);
        const bool bits = endsInBit(name);
        const BitPlace place = placeOf(name, address);
        const int at = findWord(station, bits ? place.base : name, bits ? place.word : address);
        const host::DataRecord& record = s.dataAreaList[static_cast<std::size_t>(at)];
        const unsigned char* shown =
            record.writePending == 1 ? record.writeValue : record.readValue;
        if (!bits) {
            out[2 * i] = shown[0];
            out[2 * i + 1] = shown[1];
        } else if (place.exists) {
            out[i] = (shown[place.byteOfWord] & maskOf(place.bitOfByte)) != 0 ? 1 : 0;
        } else {
            out[i] = 0;
        }
    }
    return 1;
}

} // namespace model
