#include "model/naive_driver.h"

namespace model {

unsigned int NaiveDriver::getSendFrame(host::FramePro& out) {
    if (s.frameQueue.empty()) {
        const bool download = s.hostBlock[60115] == 1;
        const bool upload = s.hostBlock[60116] == 1;
        const bool built = download || upload ? scheduleRecipe(download) : scheduleLists();
        if (!built) {
            return 0;
        }
        if (s.frameQueue.empty()) { // what was to be built fits no frame
            failRequest();
            return 0;
        }
    }
    out = s.frameQueue[0];
    return 1;
}

bool NaiveDriver::scheduleRecipe(bool download) {
    if (s.rcpIndex >= static_cast<int>(s.rcpVector.size())) {
        return repeatByKind();
    }
    blockToCurrent(s.rcpVector[static_cast<std::size_t>(s.rcpIndex)], download);
    if (download) {
        s.requestKind = 5;
        queueWriteFrame(s.currentVar);
    } else {
        s.requestKind = 6;
        queueRead(s.currentVar);
    }
    return true;
}

bool NaiveDriver::repeatByKind() {
    switch (s.requestKind) {
    case 2:
    case 5:
        queueWriteFrame(s.currentVar);
        return true;
    case 3:
    case 4:
    case 6:
        queueRead(s.currentVar);
        return true;
    default:
        return false;
    }
}

bool NaiveDriver::scheduleLists() {
    if (!s.writeList.empty() && s.requestCount < 5) {
        s.currentVar = s.writeList[0];
        s.requestKind = 2;
        s.requestCount += 1;
        queueWriteFrame(s.currentVar);
        return true;
    }
    if (!s.conditionReadList.empty() && s.requestCount < 3) {
        s.currentVar = s.conditionReadList[0];
        s.requestKind = 3;
        s.requestCount += 1;
        queueRead(s.currentVar);
        return true;
    }
    if (s.readList.empty()) {
        s.requestCount = 0;
        s.requestKind = 0;
        return false;
    }
    s.currentVar = s.readList[0];
    s.requestKind = 4;
    s.requestCount = 0;
    queueRead(s.currentVar);
    return true;
}

} // namespace model
