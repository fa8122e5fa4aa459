#include "model/naive_driver.h"

namespace model {

namespace {

enum { Rejected = 0, Data = 1, Done = 2 };

int byteAt(const QByteArray& reply, int index) {
    return static_cast<unsigned char>(reply.at(index));
}

} // namespace

unsigned int NaiveDriver::dealRcvFrame(QByteArray* reply, QString* message) {
    *message = QLatin1String("");
    if (s.frameQueue.empty()) {
        return 0;
    }
    const int judgement = judge(*reply);
    if (judgement == Rejected) {
        return reject(*reply, message);
    }
    s.lastError = 0;
    if (judgement == Data) {
        decode(*reply);
    }
    s.frameQueue.erase(s.frameQueue.begin());
    if (s.frameQueue.empty()) {
        finishRequest();
    }
    s.badReplyCount = 0;
    return 1;
}

int NaiveDriver::judge(const QByteArray& reply) {
    const host::FramePro& head = s.frameQueue[0];
    if (reply.size() != head.rcvLen) {
        return Rejected;
    }
    if (s.nodeLearned == 0) {
        if (reply.size() < 24) {
            return Rejected;
        }
        s.nodeLearned = 1;
        s.SA1 = byteAt(reply, 19);
        s.DA1 = byteAt(reply, 23);
        return Done;
    }
    if (reply.size() < 10 || byteAt(reply, 9) != s.SID) {
        return Rejected;
    }
    if (head.dataLen != 0) {
        return Data;
    }
    return judgeEndCode(reply);
}

int NaiveDriver::judgeEndCode(const QByteArray& reply) {
    if (reply.size() < 14) {
        return Rejected;
    }
    if (byteAt(reply, 12) != 0x22) {
        return Done;
    }
    const int second = byteAt(reply, 13);
    if (second != 0x03 && second != 0x04 && second != 0x06) {
        return Done;
    }
    if (s.frameQueue.size() <= 2) {
        queueModeChange();
    }
    return Rejected;
}

unsigned int NaiveDriver::reject(const QByteArray& reply, QString* message) {
    s.badReplyCount = wrapped(s.badReplyCount + 1LL);
    if (s.badReplyCount < s.retryLimit) {
        return 8;
    }
    const host::Variable& request = s.frameQueue[0].var;
    *message = QString::number(reply.size()) + QLatin1Char(',') + QString::number(request.station) +
               QLatin1Char(',') + QString::number(request.addr) + QLatin1Char(',') +
               request.regName;
    failRequest();
    return 2;
}

void NaiveDriver::failRequest() {
    s.lastError = 1;
    s.hostStatusBlock[122022] = 4;
    s.hostStatusBlock[122023] = 0;
    callBack(0, -1, QLatin1String("LW"), 122022);
    callBack(0, -1, QLatin1String("LW"), 122023);
    s.frameQueue.clear();
    s.badReplyCount = 0;
    finishRequest();
}

void NaiveDriver::decode(const QByteArray& reply) {
    const host::FramePro head = s.frameQueue[0];
    const int words = head.dataLen / 2;
    for (int i = 0; i < words; ++i) {
        const int high = byteAt(reply, head.headLen + 2 * i);
        const int low = byteAt(reply, head.headLen + 2 * i + 1);
        decodeWord(head.var, wrapped(static_cast<long long>(head.var.addr) + i),
                   static_cast<unsigned char>(low), static_cast<unsigned char>(high));
    }
    if (s.requestKind == 6) {
        takeUploadedWords(reply, head.headLen, words);
    }
}

void NaiveDriver::decodeWord(const host::Variable& request, int address, unsigned char low,
                             unsigned char high) {
    const std::size_t at =
        static_cast<std::size_t>(findWord(request.station, request.regName, address));
    host::DataRecord& found = s.dataAreaList[at];
    found.firstByteFlag = 0;
    if (found.readValue[0] == low && found.readValue[1] == high) {
        return;
    }
    found.writePending = 0;
    const int before = found.readValue[0] + 256 * found.readValue[1];
    wordChange(before, low + 256 * high, request.station, request.regName, address);
    host::DataRecord& record = s.dataAreaList[at]; // the list may have grown
    record.readValue[0] = low;
    record.readValue[1] = high;
}

void NaiveDriver::takeUploadedWords(const QByteArray& reply, int first, int words) {
    const int blocks = static_cast<int>(s.rcpVector.size());
    if (s.rcpIndex < 0 || s.rcpIndex >= blocks) {
        return;
    }
    const std::size_t block = static_cast<std::size_t>(s.rcpIndex);
    const std::size_t begin = static_cast<std::size_t>(s.rcpBlockFirst[block]);
    const std::size_t end = s.rcpIndex + 1 < blocks
                                ? static_cast<std::size_t>(s.rcpBlockFirst[block + 1])
                                : s.rcpVarVector.size();
    for (std::size_t e = begin; e < end; ++e) {
        const host::RecipeVariable variable = s.rcpVarVector[e];
        const long long shift =
            wrapped(static_cast<long long>(variable.addr) - s.rcpVarVector[begin].addr);
        for (int word = 0; word < words; ++word) { // the word's place in the reply
            const long long j = word - shift;      // its place in the variable
            if (j < 0 || j >= variable.len) {
                continue;
            }
            const int index = wrapped(variable.rcpOffset + j);
            unsigned char* to = reinterpret_cast<unsigned char*>(s.hostRecipeBuffer + index);
            to[0] = static_cast<unsigned char>(byteAt(reply, first + 2 * word + 1));
            to[1] = static_cast<unsigned char>(byteAt(reply, first + 2 * word));
            callBack(0, -1, QLatin1String("RWI"), index);
        }
    }
}

void NaiveDriver::finishRequest() {
    switch (s.requestKind) {
    case 2:
        finishWrite();
        break;
    case 3:
        finishConditionRead();
        break;
    case 4:
        if (s.readList.size() >= 2) {
            s.readList.push_back(host::Variable(s.readList[0]));
            s.readList.erase(s.readList.begin());
        }
        break;
    case 5:
        finishRecipeBlock(60115);
        break;
    case 6:
        finishRecipeBlock(60116);
        break;
    default:
        break;
    }
}

void NaiveDriver::finishWrite() {
    if (s.writeList.empty()) {
        return;
    }
    const host::Variable write = s.writeList[0];
    const int result = s.lastError != 0 ? 0 : 1;
    if (endsInBit(write.regName)) {
        settleBits(write.station, write.regName, write.addr, write.len, result);
    } else {
        settleWords(write.station, write.regName, write.addr, write.len, result);
    }
    s.writeList.erase(s.writeList.begin());
}

void NaiveDriver::finishConditionRead() {
    if (s.conditionReadList.empty()) {
        return;
    }
    if (sameRequest(s.conditionReadList[0], s.conditionKey)) {
        callBack(-1, -1, QLatin1String("-1"), s.lastError != 0 ? -1 : 0);
    }
    if (s.lastError != 0) {
        s.conditionReadList.clear();
    } else {
        s.conditionReadList.erase(s.conditionReadList.begin());
    }
}

void NaiveDriver::finishRecipeBlock(int requestByte) {
    if (s.lastError == 0) {
        s.rcpIndex = wrapped(s.rcpIndex + 1LL);
        if (s.rcpIndex < static_cast<int>(s.rcpVector.size())) {
            return;
        }
    }
    s.rcpIndex = 0;
    s.hostBlock[requestByte] = 0;
}

} // namespace model
