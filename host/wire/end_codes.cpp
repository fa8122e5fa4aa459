#include <velkor/host/end_codes.h>

#include "host/wire/end_code_kinds.h"

namespace velkor_host {
namespace {

const int RELAY_ERROR = 0x8000;
const int FATAL_ERROR = 0x0080;
const int NON_FATAL_ERROR = 0x0040;

struct EndCode {
    int code;
    const char* text;
};

const EndCode END_CODES[] = {
    {0x0000, "normal"},
    {0x0001, "service cancelled"},
    {0x0101, "local node not in the network"},
    {0x0102, "token timeout"},
    {0x0103, "retries failed"},
    {0x0104, "too many send frames"},
    {0x0105, "node address out of range"},
    {0x0106, "node address used twice"},
    {0x0201, "destination node not in the network"},
    {0x0202, "no such unit"},
    {0x0204, "destination busy"},
    {0x0205, "response timeout"},
    {0x0301, "communications controller error"},
    {0x0302, "CPU error"},
    {0x0304, "wrong unit number"},
    {0x0401, "undefined command"},
    {0x0402, "not supported by this model or version"},
    {0x0501, "destination not in the routing table"},
    {0x0502, "no routing table"},
    {0x0503, "routing table error"},
    {0x0504, "too many relays"},
    {0x1001, "command too long"},
    {0x1002, "command too short"},
    {0x1003, "element count does not match the data"},
    {0x1004, "command format error"},
    {0x1005, "header error"},
    {0x1101, "no such memory area"},
    {0x1102, "access size error"},
    {0x1103, "address out of range"},
    {0x1104, "address range exceeded"},
    {0x1109, "relational error"},
    {0x110A, "duplicate access"},
    {0x110B, "response too long"},
    {0x110C, "parameter error"},
    {0x2002, "protected"},
    {0x2003, "table missing"},
    {0x2004, "data missing"},
    {0x2005, "program missing"},
    {0x2006, "file missing"},
    {0x2101, "read-only"},
    {0x2102, "write-protected"},
    {0x2103, "cannot be registered"},
    {0x2108, "cannot be changed"},
    {0x2201, "not possible during execution"},
    {0x2202, "not possible while running"},
    {0x2203, "wrong mode: the PLC is in PROGRAM mode"},
    {0x2204, "wrong mode: the PLC is in DEBUG mode"},
    {0x2205, "wrong mode: the PLC is in MONITOR mode"},
    {0x2206, "wrong mode: the PLC is in RUN mode"},
    {0x2301, "file device missing"},
    {0x2302, "memory missing"},
    {0x2303, "clock missing"},
    {0x2401, "table missing"},
    {0x2502, "memory error"},
    {0x2503, "I/O setting error"},
    {0x3001, "no access right"},
};

const EndCode* find(int code) {
    for (const EndCode& known : END_CODES) {
        if (known.code == code) {
            return &known;
        }
    }
    return nullptr;
}

QString plainText(int code) {
    const EndCode* known = find(code);
    return known != nullptr ? QString::fromLatin1(known->text) : QStringLiteral("unknown end code");
}

} // namespace

int plainEndCode(int endCode) {
    return endCode & 0xFFFF & ~(RELAY_ERROR | FATAL_ERROR | NON_FATAL_ERROR);
}

bool isNormalEnd(int endCode) {
    // A relay error with no code of its own is still an error: the command did not arrive.
    return plainEndCode(endCode) == 0 && (endCode & RELAY_ERROR) == 0;
}

bool isModeRefusal(int endCode) {
    const int code = plainEndCode(endCode);
    return code == 0x2203 || code == 0x2204 || code == 0x2206;
}

bool isSurelyNotDone(int endCode) {
    switch (plainEndCode(endCode)) {
    case 0x0000: // with flags alone: a relay's error
    case 0x0001: // service cancelled
    case 0x0103: // retries failed
    case 0x0205: // response timeout
    case 0x0301: // communications controller error
    case 0x0302: // CPU error
        return false;
    default:
        return find(plainEndCode(endCode)) != nullptr;
    }
}

QString endCodeWords(int endCode) {
    QString text = plainText(plainEndCode(endCode));
    if ((endCode & RELAY_ERROR) != 0) {
        text += QStringLiteral(", at a relay");
    }
    if ((endCode & FATAL_ERROR) != 0) {
        text += QStringLiteral("; the PLC has a fatal error");
    }
    if ((endCode & NON_FATAL_ERROR) != 0) {
        text += QStringLiteral("; the PLC has a non-fatal alarm");
    }
    return text;
}

QString endCodeText(int endCode) {
    const QString code = QString::number(0x10000 + plainEndCode(endCode), 16).mid(1).toUpper();
    return code + QLatin1Char(' ') + endCodeWords(endCode);
}

} // namespace velkor_host
