#ifndef VELKOR_PANEL_COMMANDS_H
#define VELKOR_PANEL_COMMANDS_H

/// The commands. Each returns the program's exit code.

#include "panel/csv_reader.h"
#include "panel/options.h"

#include <memory>

namespace panel {

enum ExitCode { EXIT_DONE = 0, EXIT_WORK_FAILED = 1, EXIT_WRONG_USAGE = 2 };

/// What every command has at hand.
struct Context {
    const Options& options;
    const DriverApi& api;
    const Catalogue& catalogue;
    QTextStream& out;
    QTextStream& err;

    /// Says on standard error what is wrong and gives back the code.
    int fail(ExitCode code, const QString& text) const;
};

int runRegisters(const Context& context);
int runCheck(const Context& context);
int runLayout(const Context& context);
int runRead(const Context& context);
int runWrite(const Context& context);
int runWatch(const Context& context);
int runRecipe(const Context& context);
int runProbe(const Context& context);

/// The session of a command with its trace and capture.
class OpenSession {
public:
    /// Finds the PLC's address and opens the socket. On a fault `exitCode` is not EXIT_DONE and
    /// standard error has been told.
    explicit OpenSession(const Context& context);
    ~OpenSession();

    int exitCode() const { return m_exitCode; }
    Session& operator*() { return *m_session; }
    Session* operator->() { return m_session.get(); }

private:
    int open(const Context& context);

    int m_exitCode = EXIT_DONE;
    std::unique_ptr<FrameWitness> m_trace;
    std::unique_ptr<FrameWitness> m_capture;
    std::unique_ptr<Session> m_session;
};

/// Every error with its file and line on standard error.
int failWithErrors(const Context& context, const QString& file, const CsvErrors& errors);

} // namespace panel

#endif
