#include "support/fresh_driver.h"

#include "support/message_handler.h"

namespace {

const std::size_t hostBlockSize = 60117;
const std::size_t statusBlockSize = 122024;
const std::size_t recipeWords = 4096;

MessageRecorder* recorder = nullptr;
MessageHandler previousHandler = nullptr;

void recordMessage(const QString& text) {
    recorder->lines.push_back(text.toStdString());
}

} // namespace

FreshDriver* FreshDriver::current = nullptr;

FreshDriver::FreshDriver()
    : hostBlock(hostBlockSize, 0), statusBlock(statusBlockSize, 0xEE),
      recipeBuffer(recipeWords, 0) {
    rebuildDriver();
    current = this;
    intf_setAddrValueChangeCallBack(&FreshDriver::record);
    init("7#0#0#3#64");
}

FreshDriver::~FreshDriver() {
    rebuildDriver();
    current = nullptr;
}

void FreshDriver::init(const char* properties) {
    intf_initProperty(hostBlock.data(), statusBlock.data(), recipeBuffer.data(), &initOut,
                      properties, &mutex);
}

void FreshDriver::init(int retryLimit, int wordsPerFrame) {
    const std::string properties =
        "7#0#0#" + std::to_string(retryLimit) + "#" + std::to_string(wordsPerFrame);
    init(properties.c_str());
}

std::vector<Notice> FreshDriver::takeNotices() {
    std::vector<Notice> taken;
    taken.swap(notices);
    return taken;
}

int FreshDriver::record(int tag, int station, QString regName, int address) {
    const Notice notice = {tag, station, regName.toStdString(), address};
    current->notices.push_back(notice);
    if (current->onNotice) {
        current->onNotice(notice);
    }
    return 0;
}

MessageRecorder::MessageRecorder() {
    recorder = this;
    previousHandler = installMessageHandler(&handleMessage<recordMessage>);
}

MessageRecorder::~MessageRecorder() {
    installMessageHandler(previousHandler);
    recorder = nullptr;
}

KEY_ADDRESS makeKey(const char* regName, int addr, int len, int station) {
    KEY_ADDRESS key = KEY_ADDRESS();
    key.station = station;
    key.regName = QString::fromLatin1(regName);
    key.addr = addr;
    key.len = len;
    return key;
}

VARIABLE makeRequest(const char* regName, int addr, int len, int station) {
    VARIABLE request = VARIABLE();
    request.station = station;
    request.regName = QString::fromLatin1(regName);
    request.addr = addr;
    request.len = len;
    return request;
}

const _DATA_& cached(int station, const char* regName, int wordAddr) {
    for (const _DATA_& record : driver.dataAreaList) {
        if (record.station == station && record.regName == QLatin1String(regName) &&
            record.wordAddr == wordAddr) {
            return record;
        }
    }
    static const _DATA_ none = _DATA_();
    ADD_FAILURE() << "no cached word " << regName << ' ' << wordAddr << " at station " << station;
    return none;
}
