#include "host/wire/fins_decode.h"

namespace velkor_host {
namespace {

const int COUNTER_BASE = 0x8000;

int byteAt(const QByteArray& bytes, int index) {
    return index < bytes.size() ? static_cast<unsigned char>(bytes.at(index)) : -1;
}

int wordAt(const QByteArray& bytes, int index) {
    return index + 1 < bytes.size() ? byteAt(bytes, index) * 256 + byteAt(bytes, index + 1) : -1;
}

struct Area {
    int code;
    const char* name;
};

const Area AREAS[] = {
    {0x30, "CIO_bit"}, {0x31, "WR_bit"}, {0x32, "HR_bit"}, {0x33, "AR_bit"},
    {0x02, "DM_bit"},  {0xB0, "CIO"},    {0xB1, "WR"},     {0xB2, "HR"},
    {0xB3, "AR"},      {0x89, "T"},      {0x82, "DM"},
};

QString hex(int value, int digits) {
    return QStringLiteral("0x") +
           QString::number(value, 16).toUpper().rightJustified(digits, QLatin1Char('0'));
}

} // namespace

FinsFrame decodeFins(const QByteArray& bytes) {
    FinsFrame frame;
    frame.length = static_cast<int>(bytes.size());
    frame.icf = byteAt(bytes, 0);
    frame.dna = byteAt(bytes, 3);
    frame.da1 = byteAt(bytes, 4);
    frame.da2 = byteAt(bytes, 5);
    frame.sna = byteAt(bytes, 6);
    frame.sa1 = byteAt(bytes, 7);
    frame.sa2 = byteAt(bytes, 8);
    frame.sid = byteAt(bytes, 9);
    frame.command = wordAt(bytes, 10);
    if (frame.isReply()) {
        frame.endCode = wordAt(bytes, 12);
    } else if (frame.command == FINS_MEMORY_READ || frame.command == FINS_MEMORY_WRITE) {
        frame.area = byteAt(bytes, 12);
        frame.word = wordAt(bytes, 13);
        frame.bit = byteAt(bytes, 15);
        frame.count = wordAt(bytes, 16);
    }
    return frame;
}

QString areaName(int area, int word) {
    if (area == 0x89 && word >= COUNTER_BASE) {
        return QStringLiteral("C");
    }
    for (const Area& known : AREAS) {
        if (known.code == area) {
            return QString::fromLatin1(known.name);
        }
    }
    return QStringLiteral("area ") + hex(area, 2);
}

QString memoryText(const FinsFrame& frame) {
    const QString name = areaName(frame.area, frame.word);
    const int word = name == QLatin1String("C") ? frame.word - COUNTER_BASE : frame.word;
    QString text = name + QLatin1Char(' ') + QString::number(word);
    if (name.endsWith(QLatin1String("_bit"))) {
        text += QLatin1Char('.') + QString::number(frame.bit);
    }
    return text;
}

QString commandText(int command) {
    switch (command) {
    case FINS_MEMORY_READ:
        return QStringLiteral("read");
    case FINS_MEMORY_WRITE:
        return QStringLiteral("write");
    case FINS_RUN:
        return QStringLiteral("set mode");
    default:
        return command < 0 ? QStringLiteral("no command")
                           : QStringLiteral("command ") + hex(command, 4);
    }
}

} // namespace velkor_host
