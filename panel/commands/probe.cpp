#include "panel/commands/commands.h"
#include "panel/context/open_lines.h"
#include "panel/output/probe_findings.h"

#include <QtCore/QCoreApplication>

namespace panel {
namespace {

const int PROBES = 50;
const int UNANSWERED_IN_A_ROW = 3; // then it has stopped answering

void printFindings(const Context& context, const Line& line, const ProbeFindings& findings) {
    const QString plc = endpointText(line.settings().plc);
    const qint64 dropped = line.statistics().dropped();
    if (context.options.format != OutputFormat::Table) {
        printRecords(context.out, context.options.format, ProbeFindings::columns(),
                     {findings.record(plc, dropped)});
        return;
    }
    context.out << findings.text(plc, dropped);
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
    ProbeFindings findings;
    line.onRead = [&](const ReadOutcome& outcome) {
        findings.note(outcome.last);
        if (findings.asked() == PROBES || findings.answered() == 0 ||
            findings.unansweredInARow() == UNANSWERED_IN_A_ROW) {
            QCoreApplication::exit(EXIT_DONE);
        } else {
            line.read(reg, word, 1);
        }
    };
    line.read(reg, word, 1);
    QCoreApplication::exec();
    if (findings.answered() > 0) {
        printFindings(context, line, findings);
    }
    if (findings.answered() == 0 || findings.unansweredInARow() == UNANSWERED_IN_A_ROW) {
        return context.fail(
            EXIT_WORK_FAILED,
            failureText(findings.lastUnanswered(), line.settings(), line.nodes(), optionNames()));
    }
    return lines.close(EXIT_DONE);
}

} // namespace panel
