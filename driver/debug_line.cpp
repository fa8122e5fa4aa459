#include "driver/debug_line.h"

#include <QtCore/QtGlobal>

namespace {

const int mostDigits = 11; // of 32 bits, with the sign
const unsigned int decimal = 10;

} // namespace

void debugLine(const QString& line) {
    qDebug("%s", line.toUtf8().constData()); // every Qt reads %s as UTF-8
}

DebugLine& DebugLine::operator<<(const QString& text) {
    characters_.append(text.constData(), text.size());
    return *this;
}

DebugLine& DebugLine::operator<<(const char* latin1) {
    for (; *latin1 != '\0'; ++latin1) {
        characters_.append(QLatin1Char(*latin1));
    }
    return *this;
}

DebugLine& DebugLine::operator<<(QChar character) {
    characters_.append(character);
    return *this;
}

DebugLine& DebugLine::operator<<(int number) {
    QChar digits[mostDigits];
    int first = mostDigits;
    unsigned int rest = static_cast<unsigned int>(number);
    if (number < 0) {
        rest = 0 - rest;
    }
    do {
        digits[--first] = QLatin1Char(static_cast<char>('0' + rest % decimal));
        rest /= decimal;
    } while (rest != 0);
    if (number < 0) {
        digits[--first] = QLatin1Char('-');
    }
    characters_.append(digits + first, mostDigits - first);
    return *this;
}
