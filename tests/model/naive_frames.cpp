#include "model/naive_driver.h"

#include <cstring>

namespace model {

namespace {

unsigned char lowByte(int value) {
    return static_cast<unsigned char>(static_cast<unsigned>(value) & 0xFFU);
}

unsigned char highByte(int value) {
    return static_cast<unsigned char>((static_cast<unsigned>(value) >> 8) & 0xFFU);
}

/// The address's high byte on the wire; counters lie 0x8000 words above timers.
unsigned char addressHighByte(const QString& name, int word) {
    const int more = name == QLatin1String("C") ? 0x80 : 0;
    return lowByte(highByte(word) + more);
}

} // namespace

unsigned char NaiveDriver::nextSid() {
    const int next = (s.SID + 1) % 256;
    s.SID = static_cast<unsigned char>(next == 255 ? 0 : next);
    return s.SID;
}

void NaiveDriver::fillHeader(host::FramePro& frame) {
    const unsigned char header[10] = {
        0x80,           0x00,           0x02,           lowByte(s.DNA), lowByte(s.DA1),
        lowByte(s.DA2), lowByte(s.SNA), lowByte(s.SA1), lowByte(s.SA2), nextSid()};
    std::memcpy(frame.frame, header, sizeof header);
}

void NaiveDriver::queueRead(const host::Variable& request) {
    host::FramePro frame = host::FramePro();
    fillHeader(frame);
    unsigned char* command = frame.frame + 10;
    command[0] = 0x01;
    command[1] = 0x01;
    command[2] = areaCode(request.regName);
    command[3] = addressHighByte(request.regName, request.addr);
    command[4] = lowByte(request.addr);
    command[5] = 0;
    command[6] = highByte(request.len);
    command[7] = lowByte(request.len);
    frame.sendLen = 18;
    frame.rcvLen = wrapped(14 + 2LL * request.len);
    frame.headLen = 14;
    frame.dataLen = wrapped(2LL * request.len);
    frame.var = request;
    s.frameQueue.push_back(frame);
}

void NaiveDriver::queueWriteFrame(const host::Variable& request) {
    const bool bits = endsInBit(request.regName);
    const int sendLen = wrapped(18 + (bits ? 1LL : 2LL) * request.len);
    if (request.len > (bits ? 1006 : 503) || sendLen > 1024) {
        return; // it does not fit
    }
    host::FramePro frame = host::FramePro();
    fillHeader(frame);
    const int word = bits ? request.addr / 16 : request.addr;
    unsigned char* command = frame.frame + 10;
    command[0] = 0x01;
    command[1] = 0x02;
    command[2] = areaCode(request.regName);
    command[3] = addressHighByte(request.regName, word);
    command[4] = lowByte(word);
    command[5] = bits ? lowByte(request.addr % 16) : static_cast<unsigned char>(0);
    command[6] = highByte(request.len);
    command[7] = lowByte(request.len);
    for (int i = 0; i < request.len; ++i) {
        if (bits) {
            frame.frame[18 + i] = request.data[i];
        } else {
            frame.frame[18 + 2 * i] = request.data[2 * i + 1];
            frame.frame[19 + 2 * i] = request.data[2 * i];
        }
    }
    frame.sendLen = sendLen;
    frame.rcvLen = 14;
    frame.var = request;
    s.frameQueue.push_back(frame);
}

void NaiveDriver::queueModeChange() {
    host::FramePro frame = host::FramePro();
    fillHeader(frame);
    const unsigned char command[5] = {0x04, 0x01, 0xFF, 0xFF, 0x02};
    std::memcpy(frame.frame + 10, command, sizeof command);
    frame.sendLen = 15;
    frame.rcvLen = 14;
    s.frameQueue.insert(s.frameQueue.begin(), frame);
}

void NaiveDriver::connectToServer() {
    host::FramePro frame = host::FramePro();
    std::memcpy(frame.frame, "FINS", 4);
    frame.frame[7] = 12;
    frame.sendLen = 20;
    frame.rcvLen = 24;
    s.frameQueue.push_back(frame);
}

} // namespace model
