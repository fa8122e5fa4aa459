#include "panel/watch/screen_source.h"

#include "panel/output/output.h"
#include "panel/picture/cells.h"

#include <velkor/host/end_codes.h>

namespace panel {
namespace {

/// Of a float no more digits than stand still.
const int FLOAT_DIGITS = 6;

screen::TagState stateOf(TagState state) {
    switch (state) {
    case TagState::Fresh:
        return screen::TagState::Fresh;
    case TagState::Stale:
        return screen::TagState::Stale;
    case TagState::Refused:
        return screen::TagState::Refused;
    case TagState::NotRead:
        break;
    }
    return screen::TagState::NotRead;
}

screen::Limit limitOnScreen(Limit limit) {
    switch (limit) {
    case Limit::Below:
        return screen::Limit::Below;
    case Limit::Above:
        return screen::Limit::Above;
    case Limit::BelowAndAbove:
        return screen::Limit::BelowAndAbove;
    case Limit::NoNumber:
        return screen::Limit::NoNumber;
    case Limit::Inside:
        break;
    }
    return screen::Limit::Inside;
}

QString endCodeOrNothing(int endCode) {
    return endCode < 0 ? QString() : endCodeText(endCode);
}

} // namespace

QString reasonSince(const TagStatus& status, qint64 now) {
    if (status.reason.isEmpty() || status.since < 0) {
        return status.reason;
    }
    const auto colon = status.reason.indexOf(QLatin1Char(':'));
    const auto end = colon < 0 ? status.reason.size() : colon;
    const QString keyWords = status.reason.left(end);
    const QString lasted = keyWords + QStringLiteral(" for ") + screen::ageText(now - status.since);
    // A silence may have outlived many requests; the tries that are told are those of one.
    const bool ofOneRequest = colon >= 0 && keyWords == QLatin1String("no answer");
    return lasted + (ofOneRequest ? QStringLiteral("; last request") : QString()) +
           status.reason.mid(end);
}

ScreenSource::ScreenSource(WatchedTags& tags, bool force, bool unicode)
    : m_tags(tags), m_force(force), m_unicode(unicode) {}

QString ScreenSource::title() const {
    const QString where = m_tags.lines() == 1 ? endpointText(m_tags.line(0).settings().plc)
                                              : counted(m_tags.lines(), "PLC", "PLCs");
    return QStringLiteral("%1  %2, scan %3 ms")
        .arg(where, counted(m_tags.size(), "tag", "tags"))
        .arg(m_tags.line(0).settings().scanMs);
}

screen::TagLabel ScreenSource::label(int tag) const {
    const PanelTag& named = m_tags.tag(tag);
    screen::TagLabel label;
    label.plc = named.plc;
    label.name = named.tag.name;
    label.address = tagAddressText(named.tag);
    label.type = valueTypeName(named.tag.type);
    // The count of a text is its words.
    label.values = named.tag.type == ValueType::String ? 1 : named.tag.count;
    label.low = named.tag.limits.low;
    label.high = named.tag.limits.high;
    return label;
}

screen::TagNow ScreenSource::status(int tag) const {
    const PanelTag& named = m_tags.tag(tag);
    const TagStatus& status = m_tags.status(tag);
    screen::TagNow now;
    now.state = stateOf(status.state);
    now.pending = status.pending;
    now.limit = limitOnScreen(limitOf(named.tag, status.lastRead()));
    now.readAt = status.readAt;
    now.changedAt = status.changedAt;
    now.changes = status.changes;
    const auto values = scaledValues(named.tag.type, status.lastRead(), named.tag.scaling);
    now.number = values.isEmpty() ? std::nullopt : values.first();
    return now;
}

screen::TagTexts ScreenSource::texts(int tag) const {
    const TagStatus& status = m_tags.status(tag);
    screen::TagTexts texts;
    if (!status.lastRead().isEmpty()) {
        texts.value = valueText(m_tags.tag(tag).tag, status.lastRead(), m_unicode, FLOAT_DIGITS);
    }
    texts.reason = reasonSince(status, now());
    return texts;
}

QVector<screen::PlcStatus> ScreenSource::plcs() const {
    QVector<screen::PlcStatus> all;
    for (int index = 0; index < m_tags.lines(); ++index) {
        const Line& line = m_tags.line(index);
        const LinkStatistics statistics = line.statistics();
        screen::PlcStatus plc;
        plc.name = m_tags.lineName(index);
        plc.endpoint = endpointText(line.settings().plc);
        plc.roundTrip = statistics.roundTrips().percentile(50);
        plc.roundTrip99 = statistics.roundTrips().percentile(99);
        plc.exchangesPerSecond = statistics.exchangeRate(line.now());
        plc.retries = statistics.retries();
        plc.failures = statistics.failures();
        plc.dropped = statistics.dropped();
        plc.lastEndCode = endCodeOrNothing(statistics.lastEndCode());
        plc.lastEndCodeAt = statistics.lastEndCodeAt();
        plc.silentSince = statistics.silentSince();
        plc.cannotSend = statistics.cannotSend();
        plc.lastError = endCodeOrNothing(statistics.lastError());
        plc.lastErrorAt = statistics.lastErrorAt();
        all.append(plc);
    }
    return all;
}

QString ScreenSource::startWrite(int tag, const QString& typed, bool force) {
    const PanelTag& named = m_tags.tag(tag);
    Items items;
    QString wrong = parseTagText(named.tag, typed, &items, force || m_force,
                                 QStringLiteral("\"!\" behind the value"));
    if (!wrong.isEmpty()) {
        return wrong;
    }
    QString fault;
    m_tags.lineOf(tag).write(named.tag, items, &fault);
    return fault;
}

} // namespace panel
