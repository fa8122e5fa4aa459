#include "data/host_write.h"

#include "data/change_notice.h"
#include "data/data_area.h"
#include "driver/byte_order.h"
#include "driver/debug_line.h"
#include "driver/int_math.h"
#include "driver/request_list.h"
#include "driver/velkor.h"

#include <cstring>

namespace {

/// Only this byte sets a bit; every other clears it.
const unsigned char bitSet = 1;

/// Items of one write frame. The words-per-frame setting counts for bits as well, on purpose; the
/// cap is what the frame builder can carry, and stands in for a setting that is no limit at all.
int itemsPerWrite(bool bits) {
    const int cap = bits ? MAX_WRITE_BITS : MAX_WRITE_WORDS;
    return driver.wordsPerFrame < 1 ? cap : qMin(driver.wordsPerFrame, cap);
}

void logWrite(const VARIABLE& request) {
    DebugLine line;
    line << "write: \"" << request.regName << "\" " << request.addr << " " << request.len << " "
         << QChar(QLatin1Char(static_cast<char>(request.data[0]))) << " ";
    debugLine(line.text());
}

void queueWrite(const VARIABLE& whole, int count, const unsigned char* data) {
    const bool bits = isBitRegister(whole.regName);
    const size_t bytesPerItem = bits ? 1 : 2;
    const RangePieces pieces(count, itemsPerWrite(bits));
    for (int k = 0; k < pieces.count(); ++k) {
        VARIABLE piece = whole;
        piece.addr = wrapAdd(whole.addr, pieces.offset(k));
        piece.len = pieces.size(k);
        std::memcpy(piece.data, data + bytesPerItem * static_cast<size_t>(pieces.offset(k)),
                    bytesPerItem * static_cast<size_t>(piece.len));
        putRequest(driver.writeList, piece);
        logWrite(piece);
    }
}

/// Tells the host of a change before the cache holds it.
void tellHost(const unsigned char* seen, const unsigned char* written, const _DATA_& record,
              int index) {
    const int oldValue = littleEndianWord(seen);
    const int newValue = littleEndianWord(written);
    _wordDataChange(&oldValue, &newValue, record.station, record.regName, record.wordAddr, 0,
                    index);
}

void saveWord(int index, const unsigned char* written) {
    const _DATA_ before = driver.dataAreaList.at(index);
    tellHost(visibleValue(before), written, before, index);
    _DATA_& record = driver.dataAreaList[index];
    record.writeValue[0] = written[0];
    record.writeValue[1] = written[1];
    record.writePending = 1;
}

void saveBit(int index, const FoldedBit& bit, bool on) {
    const _DATA_ before = driver.dataAreaList.at(index);
    const unsigned char* seen = visibleValue(before);
    unsigned char written[2] = {seen[0], seen[1]};
    setBitOfWord(written, bit, on ? 1 : 0);
    tellHost(seen, written, before, index);
    _DATA_& record = driver.dataAreaList[index];
    if (record.writePending == 0) { // the first pending bit: all others are as the PLC has them
        record.writeValue[0] = record.readValue[0];
        record.writeValue[1] = record.readValue[1];
    }
    if (bit.exists()) { // the other byte may hold earlier pending bits
        record.writeValue[bit.byteOfWord] = written[bit.byteOfWord];
    }
    record.writePending = 1;
    record.pendingBits = _setBitValue(record.pendingBits, bit.bit, 1);
}

} // namespace

void write_saveDataToArea(int station, QString regName, int addr, int count,
                          const unsigned char* data) {
    const bool bits = isBitRegister(regName);
    DataAreaRun run(station, regName, addr, count);
    for (int i = 0; i < count; ++i) {
        const int address = wrapAdd(addr, i);
        if (bits) {
            const FoldedBit folded = foldBit(address);
            saveBit(run.indexOf(folded.word), folded, data[i] == bitSet);
        } else {
            saveWord(run.indexOf(address), data + 2 * static_cast<size_t>(i));
        }
    }
}

int intf_setData(int station, QString regName, int addr, int count, unsigned char* data, int tag) {
    if (driver.writeDisabled == 0 && count >= 1) {
        VARIABLE whole = VARIABLE();
        whole.type = tag;
        whole.station = station;
        whole.regName = regName;
        whole.addr = addr;
        queueWrite(whole, count, data);
    }
    write_saveDataToArea(station, regName, addr, count, data);
    return 1;
}
