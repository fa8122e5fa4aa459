#include "panel/watch/panel_tag.h"

#include "panel/output/output.h"

namespace panel {

Limit limitOf(const PanelTag& tag, const Items& items) {
    return limitOf(tag.tag.type, items, tag.tag.scaling, tag.limits);
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
    const QString text = valueWithUnit(tag, status.lastRead(), true);
    const QString mark = limitMark(tag, status);
    return mark.isEmpty() ? text : text + QStringLiteral(" (%1)").arg(mark);
}

QString limitMark(const PanelTag& tag, const TagStatus& status) {
    const std::optional<Items> value = status.value();
    switch (value ? limitOf(tag, *value) : Limit::Inside) {
    case Limit::Below:
        return QStringLiteral("low");
    case Limit::Above:
        return QStringLiteral("high");
    case Limit::Inside:
        break;
    }
    return QString();
}

QString limitsText(const PanelTag& tag) {
    const QString unit = tag.unit.isEmpty() ? QString() : QLatin1Char(' ') + tag.unit;
    const QString low = tag.limits.low ? exactNumberText(*tag.limits.low) : QString();
    const QString high = tag.limits.high ? exactNumberText(*tag.limits.high) : QString();
    if (!low.isEmpty() && !high.isEmpty()) {
        return low + QStringLiteral(" to ") + high + unit;
    }
    return low.isEmpty() ? QStringLiteral("at most ") + high + unit
                         : QStringLiteral("at least ") + low + unit;
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
