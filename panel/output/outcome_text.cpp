#include "panel/output/outcome_text.h"

#include <velkor/host/end_codes.h>
#include <velkor/host/line.h>
#include <velkor/host/registers.h>

#include <algorithm>

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

QStringList leftBehind(const WriteOutcome& outcome) {
    QStringList lines;
    if (outcome.result == WriteResult::Taken) {
        return lines;
    }
    if (outcome.taken > 0) {
        lines.append(QStringLiteral("written before that: ") +
                     requestText(outcome.reg, outcome.address, outcome.taken));
    }
    if (outcome.unknown > 0) {
        lines.append(
            QStringLiteral("perhaps written: %1, though no answer says so")
                .arg(requestText(outcome.reg, outcome.address + outcome.taken, outcome.unknown)));
    }
    const int reached = outcome.taken + outcome.unknown;
    if (reached < outcome.count && outcome.last.length < outcome.count) {
        lines.append(QStringLiteral("not written: ") +
                     requestText(outcome.reg, outcome.address + reached, outcome.count - reached));
    }
    return lines;
}

QStringList leftBehind(const RecipeOutcome& outcome) {
    const bool touched =
        std::any_of(outcome.blocks.begin(), outcome.blocks.end(),
                    [](const RecipeBlock& block) { return block.state != RecipeBlock::NotMoved; });
    const bool whole =
        outcome.result == RecipeResult::Done || outcome.result == RecipeResult::NotVerified;
    if (outcome.direction != RecipeDirection::Download || whole || !touched) {
        return {};
    }
    const auto moved =
        std::count_if(outcome.blocks.begin(), outcome.blocks.end(),
                      [](const RecipeBlock& block) { return block.state == RecipeBlock::Moved; });
    QStringList lines;
    if (moved > 0) {
        lines.append(QStringLiteral("the PLC now holds a part of the recipe: blocks written before "
                                    "that: %1")
                         .arg(moved));
    }
    for (const RecipeBlock& block : outcome.blocks) {
        if (block.state == RecipeBlock::Unknown) {
            lines.append(QStringLiteral("perhaps written: %1, though no answer says so")
                             .arg(requestText(block.reg, block.address, block.length)));
        }
    }
    lines.append(QStringLiteral("block by block: ") + recipeBlocksText(outcome));
    return lines;
}

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

QString writeSummary(const WriteOutcome& outcome, const LineSettings& settings,
                     const SettingNames& names, const QString& plc) {
    const QString place = plc.isEmpty() ? QString() : plc + QLatin1Char('/');
    const QString request = place + requestText(outcome.reg, outcome.address, outcome.count);
    const RequestEnd& last = outcome.last;
    QString text = QStringLiteral("written: ") + request;
    if (outcome.result != WriteResult::Taken) {
        text = last.tries > 0 ? QStringLiteral("writing ") + place + requestText(last) +
                                    QStringLiteral(" failed")
                              : QStringLiteral("not written: ") + request;
        for (const QString& line : leftBehind(outcome)) {
            text += QStringLiteral("; ") + line;
        }
        if (last.tries > 0) {
            text += QStringLiteral(": ") + failureReason(last, settings, names);
        }
        if (last.refused && isModeRefusal(last.endCode) && !settings.allowModeChange) {
            text += QStringLiteral("; ") + names.allowModeChange +
                    QStringLiteral(" allows the change to MONITOR mode");
        }
    }
    if (outcome.modeSwitched) {
        text += QStringLiteral("; for it the PLC was switched to MONITOR mode");
    } else if (outcome.modeUnknown) {
        text += QStringLiteral("; for it the PLC may have been switched to MONITOR mode: it was "
                               "asked to, and did not answer");
    }
    return text;
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
