#include "fins/frame_builder.h"

#include "driver/bit_address.h"
#include "driver/byte_order.h"
#include "driver/int_math.h"
#include "driver/record_copy.h"
#include "driver/register_catalogue.h"
#include "driver/velkor.h"
#include "fins/fins_wire.h"

#include <cstring>

namespace {

unsigned char areaCode(const QString& regName) {
    const int index = registerIndex(regName);
    return index < 0 ? lowByteOf(AREA_CODE_UNKNOWN) : lowByteOf(AREA_CODE_CS_CJ[index]);
}

/// Area, word address, bit and count: what follows the command code in reads and writes alike.
void putMemoryAddress(FRAME_PRO& frame, int word, int bit) {
    unsigned char* bytes = frame.frame;
    bytes[OFFSET_AREA] = areaCode(frame.var.regName);
    putBigEndianWord(bytes + OFFSET_ADDRESS, word);
    if (frame.var.regName == QLatin1String("C")) {
        bytes[OFFSET_ADDRESS] = lowByteOf(bytes[OFFSET_ADDRESS] + COUNTER_HIGH_BYTE);
    }
    bytes[OFFSET_BIT] = lowByteOf(bit);
    putBigEndianWord(bytes + OFFSET_COUNT, frame.var.len);
}

FRAME_PRO memoryAreaFrame(const VARIABLE& request, FinsCommand sub) {
    FRAME_PRO frame = frameWithHeader();
    frame.frame[OFFSET_MRC] = MRC_MEMORY_AREA;
    frame.frame[OFFSET_SRC] = lowByteOf(sub);
    copyRecord(request, frame.var);
    return frame;
}

void putBits(FRAME_PRO& frame) {
    const FoldedBit first = foldBit(frame.var.addr);
    putMemoryAddress(frame, first.word, first.bit);
    frame.sendLen = wrapAdd(LENGTH_WRITE_HEAD, frame.var.len);
    if (frame.var.len > 0) {
        std::memcpy(frame.frame + OFFSET_WRITE_DATA, frame.var.data,
                    static_cast<size_t>(frame.var.len));
    }
}

void putWords(FRAME_PRO& frame) {
    putMemoryAddress(frame, frame.var.addr, 0);
    frame.sendLen = wrapAdd(LENGTH_WRITE_HEAD, wrapMultiply(2, frame.var.len));
    for (int i = 0; i < frame.var.len; ++i) {
        putBigEndianWord(frame.frame + OFFSET_WRITE_DATA + 2 * i,
                         littleEndianWord(frame.var.data + 2 * i));
    }
}

/// A count far below zero would wrap to a length beyond the frame, so the length is looked at too.
bool fitsWriteFrame(int count, bool bits) {
    const int sendLen = wrapAdd(LENGTH_WRITE_HEAD, wrapMultiply(bits ? 1 : 2, count));
    return count <= (bits ? MAX_WRITE_BITS : MAX_WRITE_WORDS) && sendLen <= VELKOR_FRAME_SIZE;
}

} // namespace

unsigned char getSSID() {
    const unsigned char next = static_cast<unsigned char>(driver.SID + 1);
    driver.SID = next == SID_NEVER_ISSUED ? 0 : next;
    return driver.SID;
}

FRAME_PRO frameWithHeader() {
    FRAME_PRO frame = FRAME_PRO();
    unsigned char* bytes = frame.frame;
    bytes[OFFSET_ICF] = ICF_COMMAND;
    bytes[OFFSET_RSV] = RSV_FIXED;
    bytes[OFFSET_GCT] = GCT_DEFAULT;
    bytes[OFFSET_DNA] = lowByteOf(driver.DNA);
    bytes[OFFSET_DA1] = lowByteOf(driver.DA1);
    bytes[OFFSET_DA2] = lowByteOf(driver.DA2);
    bytes[OFFSET_SNA] = lowByteOf(driver.SNA);
    bytes[OFFSET_SA1] = lowByteOf(driver.SA1);
    bytes[OFFSET_SA2] = lowByteOf(driver.SA2);
    bytes[OFFSET_SID] = getSSID();
    return frame;
}

void getReadFrame(const VARIABLE& request) {
    FRAME_PRO frame = memoryAreaFrame(request, SRC_MEMORY_AREA_READ);
    // Always words, even of a "_bit" area, which only a recipe asks for.
    putMemoryAddress(frame, request.addr, 0);
    frame.sendLen = LENGTH_READ_COMMAND;
    frame.dataLen = wrapMultiply(2, request.len);
    frame.rcvLen = wrapAdd(LENGTH_REPLY_HEAD, frame.dataLen);
    frame.headLen = OFFSET_REPLY_DATA;
    driver.frameQueue.append(frame);
}

void getWriteFrame(const VARIABLE& request) {
    const bool bits = isBitRegister(request.regName);
    if (!fitsWriteFrame(request.len, bits)) {
        return;
    }
    FRAME_PRO frame = memoryAreaFrame(request, SRC_MEMORY_AREA_WRITE);
    if (bits) {
        putBits(frame);
    } else {
        putWords(frame);
    }
    frame.rcvLen = LENGTH_REPLY_HEAD;
    driver.frameQueue.append(frame);
}
