#include "driver/bit_address.h"
#include "driver/int_math.h"
#include "driver/record_copy.h"
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

/// The next piece that leaves a trace in the queue. With room in the queue that is the next one.
/// When it is full, a piece that equals none of the requests between the head and the last place
/// goes to the last place, and another such piece behind it takes the place over: of a run of them
/// only the last counts. So this goes on to the piece before the first that may equal a waiting
/// request, or to the last of all, and a range of any length costs a bounded number of steps.
/// Stopping at a piece that equals none does no harm.
int nextPieceToQueue(const KEY_ADDRESS& key, const RangePieces& pieces, int limit, int piece) {
    const QList<VARIABLE>& waiting = driver.conditionReadList;
    const int next = piece + 1;
    const int last = pieces.count() - 1;
    if (waiting.size() <= LAST_REQUEST_INDEX || next >= last) {
        return next;
    }
    // A waiting word may come of any bit from 15 below its first to its last one: those of word 0
    // lie on both sides of 0.
    const int bitsBeside = isBitRegister(key.regName) ? BITS_PER_WORD - 1 : 0;
    const int nextAddr = wrapAdd(key.addr, pieces.offset(next));
    quint32 distance = static_cast<quint32>(-1);
    for (int i = 1; i < LAST_REQUEST_INDEX; ++i) {
        const int first =
            wrapSubtract(wrapMultiply(waiting.at(i).addr, bitsBeside + 1), bitsBeside);
        if (static_cast<quint32>(wrapSubtract(nextAddr, first)) <=
            2 * static_cast<quint32>(bitsBeside)) {
            return next;
        }
        distance = qMin(distance, static_cast<quint32>(wrapSubtract(first, nextAddr)));
    }
    const qint64 before = static_cast<qint64>(next) + distance / static_cast<quint32>(limit) - 1;
    return wrapToInt(qBound(static_cast<qint64>(next), before, static_cast<qint64>(last)));
}

} // namespace

int intf_addConditionRead(KEY_ADDRESS key, int type) {
    const int limit = key.countKind == countsBits ? driver.maxBitsPerFrame : driver.wordsPerFrame;
    // Without a limit the range is not cut.
    const RangePieces pieces(key.len, limit < 1 ? key.len : limit);
    for (int p = 0; p < pieces.count(); p = nextPieceToQueue(key, pieces, limit, p)) {
        KEY_ADDRESS piece = key;
        piece.addr = wrapAdd(key.addr, pieces.offset(p));
        piece.len = pieces.size(p);
        const VARIABLE request = requestFor(piece, type);
        putRequest(driver.conditionReadList, request);
        copyRecord(request, driver.conditionKey);
    }
    return 1;
}
