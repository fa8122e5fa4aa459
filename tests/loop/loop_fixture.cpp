#include "loop/loop_fixture.h"

#include "support/message_handler.h"

#include <cstdlib>
#include <iostream>

#include <dlfcn.h>

namespace {

const int station = 1;
const int hostTag = 7;

void* openLibrary() {
    void* library = dlopen(VELKOR_LIBRARY, RTLD_NOW);
    if (library == nullptr) {
        std::cerr << dlerror() << '\n';
        std::abort();
    }
    return library;
}

plc::Options nodeOne() {
    plc::Options options;
    options.node = 1;
    return options;
}

} // namespace

LoopFixture* LoopFixture::listener = nullptr;

template <typename Function> Function LoopFixture::entry(const char* name) const {
    void* address = dlsym(library_, name);
    if (address == nullptr) {
        std::cerr << name << " is not exported\n";
        std::abort();
    }
    return reinterpret_cast<Function>(address);
}

/// An entry point of the loaded library, with the type that the header declares.
#define ENTRY(name) entry<decltype(&(name))>(#name)

LoopFixture::LoopFixture()
    : plc(nodeOne()), hostBlock(60117, 0), statusBlock(122024, 0xEE), recipeBuffer(4096, 0),
      library_(openLibrary()) {
    listener = this;
    installMessageHandler(&ignoreMessage); // a line for every write and every block
    ENTRY(intf_setAddrValueChangeCallBack)(&LoopFixture::hear);
    init(3, 64);
    ENTRY(intf_SetDriverPropertyPage)(QLatin1String("6,0,1,0,0,10,0"));
}

LoopFixture::~LoopFixture() {
    dlclose(library_);
    installMessageHandler(nullptr);
    listener = nullptr;
}

void LoopFixture::init(int retryLimit, int wordsPerFrame) {
    bind(std::to_string(hostTag) + "#0#0#" + std::to_string(retryLimit) + "#" +
         std::to_string(wordsPerFrame));
}

void LoopFixture::bind(const std::string& properties) {
    int two = 0;
    ENTRY(intf_initProperty)
    (hostBlock.data(), statusBlock.data(), recipeBuffer.data(), &two, properties.c_str(), &mutex);
}

QList<KEY_ADDRESS> LoopFixture::keysOf(const std::vector<Tag>& tags) {
    QList<KEY_ADDRESS> keys;
    for (const Tag& tag : tags) {
        KEY_ADDRESS key = KEY_ADDRESS();
        key.station = station;
        key.regName = QString::fromStdString(tag.regName);
        key.addr = tag.addr;
        key.len = tag.len;
        keys.append(key);
    }
    return keys;
}

int LoopFixture::merge(QList<KEY_ADDRESS>& keys) {
    return ENTRY(intf_addrMerge)(keys);
}

int LoopFixture::poll(const std::vector<Tag>& tags) {
    QList<KEY_ADDRESS> keys = keysOf(tags);
    return merge(keys);
}

void LoopFixture::conditionRead(const Tag& tag) {
    KEY_ADDRESS key = KEY_ADDRESS();
    key.station = station;
    key.regName = QString::fromStdString(tag.regName);
    key.addr = tag.addr;
    key.len = tag.len;
    ENTRY(intf_addConditionRead)(key, 0);
}

void LoopFixture::recipe(std::initializer_list<_RCP_VAR_PRO> variables) {
    QVector<_RCP_VAR_PRO> list;
    for (const _RCP_VAR_PRO& variable : variables) {
        list.append(variable);
    }
    ENTRY(intf_setRcpAddress)(list);
}

_RCP_VAR_PRO LoopFixture::recipeVariable(const char* regName, int addr, int len, int offset) {
    _RCP_VAR_PRO variable = _RCP_VAR_PRO();
    variable.hostTag = hostTag;
    variable.station = station;
    variable.regName = QString::fromLatin1(regName);
    variable.addr = addr;
    variable.len = len;
    variable.rcpOffset = offset;
    return variable;
}

bool LoopFixture::ask() {
    return ENTRY(intf_getSendFrame)(out) == 1U;
}

int LoopFixture::reply(const plc::Bytes& bytes) {
    QByteArray array(reinterpret_cast<const char*>(bytes.data()), static_cast<int>(bytes.size()));
    QString text;
    const unsigned int result = ENTRY(intf_dealRcvFrame)(&array, &text);
    message = text.toStdString();
    return static_cast<int>(result);
}

plc::Bytes LoopFixture::askPlc() {
    return plc.handle(plc::Bytes(out.frame, out.frame + out.sendLen)).value_or(plc::Bytes());
}

int LoopFixture::turn() {
    return ask() ? reply(askPlc()) : -1;
}

int LoopFixture::silentTurn() {
    return ask() ? reply({}) : -1;
}

void LoopFixture::goodTurns(int count) {
    for (int i = 0; i < count; ++i) {
        ASSERT_EQ(1, turn()) << "turn " << i + 1 << " of " << count;
    }
}

void LoopFixture::runUntilIdle() {
    int nothing = 0;
    for (int turns = 0; nothing < 2; ++turns) {
        ASSERT_LT(turns, 5000) << "there is always something to send";
        nothing = turn() == -1 ? nothing + 1 : 0;
    }
}

int LoopFixture::hostWord(const char* regName, int addr) {
    unsigned char bytes[2] = {};
    ENTRY(intf_getData)(station, QString::fromLatin1(regName), addr, 1, bytes);
    return bytes[0] + 256 * bytes[1];
}

int LoopFixture::hostBit(const char* regName, int addr) {
    unsigned char bit = 0xEE;
    ENTRY(intf_getData)(station, QString::fromLatin1(regName), addr, 1, &bit);
    return bit;
}

void LoopFixture::writeWords(const char* regName, int addr, const std::vector<int>& words) {
    std::vector<unsigned char> bytes;
    for (const int word : words) {
        bytes.push_back(static_cast<unsigned char>(word % 256));
        bytes.push_back(static_cast<unsigned char>(word / 256));
    }
    ENTRY(intf_setData)
    (station, QString::fromLatin1(regName), addr, static_cast<int>(words.size()), bytes.data(), 0);
}

void LoopFixture::writeBits(const char* regName, int addr, const std::vector<int>& bits) {
    std::vector<unsigned char> bytes(bits.begin(), bits.end());
    ENTRY(intf_setData)
    (station, QString::fromLatin1(regName), addr, static_cast<int>(bits.size()), bytes.data(), 0);
}

std::vector<Notice> LoopFixture::takeNotices() {
    std::vector<Notice> taken;
    taken.swap(notices_);
    return taken;
}

int LoopFixture::hear(int tag, int fromStation, QString regName, int address) {
    const Notice notice = {tag, fromStation, regName.toStdString(), address};
    listener->notices_.push_back(notice);
    if (listener->onNotice) {
        listener->onNotice(notice);
    }
    return 0;
}

plc::Area areaOf(const std::string& regName) {
    const std::string base = regName.substr(0, regName.find('_'));
    return plc::areaNamed(base).value();
}

bool isBitName(const std::string& regName) {
    return regName.find("_bit") != std::string::npos;
}
