#include "panel/advice.h"
#include "panel/commands.h"
#include "panel/end_codes.h"

#include <QtCore/QCoreApplication>

namespace panel {
namespace {

const int PROBES = 50;

double milliseconds(qint64 microseconds) {
    return static_cast<double>(microseconds) / 1000;
}

/// What the answers have told so far.
struct Findings {
    int asked = 0;
    int answered = 0;
    RoundTrips roundTrips;
    Settled last;
};

void printFindings(const Context& context, const Session& session, const Findings& findings) {
    const auto trip = [&](int percent) {
        return milliseconds(findings.roundTrips.percentile(percent));
    };
    const Settled& last = findings.last;
    const QString endCode = last.endCode < 0 ? QStringLiteral("none") : endCodeText(last.endCode);
    if (context.options.format != OutputFormat::Table) {
        printRecords(context.out, context.options.format,
                     {QStringLiteral("plc"), QStringLiteral("asked"), QStringLiteral("answered"),
                      QStringLiteral("network"), QStringLiteral("node"), QStringLiteral("unit"),
                      QStringLiteral("min_ms"), QStringLiteral("median_ms"),
                      QStringLiteral("p99_ms"), QStringLiteral("end_code")},
                     {{endpointText(session.settings().plc), findings.asked, findings.answered,
                       last.replyNode[0], last.replyNode[1], last.replyNode[2], Cell(trip(0), 3),
                       Cell(trip(50), 3), Cell(trip(99), 3), endCode}});
        return;
    }
    context.out << QStringLiteral(
                       "%1 answers: %2 of %3 requests\n"
                       "node        %4 (network %5, unit %6)\n"
                       "round trip  minimum %7 ms, median %8 ms, 99th percentile %9 ms\n")
                       .arg(endpointText(session.settings().plc))
                       .arg(findings.answered)
                       .arg(findings.asked)
                       .arg(last.replyNode[1])
                       .arg(last.replyNode[0])
                       .arg(last.replyNode[2])
                       .arg(trip(0), 0, 'f', 3)
                       .arg(trip(50), 0, 'f', 3)
                       .arg(trip(99), 0, 'f', 3)
                << "end code    " << endCode << '\n';
    if (session.statistics().dropped() > 0) {
        context.out << "dropped     " << session.statistics().dropped()
                    << " datagrams that were no reply to the frame in flight\n";
    }
    context.out.flush();
}

} // namespace

int runProbe(const Context& context) {
    OpenSession session(context);
    if (session.exitCode() != EXIT_DONE) {
        return session.exitCode();
    }
    // The first word of the first word register: every PLC has it.
    WordRange first;
    for (const RegisterInfo& info : context.catalogue.registers()) {
        if (!info.bit && first.reg.isEmpty()) {
            first = {info.name, info.lowest.toInt(), 1};
        }
    }
    Findings findings;
    session->onSettled = [&](const Settled& settled) {
        ++findings.asked;
        // A refusal is an answer too.
        const bool answered = settled.ok || settled.refused;
        findings.answered += answered ? 1 : 0;
        if (settled.roundTrip >= 0) {
            findings.roundTrips.add(settled.roundTrip);
        }
        if (answered || findings.answered == 0) {
            findings.last = settled;
        }
        if (findings.asked == PROBES || findings.answered == 0) {
            QCoreApplication::exit(EXIT_DONE);
        } else {
            session->read(first);
        }
    };
    session->read(first);
    QCoreApplication::exec();
    if (findings.answered == 0) {
        return context.fail(EXIT_WORK_FAILED,
                            failureText(findings.last, session->settings(), session->nodes()));
    }
    printFindings(context, *session, findings);
    return EXIT_DONE;
}

} // namespace panel
