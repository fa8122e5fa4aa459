#include "panel/advice.h"

#include "panel/output.h"
#include <velkor/host/end_codes.h>
#include <velkor/host/registers.h>

namespace panel {
namespace {

QString secondsText(qint64 microseconds) {
    return QStringLiteral("%1 s").arg(static_cast<double>(microseconds) / 1e6, 0, 'f', 2);
}

/// The error that decides: a refusal of the mode change, or of the request.
int decidingEndCode(const Settled& settled) {
    if (settled.modeChangeEnd >= 0 && !isNormalEnd(settled.modeChangeEnd)) {
        return settled.modeChangeEnd;
    }
    return settled.refused ? settled.endCode : settled.refusalBeforeModeChange;
}

QString addressCause(const LinkSettings& settings) {
    return QStringLiteral("a wrong address or port: the panel asks %1; --plc HOST:PORT names "
                          "another (these PLCs leave the factory as 192.168.250.1, port 9600)")
        .arg(endpointText(settings.plc));
}

QString nodesCause(const QVector<int>& nodes) {
    return QStringLiteral("wrong node numbers: the PLC is asked as node %1, this panel is node %2; "
                          "a PLC answers only the node number set on it, usually the last octet "
                          "of its address (--nodes DNA,DA1,DA2,SNA,SA1,SA2)")
        .arg(nodes.value(1))
        .arg(nodes.value(4));
}

QString firewallCause() {
    return QStringLiteral("a firewall, or no network cable: UDP must pass to the PLC's port and "
                          "back");
}

QString rangeCause(const Settled& settled) {
    return QStringLiteral("the address lies beyond this PLC's range: smaller models have less %1 "
                          "memory than the driver's catalogue allows")
        .arg(wordRegisterName(settled.reg));
}

QString modeCause() {
    return QStringLiteral("the PLC's operating mode: switch it to MONITOR, or to RUN where it "
                          "allows writing");
}

QString perhapsText(const QString& request) {
    return QStringLiteral("perhaps written: %1, though no answer says so").arg(request);
}

QStringList refusalCauses(int endCode, const Settled& settled, const LinkSettings& settings,
                          const QVector<int>& nodes) {
    const int code = plainEndCode(endCode);
    const int kind = code >> 8;
    if (kind == 0x22) {
        return {modeCause(), QStringLiteral("the mode switch or a program that holds the mode")};
    }
    if (kind == 0x20 || kind == 0x21 || kind == 0x30) {
        return {QStringLiteral("the memory is protected: look at the PLC's write protection and "
                               "access rights"),
                modeCause()};
    }
    if (code == 0x1103 || code == 0x1104 || code == 0x1101) {
        return {rangeCause(settled), nodesCause(nodes)};
    }
    if (kind == 0x10 || kind == 0x11) {
        return {QStringLiteral("the block is longer than this PLC takes: fewer words a frame "
                               "(--words-per-frame, now %1)")
                    .arg(settings.wordsPerFrame),
                rangeCause(settled)};
    }
    if (kind == 0x01 || kind == 0x02 || kind == 0x05) {
        return {nodesCause(nodes), addressCause(settings)};
    }
    return {QStringLiteral("the PLC's own state: look at its error display"), nodesCause(nodes)};
}

} // namespace

QString requestText(const QString& reg, int address, int length) {
    const bool bits = reg.endsWith(QLatin1String("_bit"));
    return QStringLiteral("%1 %2 (%3)")
        .arg(reg, addressText(address, bits),
             bits ? counted(length, "bit", "bits") : counted(length, "word", "words"));
}

QString requestText(const Settled& settled) {
    return requestText(settled.reg, settled.address, settled.length);
}

QStringList leftBehind(const TransferEnd& end) {
    if (end.ok || !end.write) {
        return {};
    }
    QStringList lines;
    if (end.done > 0) {
        lines.append(QStringLiteral("written before that: ") +
                     requestText(end.reg, end.address, end.done));
    }
    if (end.perhaps > 0) {
        lines.append(perhapsText(requestText(end.reg, end.address + end.done, end.perhaps)));
    }
    const int reached = end.done + end.perhaps;
    if (reached < end.length && end.last.length < end.length) {
        lines.append(QStringLiteral("not written: ") +
                     requestText(end.reg, end.address + reached, end.length - reached));
    }
    return lines;
}

QStringList recipeLeftBehind(int blocksDone, const Settled& last) {
    QStringList lines;
    if (blocksDone > 0) {
        lines.append(QStringLiteral("the PLC now holds a part of the recipe: blocks written "
                                    "before that: %1")
                         .arg(blocksDone));
    }
    if (last.perhaps && !last.acknowledged) {
        lines.append(perhapsText(requestText(last)));
    }
    return lines;
}

QString failureReason(const Settled& settled, const LinkSettings& settings) {
    const QString tries = counted(settled.tries, "try", "tries");
    const int endCode = decidingEndCode(settled);
    if (endCode >= 0) {
        QString text = QStringLiteral("the PLC refused: end code %1").arg(endCodeText(endCode));
        if (settled.modeChange) {
            text += endCode == settled.modeChangeEnd
                        ? QStringLiteral(", to the change to MONITOR mode")
                        : QStringLiteral(", also after the change to MONITOR mode");
        } else if (isModeRefusal(endCode) && settings.retries < 2) {
            text += QStringLiteral(" (the change to MONITOR mode needs --retries 2 or more)");
        }
        return text + QStringLiteral(" (%1)").arg(tries);
    }
    if (settled.refusedPort > 0) {
        return QStringLiteral("nothing listens on UDP port %1 of %2: that computer says "
                              "\"port unreachable\" (%3 in %4)")
            .arg(settings.plc.port)
            .arg(settings.plc.address.toString(), tries, secondsText(settled.waited));
    }
    if (settled.silent < settled.tries && settled.wrongLength > 0) {
        return QStringLiteral("%1 answers, but not with what was asked for: replies of a wrong "
                              "length (%2 in %3)")
            .arg(endpointText(settings.plc), tries, secondsText(settled.waited));
    }
    return QStringLiteral("no usable answer from %1 in %2 of %3 ms each (%4)")
        .arg(endpointText(settings.plc), tries)
        .arg(settings.timeoutMs)
        .arg(secondsText(settled.waited));
}

QString shortReason(const Settled& settled, const LinkSettings& settings) {
    const int endCode = decidingEndCode(settled);
    if (endCode >= 0) {
        return QStringLiteral("refused: end code %1 when %2 %3")
            .arg(endCodeText(endCode),
                 settled.write ? QStringLiteral("writing") : QStringLiteral("reading"),
                 requestText(settled));
    }
    const QString plc = endpointText(settings.plc);
    if (settled.refusedPort > 0) {
        return QStringLiteral("port unreachable: nothing listens on ") + plc;
    }
    if (settled.silent < settled.tries && settled.wrongLength > 0) {
        return QStringLiteral("wrong length: replies of %1 to %2").arg(plc, requestText(settled));
    }
    return QStringLiteral("no answer: %1 of %2 ms to %3")
        .arg(counted(settled.tries, "try", "tries"))
        .arg(settings.timeoutMs)
        .arg(plc);
}

QStringList likelyCauses(const Settled& settled, const LinkSettings& settings,
                         const QVector<int>& nodes) {
    const int endCode = decidingEndCode(settled);
    if (endCode >= 0) {
        return refusalCauses(endCode, settled, settings, nodes);
    }
    if (settled.refusedPort > 0) {
        return {addressCause(settings),
                QStringLiteral("the PLC's FINS/UDP service is switched off, or it is starting")};
    }
    return {addressCause(settings), nodesCause(nodes),
            QStringLiteral("a PLC without power, or whose FINS/UDP service is switched off"),
            firewallCause(),
            QStringLiteral("a slow link: a longer --timeout (now %1 ms)").arg(settings.timeoutMs)};
}

QString failureText(const Settled& settled, const LinkSettings& settings,
                    const QVector<int>& nodes) {
    QString text = QStringLiteral("%1 %2 failed: %3\nCheck in this order:")
                       .arg(settled.write ? QStringLiteral("writing") : QStringLiteral("reading"),
                            requestText(settled), failureReason(settled, settings));
    int index = 0;
    for (const QString& cause : likelyCauses(settled, settings, nodes)) {
        text += QStringLiteral("\n  %1. %2").arg(++index).arg(cause);
    }
    return text;
}

} // namespace panel
