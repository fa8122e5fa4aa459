#include "textbook_driver.h"

#include <QtCore/QDebug>

#include <algorithm>
#include <cstring>

namespace {

const int BITS = 16;
const int CYCLIC_READ = 4;
const int REPLY_HEAD = 14; ///< header, command code and end code
const unsigned char LAST_SERVICE_ID = 254;

bool isBits(const QString& regName) {
    return regName.endsWith(QLatin1String("_bit"));
}

/// What orders the keys: a register's place in the catalogue, then the address.
quint32 weight(const KEY_ADDRESS& key) {
    static const char* const names[] = {"CIO_bit", "WR_bit", "HR_bit", "AR_bit", "DM_bit", "CIO",
                                        "WR",      "HR",     "AR",     "T",      "C",      "DM"};
    quint32 place = 0;
    for (const char* name : names) {
        ++place;
        if (key.regName == QLatin1String(name)) {
            return place * 65535U + static_cast<quint32>(key.addr);
        }
    }
    return static_cast<quint32>(key.addr);
}

/// Bits become the words that hold them.
void makeWords(KEY_ADDRESS& key) {
    if (isBits(key.regName)) {
        const int end = key.addr + key.len;
        key.regName.chop(4);
        key.addr /= BITS;
        key.len = (end + BITS - 1) / BITS - key.addr;
    }
}

QList<KEY_ADDRESS> joined(const QList<KEY_ADDRESS>& keys, int largestGap, int most) {
    QList<KEY_ADDRESS> blocks;
    for (const KEY_ADDRESS& key : keys) {
        if (!blocks.isEmpty()) {
            KEY_ADDRESS& block = blocks.last();
            const int gap = key.addr - (block.addr + block.len);
            const int length = key.addr + key.len - block.addr;
            if (key.regName == block.regName && gap <= largestGap && length <= most) {
                block.len = length;
                continue;
            }
        }
        blocks.append(key);
    }
    return blocks;
}

int wordOf(const unsigned char* lowByteFirst) {
    return lowByteFirst[0] + 256 * lowByteFirst[1];
}

unsigned char areaCode(const QString& regName) {
    return regName == QLatin1String("DM") ? 0x82 : 0xB2; // the two registers that are measured
}

} // namespace

TextbookDriver::TextbookDriver(int hostTag, int wordsPerFrame, AddrValueChangeCallBack callback)
    : m_hostTag(hostTag), m_wordsPerFrame(wordsPerFrame), m_callback(callback) {}

int TextbookDriver::addrMerge(QList<KEY_ADDRESS>& keys) {
    for (_DATA_& record : m_cache) {
        record.wordMonitor = 0;
        record.bitMonitor = 0;
    }
    for (const KEY_ADDRESS& key : keys) {
        for (int i = 0; i < key.len; ++i) {
            if (isBits(key.regName)) {
                const int bit = key.addr + i;
                const QString words = key.regName.left(key.regName.size() - 4);
                m_cache[indexOf(key.station, words, bit / BITS)].bitMonitor |= 1 << bit % BITS;
            } else {
                m_cache[indexOf(key.station, key.regName, key.addr + i)].wordMonitor = 1;
            }
        }
        qDebug() << "step" << key.regName << key.addr << key.len;
    }
    std::for_each(keys.begin(), keys.end(), makeWords);
    std::stable_sort(keys.begin(), keys.end(), [](const KEY_ADDRESS& a, const KEY_ADDRESS& b) {
        return weight(a) < weight(b);
    });
    keys = joined(joined(keys, 0, m_wordsPerFrame), m_wordsPerFrame, m_wordsPerFrame);
    m_readList.clear();
    for (const KEY_ADDRESS& key : keys) {
        VARIABLE request = VARIABLE();
        request.type = CYCLIC_READ;
        request.station = key.station;
        request.regName = key.regName;
        request.addr = key.addr;
        request.len = key.len;
        m_readList.append(request);
    }
    return static_cast<int>(m_readList.size());
}

unsigned TextbookDriver::getSendFrame(FRAME_PRO& frame) {
    if (m_frameQueue.isEmpty()) {
        if (m_readList.isEmpty()) {
            return 0;
        }
        m_serviceId =
            m_serviceId == LAST_SERVICE_ID ? 0 : static_cast<unsigned char>(m_serviceId + 1);
        FRAME_PRO made = FRAME_PRO();
        made.var = m_readList.first();
        const unsigned char head[] = {0x80, 0, 2, 0, 0, 0, 0, 0, 0, m_serviceId, 1, 1};
        std::memcpy(made.frame, head, sizeof head);
        made.frame[12] = areaCode(made.var.regName);
        made.frame[13] = static_cast<unsigned char>(made.var.addr >> 8);
        made.frame[14] = static_cast<unsigned char>(made.var.addr);
        made.frame[16] = static_cast<unsigned char>(made.var.len >> 8);
        made.frame[17] = static_cast<unsigned char>(made.var.len);
        made.sendLen = 18;
        made.dataLen = 2 * made.var.len;
        made.rcvLen = REPLY_HEAD + made.dataLen;
        made.headLen = REPLY_HEAD;
        m_frameQueue.append(made);
    }
    frame = m_frameQueue.first();
    return 1;
}

int TextbookDriver::dealRcvFrame(const QByteArray& reply) {
    if (m_frameQueue.isEmpty()) {
        return REPLY_NOT_EXPECTED;
    }
    const FRAME_PRO frame = m_frameQueue.first();
    if (reply.size() != frame.rcvLen || reply.at(9) != static_cast<char>(frame.frame[9])) {
        return REPLY_REJECTED;
    }
    const QByteArray data = reply.mid(frame.headLen);
    for (int i = 0; i < frame.var.len; ++i) {
        const unsigned char word[] = {static_cast<unsigned char>(data.at(2 * i + 1)),
                                      static_cast<unsigned char>(data.at(2 * i))};
        const int index = indexOf(frame.var.station, frame.var.regName, frame.var.addr + i);
        take(m_cache[index], word);
    }
    m_frameQueue.removeFirst();
    m_readList.append(m_readList.takeFirst());
    return REPLY_ACCEPTED;
}

void TextbookDriver::getData(int station, const QString& regName, int addr, int count,
                             unsigned char* out) {
    for (int i = 0; i < count; ++i) {
        const _DATA_& record = m_cache.at(indexOf(station, regName, addr + i));
        const unsigned char* value = record.writePending ? record.writeValue : record.readValue;
        out[2 * i] = value[0];
        out[2 * i + 1] = value[1];
    }
}

int TextbookDriver::indexOf(int station, const QString& regName, int wordAddr) {
    for (int i = 0; i < m_cache.size(); ++i) {
        const _DATA_& record = m_cache.at(i);
        if (record.station == station && record.regName == regName && record.wordAddr == wordAddr) {
            return i;
        }
    }
    _DATA_ record = _DATA_();
    record.station = station;
    record.regName = regName;
    record.wordAddr = wordAddr;
    m_cache.append(record);
    return static_cast<int>(m_cache.size()) - 1;
}

/// The host is told first, and sees the value before inside the callback.
void TextbookDriver::take(_DATA_& record, const unsigned char* word) {
    const int before = wordOf(record.readValue);
    const int now = wordOf(word);
    if (before != now) {
        tellChangedBits(record, before, now);
        if (record.wordMonitor != 0) {
            m_callback(m_hostTag, record.station, record.regName, record.wordAddr);
        }
    }
    record.readValue[0] = word[0];
    record.readValue[1] = word[1];
}

void TextbookDriver::tellChangedBits(const _DATA_& record, int before, int now) const {
    for (int bit = 0; bit < BITS; ++bit) {
        if (((before ^ now) & record.bitMonitor & 1 << bit) != 0) {
            m_callback(m_hostTag, record.station, record.regName + QLatin1String("_bit"),
                       record.wordAddr * BITS + bit);
        }
    }
}
