#include "data/write_completion.h"

#include "data/change_notice.h"
#include "data/data_area.h"
#include "driver/byte_order.h"
#include "driver/host_areas.h"
#include "driver/int_math.h"
#include "driver/velkor.h"

namespace {

void settleWord(int index, bool succeeded) {
    _DATA_& record = driver.dataAreaList[index];
    record.writePending = 0;
    if (succeeded) { // the host has known the value since it wrote it
        record.readValue[0] = record.writeValue[0];
        record.readValue[1] = record.writeValue[1];
        return;
    }
    const int read = littleEndianWord(record.readValue);
    const int written = littleEndianWord(record.writeValue);
    _wordDataChange(&read, &written, record.station, record.regName, record.wordAddr, 0, index);
}

void settleBit(int index, const FoldedBit& bit, bool succeeded) {
    _DATA_& record = driver.dataAreaList[index];
    record.pendingBits = _setBitValue(record.pendingBits, bit.bit, 0);
    // While other bits of the word are pending the host goes on seeing the written word, a failed
    // bit included.
    if (record.pendingBits == 0) {
        record.writePending = 0;
    }
    if (succeeded) {
        setBitOfWord(record.readValue, bit, bitOfWord(record.writeValue, bit));
    }
}

} // namespace

void _write_FailOrSuc(int station, QString regName, int addr, int count, int result) {
    const bool bits = isBitRegister(regName);
    const bool succeeded = result == 1;
    DataAreaRun run(station, regName, addr, count);
    for (int i = 0; i < count; ++i) {
        const int address = wrapAdd(addr, i);
        if (bits) {
            const FoldedBit folded = foldBit(address);
            settleBit(run.indexOf(folded.word), folded, succeeded);
            // Once for each bit and always with the first one's address, changed or not: hosts
            // count on it.
            notifyValueChange(station, regName, addr);
        } else {
            settleWord(run.indexOf(address), succeeded);
        }
    }
}
