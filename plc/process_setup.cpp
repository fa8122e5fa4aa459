#include "plc/process_setup.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace plc {

namespace {

// Event loop, signals, socket, the image and its time stamps, and some for Qt's own needs.
constexpr std::size_t kDescriptorsNeeded = 8;

// A standard descriptor that is closed is opened the wrong way round: it is taken, and using it
// fails as it would have failed.
bool takeStandardDescriptors() {
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        const int flags = descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY;
        if (fcntl(descriptor, F_GETFD) < 0 && open("/dev/null", flags) != descriptor) {
            return false;
        }
    }
    return true;
}

bool descriptorsLeft() {
    std::array<int, kDescriptorsNeeded> taken{};
    std::size_t count = 0;
    while (count < taken.size() &&
           (taken[count] = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)) >= 0) {
        ++count;
    }
    for (std::size_t i = 0; i < count; ++i) {
        close(taken[i]);
    }
    return count == taken.size();
}

} // namespace

QString prepareProcess() {
    if (!takeStandardDescriptors() || !descriptorsLeft()) {
        return QStringLiteral("too few file descriptors: %1 are needed beside the standard ones; "
                              "raise the limit that 'ulimit -n' shows")
            .arg(kDescriptorsNeeded);
    }
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    return QString();
}

} // namespace plc
