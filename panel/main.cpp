#include "panel/commands/commands.h"
#include "panel/context/named_files.h"
#include "panel/output/printable.h"
#include "panel/output/standard_output.h"
#include "panel/process/end_signals.h"

#include <QtCore/QCoreApplication>

#include <unistd.h>

namespace {

int runCommand(const panel::Context& context) {
    struct Command {
        const char* name;
        int (*run)(const panel::Context&);
        bool endsInOrder; ///< takes the end signals by itself
    };
    static const Command commands[] = {
        {"registers", panel::runRegisters, false}, {"check", panel::runCheck, false},
        {"layout", panel::runLayout, false},       {"read", panel::runRead, false},
        {"write", panel::runWrite, true},          {"watch", panel::runWatch, true},
        {"recipe", panel::runRecipe, true},        {"probe", panel::runProbe, false},
    };
    for (const Command& command : commands) {
        if (context.options.command == QLatin1String(command.name)) {
            if (!command.endsInOrder) {
                panel::releaseEndSignals();
            }
            return command.run(context);
        }
    }
    return panel::EXIT_WRONG_USAGE;
}

int run(panel::OutputStream& out, panel::OutputStream& err) {
    const panel::ParsedCommandLine parsed = panel::parseCommandLine(QCoreApplication::arguments());
    if (!parsed.text.isEmpty()) {
        panel::releaseEndSignals();
        out << parsed.text;
        return panel::EXIT_DONE;
    }
    const QString wrong =
        parsed.error.isEmpty() ? panel::clashOfFiles(parsed.options) : parsed.error;
    if (!wrong.isEmpty()) {
        panel::releaseEndSignals();
        err << "velkor-panel: " << panel::printableLines(wrong) << '\n';
        return panel::EXIT_WRONG_USAGE;
    }
    panel::DriverRegisters registers;
    QString unloadable;
    {
        const panel::EndSignalsReleased released; // its file may lie on a network's disk
        unloadable = registers.load(parsed.options.library);
    }
    if (!unloadable.isEmpty()) {
        err << "velkor-panel: " << panel::printableLines(unloadable)
            << "; --library names its file\n";
        return panel::EXIT_WORK_FAILED;
    }
    return runCommand({parsed.options, registers, out, err});
}

} // namespace

int main(int argc, char** argv) {
    panel::holdEndSignals();
    panel::prepareStandardOutput();
    const QCoreApplication application(argc, argv);
    panel::OutputStream out(STDOUT_FILENO);
    panel::OutputStream err(STDERR_FILENO);
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    // As Qt 6 does by itself: units such as °C are not lost in the C locale.
    out.setCodec("UTF-8");
    err.setCodec("UTF-8");
#endif
    return panel::finishOutput(out, err, run(out, err));
}
