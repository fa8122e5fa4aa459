#include "model/call.h"

#include "model/journal.h"

namespace model {

namespace {

const char* const kindNames[KindCount] = {
    "setCallback",       "initProperty",    "getProtocolType",  "getDriverParameter",
    "getPropertyPage",   "setPropertyPage", "getRegListByType", "getRegDiscription",
    "checkAddrValidity", "checkAddr",       "addConditionRead", "addrMerge",
    "setRcpAddress",     "getSendFrame",    "dealRcvFrame",     "getData",
    "setData",           "multiCopy",       "connectToServer",  "_byteDataChange",
    "putRequestByte",    "putRecipeWords",  "forgetNodes",      "putSid"};

void add(std::string& text, const char* name, long long value) {
    if (value != 0) {
        text += std::string(" ") + name + '=' + std::to_string(value);
    }
}

void add(std::string& text, const Range& range) {
    text += " {";
    add(text, "tag", range.tag);
    add(text, "station", range.station);
    text += ' ' + quoted(range.name) + ' ' + std::to_string(range.addr) + " len " +
            std::to_string(range.len);
    add(text, "offset", range.offset);
    add(text, "countKind", range.countKind);
    text += '}';
}

void add(std::string& text, const Reply& reply) {
    static const char* const sids[] = {"of the frame", "newest", "fixed"};
    add(text, "age", reply.age);
    text += reply.exactLength ? " length=" : " length+=";
    text += std::to_string(reply.length) + " sid: " + sids[reply.sid];
    add(text, "sid", reply.sidValue);
    add(text, "mres", reply.mres);
    add(text, "sres", reply.sres);
    add(text, "seed", reply.seed);
    add(text, "pattern", reply.pattern);
}

} // namespace

Call::Call() : Call(Send) {}

Call::Call(Kind kindOfCall)
    : kind(kindOfCall), station(0), addr(0), count(0), number(0), seed(0), pattern(0), reply() {}

Call::Call(const Call&) = default;
Call::Call(Call&&) noexcept = default;
Call& Call::operator=(const Call&) = default;
Call& Call::operator=(Call&&) noexcept = default;
Call::~Call() = default;

std::string describe(const Call& call) {
    std::string text = kindNames[call.kind];
    add(text, "station", call.station);
    if (!call.name.isEmpty()) {
        text += ' ' + quoted(call.name);
    }
    if (!call.text.isEmpty()) {
        text += " text " + quoted(call.text);
    }
    add(text, "addr", call.addr);
    add(text, "count", call.count);
    add(text, "number", call.number);
    add(text, "seed", call.seed);
    add(text, "pattern", call.pattern);
    for (const Range& range : call.ranges) {
        add(text, range);
    }
    if (call.kind == Deal) {
        add(text, call.reply);
    }
    for (const Call::Reaction& reaction : call.reactions) {
        text += "\n        inside " +
                (reaction.when == EveryCallback ? std::string("every callback")
                                                : "callback " + std::to_string(reaction.when)) +
                ": " + describe(reaction.call);
    }
    return text;
}

unsigned scrambled(unsigned seed, unsigned index) {
    unsigned value = seed * 2654435761U ^ index * 2246822519U;
    value = (value ^ (value >> 15)) * 3266489917U;
    return value ^ (value >> 13);
}

QByteArray bytesFrom(unsigned seed, int pattern, int count) {
    QByteArray bytes;
    for (int i = 0; i < count; ++i) {
        const unsigned value = scrambled(seed, static_cast<unsigned>(i));
        bytes.append(static_cast<char>(value & static_cast<unsigned>(pattern) & 0xFFU));
    }
    return bytes;
}

} // namespace model
