#include "panel/commands/commands.h"
#include "panel/context/open_lines.h"
#include "panel/output/output.h"
#include <velkor/host/end_codes.h>

#include <QtCore/QCoreApplication>

namespace panel {
namespace {

const int PROBES = 50;
const int UNANSWERED_IN_A_ROW = 3; // then it has stopped answering

/// A percentile in milliseconds; null where every first try went unanswered.
Cell milliseconds(const RoundTrips& roundTrips, int percent) {
    if (roundTrips.count() == 0) {
        Cell unknown("null");
        unknown.number = true;
        return unknown;
    }
    return Cell(static_cast<double>(roundTrips.percentile(percent)) / 1000, 3);
}

QString roundTripText(const RoundTrips& roundTrips) {
    return roundTrips.count() == 0
               ? QStringLiteral("unknown: every first try went unanswered")
               : QStringLiteral("minimum %1 ms, median %2 ms, 99th percentile %3 ms")
                     .arg(milliseconds(roundTrips, 0).text, milliseconds(roundTrips, 50).text,
                          milliseconds(roundTrips, 99).text);
}

/// Why frames were sent again.
QString retriesText(int retries, int afterError) {
    const QString error = QStringLiteral("because the PLC answered with an error");
    const QString other = QStringLiteral("that had no usable reply");
    if (afterError == 0 || afterError == retries) {
        return QStringLiteral("frames sent again ") + (afterError == 0 ? other : error);
    }
    return QStringLiteral("frames sent again: %1 %2, %3 %4")
        .arg(afterError)
        .arg(error)
        .arg(retries - afterError)
        .arg(other);
}

/// What the answers have told so far.
struct Findings {
    int asked = 0;
    int answered = 0;
    int unansweredInARow = 0;
    int resentAfterError = 0; ///< frames
    RoundTrips roundTrips;
    RequestEnd last; ///< answered request
    RequestEnd lastUnanswered;
};

void printFindings(const Context& context, const Line& line, const Findings& findings) {
    const RoundTrips& trips = findings.roundTrips;
    const RequestEnd& last = findings.last;
    const QString endCode = last.endCode < 0 ? QStringLiteral("none") : endCodeText(last.endCode);
    if (context.options.format != OutputFormat::Table) {
        printRecords(context.out, context.options.format,
                     {QStringLiteral("plc"), QStringLiteral("asked"), QStringLiteral("answered"),
                      QStringLiteral("network"), QStringLiteral("node"), QStringLiteral("unit"),
                      QStringLiteral("min_ms"), QStringLiteral("median_ms"),
                      QStringLiteral("p99_ms"), QStringLiteral("end_code"),
                      QStringLiteral("retries"), QStringLiteral("dropped")},
                     {{endpointText(line.settings().plc), findings.asked, findings.answered,
                       last.replyNode[0], last.replyNode[1], last.replyNode[2],
                       milliseconds(trips, 0), milliseconds(trips, 50), milliseconds(trips, 99),
                       endCode, static_cast<int>(line.statistics().retries()),
                       static_cast<int>(line.statistics().dropped())}});
        return;
    }
    context.out << QStringLiteral("%1 answers: %2 of %3 requests\n"
                                  "node        %4 (network %5, unit %6)\n"
                                  "round trip  %7\n")
                       .arg(endpointText(line.settings().plc))
                       .arg(findings.answered)
                       .arg(findings.asked)
                       .arg(last.replyNode[1])
                       .arg(last.replyNode[0])
                       .arg(last.replyNode[2])
                       .arg(roundTripText(trips))
                << "end code    " << endCode << '\n';
    const int retries = static_cast<int>(line.statistics().retries());
    if (retries > 0) {
        context.out << "retries     " << retries << ": "
                    << retriesText(retries, findings.resentAfterError) << '\n';
    }
    if (line.statistics().unsent() > 0) {
        context.out << "not sent    " << line.statistics().unsent()
                    << ": frames that this computer could not send\n";
    }
    if (line.statistics().dropped() > 0) {
        context.out << "dropped     " << line.statistics().dropped()
                    << ": datagrams that were no reply to the frame in flight\n";
    }
    context.out.flush();
}

} // namespace

int runProbe(const Context& context) {
    OpenLines lines(context);
    if (lines.exitCode() != EXIT_DONE) {
        return lines.exitCode();
    }
    Line& line = lines.only();
    // The first word of the first word register: every PLC has it.
    QString reg;
    int word = 0;
    for (const RegisterInfo& info : context.registers.registers()) {
        if (!info.bit && reg.isEmpty()) {
            reg = info.name;
            word = info.lowest.toInt();
        }
    }
    Findings findings;
    line.onRead = [&](const ReadOutcome& outcome) {
        const RequestEnd& settled = outcome.last;
        ++findings.asked;
        // A refusal is an answer too.
        const bool answered = settled.ok || settled.refusals > 0;
        findings.answered += answered ? 1 : 0;
        findings.unansweredInARow = answered ? 0 : findings.unansweredInARow + 1;
        // The last try was not followed by another one.
        findings.resentAfterError += settled.refusals - (settled.refused ? 1 : 0);
        if (settled.roundTrip >= 0) {
            findings.roundTrips.add(settled.roundTrip);
        }
        (answered ? findings.last : findings.lastUnanswered) = settled;
        if (findings.asked == PROBES || findings.answered == 0 ||
            findings.unansweredInARow == UNANSWERED_IN_A_ROW) {
            QCoreApplication::exit(EXIT_DONE);
        } else {
            line.read(reg, word, 1);
        }
    };
    line.read(reg, word, 1);
    QCoreApplication::exec();
    if (findings.answered > 0) {
        printFindings(context, line, findings);
    }
    if (findings.answered == 0 || findings.unansweredInARow == UNANSWERED_IN_A_ROW) {
        return context.fail(EXIT_WORK_FAILED, failureText(findings.lastUnanswered, line.settings(),
                                                          line.nodes(), optionNames()));
    }
    return lines.close(EXIT_DONE);
}

} // namespace panel
