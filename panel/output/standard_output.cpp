#include "panel/output/standard_output.h"

#include "panel/output/exit_code.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace panel {
namespace {

bool pipeSignalIgnored = false; ///< by whoever started the program

bool readerGone() {
    pollfd output = {STDOUT_FILENO, 0, 0};
    return ::poll(&output, 1, 0) == 1 && (output.revents & POLLERR) != 0;
}

} // namespace

void prepareStandardOutput() {
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(descriptor, F_GETFD) < 0 && errno == EBADF) {
            // Takes the lowest free number. For reading only: what is printed fails as it would.
            ::open("/dev/null", O_RDONLY);
        }
    }
    std::signal(SIGXFSZ, SIG_IGN); // a file that may not grow fails as a full disk does
    pipeSignalIgnored = std::signal(SIGPIPE, SIG_IGN) == SIG_IGN;
}

bool stillRead(OutputStream& out) {
    if (readerGone()) {
        out.setStatus(QTextStream::WriteFailed);
    }
    return out.status() == QTextStream::Ok;
}

int finishOutput(OutputStream& out, OutputStream& err, int exitCode) {
    out.finish();
    err.finish();
    if (out.status() == QTextStream::Ok) {
        // A trace was asked for, and what else is said there matters too. Nobody can be told.
        const bool lost = err.status() != QTextStream::Ok;
        return lost && exitCode == EXIT_DONE ? int(EXIT_WORK_FAILED) : exitCode;
    }
    if (readerGone() && !pipeSignalIgnored) {
        std::signal(SIGPIPE, SIG_DFL);
        std::raise(SIGPIPE);
    }
    err << "velkor-panel: the output could not be written: "
        << (readerGone() ? QStringLiteral("nobody reads it any more") : out.device()->errorString())
        << '\n';
    return exitCode == EXIT_DONE ? int(EXIT_WORK_FAILED) : exitCode;
}

} // namespace panel
