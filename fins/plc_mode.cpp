#include "fins/plc_mode.h"

#include "driver/byte_order.h"
#include "driver/velkor.h"
#include "fins/fins_wire.h"
#include "fins/frame_builder.h"

#include <cstring>

void connectToServer() {
    FRAME_PRO frame = FRAME_PRO();
    std::memcpy(frame.frame, "FINS", OFFSET_NODE_LENGTH);
    // The length is a 32-bit number of which only the low word is not zero; command, error code and
    // client node (0: the server assigns one) are zero.
    putBigEndianWord(frame.frame + OFFSET_NODE_LENGTH + 2, NODE_REQUEST_FOLLOWING);
    frame.sendLen = LENGTH_NODE_REQUEST;
    frame.rcvLen = LENGTH_NODE_REPLY;
    driver.frameQueue.append(frame);
}

void changePLCModeToMonitor() {
    FRAME_PRO frame = frameWithHeader();
    frame.frame[OFFSET_MRC] = MRC_OPERATING_MODE;
    frame.frame[OFFSET_SRC] = SRC_RUN;
    putBigEndianWord(frame.frame + OFFSET_PROGRAM, PROGRAM_ALL);
    frame.frame[OFFSET_MODE] = MODE_MONITOR;
    frame.sendLen = LENGTH_MODE_CHANGE;
    frame.rcvLen = LENGTH_REPLY_HEAD;
    driver.frameQueue.prepend(frame);
}
