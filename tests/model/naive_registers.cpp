#include "model/naive_driver.h"

#include <cstdio>

namespace model {

namespace {

struct Register {
    const char* name;
    const char* format;
    const char* lowest;
    const char* highest;
    int kind; ///< 0 bits, 1 words
    unsigned char area;
};

const Register registers[12] = {
    {"CIO_bit", "ddddd.DD (DD:0~15)", "0.0", "6143.15", 0, 0x30},
    {"WR_bit", "dd.DD (DD:0~15)", "0.0", "511.15", 0, 0x31},
    {"HR_bit", "dddd.DD (DD:0~15)", "0.0", "1535.15", 0, 0x32},
    {"AR_bit", "ddd.DD (DD:0~15)", "448.0", "959.15", 0, 0x33},
    {"DM_bit", "ddddd.DD (DD:0~15)", "0.0", "32767.15", 0, 0x02},
    {"CIO", "dddd", "0", "6143", 1, 0xB0},
    {"WR", "ddd", "0", "511", 1, 0xB1},
    {"HR", "dddd", "0", "1535", 1, 0xB2},
    {"AR", "ddd", "0", "959", 1, 0xB3},
    {"T", "dddd", "0", "4095", 1, 0x89},
    {"C", "dddd", "0", "4095", 1, 0x89},
    {"DM", "ddddd", "0", "32767", 1, 0x82},
};

QString latin(const char* text) {
    return QString::fromLatin1(text);
}

/// Word and bit of "word.bit"; false when the text is none.
bool readWordBit(const QString& text, int& out) {
    const std::vector<QString> parts = piecesOf(text, QLatin1Char('.'));
    if (parts.size() != 2) {
        return false;
    }
    bool wordIsNumber = false;
    bool bitIsNumber = false;
    const int word = parts[0].toInt(&wordIsNumber);
    const int bit = parts[1].toInt(&bitIsNumber);
    if (!wordIsNumber || !bitIsNumber) {
        return false;
    }
    const bool one = parts[1].size() == 1 && bit <= 9;
    const bool two = parts[1].size() == 2 && bit >= 10 && bit <= 15;
    if (!one && !two) {
        return false;
    }
    out = wrapped(word * 16LL + bit);
    return true;
}

int limitOf(const Register& reg, const char* text) {
    int limit = 0;
    if (reg.kind == 0) {
        readWordBit(latin(text), limit);
    } else {
        limit = latin(text).toInt();
    }
    return limit;
}

int check(const QString& name, const QString& text, int* out, int count, bool wordExpected) {
    const int index = registerIndex(name);
    if (index < 0) {
        return 0;
    }
    const Register& reg = registers[index];
    if (wordExpected != (reg.kind == 1)) {
        return 1;
    }
    bool isNumber = false;
    if (reg.kind == 1) {
        *out = text.toInt(&isNumber);
    } else {
        isNumber = readWordBit(text, *out);
    }
    if (!isNumber) {
        return 4;
    }
    if (*out < limitOf(reg, reg.lowest)) {
        return 2;
    }
    const long long end = static_cast<long long>(*out) + count;
    return end > limitOf(reg, reg.highest) + 1LL ? 2 : 0;
}

QString unsignedText(int value) {
    char digits[16];
    std::snprintf(digits, sizeof digits, "%u", static_cast<unsigned>(value));
    return latin(digits);
}

QString addressText(const Register& reg, int address) {
    if (reg.kind == 1) {
        return unsignedText(address);
    }
    return unsignedText(address / 16) + QLatin1Char('.') + unsignedText(address % 16);
}

} // namespace

int registerIndex(const QString& name) {
    for (int i = 0; i < 12; ++i) {
        if (name == latin(registers[i].name)) {
            return i;
        }
    }
    return -1;
}

unsigned char areaCode(const QString& name) {
    const int index = registerIndex(name);
    return index < 0 ? 0 : registers[index].area;
}

unsigned int sortWeight(const QString& name, int address) {
    const int index = registerIndex(name);
    const long long weight = index < 0 ? address : (index + 1) * 65535LL + address;
    return static_cast<unsigned int>(weight);
}

int NaiveDriver::getRegListByType(int type, QList<QString>& out) {
    for (const Register& reg : registers) {
        if (reg.kind == type) {
            out.append(latin(reg.name));
        }
    }
    return type == 0 || type == 1 ? 1 : 0;
}

int NaiveDriver::getRegDiscription(const QString& name, QList<QString>& out) {
    const int index = registerIndex(name);
    if (index >= 0) {
        const Register& reg = registers[index];
        out.append(latin(reg.format));
        out.append(latin(reg.lowest));
        out.append(latin(reg.highest));
        out.append(QString::number(reg.kind));
        out.append(latin("1"));
    }
    return 0;
}

int NaiveDriver::checkAddrValidity(const QString& name, const QString& text, int* out, int count,
                                   int wordExpected) {
    return check(name, text, out, count, wordExpected != 0);
}

int NaiveDriver::checkAddr(const QString& name, const QString& text, int* out, int countKind,
                           int count, int) {
    return check(name, text, out, count, countKind != -1); // every register may be accessed
}

int NaiveDriver::multiCopy(const QString& name, int start, int count, int step,
                           QVector<QString>& texts, QVector<int>& values) {
    const int index = registerIndex(name);
    if (index < 0) {
        return 0;
    }
    const Register& reg = registers[index];
    const int highest = limitOf(reg, reg.highest);
    int result = 1;
    for (int k = 0; k < count; ++k) {
        const long long address = start + static_cast<long long>(k) * step;
        if (address > highest) {
            texts.append(latin(reg.highest));
            values.append(highest);
            result = 2;
        } else {
            texts.append(addressText(reg, wrapped(address)));
            values.append(wrapped(address));
        }
    }
    return result;
}

} // namespace model
