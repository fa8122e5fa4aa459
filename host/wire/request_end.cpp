#include <velkor/host/request_end.h>

#include <velkor/host/end_codes.h>
#include <velkor/host/line.h>
#include <velkor/host/registers.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace velkor_host {
namespace {

QString counted(int number, const char* one, const char* many) {
    return QStringLiteral("%1 %2").arg(number).arg(QLatin1String(number == 1 ? one : many));
}

QString secondsText(qint64 microseconds) {
    return QStringLiteral("%1 s").arg(static_cast<double>(microseconds) / 1e6, 0, 'f', 2);
}

bool modeChangeRefused(const RequestEnd& end) {
    return end.modeChangeEnd >= 0 && !isNormalEnd(end.modeChangeEnd);
}

/// The error that decides: a refusal of the mode change, or of the last try. -1: the last try had
/// no answer, whatever came before.
int decidingEndCode(const RequestEnd& end) {
    if (modeChangeRefused(end)) {
        return end.modeChangeEnd;
    }
    return end.refused ? end.endCode : -1;
}

/// When it was refused, seen from the change of the PLC's mode.
QString modeChangeText(const RequestEnd& end) {
    if (modeChangeRefused(end)) {
        return QStringLiteral(", to the change to MONITOR mode");
    }
    if (end.modeChangeEnd < 0) {
        return QStringLiteral("; the change to MONITOR mode was not answered, so it may be in that "
                              "mode");
    }
    return end.refusedAfterModeChange ? QStringLiteral(", also after the change to MONITOR mode")
                                      : QStringLiteral(", before the change to MONITOR mode");
}

/// Each try was met by the word of the PLC's computer that nothing listens there. Which frame it
/// was said of is another matter (`unreached`): one frame that was lost earlier leaves that open.
bool portIsClosed(const RequestEnd& end) {
    return end.tries > 0 && std::max(end.unreached, end.refusedPort) >= end.tries;
}

bool nothingCouldBeSent(const RequestEnd& end) {
    return end.tries > 0 && end.unsent >= end.tries;
}

/// "cannot send: Network is unreachable"
QString cannotSendText(const RequestEnd& end) {
    return QStringLiteral("cannot send: ") + QString::fromLocal8Bit(std::strerror(end.sendError));
}

/// What else is known of tries that were not answered: it ends no sentence and begins none.
QString besidesText(const RequestEnd& end) {
    QString text;
    if (end.refusals > 0) {
        const bool changed = end.modeChange && !end.refusedAfterModeChange;
        const int endCode = changed ? end.refusalBeforeModeChange : end.endCode;
        text += QStringLiteral("; the PLC had refused %1 before %2")
                    .arg(counted(end.refusals, "try", "tries"),
                         changed ? QStringLiteral("the change to MONITOR mode")
                                 : QStringLiteral("that"));
        if (endCode >= 0 && !isNormalEnd(endCode)) {
            text += QStringLiteral(": end code ") + endCodeText(endCode);
        }
    }
    if (end.unreached > 0) {
        text += QStringLiteral("; %1 of %2 met a closed port")
                    .arg(end.unreached)
                    .arg(counted(end.tries, "try", "tries"));
    } else if (end.refusedPort > 0) {
        text += QStringLiteral("; \"port unreachable\" came, perhaps to an earlier frame");
    }
    if (end.unsent > 0) {
        text += QStringLiteral("; %1 of %2 never left this computer: %3")
                    .arg(end.unsent)
                    .arg(counted(end.tries, "try", "tries"), cannotSendText(end));
    }
    return text;
}

/// What advice needs to know.
struct Place {
    const LineSettings& settings;
    const QVector<int>& nodes;
    const SettingNames& names;
};

QString addressCause(const Place& place) {
    return QStringLiteral(
               "a wrong address or port: the panel asks %1; %2 names another (these PLCs "
               "leave the factory as 192.168.250.1, port 9600)")
        .arg(endpointText(place.settings.plc), place.names.plc);
}

QString nodesCause(const Place& place) {
    return QStringLiteral("wrong node numbers: the PLC is asked as node %1, this panel is node %2; "
                          "a PLC answers only the node number set on it, usually the last octet "
                          "of its address (%3)")
        .arg(place.nodes.value(1))
        .arg(place.nodes.value(4))
        .arg(place.names.nodes);
}

QString firewallCause() {
    return QStringLiteral("a firewall, or no network cable: UDP must pass to the PLC's port and "
                          "back");
}

QString rangeCause(const RequestEnd& end) {
    return QStringLiteral("the address lies beyond this PLC's range: smaller models have less %1 "
                          "memory than the driver's catalogue allows")
        .arg(wordRegisterName(end.reg));
}

QString modeCause() {
    return QStringLiteral("the PLC's operating mode: switch it to MONITOR, or to RUN where it "
                          "allows writing");
}

/// What the driver switches the mode for has a remedy here; nothing else has.
QStringList modeCauses(int endCode, const RequestEnd& end, const Place& place) {
    if (!end.write || !isModeRefusal(endCode)) {
        return {QStringLiteral("the PLC's operating mode, or what its program is doing, does not "
                               "allow it now: look at the mode switch and at the program")};
    }
    QStringList causes{modeCause()};
    if (!place.settings.allowModeChange) {
        causes +=
            QStringLiteral("this line may not switch the mode by itself; %1 allows it (MONITOR "
                           "starts the program of a PLC that was stopped)")
                .arg(place.names.allowModeChange);
    }
    return causes << QStringLiteral("the mode switch or a program that holds the mode");
}

/// The end code tells of the way to the PLC, not of the command. Who has looked at the command was
/// asked at the right address and by the right node numbers: a PLC answers no others.
bool refusedOnTheWay(int endCode) {
    const int kind = plainEndCode(endCode) >> 8;
    return kind < 0x04 || kind == 0x05;
}

QStringList refusalCauses(int endCode, const RequestEnd& end, const Place& place) {
    const int code = plainEndCode(endCode);
    const int kind = code >> 8;
    if (kind == 0x22) {
        return modeCauses(code, end, place);
    }
    if (kind == 0x20 || kind == 0x21 || kind == 0x30) {
        QStringList causes{QStringLiteral("the memory is protected: look at the PLC's write "
                                          "protection and access rights")};
        return end.write ? causes << modeCause() : causes;
    }
    if (code == 0x1103 || code == 0x1104 || code == 0x1101) {
        return {rangeCause(end)};
    }
    if (kind == 0x10 || kind == 0x11) {
        return {QStringLiteral("the block is longer than this PLC takes: fewer words a frame "
                               "(%1, now %2)")
                    .arg(place.names.wordsPerFrame)
                    .arg(place.settings.wordsPerFrame),
                rangeCause(end)};
    }
    if (kind == 0x01 || kind == 0x02 || kind == 0x05) {
        return {nodesCause(place), addressCause(place)};
    }
    QStringList causes{QStringLiteral("the PLC's own state: look at its error display")};
    if (refusedOnTheWay(code)) {
        causes += nodesCause(place);
    }
    if (kind == 0x04 && place.nodes.value(2) != 0) {
        causes +=
            QStringLiteral("another unit of the PLC than the one meant: unit %1 is asked, the "
                           "CPU is unit 0 (%2)")
                .arg(place.nodes.value(2))
                .arg(place.names.nodes);
    }
    return causes;
}

/// This computer has not let the frame out: the PLC has nothing to do with it.
QStringList sendCauses(const RequestEnd& end, const Place& place) {
    if (end.sendError == EMSGSIZE) {
        return {QStringLiteral("a frame longer than the network on the way takes: fewer words a "
                               "frame (%1, now %2)")
                    .arg(place.names.wordsPerFrame)
                    .arg(place.settings.wordsPerFrame)};
    }
    const QString firewall =
        QStringLiteral("a firewall of this computer that lets nothing out to the PLC");
    if (end.sendError == EPERM || end.sendError == EACCES) {
        return {firewall, addressCause(place)};
    }
    return {QStringLiteral("this computer's network: a cable that is not plugged in, an interface "
                           "that is down, or no address of its own in the PLC's network"),
            QStringLiteral("no route to the PLC: \"ip route get %1\" shows the way that is taken")
                .arg(place.settings.plc.address.toString()),
            addressCause(place), firewall};
}

/// Why nothing was sent of a request.
QString notSent(const RequestEnd& end) {
    return end.closed ? QStringLiteral("not sent: the line was closed")
                      : QStringLiteral("not sent");
}

/// Closed in the first try: that there was no answer yet says nothing of the PLC.
bool hadNoChance(const RequestEnd& end) {
    return end.tries == 0 || (end.closed && end.silent + end.refusedPort + end.wrongLength == 0);
}

bool nothingHasComeYet(const RequestEnd& end) {
    return end.silent + end.refusedPort + end.refusals + end.wrongLength == 0 && end.endCode < 0;
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
    const QString tries = counted(end.tries, "try", "tries");
    const int endCode = decidingEndCode(end);
    if (endCode >= 0) {
        QString text = QStringLiteral("the PLC refused: end code %1").arg(endCodeText(endCode));
        if (end.modeChange) {
            text += modeChangeText(end);
        } else if (end.sendError != 0) {
            text += QStringLiteral("; the change to MONITOR mode: ") + cannotSendText(end);
        } else if (isModeRefusal(endCode) && settings.allowModeChange &&
                   settings.retries < LineSettings::MODE_CHANGE_RETRIES) {
            text += QStringLiteral(" (the change to MONITOR mode needs %1 %2 or more)")
                        .arg(names.retries)
                        .arg(LineSettings::MODE_CHANGE_RETRIES);
        }
        return text + QStringLiteral(" (%1)").arg(tries);
    }
    if (nothingCouldBeSent(end)) {
        return QStringLiteral("%1 (%2 to %3 in %4)")
            .arg(cannotSendText(end), tries, endpointText(settings.plc), secondsText(end.waited));
    }
    if (portIsClosed(end)) {
        return QStringLiteral("nothing listens on UDP port %1 of %2: that computer says "
                              "\"port unreachable\" (%3 in %4)")
            .arg(settings.plc.port)
            .arg(settings.plc.address.toString(), tries, secondsText(end.waited));
    }
    if (end.silent < end.tries && end.wrongLength > 0) {
        return QStringLiteral("%1 answers, but not with what was asked for: replies of a wrong "
                              "length (%2 in %3)")
            .arg(endpointText(settings.plc), tries, secondsText(end.waited));
    }
    if (end.closed) {
        return QStringLiteral("the line was closed before %1 had answered (%2 in %3)")
            .arg(endpointText(settings.plc), tries, secondsText(end.waited));
    }
    const QString unanswered =
        end.refusals > 0 ? QStringLiteral("%1 of ").arg(end.tries - end.refusals) : QString();
    QString text = QStringLiteral("no usable answer from %1 in %2%3 of %4 ms each (%5)")
                       .arg(endpointText(settings.plc), unanswered, tries)
                       .arg(settings.timeoutMs)
                       .arg(secondsText(end.waited));
    text += besidesText(end);
    if (end.strange > 0) {
        text += QStringLiteral("; %1 came that %2 no reply to it")
                    .arg(counted(end.strange, "datagram", "datagrams"),
                         end.strange == 1 ? QStringLiteral("was") : QStringLiteral("were"));
    }
    return text;
}

QString shortReason(const RequestEnd& end, const LineSettings& settings) {
    if (end.ok || end.tries == 0) {
        return end.ok ? QString() : notSent(end);
    }
    const int endCode = decidingEndCode(end);
    if (endCode >= 0) {
        return QStringLiteral("refused: end code %1 when %2 %3")
            .arg(endCodeText(endCode),
                 end.write ? QStringLiteral("writing") : QStringLiteral("reading"),
                 requestText(end));
    }
    const QString plc = endpointText(settings.plc);
    if (nothingCouldBeSent(end)) {
        return cannotSendText(end) + QStringLiteral(", to ") + plc;
    }
    if (portIsClosed(end)) {
        return QStringLiteral("port unreachable: nothing listens on ") + plc;
    }
    if (end.silent < end.tries && end.wrongLength > 0) {
        return QStringLiteral("wrong length: replies of %1 to %2").arg(plc, requestText(end));
    }
    if (end.closed) {
        return QStringLiteral("no answer: the line to %1 was closed before").arg(plc);
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

QStringList likelyCauses(const RequestEnd& end, const LineSettings& settings,
                         const QVector<int>& nodes, const SettingNames& names) {
    const Place place{settings, nodes, names};
    const int endCode = decidingEndCode(end);
    if (end.ok || (endCode < 0 && hadNoChance(end))) {
        return {};
    }
    if (endCode >= 0) {
        return refusalCauses(endCode, end, place);
    }
    if (end.unsent > 0) {
        return sendCauses(end, place);
    }
    if (portIsClosed(end)) {
        return {addressCause(place),
                QStringLiteral("the PLC's FINS/UDP service is switched off, or it is starting")};
    }
    const QString slowLink = QStringLiteral("a slow link: a longer %1 (now %2 ms)")
                                 .arg(names.timeout)
                                 .arg(settings.timeoutMs);
    if (end.silent > 0 && end.answeredAt >= 0 && end.answeredAt < end.waited) {
        return {QStringLiteral("the PLC has stopped answering: its last answer came %1 before the "
                               "end, so address and port are right; look at its power and its "
                               "error display")
                    .arg(secondsText(end.waited - end.answeredAt)),
                QStringLiteral("the network between: a cable, a switch or a radio link that has "
                               "failed since"),
                slowLink};
    }
    return {addressCause(place), nodesCause(place),
            QStringLiteral("a PLC without power, or whose FINS/UDP service is switched off"),
            firewallCause(), slowLink};
}

QString failureText(const RequestEnd& end, const LineSettings& settings, const QVector<int>& nodes,
                    const SettingNames& names) {
    if (end.ok) {
        return QString();
    }
    QString text = failureReason(end, settings, names);
    if (!end.reg.isEmpty()) {
        text.prepend(QStringLiteral("%1 %2 failed: ")
                         .arg(end.write ? QStringLiteral("writing") : QStringLiteral("reading"),
                              requestText(end)));
    }
    const QStringList causes = likelyCauses(end, settings, nodes, names);
    text += causes.isEmpty() ? QString() : QStringLiteral("\nCheck in this order:");
    int index = 0;
    for (const QString& cause : causes) {
        text += QStringLiteral("\n  %1. %2").arg(++index).arg(cause);
    }
    return text;
}

} // namespace velkor_host
