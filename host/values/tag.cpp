// A tag in words: its address, its state, its value in the host's unit as people read and type it.

#include <velkor/host/tag.h>

#include "host/values/raw_number.h"

namespace velkor_host {
namespace {

QString valuesText(int count) {
    return count == 1 ? QStringLiteral("1 value") : QStringLiteral("%1 values").arg(count);
}

/// Of the texts of `items` the first whose value does not lie between the tag's limits; null: none.
QString firstOutside(const Tag& tag, const QStringList& texts, const Items& items) {
    const int step = itemsPerValue(tag.type);
    for (int at = 0; at < items.size(); at += step) {
        if (limitOf(tag, items.mid(at, step)) != Limit::Inside) {
            return texts.value(at / step);
        }
    }
    return QString();
}

} // namespace

QString tagAddressText(const Tag& tag) {
    return tag.reg + QLatin1Char(' ') + addressText(tag.address, tag.bitRegister());
}

QString tagStateName(TagState state) {
    switch (state) {
    case TagState::NotRead:
        return QStringLiteral("not read");
    case TagState::Fresh:
        return QStringLiteral("read");
    case TagState::Stale:
        return QStringLiteral("stale");
    case TagState::Refused:
        break;
    }
    return QStringLiteral("refused");
}

Limit limitOf(const Tag& tag, const Items& items) {
    return limitOf(tag.type, items, tag.scaling, tag.limits);
}

QString limitMark(const Tag& tag, const TagStatus& status) {
    switch (status.value() ? limitOf(tag, *status.value()) : Limit::Inside) {
    case Limit::Below:
        return QStringLiteral("low");
    case Limit::Above:
        return QStringLiteral("high");
    case Limit::BelowAndAbove:
        return QStringLiteral("low and high");
    case Limit::NoNumber:
        return QStringLiteral("no number");
    case Limit::Inside:
        break;
    }
    return QString();
}

QString limitsText(const Tag& tag) {
    if (!tag.limits.low && !tag.limits.high) {
        return QString();
    }
    const QString unit = tag.unit.isEmpty() ? QString() : QLatin1Char(' ') + tag.unit;
    const QString low = tag.limits.low ? exactNumberText(*tag.limits.low) : QString();
    const QString high = tag.limits.high ? exactNumberText(*tag.limits.high) : QString();
    if (!low.isEmpty() && !high.isEmpty()) {
        return low + QStringLiteral(" to ") + high + unit;
    }
    return low.isEmpty() ? QStringLiteral("at most ") + high + unit
                         : QStringLiteral("at least ") + low + unit;
}

QString valueText(const Tag& tag, const Items& items, bool unicode, int mostDigits) {
    if (items.isEmpty()) {
        return QString();
    }
    QString text = tag.scaling.isPlain() ? formatItems(tag.type, items, mostDigits)
                                         : formatScaled(tag.type, items, tag.scaling);
    if (!tag.unit.isEmpty()) {
        const QChar times = unicode ? QChar(0x00D7) : QLatin1Char('x');
        text += tag.unit.at(0).isDigit() ? QStringLiteral(" %1 ").arg(times) : QStringLiteral(" ");
        text += tag.unit;
    }
    return text;
}

QString tagText(const Tag& tag, const TagStatus& status) {
    switch (status.state) {
    case TagState::NotRead:
        return QStringLiteral("not read");
    case TagState::Refused:
        return QStringLiteral("refused");
    case TagState::Stale:
        return QStringLiteral("stale: ") + valueText(tag, status.lastRead());
    case TagState::Fresh:
        break;
    }
    const QString text = valueText(tag, status.lastRead());
    const QString mark = limitMark(tag, status);
    return mark.isEmpty() ? text : text + QStringLiteral(" (%1)").arg(mark);
}

QString parseTagValues(const Tag& tag, const QStringList& texts, Items* items, bool force,
                       const QString& howToForce) {
    const bool text = tag.type == ValueType::String;
    Items parsed;
    QString wrong = parseScaled(tag.type, texts, tag.scaling, text ? tag.count : 0, &parsed);
    if (!wrong.isEmpty()) {
        return wrong;
    }
    if (parsed.isEmpty() || parsed.size() > tag.itemCount()) {
        return QStringLiteral("%1 takes %2").arg(tag.name, valuesText(tag.count));
    }
    const QString outside = force ? QString() : firstOutside(tag, texts, parsed);
    if (!outside.isNull()) {
        return QStringLiteral("%1 lies outside the limits of %2, %3")
                   .arg(outside, tag.name, limitsText(tag)) +
               (howToForce.isEmpty()
                    ? QString()
                    : QStringLiteral("; %1 writes it all the same").arg(howToForce));
    }
    *items = parsed;
    return QString();
}

QString parseTagText(const Tag& tag, const QString& text, Items* items, bool force,
                     const QString& howToForce) {
    const QStringList texts = tag.type == ValueType::String
                                  ? QStringList(text)
                                  : text.simplified().split(QLatin1Char(' '));
    return parseTagValues(tag, texts, items, force, howToForce);
}

} // namespace velkor_host
