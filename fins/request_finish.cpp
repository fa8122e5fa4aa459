#include "fins/request_finish.h"

#include "data/write_completion.h"
#include "driver/host_areas.h"
#include "driver/int_math.h"
#include "driver/request_list.h"
#include "driver/velkor.h"

namespace {

bool failed() {
    return driver.lastError != 0;
}

/// A failed write is dropped, not repeated.
void finishWrite() {
    if (driver.writeList.isEmpty()) {
        return;
    }
    const VARIABLE request = driver.writeList.first();
    _write_FailOrSuc(request.station, request.regName, request.addr, request.len, failed() ? 0 : 1);
    driver.writeList.removeFirst();
}

void finishConditionRead() {
    if (driver.conditionReadList.isEmpty()) {
        return;
    }
    if (isSameRequest(driver.conditionReadList.first(), driver.conditionKey)) {
        notifyConditionReadEnded(failed() ? -1 : 0);
    }
    if (failed()) {
        driver.conditionReadList.clear();
    } else {
        driver.conditionReadList.removeFirst();
    }
}

/// Round-robin over the blocks.
void finishCyclicRead() {
    if (driver.readList.size() >= 2) {
        driver.readList.move(0, static_cast<int>(driver.readList.size()) - 1);
    }
}

/// The next block goes out with the next frame; after the last one, or a failed one, the transfer
/// is over and the host's request byte says so.
void finishRecipeBlock(int requestByte) {
    if (!failed()) {
        driver.rcpIndex = wrapAdd(driver.rcpIndex, 1);
        if (driver.rcpIndex < driver.rcpVector.size()) {
            return;
        }
    }
    driver.rcpIndex = 0;
    clearRecipeRequest(requestByte);
}

} // namespace

void dealListWhenFinish() {
    switch (driver.requestKind) {
    case KIND_WRITE:
        finishWrite();
        break;
    case KIND_CONDITION_READ:
        finishConditionRead();
        break;
    case KIND_CYCLIC_READ:
        finishCyclicRead();
        break;
    case KIND_RECIPE_DOWNLOAD:
        finishRecipeBlock(HOST_RECIPE_DOWNLOAD_REQUEST);
        break;
    case KIND_RECIPE_UPLOAD:
        finishRecipeBlock(HOST_RECIPE_UPLOAD_REQUEST);
        break;
    default:
        break;
    }
}

void failRequest() {
    driver.lastError = 1;
    reportCommunicationFailure();
    driver.frameQueue.clear();
    driver.badReplyCount = 0;
    dealListWhenFinish();
}
