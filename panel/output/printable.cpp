#include "panel/output/printable.h"

#include <QtCore/QStringList>
#include <QtCore/QVector>

namespace panel {
namespace {

QString writtenOut(uint character) {
    const int digits = character > 0xFFFF ? 8 : character > 0xFF ? 4 : 2;
    const char* const mark = digits == 8 ? "\\U" : digits == 4 ? "\\u" : "\\x";
    return QString::fromLatin1(mark) +
           QString::number(character, 16).toUpper().rightJustified(digits, QLatin1Char('0'));
}

} // namespace

QString printable(const QString& text) {
    QString result;
    const auto characters = text.toUcs4(); // a pair of surrogates is one
    for (const char32_t character : characters) {
        result +=
            QChar::isPrint(character) ? QString::fromUcs4(&character, 1) : writtenOut(character);
    }
    return result;
}

QString printableLines(const QString& text) {
    QStringList lines;
    for (const QString& line : text.split(QLatin1Char('\n'))) {
        lines.append(printable(line));
    }
    return lines.join(QLatin1Char('\n'));
}

QString shortened(const QString& text, int length) {
    if (text.size() <= length) {
        return text;
    }
    const QString dots = QStringLiteral(" ... ");
    const int end = (length - static_cast<int>(dots.size())) / 2;
    return text.left(length - static_cast<int>(dots.size()) - end) + dots + text.right(end);
}

} // namespace panel
