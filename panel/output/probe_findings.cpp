#include "panel/output/probe_findings.h"

#include <velkor/host/end_codes.h>

#include <algorithm>

namespace panel {

void ProbeFindings::note(const RequestEnd& end) {
    ++m_asked;
    const bool answered = end.ok || end.refusals > 0;
    m_answered += answered ? 1 : 0;
    m_unansweredInARow = answered ? 0 : m_unansweredInARow + 1;
    const int again = std::max(0, end.tries - end.unsent - 1);
    m_sentAgain += again;
    // The last try was not followed by another one.
    m_sentAgainAfterError += std::min(again, end.refusals - (end.refused ? 1 : 0));
    m_unsent += end.unsent;
    if (end.roundTrip >= 0) {
        m_roundTrips.add(end.roundTrip);
    }
    (answered ? m_last : m_lastUnanswered) = end;
}

/// A percentile; null where every first try went unanswered.
Cell ProbeFindings::milliseconds(int percent) const {
    if (m_roundTrips.count() == 0) {
        Cell unknown("null");
        unknown.number = true;
        return unknown;
    }
    return Cell(static_cast<double>(m_roundTrips.percentile(percent)) / 1000, 3);
}

QString ProbeFindings::roundTripText() const {
    return m_roundTrips.count() == 0
               ? QStringLiteral("unknown: every first try went unanswered")
               : QStringLiteral("minimum %1 ms, median %2 ms, 99th percentile %3 ms")
                     .arg(milliseconds(0).text, milliseconds(50).text, milliseconds(99).text);
}

/// Why frames were sent again.
QString ProbeFindings::sentAgainText() const {
    const QString error = QStringLiteral("because the PLC answered with an error");
    const QString other = QStringLiteral("that had no usable reply");
    const int afterError = m_sentAgainAfterError;
    if (afterError == 0 || afterError == m_sentAgain) {
        return QStringLiteral("frames sent again ") + (afterError == 0 ? other : error);
    }
    return QStringLiteral("frames sent again: %1 %2, %3 %4")
        .arg(afterError)
        .arg(error)
        .arg(m_sentAgain - afterError)
        .arg(other);
}

QString ProbeFindings::endCode() const {
    return m_last.endCode < 0 ? QStringLiteral("none") : endCodeText(m_last.endCode);
}

QString ProbeFindings::text(const QString& plc, qint64 dropped) const {
    QString text = QStringLiteral("%1 answers: %2 of %3 requests\n"
                                  "node        %4 (network %5, unit %6)\n"
                                  "round trip  %7\n"
                                  "end code    %8\n")
                       .arg(plc)
                       .arg(m_answered)
                       .arg(m_asked)
                       .arg(m_last.replyNode[1])
                       .arg(m_last.replyNode[0])
                       .arg(m_last.replyNode[2])
                       .arg(roundTripText(), endCode());
    if (m_sentAgain > 0) {
        text += QStringLiteral("retries     %1: %2\n").arg(m_sentAgain).arg(sentAgainText());
    }
    if (m_unsent > 0) {
        text += QStringLiteral("not sent    %1: frames that this computer could not send\n")
                    .arg(m_unsent);
    }
    if (dropped > 0) {
        text += QStringLiteral("dropped     %1: datagrams that were no reply to the frame in "
                               "flight\n")
                    .arg(dropped);
    }
    return text;
}

QStringList ProbeFindings::columns() {
    return {QStringLiteral("plc"),      QStringLiteral("asked"),     QStringLiteral("answered"),
            QStringLiteral("network"),  QStringLiteral("node"),      QStringLiteral("unit"),
            QStringLiteral("min_ms"),   QStringLiteral("median_ms"), QStringLiteral("p99_ms"),
            QStringLiteral("end_code"), QStringLiteral("retries"),   QStringLiteral("dropped"),
            QStringLiteral("unsent")};
}

Record ProbeFindings::record(const QString& plc, qint64 dropped) const {
    return {plc,
            m_asked,
            m_answered,
            m_last.replyNode[0],
            m_last.replyNode[1],
            m_last.replyNode[2],
            milliseconds(0),
            milliseconds(50),
            milliseconds(99),
            endCode(),
            m_sentAgain,
            static_cast<int>(dropped),
            m_unsent};
}

} // namespace panel
