#include "driver/int_math.h"
#include "driver/velkor.h"
#include "fins/reply_check.h"
#include "fins/reply_decode.h"
#include "fins/request_finish.h"

#include <QtCore/QVarLengthArray>

namespace {

/// Data of up to this length, that of 512 words, are kept without an allocation.
const int usualDataBytes = VELKOR_DATA_SIZE;

/// "length,station,address,register". The head may by now be a mode change, whose request is empty.
QString failureText(int replyLength) {
    const VARIABLE& request = driver.frameQueue.first().var;
    return QString(QLatin1String("%1,%2,%3,"))
               .arg(replyLength)
               .arg(request.station)
               .arg(request.addr) +
           request.regName;
}

unsigned int rejectReply(int replyLength, QString* message) {
    driver.badReplyCount = wrapAdd(driver.badReplyCount, 1);
    if (driver.badReplyCount < driver.retryLimit) {
        return REPLY_REJECTED;
    }
    *message = failureText(replyLength);
    failRequest();
    return REPLY_REQUEST_FAILED;
}

/// `reply` is as long as the frame at the head of the queue says.
void decode(const unsigned char* reply) {
    const FRAME_PRO& head = driver.frameQueue.first();
    // A copy of the bytes: they stay whatever the host's callback does, also where the reply is no
    // more than a view of bytes that are the host's own.
    QVarLengthArray<unsigned char, usualDataBytes> data;
    data.append(reply + head.headLen, qMax(0, head.dataLen));
    const ReplyWords words = {head.var.station, head.var.regName, head.var.addr, head.dataLen / 2,
                              data.constData()};
    storeReplyWords(words);
    if (driver.requestKind == KIND_RECIPE_UPLOAD) {
        storeUploadedRecipe(words);
    }
}

void removeHead() {
    driver.frameQueue.removeFirst();
    if (driver.frameQueue.isEmpty()) {
        dealListWhenFinish();
    }
}

} // namespace

unsigned int intf_dealRcvFrame(QByteArray* reply, QString* message) {
    *message = QString();
    if (driver.frameQueue.isEmpty()) {
        return REPLY_NOT_EXPECTED;
    }
    const unsigned char* bytes = reinterpret_cast<const unsigned char*>(reply->constData());
    const int length = static_cast<int>(reply->size());
    const int check = check_rcv_data(bytes, length);
    if (check == CHECK_REJECTED) {
        return rejectReply(length, message);
    }
    driver.lastError = 0;
    if (check == CHECK_DATA) {
        decode(bytes);
    }
    if (check != CHECK_KEEP_FRAME) {
        removeHead();
    }
    driver.badReplyCount = 0;
    return REPLY_ACCEPTED;
}
