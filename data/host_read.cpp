#include "data/data_area.h"
#include "driver/int_math.h"
#include "driver/velkor.h"

namespace {

const unsigned char* valueAt(int index) {
    return visibleValue(driver.dataAreaList.at(index));
}

} // namespace

int intf_getData(int station, QString regName, int addr, int count, unsigned char* buf) {
    const bool bits = isBitRegister(regName);
    DataAreaRun run(station, regName, addr, count);
    for (int i = 0; i < count; ++i) {
        const int address = wrapAdd(addr, i);
        if (bits) {
            const FoldedBit folded = foldBit(address);
            const unsigned char* value = valueAt(run.indexOf(folded.word));
            *buf++ = bitOfWord(value, folded) != 0 ? 1 : 0;
        } else {
            const unsigned char* value = valueAt(run.indexOf(address));
            *buf++ = value[0];
            *buf++ = value[1];
        }
    }
    return 1;
}
