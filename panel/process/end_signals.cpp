#include "panel/process/end_signals.h"

#include "panel/process/output_wait.h"

#include <cerrno>
#include <cstring>

#include <sys/signalfd.h>
#include <unistd.h>

namespace panel {
namespace {

/// What the process was started with, before holdEndSignals(); zero is the empty set.
sigset_t heldBefore;

bool isIgnored(int signal) {
    struct sigaction now = {};
    return sigaction(signal, nullptr, &now) == 0 && now.sa_handler == SIG_IGN;
}

} // namespace

sigset_t endSignals() {
    sigset_t wanted;
    sigemptyset(&wanted);
    for (const int signal : {SIGINT, SIGTERM, SIGQUIT, SIGHUP}) {
        if (!isIgnored(signal)) {
            sigaddset(&wanted, signal);
        }
    }
    return wanted;
}

bool endSignalWaits() {
    sigset_t pending;
    const sigset_t ends = endSignals();
    sigpending(&pending);
    for (const int signal : {SIGINT, SIGTERM, SIGQUIT, SIGHUP}) {
        if (sigismember(&pending, signal) == 1 && sigismember(&ends, signal) == 1) {
            return true;
        }
    }
    return false;
}

sigset_t releasableEndSignals() {
    sigset_t releasing = endSignals();
    for (const int signal : {SIGINT, SIGTERM, SIGQUIT, SIGHUP}) {
        if (sigismember(&heldBefore, signal) == 1) {
            sigdelset(&releasing, signal);
        }
    }
    return releasing;
}

void holdEndSignals() {
    const sigset_t wanted = endSignals();
    pthread_sigmask(SIG_BLOCK, &wanted, &heldBefore);
}

void releaseEndSignals() {
    const sigset_t releasing = releasableEndSignals();
    pthread_sigmask(SIG_UNBLOCK, &releasing, nullptr);
}

EndSignalsReleased::EndSignalsReleased() {
    const sigset_t releasing = releasableEndSignals();
    pthread_sigmask(SIG_UNBLOCK, &releasing, &m_before);
}

EndSignalsReleased::~EndSignalsReleased() {
    pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
}

QString EndSignals::open() {
    const sigset_t wanted = endSignals();
    m_descriptor = signalfd(-1, &wanted, SFD_CLOEXEC | SFD_NONBLOCK);
    if (m_descriptor < 0) {
        return QStringLiteral("cannot wait for signals (%1): Ctrl-C would not end this")
            .arg(QString::fromLocal8Bit(std::strerror(errno)));
    }
    pthread_sigmask(SIG_BLOCK, &wanted, nullptr);
    m_notifier = std::make_unique<QSocketNotifier>(m_descriptor, QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(), [this] {
        signalfd_siginfo info = {};
        while (::read(m_descriptor, &info, sizeof info) == static_cast<ssize_t>(sizeof info)) {
            endOutput();
            if (onEnd) {
                onEnd();
            }
        }
    });
    return QString();
}

EndSignals::~EndSignals() {
    m_notifier.reset();
    if (m_descriptor >= 0) {
        close(m_descriptor);
    }
}

} // namespace panel
