#include "plc/stop_signals.h"

#include <array>
#include <sys/signalfd.h>
#include <unistd.h>

#include "plc/output_wait.h"

namespace plc {

namespace {

constexpr std::array<int, 3> kStopSignals = {SIGTERM, SIGINT, SIGHUP};

} // namespace

sigset_t stopSignals() {
    sigset_t stops;
    sigemptyset(&stops);
    for (const int signal : kStopSignals) {
        struct sigaction now = {};
        if (sigaction(signal, nullptr, &now) != 0 || now.sa_handler != SIG_IGN) {
            sigaddset(&stops, signal);
        }
    }
    return stops;
}

bool stopSignalWaits() {
    const sigset_t stops = stopSignals();
    sigset_t pending;
    sigpending(&pending);
    for (const int signal : kStopSignals) {
        if (sigismember(&pending, signal) == 1 && sigismember(&stops, signal) == 1) {
            return true;
        }
    }
    return false;
}

StopSignals::StopSignals(std::function<void()> onStop) : onStop_(std::move(onStop)) {
    const sigset_t awaited = stopSignals();
    if (pthread_sigmask(SIG_BLOCK, &awaited, nullptr) != 0) {
        return;
    }
    descriptor_ = signalfd(-1, &awaited, SFD_CLOEXEC | SFD_NONBLOCK);
    if (descriptor_ < 0) {
        return;
    }
    notifier_ = std::make_unique<QSocketNotifier>(descriptor_, QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(),
                     [this] { take(); });
}

StopSignals::~StopSignals() {
    notifier_.reset();
    if (descriptor_ >= 0) {
        close(descriptor_);
    }
}

void StopSignals::take() {
    signalfd_siginfo info{};
    if (read(descriptor_, &info, sizeof info) == static_cast<ssize_t>(sizeof info)) {
        stopWaiting();
        onStop_();
    }
}

} // namespace plc
