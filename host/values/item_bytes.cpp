#include "host/values/item_bytes.h"

namespace velkor_host {

Items bitsOf(const Items& words, int firstWord, int bit, int count) {
    Items bits;
    bits.reserve(count);
    for (int at = bit; at < bit + count; ++at) {
        const quint16 word = words.at(at / 16 - firstWord);
        bits.append(static_cast<quint16>((word >> (at % 16)) & 1));
    }
    return bits;
}

QByteArray toDriverBytes(const Items& items, bool bitRegister) {
    QByteArray bytes;
    for (const quint16 item : items) {
        bytes.append(static_cast<char>(item & 0xFF));
        if (!bitRegister) {
            bytes.append(static_cast<char>(item >> 8));
        }
    }
    return bytes;
}

Items fromDriverBytes(const QByteArray& bytes, bool bitRegister) {
    Items items;
    const int step = bitRegister ? 1 : 2;
    for (int index = 0; index + step <= bytes.size(); index += step) {
        int item = static_cast<unsigned char>(bytes.at(index));
        if (!bitRegister) {
            item |= static_cast<unsigned char>(bytes.at(index + 1)) << 8;
        }
        items.append(static_cast<quint16>(item));
    }
    return items;
}

} // namespace velkor_host
