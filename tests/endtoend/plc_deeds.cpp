#include "endtoend/plc_deeds.h"

#include <QtCore/QSet>

#include <algorithm>
#include <limits>

namespace {

bool isIn(qint64 at, const TraceSpan& span) {
    return at >= span.begin && at < span.end;
}

} // namespace

PlcDeeds::PlcDeeds(const QString& trace) : m_events(readPlcTrace(trace)) {
    for (const TraceEvent& event : m_events) {
        if (event.kind == TraceEvent::Received) {
            m_sids[event.request] = event.sid;
        } else if (event.kind == TraceEvent::Executed && event.isWholeWordCommand()) {
            execute(event);
        }
    }
}

void PlcDeeds::execute(const TraceEvent& event) {
    Deed deed{event.at, event.command};
    const TracedRange& range = deed.command.range;
    if (!deed.command.write) {
        deed.command.data = words(range);
    } else if (range.area == "AR" && range.address < READ_ONLY_END) {
        return;
    }
    for (int i = 0; deed.command.write && i < range.count; ++i) {
        m_words[{range.area, range.address + i}] = deed.command.data.at(i);
    }
    m_deeds.append(deed);
}

QVector<quint16> PlcDeeds::words(const TracedRange& range) const {
    QVector<quint16> values;
    for (int i = 0; i < range.count; ++i) {
        values.append(m_words.value({range.area, range.address + i}));
    }
    return values;
}

bool PlcDeeds::has(const TraceSpan& span, bool write, const TracedRange& range,
                   const QVector<quint16>& values) const {
    return std::any_of(m_deeds.begin(), m_deeds.end(), [&](const Deed& deed) {
        return isIn(deed.at, span) && deed.command.write == write && deed.command.range == range &&
               deed.command.data == values;
    });
}

bool PlcDeeds::hasTold(const TraceSpan& span, const TracedRange& range,
                       const QVector<quint16>& values) const {
    return has(span, false, range, values);
}

bool PlcDeeds::hasTaken(const TraceSpan& span, const TracedRange& range,
                        const QVector<quint16>& values) const {
    return has(span, true, range, values);
}

bool PlcDeeds::hasEverTaken(const TracedRange& range, const QVector<quint16>& values) const {
    return has({0, std::numeric_limits<qint64>::max()}, true, range, values);
}

bool PlcDeeds::wasSent(const TracedRange& range, const QVector<quint16>& values) const {
    return std::any_of(m_events.begin(), m_events.end(), [&](const TraceEvent& event) {
        return event.kind == TraceEvent::Received && event.isWholeWordCommand() &&
               event.command.write && event.command.range == range && event.command.data == values;
    });
}

int PlcDeeds::countStrays(const TraceSpan& span, const std::function<bool(int sid)>& counts) const {
    int first = std::numeric_limits<int>::max(); // request of this part
    for (const TraceEvent& event : m_events) {
        if (event.kind == TraceEvent::Received && isIn(event.at, span)) {
            first = std::min(first, event.request);
        }
    }
    return static_cast<int>(
        std::count_if(m_events.begin(), m_events.end(), [&](const TraceEvent& event) {
            return event.kind == TraceEvent::Sent && isIn(event.at, span) &&
                   event.request < first && counts(m_sids.value(event.request));
        }));
}

int PlcDeeds::strayReplies(const TraceSpan& span) const {
    return countStrays(span, [](int) { return true; });
}

int PlcDeeds::twinReplies(const TraceSpan& span) const {
    QSet<int> own;
    for (const TraceEvent& event : m_events) {
        if (event.kind == TraceEvent::Received && isIn(event.at, span)) {
            own.insert(event.sid);
        }
    }
    return countStrays(span, [&own](int sid) { return own.contains(sid); });
}
