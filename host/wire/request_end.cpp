#include <velkor/host/request_end.h>

#include "host/wire/end_code_kinds.h"
#include "host/wire/request_facts.h"
#include "host/wire/request_words.h"

#include <velkor/host/end_codes.h>
#include <velkor/host/line.h>
#include <velkor/host/registers.h>

#include <cstring>

namespace velkor_host {

namespace {

/// "2 of 3 tries"
QString ofTries(int number, const RequestEnd& end) {
    return QStringLiteral("%1 of %2").arg(number).arg(counted(end.tries, "try", "tries"));
}

/// "cannot send: Network is unreachable"
QString cannotSendText(const RequestEnd& end) {
    return QStringLiteral("cannot send: ") + QString::fromLocal8Bit(std::strerror(end.sendError));
}

/// When it was refused, seen from the change of the PLC's mode.
QString modeChangeText(const RequestEnd& end) {
    if (!end.modeChange) {
        return end.modeChangeUnsent > 0
                   ? QStringLiteral("; the change to MONITOR mode: ") + cannotSendText(end)
                   : QString();
    }
    if (modeChangeRefused(end) && decidingEndCode(end) == end.modeChangeEnd) {
        return end.modeChangeEnd == end.endCode
                   ? QStringLiteral(", and the same to the change to MONITOR mode")
                   : QStringLiteral(", to the change to MONITOR mode");
    }
    if (modeChangeRefused(end)) {
        return QString(); // it has no part in this refusal: see besidesText()
    }
    if (end.modeChangeEnd >= 0) {
        return end.refusedAfterModeChange
                   ? QStringLiteral(", also after the change to MONITOR mode")
                   : QStringLiteral(", before the change to MONITOR mode");
    }
    QString text = QStringLiteral("; the change to MONITOR mode was not answered, so it may be in "
                                  "that mode");
    if (end.modeChangeUnsent > 0) {
        text += QStringLiteral("; asked for once more: ") + cannotSendText(end);
    }
    return text;
}

QString refusalsText(const RequestEnd& end) {
    const bool changed =
        end.modeChangeEnd >= 0 && isNormalEnd(end.modeChangeEnd) && !end.refusedAfterModeChange;
    const int endCode = changed ? end.refusalBeforeModeChange : end.endCode;
    QString text =
        QStringLiteral("; the PLC had refused %1 before %2")
            .arg(counted(end.refusals, "try", "tries"),
                 changed ? QStringLiteral("the change to MONITOR mode") : QStringLiteral("that"));
    if (endCode >= 0 && !isNormalEnd(endCode)) {
        text += QStringLiteral(": end code ") + endCodeText(endCode);
    }
    return text;
}

QString portText(const RequestEnd& end) {
    if (end.unreached > 0) {
        return QStringLiteral("; %1 met a closed port").arg(ofTries(end.unreached, end));
    }
    return end.refusedPort > 0
               ? QStringLiteral("; \"port unreachable\" came, perhaps to an earlier frame")
               : QString();
}

/// What else is known than what decided it: it ends no sentence and begins none.
QString besidesText(const RequestEnd& end) {
    const int deciding = decidingEndCode(end);
    QString text;
    if (deciding < 0 && end.refusals > 0) {
        text += refusalsText(end);
    }
    if (modeChangeRefused(end) && deciding != end.modeChangeEnd) {
        text += QStringLiteral("; it had refused the change to MONITOR mode: end code ") +
                endCodeText(end.modeChangeEnd);
    }
    const bool toldAlready = deciding < 0 && !answersStrangely(end);
    if (!toldAlready && unansweredTries(end) > 0) {
        text += QStringLiteral("; %1 had no answer").arg(ofTries(unansweredTries(end), end));
    }
    text += portText(end);
    if (end.unsent > 0) {
        text += QStringLiteral("; %1 never left this computer: %2")
                    .arg(ofTries(end.unsent, end), cannotSendText(end));
    }
    return text;
}

QString strangeText(const RequestEnd& end) {
    return end.strange == 0
               ? QString()
               : QStringLiteral("; %1 came that %2 no reply to it")
                     .arg(counted(end.strange, "datagram", "datagrams"),
                          end.strange == 1 ? QStringLiteral("was") : QStringLiteral("were"));
}

/// Why nothing was sent of a request.
QString notSent(const RequestEnd& end) {
    return end.closed      ? QStringLiteral("not sent: the line was closed")
           : end.takenBack ? QStringLiteral("not sent: the host has taken it back")
                           : QStringLiteral("not sent");
}

bool nothingHasComeYet(const RequestEnd& end) {
    return end.silent + end.refusedPort + end.refusals + end.wrongLength == 0 && end.endCode < 0;
}

/// Whose answer an error is: one on the way is not the PLC's, and of a code that nobody knows, or
/// that tells of an answer that has not come, it is not known whether anything was refused.
const char* whoSays(int endCode, const char* onTheWay, const char* thePlc,
                    const char* nobodyKnows) {
    return isErrorOnTheWay(endCode) ? onTheWay : isSurelyNotDone(endCode) ? thePlc : nobodyKnows;
}

QString refusalReason(int endCode, const RequestEnd& end, const LineSettings& settings,
                      const SettingNames& names) {
    QString text = QString::fromLatin1(whoSays(endCode, "an error on the way to the PLC",
                                               "the PLC refused", "the answer is an error")) +
                   QStringLiteral(": end code ") + endCodeText(endCode);
    const bool asked = end.modeChange || end.modeChangeUnsent > 0;
    if (!asked && isModeRefusal(endCode) && settings.allowModeChange &&
        settings.retries < LineSettings::MODE_CHANGE_RETRIES) {
        text += QStringLiteral(" (the change to MONITOR mode needs %1 %2 or more)")
                    .arg(names.retries)
                    .arg(LineSettings::MODE_CHANGE_RETRIES);
    }
    return text + modeChangeText(end) +
           QStringLiteral(" (%1)").arg(counted(end.tries, "try", "tries"));
}

/// What has got through matters of a write alone: a read changes nothing.
bool nothingListens(const RequestEnd& end) {
    return portIsClosed(end) || !end.write;
}

QString closedPortReason(const RequestEnd& end, const LineSettings& settings) {
    const QString told =
        nothingListens(end)
            ? QStringLiteral("nothing listens on UDP port %1 of %2: that computer says \"port "
                             "unreachable\"")
            : QStringLiteral("nothing seems to listen on UDP port %1 of %2: that computer says "
                             "\"port unreachable\", though perhaps not to every frame");
    return told.arg(settings.plc.port).arg(settings.plc.address.toString());
}

QString silenceReason(const RequestEnd& end, const LineSettings& settings) {
    const QString unanswered =
        end.refusals > 0 ? QStringLiteral("%1 of ").arg(end.tries - end.refusals) : QString();
    return QStringLiteral("no usable answer from %1 in %2%3 of %4 ms each")
        .arg(endpointText(settings.plc), unanswered, counted(end.tries, "try", "tries"))
        .arg(settings.timeoutMs);
}

} // namespace

bool RequestEnd::surelyNotExecuted() const {
    return !ok && refusals - doubtful + unreached + unsent == tries;
}

QString requestText(const QString& reg, int address, int length) {
    const bool bits = isBitRegister(reg);
    return QStringLiteral("%1 %2 (%3)")
        .arg(reg, addressText(address, bits),
             bits ? counted(length, "bit", "bits") : counted(length, "word", "words"));
}

QString requestText(const RequestEnd& end) {
    return requestText(end.reg, end.address, end.length);
}

QString failureReason(const RequestEnd& end, const LineSettings& settings,
                      const SettingNames& names) {
    if (end.ok || end.tries == 0) {
        return end.ok ? QString() : notSent(end);
    }
    const QString besides = besidesText(end) + strangeText(end);
    const int endCode = decidingEndCode(end);
    if (endCode >= 0) {
        return refusalReason(endCode, end, settings, names) + besides;
    }
    const QString plc = endpointText(settings.plc);
    const QString tries = counted(end.tries, "try", "tries");
    const QString waited = secondsText(end.waited);
    if (nothingCouldBeSent(end)) {
        return QStringLiteral("%1 (%2 to %3 in %4)").arg(cannotSendText(end), tries, plc, waited);
    }
    if (portIsClosed(end) || portSeemsClosed(end)) {
        return QStringLiteral("%1 (%2 in %3)").arg(closedPortReason(end, settings), tries, waited);
    }
    if (answersStrangely(end)) {
        return QStringLiteral("%1 answers, but not with what was asked for: replies of a wrong "
                              "length (%2 in %3)")
                   .arg(plc, tries, waited) +
               besides;
    }
    if (end.closed) {
        return QStringLiteral("the line was closed before %1 had answered (%2 in %3)")
                   .arg(plc, tries, waited) +
               besides;
    }
    return QStringLiteral("%1 (%2)").arg(silenceReason(end, settings), waited) + besides;
}

QString shortReason(const RequestEnd& end, const LineSettings& settings) {
    if (end.ok || end.tries == 0) {
        return end.ok ? QString() : notSent(end);
    }
    const int endCode = decidingEndCode(end);
    if (endCode >= 0) {
        return QStringLiteral("%1: end code %2 when %3 %4")
            .arg(QString::fromLatin1(whoSays(endCode, "error on the way", "refused", "error")),
                 endCodeText(endCode),
                 end.write ? QStringLiteral("writing") : QStringLiteral("reading"),
                 requestText(end));
    }
    const QString plc = endpointText(settings.plc);
    if (nothingCouldBeSent(end)) {
        return cannotSendText(end) + QStringLiteral(", to ") + plc;
    }
    if (portIsClosed(end) || portSeemsClosed(end)) {
        return (nothingListens(end)
                    ? QStringLiteral("port unreachable: nothing listens on ")
                    : QStringLiteral("port unreachable: nothing seems to listen on ")) +
               plc;
    }
    if (answersStrangely(end)) {
        return QStringLiteral("wrong length: replies of %1 to %2").arg(plc, requestText(end));
    }
    if (end.closed) {
        return QStringLiteral("no answer: the line to %1 was closed before").arg(plc) +
               besidesText(end);
    }
    if (nothingHasComeYet(end)) {
        return QStringLiteral("no answer: still waiting in the first try of %1 ms to %2")
            .arg(settings.timeoutMs)
            .arg(plc);
    }
    return QStringLiteral("no answer: %1 of %2 ms to %3")
               .arg(counted(end.tries, "try", "tries"))
               .arg(settings.timeoutMs)
               .arg(plc) +
           besidesText(end);
}

} // namespace velkor_host
