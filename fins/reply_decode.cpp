#include "fins/reply_decode.h"

#include "data/change_notice.h"
#include "data/data_area.h"
#include "driver/byte_order.h"
#include "driver/host_areas.h"
#include "driver/int_math.h"
#include "driver/velkor.h"

namespace {

/// A word as received: high byte first.
struct ReceivedWord {
    unsigned char low;
    unsigned char high;
};

ReceivedWord wordAt(const ReplyWords& words, int position) {
    const unsigned char* bytes = words.data + 2 * static_cast<size_t>(position);
    const ReceivedWord word = {bytes[1], bytes[0]};
    return word;
}

void storeWord(int index, const ReceivedWord& word) {
    _DATA_& record = driver.dataAreaList[index];
    record.firstByteFlag = 0;
    if (record.readValue[0] == word.low && record.readValue[1] == word.high) {
        return;
    }
    const unsigned char received[2] = {word.low, word.high};
    const int changed = littleEndianWord(record.readValue) ^ littleEndianWord(received);
    record.writePending = 0; // a value that changed in the PLC wins over a write under way
    notifyWordChange(index, changed, 0);
    _DATA_& found = driver.dataAreaList[index]; // again: the host may have added records
    found.readValue[0] = word.low;
    found.readValue[1] = word.high;
}

/// Index in rcpVarVector behind the last variable of the block in transfer.
int endOfBlock() {
    const int nextBlock = driver.rcpIndex + 1;
    const int variables = static_cast<int>(driver.rcpVarVector.size());
    return nextBlock < driver.rcpBlockFirst.size()
               ? qMin(driver.rcpBlockFirst.at(nextBlock), variables)
               : variables;
}

/// One variable of a block that begins at word `blockAddr`.
void storeVariable(const _RCP_VAR_PRO& variable, int blockAddr, const ReplyWords& words) {
    const qint64 first = wrapSubtract(variable.addr, blockAddr);
    for (int j = 0; j < variable.len && first + j < words.count; ++j) {
        const qint64 position = first + j;
        if (position >= 0) {
            const ReceivedWord word = wordAt(words, static_cast<int>(position));
            storeRecipeWord(wrapAdd(variable.rcpOffset, j), word.low, word.high);
        }
    }
}

} // namespace

void storeReplyWords(const ReplyWords& words) {
    DataAreaRun run(words.station, words.regName, words.addr, words.count, DataAreaRun::WORDS);
    for (int i = 0; i < words.count; ++i) {
        storeWord(run.indexOf(wrapAdd(words.addr, i)), wordAt(words, i));
    }
}

void storeUploadedRecipe(const ReplyWords& words) {
    if (driver.rcpIndex < 0 || driver.rcpIndex >= driver.rcpBlockFirst.size()) {
        return;
    }
    const int first = driver.rcpBlockFirst.at(driver.rcpIndex);
    const int end = endOfBlock();
    // Stays as it is, whatever the host's callback does.
    const QVector<_RCP_VAR_PRO> variables = driver.rcpVarVector;
    for (int e = first; e < end; ++e) {
        storeVariable(variables.at(e), variables.at(first).addr, words);
    }
}
