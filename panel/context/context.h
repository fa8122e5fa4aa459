#ifndef VELKOR_PANEL_CONTEXT_CONTEXT_H
#define VELKOR_PANEL_CONTEXT_CONTEXT_H

/// What every command has at hand.

#include "panel/files/csv_reader.h"
#include "panel/options/options.h"
#include "panel/output/exit_code.h"
#include "panel/process/output_stream.h"

#include <velkor/host/registers.h>

namespace panel {

struct Context {
    const Options& options;
    const DriverRegisters& registers;
    OutputStream& out;
    OutputStream& err;

    /// Says on standard error what is wrong and gives back the code.
    int fail(ExitCode code, const QString& text) const;
    /// Says it on standard error, unless it is empty.
    void note(const QString& text) const;
};

/// Every error with its file and line on standard error.
int failWithErrors(const Context& context, const QString& file, const CsvErrors& errors);

} // namespace panel

#endif
