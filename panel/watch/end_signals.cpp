#include "panel/watch/end_signals.h"

#include <cerrno>
#include <csignal>
#include <cstring>

#include <sys/signalfd.h>
#include <unistd.h>

namespace panel {
namespace {

sigset_t endSignals() {
    sigset_t wanted;
    sigemptyset(&wanted);
    for (const int signal : {SIGINT, SIGTERM, SIGQUIT, SIGHUP}) {
        sigaddset(&wanted, signal);
    }
    return wanted;
}

} // namespace

void holdEndSignals() {
    const sigset_t wanted = endSignals();
    pthread_sigmask(SIG_BLOCK, &wanted, nullptr);
}

void releaseEndSignals() {
    const sigset_t wanted = endSignals();
    pthread_sigmask(SIG_UNBLOCK, &wanted, nullptr);
}

QString EndSignals::open() {
    holdEndSignals();
    const sigset_t wanted = endSignals();
    m_descriptor = signalfd(-1, &wanted, SFD_CLOEXEC | SFD_NONBLOCK);
    if (m_descriptor < 0) {
        return QStringLiteral("cannot wait for signals (%1): Ctrl-C would not end this")
            .arg(QString::fromLocal8Bit(std::strerror(errno)));
    }
    m_notifier = std::make_unique<QSocketNotifier>(m_descriptor, QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(), [this] {
        signalfd_siginfo info = {};
        while (::read(m_descriptor, &info, sizeof info) == static_cast<ssize_t>(sizeof info)) {
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
