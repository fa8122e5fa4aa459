#include "fuzz/driver_host.h"

#include "support/rebuild_driver.h"

#include <sanitizer/asan_interface.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <vector>

#include <QtCore/QSet>

namespace {

const int HOST_BLOCK_SIZE = HOST_RECIPE_UPLOAD_REQUEST + 1;
const int STATUS_BLOCK_SIZE = HOST_COMMUNICATION_STATUS_DETAIL + 1;
const unsigned char UNTOUCHED = 0xEE;
const int DEEPEST = 3;
const int LONGEST_LIST = 513;

/// What the host lends. The bytes that are none of the driver's business are poisoned, so that a
/// sanitizer reports the first access; beyond the end lies the sanitizer's own red zone.
struct Memory {
    std::vector<unsigned char> hostBlock = std::vector<unsigned char>(HOST_BLOCK_SIZE, 0);
    std::vector<unsigned char> statusBlock =
        std::vector<unsigned char>(STATUS_BLOCK_SIZE, UNTOUCHED);
    std::vector<unsigned short> recipe = std::vector<unsigned short>(RECIPE_WORDS, 0);
    QMutex mutex;

    Memory() {
        const std::size_t granule = 8;
        ASAN_POISON_MEMORY_REGION(hostBlock.data(), HOST_BLOCK_SIZE / granule * granule);
        ASAN_POISON_MEMORY_REGION(statusBlock.data(), STATUS_BLOCK_SIZE - granule);
    }
};

Memory& memory() {
    static Memory* const memory = new Memory; // outlives the driver
    return *memory;
}

void swallow(QtMsgType type, const QMessageLogContext&, const QString& text) {
    if (type == QtFatalMsg) {
        std::fprintf(stderr, "%s\n", qPrintable(text));
    }
}

/// Hashes that are the same in every process: an input takes the same way each time.
const bool hashesAreFixed = qputenv("QT_HASH_SEED", "0");

unsigned char& status(int offset) {
    return memory().statusBlock[static_cast<std::size_t>(offset)];
}

unsigned char& host(int offset) {
    return memory().hostBlock[static_cast<std::size_t>(offset)];
}

} // namespace

DriverHost* DriverHost::s_current = nullptr;

DriverHost::DriverHost() {
    qInstallMessageHandler(&swallow);
    rebuildDriver();
    s_current = this;
    host(HOST_RECIPE_DOWNLOAD_REQUEST) = 0;
    host(HOST_RECIPE_UPLOAD_REQUEST) = 0;
    status(HOST_COMMUNICATION_STATUS) = UNTOUCHED;
    status(HOST_COMMUNICATION_STATUS_DETAIL) = UNTOUCHED;
    std::fill(memory().recipe.begin(), memory().recipe.end(), static_cast<unsigned short>(0));
    intf_setAddrValueChangeCallBack(&DriverHost::hear);
    bind("7#0#0#3#64");
}

DriverHost::~DriverHost() {
    checkState();
    rebuildDriver();
    s_current = nullptr;
}

void DriverHost::bind(const QByteArray& properties) {
    int out = 0;
    const int result =
        intf_initProperty(memory().hostBlock.data(), memory().statusBlock.data(),
                          memory().recipe.data(), &out, properties.constData(), &memory().mutex);
    require(result == 1 && out == 2, "initProperty gives 1 and 2");
}

void DriverHost::requestDownload(unsigned char value) {
    host(HOST_RECIPE_DOWNLOAD_REQUEST) = value;
}

void DriverHost::requestUpload(unsigned char value) {
    host(HOST_RECIPE_UPLOAD_REQUEST) = value;
}

bool DriverHost::recipeRequested() {
    return host(HOST_RECIPE_DOWNLOAD_REQUEST) == 1 || host(HOST_RECIPE_UPLOAD_REQUEST) == 1;
}

unsigned short* DriverHost::recipe() {
    return memory().recipe.data();
}

int DriverHost::hear(int tag, int, QString, int) {
    require(memory().mutex.tryLock(), "the mutex is free inside the callback");
    memory().mutex.unlock();
    require(tag == driver.hostTag || tag == 0 || tag == -1, "a callback's tag");
    if (s_current->onNotice && s_current->m_depth < DEEPEST) {
        ++s_current->m_depth;
        s_current->onNotice();
        --s_current->m_depth;
    }
    return 0;
}

bool DriverHost::ask() {
    const int untouched = -77;
    frame.sendLen = untouched;
    frame.rcvLen = untouched;
    const unsigned int result = intf_getSendFrame(frame);
    require(result <= 1, "getSendFrame gives 0 or 1");
    if (result == 0) {
        require(frame.sendLen == untouched && frame.rcvLen == untouched,
                "0 leaves the frame alone");
        require(driver.frameQueue.isEmpty(), "0 leaves no frame queued");
    } else {
        checkFrame();
        FRAME_PRO again = FRAME_PRO();
        require(intf_getSendFrame(again) == 1 &&
                    std::memcmp(frame.frame, again.frame, VELKOR_FRAME_SIZE) == 0,
                "asked again, the same frame");
    }
    checkState();
    return result == 1;
}

/// Frames of negative counts have a length that is shorter than their header.
void DriverHost::checkFrame() const {
    const int header = 18;
    require(frame.sendLen <= VELKOR_FRAME_SIZE, "a frame is no longer than its buffer");
    require(frame.spare == 0, "spare is 0");
    static const unsigned char zeros[VELKOR_FRAME_SIZE] = {};
    const int sent = std::max(frame.sendLen, header);
    require(std::memcmp(frame.frame + sent, zeros,
                        static_cast<std::size_t>(VELKOR_FRAME_SIZE - sent)) == 0,
            "zero behind the bytes to send");
}

unsigned int DriverHost::deal(const QByteArray& reply) {
    const bool expected = !driver.frameQueue.isEmpty();
    QByteArray handedOver(reply.constData(), reply.size()); // its own bytes, of exactly that size
    QString message = QStringLiteral("old");
    const unsigned int result = intf_dealRcvFrame(&handedOver, &message);
    require((result == REPLY_NOT_EXPECTED) == !expected, "0 exactly without a frame");
    require((result == REPLY_REQUEST_FAILED) == !message.isEmpty(), "a text exactly with 2");
    require(handedOver == reply, "the reply stays as it was");
    switch (result) {
    case REPLY_REJECTED:
        require(!driver.frameQueue.isEmpty(), "8 keeps the frame");
        break;
    case REPLY_REQUEST_FAILED:
        require(driver.frameQueue.isEmpty() && status(HOST_COMMUNICATION_STATUS) == 4 &&
                    status(HOST_COMMUNICATION_STATUS_DETAIL) == 0,
                "2 writes the status and drops the frames");
        break;
    default:
        require(result <= REPLY_ACCEPTED, "a ReplyResult");
    }
    checkState();
    return result;
}

QByteArray DriverHost::data(int station, const QString& reg, int addr, int count) {
    const int size = count < 1 ? 0 : reg.endsWith(QLatin1String("_bit")) ? count : 2 * count;
    std::vector<unsigned char> buffer(static_cast<std::size_t>(size), UNTOUCHED);
    require(intf_getData(station, reg, addr, count, buffer.data()) == 1, "getData gives 1");
    return QByteArray(reinterpret_cast<const char*>(buffer.data()), size);
}

void DriverHost::write(int station, const QString& reg, int addr, int count, QByteArray bytes,
                       int tag) {
    const int size = count < 1 ? 0 : reg.endsWith(QLatin1String("_bit")) ? count : 2 * count;
    std::vector<unsigned char> buffer(static_cast<std::size_t>(size), 0);
    std::copy_n(bytes.constData(), std::min(size, static_cast<int>(bytes.size())), buffer.begin());
    require(intf_setData(station, reg, addr, count, buffer.data(), tag) == 1, "setData gives 1");
}

void DriverHost::checkState() {
    require(driver.writeList.size() <= LONGEST_LIST, "at most 513 writes wait");
    require(driver.conditionReadList.size() <= LONGEST_LIST, "at most 513 condition reads wait");
    require(status(HOST_COMMUNICATION_STATUS) == UNTOUCHED
                ? status(HOST_COMMUNICATION_STATUS_DETAIL) == UNTOUCHED
                : status(HOST_COMMUNICATION_STATUS) == 4 &&
                      status(HOST_COMMUNICATION_STATUS_DETAIL) == 0,
            "the status bytes are untouched, or 4 and 0");
}

void DriverHost::checkCache() {
    QSet<QPair<QString, QPair<int, int>>> keys;
    for (const _DATA_& record : qAsConst(driver.dataAreaList)) {
        const int before = static_cast<int>(keys.size());
        keys.insert(qMakePair(record.regName, qMakePair(record.station, record.wordAddr)));
        require(keys.size() > before, "each word has one record");
        require(record.firstByteFlag == 0 && record.writePending <= 1, "a record's flags");
    }
}

QString registerName(Input& input) {
    static const char* const names[] = {
        "DM", "CIO_bit", "CIO", "DM_bit", "WR_bit", "HR_bit",  "AR_bit", "WR",        "HR",
        "AR", "T",       "C",   "_bit",   "",       "A_B_bit", "dm",     "DM_bit_bit"};
    const int count = static_cast<int>(sizeof names / sizeof names[0]);
    const int choice = input.upTo(count);
    return choice < count ? QString::fromLatin1(names[choice]) : input.text();
}

KEY_ADDRESS keyOf(const QString& reg, int addr, int len, int station) {
    KEY_ADDRESS key = KEY_ADDRESS();
    key.station = station;
    key.regName = reg;
    key.addr = addr;
    key.len = len;
    return key;
}

KEY_ADDRESS anyKey(Input& input) {
    const QString reg = registerName(input);
    const int addr = input.number();
    KEY_ADDRESS key = keyOf(reg, addr, std::min(input.number(), LONGEST));
    const int rest = input.byte();
    key.station = (rest & 3) == 3 ? input.number() : 1;
    key.countKind = (rest & 4) != 0 ? -1 : 0;
    return key;
}

_RCP_VAR_PRO anyVariable(Input& input) {
    _RCP_VAR_PRO variable = _RCP_VAR_PRO();
    variable.regName = registerName(input);
    variable.addr = input.number();
    variable.len = input.number();
    variable.rcpOffset = input.upTo(RECIPE_ROOM - 1);
    variable.len = std::min(variable.len, RECIPE_ROOM - variable.rcpOffset);
    const int rest = input.byte();
    variable.hostTag = (rest & 7) == 7 ? 8 : 7;
    variable.station = (rest & 0x38) == 0x38 ? input.number() : 1;
    return variable;
}

QByteArray goodReply(const FRAME_PRO& frame, unsigned char fill) {
    const int longest = 2 * LONGEST + 64;
    const int length = std::min(std::max(frame.rcvLen, 0), longest);
    QByteArray reply(length, '\0');
    for (int i = 14; i < length; ++i) {
        reply[i] = static_cast<char>(fill == 0 ? 0 : i * fill + fill);
    }
    const unsigned char head[] = {0xC0,
                                  0,
                                  2,
                                  frame.frame[6],
                                  frame.frame[7],
                                  frame.frame[8],
                                  frame.frame[3],
                                  frame.frame[4],
                                  frame.frame[5],
                                  frame.frame[9],
                                  frame.frame[10],
                                  frame.frame[11]};
    const int headSize = std::min(length, static_cast<int>(sizeof head));
    std::copy_n(head, headSize, reinterpret_cast<unsigned char*>(reply.data()));
    return reply;
}

QByteArray anyReply(const FRAME_PRO& frame, Input& input) {
    const int kind = input.upTo(15);
    QByteArray reply = goodReply(frame, kind < 6 ? 0 : input.byte());
    const auto put = [&reply](int at, int value) {
        if (at < reply.size()) {
            reply[at] = static_cast<char>(value);
        }
    };
    switch (kind) {
    case 0:
        return QByteArray();
    case 1:
        put(12, 0x22); // refused by the PLC's mode
        put(13, 3 + input.upTo(3));
        break;
    case 2:
        put(12, input.byte());
        put(13, input.byte());
        break;
    case 3:
        put(9, input.byte());
        break;
    case 4:
        reply.resize(std::min(static_cast<int>(reply.size()), int(input.byte())));
        break;
    case 5:
        reply += input.bytes();
        break;
    case 6: { // its words from the input
        const QByteArray words = input.bytes();
        reply.replace(14, words.size(), words);
        reply.resize(std::min(static_cast<int>(reply.size()), std::max(frame.rcvLen, 0)));
        break;
    }
    case 7:
        return input.bytes();
    default:
        break;
    }
    return reply;
}
