#include <velkor/host/scaled_value.h>

#include "host/values/raw_number.h"

#include <algorithm>
#include <cmath>

namespace velkor_host {
namespace {

/// As many digits as a double holds for certain: more than any raw number has, and few enough to
/// leave out what binary fractions add.
const int DIGITS = 15;

QString numberText(double value, int decimals) {
    const QString text =
        decimals >= 0 ? QString::number(value, 'f', decimals) : QString::number(value, 'g', DIGITS);
    // What rounding has left of a small negative number is no negative zero.
    return text.startsWith(QLatin1Char('-')) && text.toDouble() == 0.0 ? text.mid(1) : text;
}

double scaled(double raw, const Scaling& scaling) {
    return raw * scaling.scale + scaling.offset;
}

QString beyondText(ValueType type, const QString& text, const Scaling& scaling) {
    const NumberRange range = numberRange(type);
    const double ends[] = {scaled(range.lowest, scaling), scaled(range.highest, scaling)};
    return QStringLiteral("\"%1\" is beyond what the PLC's %2 holds; right is %3 to %4")
        .arg(text, valueTypeName(type), numberText(std::min(ends[0], ends[1]), -1),
             numberText(std::max(ends[0], ends[1]), -1));
}

/// The text of the raw number that stands for `text`. On failure it is empty, and `wrong` says what
/// would be right.
QString rawText(ValueType type, const QString& text, const Scaling& scaling, QString* wrong) {
    bool ok = false;
    const double value = text.toDouble(&ok);
    if (!ok || !std::isfinite(value)) {
        *wrong = QStringLiteral("\"%1\" is no number; right is one such as 12.5").arg(text);
        return QString();
    }
    const RawNumber raw = rawNumber(type, value, scaling);
    const NumberRange range = numberRange(type);
    if (raw.number < range.lowest || raw.number > range.highest) {
        *wrong = beyondText(type, text, scaling);
        return QString();
    }
    if (!raw.exact) {
        const double around[] = {scaled(std::floor(raw.number), scaling),
                                 scaled(std::ceil(raw.number), scaling)};
        *wrong =
            QStringLiteral("\"%1\" cannot be written exactly; the nearest values are %2 and %3")
                .arg(text, numberText(std::min(around[0], around[1]), -1),
                     numberText(std::max(around[0], around[1]), -1));
        return QString();
    }
    // A float never as a whole number, which would have to fit exactly.
    return type == ValueType::Float32 ? QString::number(raw.number, 'e', 8)
                                      : QString::number(raw.number, 'f', 0);
}

} // namespace

bool canBeScaled(ValueType type) {
    return type != ValueType::Bool && type != ValueType::Hex && type != ValueType::String;
}

QVector<std::optional<double>> scaledValues(ValueType type, const Items& items,
                                            const Scaling& scaling) {
    QVector<std::optional<double>> values;
    const int step = itemsPerValue(type);
    for (int at = 0; at + step <= items.size(); at += step) {
        std::optional<double> value = numericValue(type, items.mid(at, step));
        if (value) {
            value = scaled(*value, scaling);
        }
        values.append(value);
    }
    return values;
}

QString formatScaled(ValueType type, const Items& items, const Scaling& scaling) {
    if (scaling.isPlain() || !canBeScaled(type)) {
        return formatItems(type, items);
    }
    QStringList texts;
    const int step = itemsPerValue(type);
    for (int at = 0; at + step <= items.size(); at += step) {
        const Items one = items.mid(at, step);
        const std::optional<double> raw = numericValue(type, one);
        texts.append(raw && std::isfinite(*raw)
                         ? numberText(scaled(*raw, scaling), scaling.decimals)
                         : formatItems(type, one));
    }
    return texts.join(QLatin1Char(' '));
}

QString parseScaled(ValueType type, const QStringList& texts, const Scaling& scaling,
                    int wordsForString, Items* items) {
    if (scaling.isPlain() || !canBeScaled(type)) {
        return parseValues(type, texts, wordsForString, items);
    }
    QStringList raw;
    for (const QString& text : texts) {
        QString wrong;
        raw.append(rawText(type, text, scaling, &wrong));
        if (!wrong.isEmpty()) {
            return wrong;
        }
    }
    return parseValues(type, raw, wordsForString, items);
}

} // namespace velkor_host
