#include "panel/watch/panel_tag.h"

#include "panel/output/output.h"

namespace panel {
namespace {

QString numberText(double value) {
    return QString::number(value, 'g', 9);
}

} // namespace

Limit limitOf(const PanelTag& tag, const Items& items) {
    const bool limited = tag.low || tag.high;
    for (const std::optional<double>& value : scaledValues(tag.tag.type, items, tag.tag.scaling)) {
        if (!value && limited && tag.tag.type == ValueType::Float32) {
            return Limit::Above; // infinite, or no number at all: inside no limits
        }
        if (value && tag.low && *value < *tag.low) {
            return Limit::Below;
        }
        if (value && tag.high && *value > *tag.high) {
            return Limit::Above;
        }
    }
    return Limit::Inside;
}

QString valueWithUnit(const PanelTag& tag, const Items& items, bool unicode, int mostDigits) {
    QString text = tag.tag.scaling.isPlain() ? formatItems(tag.tag.type, items, mostDigits)
                                             : formatScaled(tag.tag.type, items, tag.tag.scaling);
    if (!tag.unit.isEmpty()) {
        const QChar times = unicode ? QChar(0x00D7) : QLatin1Char('x');
        text += tag.unit.at(0).isDigit() ? QStringLiteral(" %1 ").arg(times) : QStringLiteral(" ");
        text += tag.unit;
    }
    return text;
}

QString shownValue(const PanelTag& tag, const TagStatus& status) {
    switch (status.state) {
    case TagState::NotRead:
        return QStringLiteral("not read");
    case TagState::Refused:
        return QStringLiteral("refused");
    case TagState::Stale:
        return QStringLiteral("stale: ") + valueWithUnit(tag, status.lastRead(), true);
    case TagState::Fresh:
        break;
    }
    QString text = valueWithUnit(tag, status.lastRead(), true);
    switch (limitOf(tag, status.lastRead())) {
    case Limit::Below:
        return text + QStringLiteral(" (low)");
    case Limit::Above:
        return text + QStringLiteral(" (high)");
    case Limit::Inside:
        break;
    }
    return text;
}

QString limitsText(const PanelTag& tag) {
    const QString unit = tag.unit.isEmpty() ? QString() : QLatin1Char(' ') + tag.unit;
    if (tag.low && tag.high) {
        return numberText(*tag.low) + QStringLiteral(" to ") + numberText(*tag.high) + unit;
    }
    return tag.low ? QStringLiteral("at least ") + numberText(*tag.low) + unit
                   : QStringLiteral("at most ") + numberText(tag.high.value_or(0)) + unit;
}

QString parseTagValues(const PanelTag& tag, const QStringList& texts, bool force,
                       const QString& howToForce, Items* items) {
    const bool text = tag.tag.type == ValueType::String;
    Items parsed;
    QString wrong =
        parseScaled(tag.tag.type, texts, tag.tag.scaling, text ? tag.tag.count : 0, &parsed);
    if (!wrong.isEmpty()) {
        return wrong;
    }
    if (parsed.isEmpty() || parsed.size() > tag.tag.itemCount()) {
        return QStringLiteral("%1 takes %2")
            .arg(tag.tag.name, counted(tag.tag.count, "value", "values"));
    }
    if (!force && limitOf(tag, parsed) != Limit::Inside) {
        return QStringLiteral("%1 lies outside the limits of %2, %3; %4 writes it all the same")
            .arg(texts.join(QLatin1Char(' ')), tag.tag.name, limitsText(tag), howToForce);
    }
    *items = parsed;
    return QString();
}

} // namespace panel
