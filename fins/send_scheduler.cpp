#include "driver/host_areas.h"
#include "driver/record_copy.h"
#include "driver/velkor.h"
#include "fins/frame_builder.h"
#include "fins/request_finish.h"
#include "scan/recipe.h"

namespace {

/// Between two cyclic reads go at most five writes, or three writes and condition reads together:
/// writes are preferred, and neither can starve the cyclic reads.
const int writeBurst = 5;
const int conditionReadBurst = 3;

/// Builds the frame of the current request as its kind demands. False for kinds that have none.
bool buildCurrentRequest() {
    switch (driver.requestKind) {
    case KIND_WRITE:
    case KIND_RECIPE_DOWNLOAD:
        getWriteFrame(driver.currentVar);
        return true;
    case KIND_CONDITION_READ:
    case KIND_CYCLIC_READ:
    case KIND_RECIPE_UPLOAD:
        getReadFrame(driver.currentVar);
        return true;
    default:
        return false;
    }
}

/// Makes the recipe block in transfer the current request. Past the last block the current request
/// stays what it is, and goes out again.
void takeRecipeBlock(RequestKind kind) {
    if (driver.rcpIndex < driver.rcpVector.size()) {
        const int withData = kind == KIND_RECIPE_DOWNLOAD ? 1 : 0;
        rcpAddrToVar(driver.rcpVector.at(driver.rcpIndex), driver.currentVar, withData);
        driver.requestKind = kind;
    }
}

void takeHeadOf(const QList<VARIABLE>& list, RequestKind kind, int burst) {
    copyRecord(list.first(), driver.currentVar);
    driver.requestKind = kind;
    driver.requestCount = burst;
}

void goIdle() {
    driver.requestCount = 0;
    driver.requestKind = KIND_IDLE;
    driver.frameQueue.clear();
}

/// The order of priority, top to bottom. Chooses the current request; false when there is none.
bool chooseRequest() {
    const RecipeRequests recipe = readRecipeRequests();
    if (recipe.download) {
        takeRecipeBlock(KIND_RECIPE_DOWNLOAD);
    } else if (recipe.upload) {
        takeRecipeBlock(KIND_RECIPE_UPLOAD);
    } else if (!driver.writeList.isEmpty() && driver.requestCount < writeBurst) {
        takeHeadOf(driver.writeList, KIND_WRITE, driver.requestCount + 1);
    } else if (!driver.conditionReadList.isEmpty() && driver.requestCount < conditionReadBurst) {
        takeHeadOf(driver.conditionReadList, KIND_CONDITION_READ, driver.requestCount + 1);
    } else if (!driver.readList.isEmpty()) {
        takeHeadOf(driver.readList, KIND_CYCLIC_READ, 0);
    } else {
        goIdle();
        return false;
    }
    return true;
}

} // namespace

unsigned int intf_getSendFrame(FRAME_PRO& out) {
    if (driver.frameQueue.isEmpty()) {
        if (!chooseRequest() || !buildCurrentRequest()) {
            return 0;
        }
        if (driver.frameQueue.isEmpty()) { // it does not fit a frame, and never will
            failRequest();
            return 0;
        }
    }
    copyRecord(driver.frameQueue.first(), out);
    return 1;
}
