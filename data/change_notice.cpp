#include "data/change_notice.h"

#include "data/data_area.h"
#include "driver/host_areas.h"
#include "driver/int_math.h"
#include "driver/velkor.h"

namespace {

/// Calls the host for each bit below `bitCount` that is monitored and differs, ascending.
void notifyChangedBits(int monitored, int changed, int bitCount, int station,
                       const QString& regName, int firstAddress) {
    for (int bit = 0; bit < bitCount; ++bit) {
        const int mask = 1 << bit;
        if ((monitored & changed & mask) != 0) {
            notifyValueChange(station, regName, wrapAdd(firstAddress, bit));
        }
    }
}

} // namespace

void notifyWordChange(int index, int changed, int firstBit) {
    const _DATA_& before = driver.dataAreaList.at(index);
    if (firstBit == 0 && before.bitMonitor != 0) {
        notifyChangedBits(before.bitMonitor, changed, BITS_PER_WORD, before.station,
                          bitRegisterName(before.regName),
                          wrapMultiply(before.wordAddr, BITS_PER_WORD));
    }
    const _DATA_& record = driver.dataAreaList.at(index); // again: the host may have added records
    if ((record.wordMonitor & 1) != 0) {
        notifyValueChange(record.station, record.regName, record.wordAddr);
    }
}

void _wordDataChange(const int* oldValue, const int* newValue, int station, QString regName,
                     int wordAddr, int firstBit, int guess) {
    const int index = getIndexOfDataArea(station, regName, wordAddr, driver.dataAreaList, guess);
    if (*oldValue != *newValue) {
        notifyWordChange(index, *oldValue ^ *newValue, firstBit);
    }
}

void _byteDataChange(unsigned char* oldValue, unsigned char* newValue, int station, QString regName,
                     int address) {
    const int index = getIndexOfDataArea(station, regName, address, driver.dataAreaList);
    if (*oldValue != *newValue) {
        notifyChangedBits(driver.dataAreaList.at(index).bitMonitor, *oldValue ^ *newValue,
                          BITS_PER_BYTE, station, regName, address);
    }
}
