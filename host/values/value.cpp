#include <velkor/host/value.h>

#include <QtCore/QRegularExpression>

#include <cmath>
#include <cstring>
#include <limits>

namespace velkor_host {
namespace {

struct TypeName {
    ValueType type;
    const char* name;
};

const TypeName TYPE_NAMES[] = {
    {ValueType::Bool, "bool"},   {ValueType::Uint16, "uint16"},   {ValueType::Int16, "int16"},
    {ValueType::Hex, "hex"},     {ValueType::Bcd, "bcd"},         {ValueType::Uint32, "uint32"},
    {ValueType::Int32, "int32"}, {ValueType::Float32, "float32"}, {ValueType::String, "string"},
};

quint32 doubleWord(const Items& items, int index) {
    return items.at(index) | static_cast<quint32>(items.at(index + 1)) << 16;
}

void appendDoubleWord(quint32 value, Items* items) {
    items->append(static_cast<quint16>(value & 0xFFFFU));
    items->append(static_cast<quint16>(value >> 16));
}

float asFloat(quint32 bits) {
    float value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

/// The shortest text that gives the same float again, cut to `mostDigits`.
QString floatText(float value, int mostDigits) {
    if (std::isnan(value)) {
        return QStringLiteral("nan");
    }
    if (std::isinf(value)) {
        return value < 0 ? QStringLiteral("-inf") : QStringLiteral("inf");
    }
    for (int digits = 6; digits < mostDigits; ++digits) {
        QString text = QString::number(static_cast<double>(value), 'g', digits);
        if (text.toFloat() == value) {
            return text;
        }
    }
    return QString::number(static_cast<double>(value), 'g', mostDigits);
}

/// The decimal number in four BCD digits, or -1.
int bcdValue(quint16 word) {
    int value = 0;
    for (int shift = 12; shift >= 0; shift -= 4) {
        const int digit = (word >> shift) & 0xF;
        if (digit > 9) {
            return -1;
        }
        value = value * 10 + digit;
    }
    return value;
}

QString hexWord(quint16 word) {
    return QString::number(word, 16).toUpper().rightJustified(4, QLatin1Char('0'));
}

/// Characters up to the first zero; what is no printable character becomes "?".
QString stringText(const Items& items) {
    QString text;
    for (const quint16 word : items) {
        for (const int code : {word >> 8, word & 0xFF}) {
            if (code == 0) {
                return text;
            }
            const QChar character = QLatin1Char(static_cast<char>(code));
            text += character.isPrint() ? character : QLatin1Char('?');
        }
    }
    return text;
}

QString formatOne(ValueType type, const Items& items, int index, int mostDigits) {
    const quint16 word = items.at(index);
    switch (type) {
    case ValueType::Int16:
        return QString::number(static_cast<qint16>(word));
    case ValueType::Hex:
        return QStringLiteral("0x") + hexWord(word);
    case ValueType::Bcd: {
        const int value = bcdValue(word);
        return value < 0 ? QStringLiteral("not-BCD:") + hexWord(word) : QString::number(value);
    }
    case ValueType::Uint32:
        return QString::number(doubleWord(items, index));
    case ValueType::Int32:
        return QString::number(static_cast<qint32>(doubleWord(items, index)));
    case ValueType::Float32:
        return floatText(asFloat(doubleWord(items, index)), mostDigits);
    case ValueType::Bool:
    case ValueType::Uint16:
    case ValueType::String:
        break;
    }
    return QString::number(word);
}

/// A whole number in decimal or, after 0x, in hexadecimal.
std::optional<qint64> wholeNumber(const QString& text) {
    bool ok = false;
    const bool hexadecimal = text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive);
    const qint64 value = text.toLongLong(&ok, hexadecimal ? 16 : 10);
    return ok ? std::optional<qint64>(value) : std::nullopt;
}

QString notRight(const QString& text, ValueType type, const QString& right) {
    return QStringLiteral("\"%1\" is no %2 value; right is %3")
        .arg(text, valueTypeName(type), right);
}

QString parseInteger(ValueType type, const QString& text, qint64 lowest, qint64 highest,
                     Items* items) {
    const std::optional<qint64> value = wholeNumber(text);
    if (!value || *value < lowest || *value > highest) {
        return notRight(
            text, type,
            QStringLiteral("a whole number from %1 to %2, in decimal or behind 0x in hexadecimal")
                .arg(lowest)
                .arg(highest));
    }
    if (itemsPerValue(type) == 2) {
        appendDoubleWord(static_cast<quint32>(*value & 0xFFFFFFFFLL), items);
    } else {
        items->append(static_cast<quint16>(*value & 0xFFFF));
    }
    return QString();
}

QString parseBool(const QString& text, Items* items) {
    const QString lower = text.toLower();
    for (const char* word : {"1", "on", "true"}) {
        if (lower == QLatin1String(word)) {
            items->append(1);
            return QString();
        }
    }
    for (const char* word : {"0", "off", "false"}) {
        if (lower == QLatin1String(word)) {
            items->append(0);
            return QString();
        }
    }
    return notRight(text, ValueType::Bool, QStringLiteral("0 or 1 (or off, on, false, true)"));
}

QString parseHex(const QString& text, Items* items) {
    const bool prefixed = text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive);
    bool ok = false;
    const uint value = (prefixed ? text.mid(2) : text).toUInt(&ok, 16);
    if (!ok || value > 0xFFFFU) {
        return notRight(text, ValueType::Hex, QStringLiteral("0000 to FFFF, with or without 0x"));
    }
    items->append(static_cast<quint16>(value));
    return QString();
}

QString parseBcd(const QString& text, Items* items) {
    bool ok = false;
    const uint value = text.toUInt(&ok);
    if (!ok || value > 9999U) {
        return notRight(text, ValueType::Bcd, QStringLiteral("a whole number from 0 to 9999"));
    }
    // Decimal digits read as hexadecimal ones are the BCD word.
    items->append(static_cast<quint16>(QString::number(value).toUInt(nullptr, 16)));
    return QString();
}

/// A float holds every whole number up to 16777216 (24 bits), beyond that not. Empty, or what it
/// would hold instead of a number that is written as a whole one. Other numbers are taken as the
/// nearest float, as everywhere: 0.1 is none either.
QString wholeNumberLost(const QString& text, float value) {
    static const QRegularExpression whole(QStringLiteral("^[+-]?[0-9]+$"));
    if (!whole.match(text.trimmed()).hasMatch() || double(value) == text.toDouble()) {
        return QString();
    }
    const bool above = double(value) > text.toDouble();
    const float other = std::nextafter(value, above ? -INFINITY : INFINITY);
    return QStringLiteral("%1 or %2: between them a float32 holds nothing")
        .arg(QString::number(double(above ? other : value), 'f', 0),
             QString::number(double(above ? value : other), 'f', 0));
}

QString parseFloat(const QString& text, Items* items) {
    bool ok = false;
    const float value = text.toFloat(&ok);
    if (!ok) {
        return notRight(text, ValueType::Float32,
                        QStringLiteral("a number such as 21.5 or -3e4, up to 3.4e38"));
    }
    const QString neighbours = wholeNumberLost(text, value);
    if (!neighbours.isEmpty()) {
        return notRight(text, ValueType::Float32, neighbours);
    }
    quint32 bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    appendDoubleWord(bits, items);
    return QString();
}

QString parseString(const QString& text, int words, Items* items) {
    const QByteArray bytes = text.toLatin1();
    const int needed = static_cast<int>((bytes.size() + 1) / 2);
    const int room = words > 0 ? words : qMax(1, needed);
    if (needed > room) {
        return QStringLiteral("\"%1\" has %2 characters; %3 words hold %4")
            .arg(text, QString::number(bytes.size()), QString::number(room),
                 QString::number(2 * room));
    }
    if (QString::fromLatin1(bytes) != text) {
        return notRight(text, ValueType::String, QStringLiteral("a text of Latin-1 characters"));
    }
    for (int word = 0; word < room; ++word) {
        const auto byteAt = [&bytes](int index) {
            return index < bytes.size() ? static_cast<unsigned char>(bytes.at(index)) : 0;
        };
        items->append(static_cast<quint16>(byteAt(2 * word) << 8 | byteAt(2 * word + 1)));
    }
    return QString();
}

QString parseOne(ValueType type, const QString& text, Items* items) {
    switch (type) {
    case ValueType::Bool:
        return parseBool(text, items);
    case ValueType::Uint16:
        return parseInteger(type, text, 0, 0xFFFF, items);
    case ValueType::Int16:
        return parseInteger(type, text, -0x8000, 0x7FFF, items);
    case ValueType::Hex:
        return parseHex(text, items);
    case ValueType::Bcd:
        return parseBcd(text, items);
    case ValueType::Uint32:
        return parseInteger(type, text, 0, std::numeric_limits<quint32>::max(), items);
    case ValueType::Int32:
        return parseInteger(type, text, std::numeric_limits<qint32>::min(),
                            std::numeric_limits<qint32>::max(), items);
    case ValueType::Float32:
        return parseFloat(text, items);
    case ValueType::String:
        break;
    }
    return parseString(text, 0, items);
}

} // namespace

QString valueTypeNames() {
    QStringList names;
    for (const TypeName& known : TYPE_NAMES) {
        names.append(QString::fromLatin1(known.name));
    }
    return names.join(QStringLiteral(", "));
}

QString valueTypeName(ValueType type) {
    for (const TypeName& known : TYPE_NAMES) {
        if (known.type == type) {
            return QString::fromLatin1(known.name);
        }
    }
    return QString();
}

std::optional<ValueType> valueTypeFromName(const QString& name) {
    for (const TypeName& known : TYPE_NAMES) {
        if (name == QLatin1String(known.name)) {
            return known.type;
        }
    }
    return std::nullopt;
}

bool typeFitsRegister(ValueType type, bool bitRegister) {
    return (type == ValueType::Bool) == bitRegister;
}

int itemsPerValue(ValueType type) {
    return type == ValueType::Uint32 || type == ValueType::Int32 || type == ValueType::Float32 ? 2
                                                                                               : 1;
}

QString formatItems(ValueType type, const Items& items, int mostDigits) {
    if (type == ValueType::String) {
        return stringText(items);
    }
    QStringList texts;
    const int step = itemsPerValue(type);
    for (int index = 0; index + step <= items.size(); index += step) {
        texts.append(formatOne(type, items, index, mostDigits));
    }
    return texts.join(QLatin1Char(' '));
}

std::optional<double> numericValue(ValueType type, const Items& items) {
    if (items.size() < itemsPerValue(type) || type == ValueType::String) {
        return std::nullopt;
    }
    switch (type) {
    case ValueType::Int16:
        return static_cast<qint16>(items.at(0));
    case ValueType::Bcd: {
        const int value = bcdValue(items.at(0));
        return value < 0 ? std::nullopt : std::optional<double>(value);
    }
    case ValueType::Uint32:
        return doubleWord(items, 0);
    case ValueType::Int32:
        return static_cast<qint32>(doubleWord(items, 0));
    case ValueType::Float32: {
        const float value = asFloat(doubleWord(items, 0));
        return std::isfinite(value) ? std::optional<double>(value) : std::nullopt;
    }
    default:
        return items.at(0);
    }
}

QString parseValues(ValueType type, const QStringList& texts, int wordsForString, Items* items) {
    Items parsed;
    if (type == ValueType::String) {
        if (texts.size() != 1) {
            return QStringLiteral("a string is one value; put quotes around a text with blanks");
        }
        QString error = parseString(texts.first(), wordsForString, &parsed);
        if (!error.isEmpty()) {
            return error;
        }
    } else {
        for (const QString& text : texts) {
            QString error = parseOne(type, text.trimmed(), &parsed);
            if (!error.isEmpty()) {
                return error;
            }
        }
    }
    *items += parsed;
    return QString();
}

} // namespace velkor_host
