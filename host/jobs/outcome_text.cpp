// What became of writes, reads and recipes, in words for a person.

#include "host/wire/end_code_kinds.h"

#include <velkor/host/line.h>

#include <algorithm>

namespace velkor_host {
namespace {

/// Behind a text that has come to its point.
template <typename Outcome> QString modeText(const Outcome& outcome) {
    if (outcome.modeSwitched) {
        return QStringLiteral("; for it the PLC was switched to MONITOR mode");
    }
    if (outcome.modeUnknown) {
        return QStringLiteral("; for it the PLC may have been switched to MONITOR mode: it was "
                              "asked to, and did not answer");
    }
    return QString();
}

/// What the reader may set, where that was the reason.
QString modeAdvice(const RequestEnd& last, const LineSettings& settings,
                   const SettingNames& names) {
    const bool forbidden =
        last.write && last.refused && isModeRefusal(last.endCode) && !settings.allowModeChange;
    return forbidden ? QStringLiteral("; ") + names.allowModeChange +
                           QStringLiteral(" allows the change to MONITOR mode")
                     : QString();
}

QString placeText(const QString& plc) {
    return plc.isEmpty() ? QString() : plc + QLatin1Char('/');
}

QString variablesText(const RecipeOutcome& outcome) {
    const auto count = outcome.variables.size();
    return count == 1 ? QStringLiteral("1 variable") : QStringLiteral("%1 variables").arg(count);
}

/// "speed (DM 101) holds 5 instead of 6, ... and 2 more"
QString differencesText(const RecipeOutcome& outcome) {
    const int SHOWN = 5;
    QStringList texts;
    for (const RecipeDifference& difference : outcome.differences.mid(0, SHOWN)) {
        QString where = QStringLiteral("%1 %2").arg(difference.reg).arg(difference.address);
        if (!difference.name.isEmpty()) {
            where = QStringLiteral("%1 (%2)").arg(difference.name, where);
        }
        texts.append(QStringLiteral("%1 holds %2 instead of %3")
                         .arg(where)
                         .arg(difference.found)
                         .arg(difference.wanted));
    }
    const int more = static_cast<int>(outcome.differences.size()) - SHOWN;
    return texts.join(QStringLiteral(", ")) +
           (more > 0 ? QStringLiteral(" and %1 more").arg(more) : QString());
}

/// Its end when every block was acknowledged.
QString transferredText(const RecipeOutcome& outcome, const QString& place) {
    if (outcome.direction == RecipeDirection::Upload) {
        return QStringLiteral("uploaded: ") + place + variablesText(outcome);
    }
    switch (outcome.result) {
    case RecipeResult::Different:
        return place + QStringLiteral("downloaded, but the PLC does not hold what was written: ") +
               differencesText(outcome) +
               QStringLiteral("; its program or another panel may write there too");
    case RecipeResult::NotVerified:
        return place + QStringLiteral("the PLC has acknowledged every block of the download; what "
                                      "it holds was not compared");
    default:
        return QStringLiteral("downloaded: ") + place + variablesText(outcome) +
               (outcome.readBack ? QStringLiteral(", read back and equal") : QString());
    }
}

bool everyBlockAcknowledged(RecipeResult result) {
    return result == RecipeResult::Done || result == RecipeResult::Different ||
           result == RecipeResult::NotVerified;
}

/// Its end when a block failed, or was never sent.
QString brokenOffText(const RecipeOutcome& outcome, const QString& place) {
    const bool download = outcome.direction == RecipeDirection::Download;
    if (outcome.result == RecipeResult::GivenUp) {
        return (download ? QStringLiteral("download of %1%2 given up")
                         : QStringLiteral("upload of %1%2 given up"))
            .arg(place, variablesText(outcome));
    }
    return (download ? QStringLiteral("downloading %1%2 failed")
                     : QStringLiteral("uploading %1%2 failed"))
        .arg(place, outcome.last.length > 0 ? requestText(outcome.last) : variablesText(outcome));
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

QString outcomeText(const WriteOutcome& outcome, const LineSettings& settings,
                    const SettingNames& names, const QString& plc) {
    const QString place = placeText(plc);
    const QString request = place + requestText(outcome.reg, outcome.address, outcome.count);
    const RequestEnd& last = outcome.last;
    QString text = QStringLiteral("written: ") + request;
    if (outcome.result != WriteResult::Taken) {
        text = last.tries > 0 ? QStringLiteral("writing ") + place + requestText(last) +
                                    QStringLiteral(" failed")
                              : QStringLiteral("not written: ") + request;
        const bool begun = last.tries > 0 || outcome.taken > 0;
        for (const QString& line : begun ? leftBehind(outcome) : QStringList()) {
            text += QStringLiteral("; ") + line;
        }
        if (last.tries > 0 || last.closed || last.takenBack) {
            text += QStringLiteral(": ") + failureReason(last, settings, names);
        }
        text += modeAdvice(last, settings, names);
    }
    return text + modeText(outcome);
}

QString outcomeText(const ReadOutcome& outcome, const LineSettings& settings,
                    const SettingNames& names, const QString& plc) {
    const QString place = placeText(plc);
    const QString request = place + requestText(outcome.reg, outcome.address, outcome.count);
    if (outcome.ok) {
        return QStringLiteral("read: ") + request;
    }
    const RequestEnd& last = outcome.last;
    return (last.tries > 0
                ? QStringLiteral("reading ") + place + requestText(last) + QStringLiteral(" failed")
                : QStringLiteral("not read: ") + request) +
           QStringLiteral(": ") + failureReason(last, settings, names);
}

QString outcomeText(const RecipeOutcome& outcome, const LineSettings& settings,
                    const SettingNames& names, const QString& plc) {
    const QString place = placeText(plc);
    QString text = everyBlockAcknowledged(outcome.result) ? transferredText(outcome, place)
                                                          : brokenOffText(outcome, place);
    if (outcome.result != RecipeResult::Different) { // whose text has said it
        for (const QString& line : leftBehind(outcome)) {
            text += QStringLiteral("; ") + line;
        }
    }
    const QString reason = failureReason(outcome.last, settings, names);
    if (!reason.isEmpty() && outcome.last.tries > 0) {
        text += QStringLiteral(": ") + reason + modeAdvice(outcome.last, settings, names);
    } else if (outcome.last.closed) {
        text += QStringLiteral(": the line was closed");
    }
    return text + modeText(outcome);
}

} // namespace velkor_host
