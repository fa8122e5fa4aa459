#include <velkor/host/scaled_value.h>

#include <algorithm>
#include <cmath>

namespace velkor_host {
namespace {

/// How far a scaled text may be from a raw number and still mean it: decimal fractions such as
/// 70.6 / 0.1 are not exact in binary. Some units in the last place of the largest raw numbers.
const double TOLERANCE = 1e-9;
const double RELATIVE_TOLERANCE = 2e-15;
/// As many digits as a double holds for certain: more than any raw number has, and few enough to
/// leave out what binary fractions add.
const int DIGITS = 15;

QString numberText(double value, int decimals) {
    if (decimals >= 0) {
        return QString::number(value, 'f', decimals);
    }
    QString text = QString::number(value, 'g', DIGITS);
    return text == QLatin1String("-0") ? QStringLiteral("0") : text;
}

double scaled(double raw, const Scaling& scaling) {
    return raw * scaling.scale + scaling.offset;
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
    const double raw = (value - scaling.offset) / scaling.scale;
    if (type == ValueType::Float32) {
        return QString::number(raw, 'g', 9);
    }
    const double nearest = std::round(raw);
    if (std::abs(raw - nearest) > TOLERANCE + RELATIVE_TOLERANCE * std::abs(raw)) {
        *wrong =
            QStringLiteral("\"%1\" cannot be written exactly; the nearest values are %2 and %3")
                .arg(text, numberText(scaled(std::floor(raw), scaling), -1),
                     numberText(scaled(std::ceil(raw), scaling), -1));
        return QString();
    }
    return QString::number(nearest, 'f', 0);
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
    const QString wrong = parseValues(type, raw, wordsForString, items);
    return wrong.isEmpty()
               ? wrong
               : QStringLiteral("%1 (the PLC keeps %2 for %3)")
                     .arg(wrong, raw.join(QLatin1Char(' ')), texts.join(QLatin1Char(' ')));
}

} // namespace velkor_host
