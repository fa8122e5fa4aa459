#include "fins/reply_check.h"

#include "driver/velkor.h"
#include "fins/fins_wire.h"
#include "fins/plc_mode.h"

namespace {

bool saysWrongMode(unsigned char mainCode, unsigned char subCode) {
    return mainCode == MRES_WRONG_MODE &&
           (subCode == SRES_PROGRAM_MODE || subCode == SRES_DEBUG_MODE || subCode == SRES_RUN_MODE);
}

int learnNodeNumbers(const unsigned char* reply, int length) {
    if (length < LENGTH_NODE_REPLY) {
        return CHECK_REJECTED;
    }
    driver.nodeLearned = 1;
    driver.SA1 = reply[OFFSET_CLIENT_NODE];
    driver.DA1 = reply[OFFSET_SERVER_NODE];
    return CHECK_NO_DATA;
}

/// A reply that carries no data: every end code but a refusal by mode is taken as done.
int checkEndCode(const unsigned char* reply, int length) {
    if (length < LENGTH_REPLY_HEAD) {
        return CHECK_REJECTED;
    }
    if (!saysWrongMode(reply[OFFSET_MRES], reply[OFFSET_SRES])) {
        return CHECK_NO_DATA;
    }
    if (driver.frameQueue.size() <= MAX_QUEUED_FOR_MODE_CHANGE) {
        changePLCModeToMonitor();
    }
    return CHECK_REJECTED;
}

} // namespace

int check_rcv_data(const unsigned char* reply, int length) {
    const FRAME_PRO& head = driver.frameQueue.first();
    if (length != head.rcvLen) {
        return CHECK_REJECTED;
    }
    if (driver.nodeLearned == 0) {
        return learnNodeNumbers(reply, length);
    }
    // The service ID issued last, which after a mode change is not that of the frame at the head:
    // the resent write then fails its retries.
    if (length <= OFFSET_SID || reply[OFFSET_SID] != driver.SID) {
        return CHECK_REJECTED;
    }
    if (head.dataLen != 0) { // the end code of a read is not examined
        return CHECK_DATA;
    }
    return checkEndCode(reply, length);
}
