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

void _wordDataChange(const int* oldValue, const int* newValue, int station, QString regName,
                     int wordAddr, int firstBit, int guess) {
    const int index = getIndexOfDataArea(station, regName, wordAddr, driver.dataAreaList, guess);
    if (*oldValue == *newValue) {
        return;
    }
    const int monitored = driver.dataAreaList.at(index).bitMonitor;
    if (firstBit == 0 && monitored != 0) {
        notifyChangedBits(monitored, *oldValue ^ *newValue, BITS_PER_WORD, station,
                          bitRegisterName(regName), wrapMultiply(wordAddr, BITS_PER_WORD));
    }
    if ((driver.dataAreaList.at(index).wordMonitor & 1) != 0) {
        notifyValueChange(station, regName, wordAddr);
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
