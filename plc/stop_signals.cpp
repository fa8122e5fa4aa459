#include "plc/stop_signals.h"

#include <csignal>
#include <sys/signalfd.h>
#include <unistd.h>

namespace plc {

StopSignals::StopSignals(std::function<void()> onStop) : onStop_(std::move(onStop)) {
    sigset_t awaited;
    sigemptyset(&awaited);
    sigaddset(&awaited, SIGTERM);
    sigaddset(&awaited, SIGINT);
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
        onStop_();
    }
}

} // namespace plc
