#include "driver/bit_address.h"
#include "driver/int_math.h"
#include "driver/request_list.h"
#include "driver/velkor.h"

namespace {

const int countsBits = -1;

VARIABLE requestFor(const KEY_ADDRESS& piece, int type) {
    VARIABLE request = VARIABLE();
    request.type = type;
    request.station = piece.station;
    if (isBitRegister(piece.regName)) {
        const WordRange words = wordsOfBitsFromFirstWord(piece.addr, piece.len);
        request.regName = baseRegisterName(piece.regName);
        request.addr = words.addr;
        request.len = words.len;
    } else {
        request.regName = piece.regName;
        request.addr = piece.addr;
        request.len = piece.len;
    }
    return request;
}

} // namespace

int intf_addConditionRead(KEY_ADDRESS key, int type) {
    const int limit = key.countKind == countsBits ? driver.maxBitsPerFrame : driver.wordsPerFrame;
    // Without a limit the range is not cut.
    const RangePieces pieces(key.len, limit < 1 ? key.len : limit);
    for (int p = 0; p < pieces.count(); ++p) {
        KEY_ADDRESS piece = key;
        piece.addr = wrapAdd(key.addr, pieces.offset(p));
        piece.len = pieces.size(p);
        const VARIABLE request = requestFor(piece, type);
        putRequest(driver.conditionReadList, request);
        driver.conditionKey = request;
    }
    return 1;
}
