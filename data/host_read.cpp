#include "data/data_area.h"
#include "driver/int_math.h"
#include "driver/velkor.h"

int intf_getData(int station, QString regName, int addr, int count, unsigned char* buf) {
    const bool bits = isBitRegister(regName);
    DataAreaRun run(station, regName, addr, count);
    for (int i = 0; i < count; ++i) {
        const int address = wrapAdd(addr, i);
        const FoldedBit folded = foldBit(address);
        const int index = run.indexOf(bits ? folded.word : address);
        const unsigned char* value = visibleValue(driver.dataAreaList.at(index));
        if (bits) {
            *buf++ = bitOfWord(value, folded) != 0 ? 1 : 0;
        } else {
            *buf++ = value[0];
            *buf++ = value[1];
        }
    }
    return 1;
}
