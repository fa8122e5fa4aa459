// What a failed request means to the person at the panel: the likely causes.

#include "host/wire/end_code_kinds.h"
#include "host/wire/request_facts.h"
#include "host/wire/request_words.h"

#include <velkor/host/end_codes.h>
#include <velkor/host/line.h>
#include <velkor/host/registers.h>

#include <cerrno>

namespace velkor_host {
namespace {

const int READ_ONLY_AR_WORDS = 448; // from AR 0 on: the PLC alone writes them

/// What advice needs to know.
struct Place {
    const LineSettings& settings;
    const QVector<int>& nodes;
    const SettingNames& names;
};

/// The answers that have come were those of the PLC that was asked.
bool plcHasAnswered(const RequestEnd& end) {
    return sinceAnswer(end) >= 0;
}

QString addressCause(const Place& place) {
    return QStringLiteral(
               "a wrong address or port: this host asks %1; %2 names another (these PLCs "
               "leave the factory as 192.168.250.1, port 9600)")
        .arg(endpointText(place.settings.plc), place.names.plc);
}

/// "node 1", "node 1 of network 2"
QString nodeText(int network, int node) {
    const QString text = QStringLiteral("node %1").arg(node);
    return network == 0 ? text : text + QStringLiteral(" of network %1").arg(network);
}

QString nodesCause(const Place& place) {
    const QString plc = nodeText(place.nodes.value(0), place.nodes.value(1));
    const QString host = nodeText(place.nodes.value(3), place.nodes.value(4));
    return QStringLiteral("wrong node numbers: the PLC is asked as %1, this host is %2%3; a PLC "
                          "answers only the node number set on it, usually the last octet of its "
                          "address (%4)")
        .arg(plc, host,
             plc == host ? QStringLiteral(" too, and each needs a number of its own") : QString(),
             place.names.nodes);
}

QString unitCause(const Place& place) {
    return QStringLiteral("another unit of the PLC than the one meant: unit %1 is asked, the CPU "
                          "is unit 0 (%2)")
        .arg(place.nodes.value(2))
        .arg(place.names.nodes);
}

QString firewallCause() {
    return QStringLiteral("a firewall, or no network cable: UDP must pass to the PLC's port and "
                          "back");
}

QString slowLinkCause(const Place& place) {
    return QStringLiteral("a slow link: a longer %1 (now %2 ms)")
        .arg(place.names.timeout)
        .arg(place.settings.timeoutMs);
}

QString shorterBlocks(const char* what, const Place& place) {
    return QStringLiteral("%1: fewer words a frame (%2, now %3)")
        .arg(QLatin1String(what), place.names.wordsPerFrame)
        .arg(place.settings.wordsPerFrame);
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

QString stateCause() {
    return QStringLiteral("the PLC's own state: look at its error display");
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

bool touchesReadOnlyWords(const RequestEnd& end) {
    const int word = isBitRegister(end.reg) ? end.address / 16 : end.address;
    return wordRegisterName(end.reg) == QLatin1String("AR") && word < READ_ONLY_AR_WORDS;
}

QStringList protectionCauses(int endCode, const RequestEnd& end) {
    if (endCode == 0x2101 && end.write && touchesReadOnlyWords(end)) {
        return {QStringLiteral("AR 0 to %1 are read-only: the PLC alone writes them, and a host "
                               "may write from AR %2 on")
                    .arg(READ_ONLY_AR_WORDS - 1)
                    .arg(READ_ONLY_AR_WORDS)};
    }
    QStringList causes{QStringLiteral("the memory is protected: look at the PLC's write "
                                      "protection and access rights")};
    return end.write ? causes << modeCause() : causes;
}

/// Something on the way to the PLC has answered for it.
QStringList wayCauses(int endCode, const RequestEnd& end, const Place& place) {
    switch (endCode) {
    case 0x0204:
        return {QStringLiteral("the PLC is busy: others ask it at the same time; try again, or "
                               "ask it less often")};
    case 0x0202:
    case 0x0304:
        return {unitCause(place)};
    case 0x0301:
    case 0x0302:
    case 0x0001:
        return {stateCause()};
    default:
        break;
    }
    const QString way = QStringLiteral("the way from the device that has answered to the PLC: its "
                                       "routing tables, and the network behind it");
    return plcHasAnswered(end) ? QStringList{way}
                               : QStringList{nodesCause(place), addressCause(place), way};
}

QStringList refusalCauses(int endCode, const RequestEnd& end, const Place& place) {
    const int code = plainEndCode(endCode);
    const int kind = code >> 8;
    if (isErrorOnTheWay(endCode)) {
        return wayCauses(code, end, place);
    }
    if (kind == 0x22) {
        return modeCauses(code, end, place);
    }
    if (kind == 0x20 || kind == 0x21 || kind == 0x30) {
        return protectionCauses(code, end);
    }
    if (code == 0x1103 || code == 0x1104 || code == 0x1101) {
        return {rangeCause(end)};
    }
    if (kind == 0x10 || kind == 0x11) {
        return {shorterBlocks("the block is longer than this PLC takes", place), rangeCause(end)};
    }
    QStringList causes{stateCause()};
    return kind == 0x04 && place.nodes.value(2) != 0 ? causes << unitCause(place) : causes;
}

/// This computer has not let the frame out: the PLC has nothing to do with it.
QStringList sendCauses(const RequestEnd& end, const Place& place) {
    if (end.sendError == EMSGSIZE) {
        return {shorterBlocks("a frame longer than the network on the way takes", place)};
    }
    const bool known = plcHasAnswered(end);
    const QString firewall =
        QStringLiteral("a firewall of this computer that lets nothing out to the PLC");
    if (end.sendError == EPERM || end.sendError == EACCES) {
        QStringList causes{firewall};
        return known ? causes : causes << addressCause(place);
    }
    QStringList causes{
        QStringLiteral("this computer's network: a cable that is not plugged in, an interface "
                       "that is down, or no address of its own in the PLC's network"),
        QStringLiteral("no route to the PLC: \"ip route get %1\" shows the way that is taken")
            .arg(place.settings.plc.address.toString())};
    if (!known) {
        causes += addressCause(place);
    }
    return causes << firewall;
}

QStringList closedPortCauses(const RequestEnd& end, const Place& place) {
    const QString service =
        QStringLiteral("the PLC's FINS/UDP service is switched off, or it is starting");
    return plcHasAnswered(end) ? QStringList{service} : QStringList{addressCause(place), service};
}

/// Replies to what was asked for, but not of the length that was asked for.
QStringList wrongLengthCauses(const RequestEnd& end, const Place& place) {
    QStringList causes{
        shorterBlocks("a PLC, or a device on the way, that cuts long frames", place)};
    if (end.answeredBefore < 0) {
        causes += addressCause(place);
    }
    return causes;
}

/// It answers, so it has power, and nothing on the way holds its answers back.
QStringList strangeCauses(const RequestEnd& end, const Place& place) {
    QStringList causes{
        QStringLiteral("replies that come too late: ") + slowLinkCause(place),
        QStringLiteral("another program that talks to the PLC as the same node: each needs a node "
                       "number of its own (%1; now %2)")
            .arg(place.names.nodes, nodeText(place.nodes.value(3), place.nodes.value(4)))};
    if (!plcHasAnswered(end)) {
        causes += addressCause(place);
    }
    return causes;
}

QStringList silenceCauses(const RequestEnd& end, const Place& place) {
    if (!plcHasAnswered(end)) {
        return {addressCause(place), nodesCause(place),
                QStringLiteral("a PLC without power, or whose FINS/UDP service is switched off"),
                firewallCause(), slowLinkCause(place)};
    }
    return {QStringLiteral("the PLC has stopped answering: its last answer came %1 before the "
                           "end, so address, port and node numbers are right; look at its power "
                           "and its error display")
                .arg(secondsText(sinceAnswer(end))),
            QStringLiteral("the network between: a cable, a switch or a radio link that has "
                           "failed since"),
            slowLinkCause(place)};
}

} // namespace

QStringList likelyCauses(const RequestEnd& end, const LineSettings& settings,
                         const QVector<int>& nodes, const SettingNames& names) {
    const Place place{settings, nodes, names};
    const int endCode = decidingEndCode(end);
    if (end.ok || (endCode < 0 && hadNoChance(end))) {
        return {};
    }
    if (endCode >= 0) {
        const bool unsent = isModeRefusal(endCode) && end.modeChangeUnsent > 0;
        return (unsent ? sendCauses(end, place) : QStringList()) +
               refusalCauses(endCode, end, place);
    }
    if (end.unsent > 0) {
        return sendCauses(end, place);
    }
    if (portIsClosed(end) || portSeemsClosed(end)) {
        return closedPortCauses(end, place);
    }
    if (answersStrangely(end)) {
        return wrongLengthCauses(end, place);
    }
    return end.strange > 0 ? strangeCauses(end, place) : silenceCauses(end, place);
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
