#include "panel/context/context.h"

#include "panel/output/printable.h"

namespace panel {
namespace {

const int MOST_ERRORS_SHOWN = 20;

} // namespace

int Context::fail(ExitCode code, const QString& text) const {
    note(text);
    return code;
}

void Context::note(const QString& text) const {
    if (!text.isEmpty()) {
        err << "velkor-panel: " << printableLines(text) << '\n';
        err.flush();
    }
}

int failWithErrors(const Context& context, const QString& file, const CsvErrors& errors) {
    for (int index = 0; index < errors.size() && index < MOST_ERRORS_SHOWN; ++index) {
        context.err << errorText(file, errors.at(index)) << '\n';
    }
    if (errors.size() > MOST_ERRORS_SHOWN) {
        context.err << "... and " << errors.size() - MOST_ERRORS_SHOWN
                    << (errors.full() ? " or more\n" : " more\n");
    }
    context.err.flush();
    return EXIT_WRONG_USAGE;
}

} // namespace panel
