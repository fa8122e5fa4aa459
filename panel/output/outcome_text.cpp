#include "panel/output/outcome_text.h"

#include <velkor/host/end_codes.h>
#include <velkor/host/line.h>
#include <velkor/host/registers.h>

namespace panel {
namespace {

/// Of the PLC's mode: a program may be running that was stopped.
template <typename Outcome> QStringList modeLines(const Outcome& outcome) {
    if (outcome.modeSwitched) {
        return {QStringLiteral("the PLC was switched to MONITOR mode")};
    }
    if (outcome.modeUnknown) {
        return {QStringLiteral("the PLC was asked to change to MONITOR mode; whether it has is "
                               "unknown")};
    }
    return {};
}

} // namespace

QStringList interruptedText(const WriteOutcome& outcome) {
    const bool unknown = outcome.result == WriteResult::Unknown;
    QStringList lines{QStringLiteral("ended by a signal while writing %1%2")
                          .arg(requestText(outcome.reg, outcome.address, outcome.count),
                               unknown ? QStringLiteral(": a frame was sent, and its outcome is "
                                                        "unknown")
                                       : QString())};
    const QStringList left = leftBehind(outcome);
    lines += !left.isEmpty()
                 ? left
                 : QStringList{QStringLiteral("not written: ") +
                               requestText(outcome.reg, outcome.address, outcome.count)};
    return lines + modeLines(outcome);
}

QStringList interruptedText(const RecipeOutcome& outcome) {
    if (outcome.result == RecipeResult::NotVerified) {
        return QStringList{QStringLiteral("ended by a signal before the download was compared; the "
                                          "PLC has acknowledged every block of it")} +
               modeLines(outcome);
    }
    QStringList lines{QStringLiteral("ended by a signal before the recipe was downloaded")};
    const QStringList left = leftBehind(outcome);
    lines += !left.isEmpty()
                 ? left
                 : QStringList{QStringLiteral("nothing of the recipe has been written")};
    return lines + modeLines(outcome);
}

QStringList writeColumns() {
    return {
        QStringLiteral("plc"),      QStringLiteral("name"),    QStringLiteral("register"),
        QStringLiteral("address"),  QStringLiteral("count"),   QStringLiteral("outcome"),
        QStringLiteral("end_code"), QStringLiteral("written"), QStringLiteral("perhaps_written"),
        QStringLiteral("reason")};
}

Record writeRecord(const WriteOutcome& outcome, const LineSettings& settings, const QString& plc,
                   const QString& name, const SettingNames& names) {
    const int endCode = outcome.last.endCode;
    return {plc,
            name,
            outcome.reg,
            addressText(outcome.address, isBitRegister(outcome.reg)),
            outcome.count,
            writeResultName(outcome.result),
            endCode < 0 ? QString() : endCodeText(endCode),
            outcome.taken,
            outcome.unknown,
            failureReason(outcome.last, settings, names)};
}

QString ModeChangeNotes::of(const RequestEnd& end) {
    const bool changed = end.modeChangeEnd >= 0 && isNormalEnd(end.modeChangeEnd);
    const bool again = m_ofEachPiece ? m_told == requestText(end) : !m_told.isEmpty();
    if (!end.write || end.ok || !changed || again) {
        return QString();
    }
    m_told = requestText(end);
    return requestText(end) + QStringLiteral(" was refused (") +
           endCodeText(end.refusalBeforeModeChange) +
           QStringLiteral("); the driver has asked for MONITOR mode, ") + m_next;
}

} // namespace panel
