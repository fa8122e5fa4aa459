#ifndef VELKOR_PANEL_OUTPUT_PROBE_FINDINGS_H
#define VELKOR_PANEL_OUTPUT_PROBE_FINDINGS_H

/// What a series of single reads has told of a PLC and of the way to it.

#include "panel/output/output.h"

#include <velkor/host/statistics.h>

namespace panel {
using namespace velkor_host;

class ProbeFindings {
public:
    /// A read has ended. A refusal is an answer too.
    void note(const RequestEnd& end);

    int asked() const { return m_asked; }
    int answered() const { return m_answered; }
    int unansweredInARow() const { return m_unansweredInARow; }
    const RequestEnd& lastUnanswered() const { return m_lastUnanswered; }
    /// Frames that left this computer behind the first one of their read.
    int sentAgain() const { return m_sentAgain; }

    /// For people. `plc` is what has answered; `dropped` as LinkStatistics tells it.
    QString text(const QString& plc, qint64 dropped) const;
    /// For programs.
    static QStringList columns();
    Record record(const QString& plc, qint64 dropped) const;

private:
    Cell milliseconds(int percent) const;
    QString roundTripText() const;
    QString sentAgainText() const;
    QString endCode() const;

    int m_asked = 0;
    int m_answered = 0;
    int m_unansweredInARow = 0;
    int m_sentAgain = 0;
    int m_sentAgainAfterError = 0; ///< of these
    int m_unsent = 0;              ///< frames that this computer could not send
    RoundTrips m_roundTrips;
    RequestEnd m_last; ///< answered
    RequestEnd m_lastUnanswered;
};

} // namespace panel

#endif
