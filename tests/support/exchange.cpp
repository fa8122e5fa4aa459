#include "support/exchange.h"

#include "data/data_area.h"

#include <algorithm>

namespace {

unsigned char byteOf(int value) {
    return static_cast<unsigned char>(value & 0xFF);
}

int countOf(const FRAME_PRO& frame) {
    return frame.frame[16] * 256 + frame.frame[17];
}

} // namespace

Bytes sentBytes(const FRAME_PRO& frame) {
    return Bytes(frame.frame, frame.frame + std::clamp(frame.sendLen, 0, 1024));
}

Bytes endCodeReply(int sid, int mrc, int src, int mres, int sres) {
    return {0xC0, 0,           2,           0,           10,           0,           0, 1,
            0,    byteOf(sid), byteOf(mrc), byteOf(src), byteOf(mres), byteOf(sres)};
}

Bytes readReply(int sid, const Words& words, int mres, int sres) {
    Bytes reply = endCodeReply(sid, 1, 1, mres, sres);
    for (const unsigned short word : words) {
        reply.push_back(byteOf(word >> 8));
        reply.push_back(byteOf(word));
    }
    return reply;
}

Bytes nodeReply(int clientNode, int serverNode) {
    Bytes reply(24, 0);
    reply[19] = byteOf(clientNode);
    reply[23] = byteOf(serverNode);
    return reply;
}

std::string commandOf(const FRAME_PRO& frame) {
    const int command = frame.frame[10] * 256 + frame.frame[11];
    return command == 0x0101   ? "read"
           : command == 0x0102 ? "write"
           : command == 0x0401 ? "mode"
                               : "?";
}

std::string describe(const FRAME_PRO& frame) {
    std::string command = commandOf(frame);
    if (command == "mode" || command == "?") {
        return command;
    }
    return command + " " + frame.var.regName.toStdString() + " " + std::to_string(frame.var.addr) +
           " " + std::to_string(frame.var.len);
}

unsigned int Exchange::ask() {
    return intf_getSendFrame(out);
}

std::string Exchange::next() {
    return ask() == 1 ? describe(out) : "nothing";
}

unsigned int Exchange::deal(const Bytes& reply) {
    QByteArray bytes(reinterpret_cast<const char*>(reply.data()), static_cast<int>(reply.size()));
    QString text = QLatin1String("not replaced");
    const unsigned int result = intf_dealRcvFrame(&bytes, &text);
    message = text.toStdString();
    return result;
}

unsigned int Exchange::answer() {
    if (commandOf(out) == "read") {
        return answer(Words(static_cast<std::size_t>(countOf(out)), 0));
    }
    return refuse(0, 0);
}

unsigned int Exchange::answer(const Words& words) {
    return deal(readReply(out.frame[9], words));
}

unsigned int Exchange::refuse(int mres, int sres) {
    return deal(endCodeReply(out.frame[9], out.frame[10], out.frame[11], mres, sres));
}

void Exchange::fail() {
    for (int bad = 1; bad < driver.retryLimit; ++bad) {
        ASSERT_EQ(8U, deal({})) << "bad reply " << bad;
    }
    ASSERT_EQ(2U, deal({}));
}

std::string Exchange::turn() {
    std::string asked = next();
    if (asked != "nothing") {
        EXPECT_EQ(1U, answer()) << asked;
    }
    return asked;
}

VARIABLE Exchange::withData(VARIABLE request, const Bytes& data) {
    std::copy(data.begin(), data.end(), request.data);
    return request;
}

_RCP_VAR_PRO Exchange::recipeVariable(const char* regName, int addr, int len, int offset,
                                      int station) {
    _RCP_VAR_PRO variable = _RCP_VAR_PRO();
    variable.hostTag = hostTag;
    variable.station = station;
    variable.regName = QString::fromLatin1(regName);
    variable.addr = addr;
    variable.len = len;
    variable.rcpOffset = offset;
    return variable;
}

void Exchange::recipe(std::initializer_list<_RCP_VAR_PRO> variables) {
    QVector<_RCP_VAR_PRO> list;
    for (const _RCP_VAR_PRO& variable : variables) {
        list.append(variable);
    }
    intf_setRcpAddress(list);
}

void Exchange::poll(std::initializer_list<KEY_ADDRESS> keys) {
    QList<KEY_ADDRESS> list;
    for (const KEY_ADDRESS& key : keys) {
        list.append(key);
    }
    intf_addrMerge(list);
}

void Exchange::conditionRead(const char* regName, int addr, int len, int station) {
    intf_addConditionRead(makeKey(regName, addr, len, station), 0);
}

std::vector<Notice> Exchange::failureThen(std::vector<Notice> more) {
    more.insert(more.begin(), {{0, -1, "LW", 122022}, {0, -1, "LW", 122023}});
    return more;
}

void Exchange::monitor(const char* regName, int addr, int count, int station) {
    _setDataAreaMonitorFlag(station, QString::fromLatin1(regName), addr, count);
}

int Exchange::hostWord(const char* regName, int addr, int station) {
    unsigned char bytes[2] = {};
    intf_getData(station, QString::fromLatin1(regName), addr, 1, bytes);
    return bytes[0] + 256 * bytes[1];
}

void Exchange::hostWrites(const char* regName, int addr, const Words& words, int station) {
    Bytes bytes;
    for (const unsigned short word : words) {
        bytes.push_back(byteOf(word));
        bytes.push_back(byteOf(word >> 8));
    }
    intf_setData(station, QString::fromLatin1(regName), addr, static_cast<int>(words.size()),
                 bytes.data(), 0);
}

void Exchange::hostWritesBits(const char* regName, int addr, const Bytes& bits, int station) {
    Bytes bytes = bits;
    intf_setData(station, QString::fromLatin1(regName), addr, static_cast<int>(bits.size()),
                 bytes.data(), 0);
}
