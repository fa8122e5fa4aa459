// SIGTERM, SIGINT and SIGHUP as an ordinary event of the event loop.
#pragma once

#include <QtCore/QSocketNotifier>

#include <csignal>
#include <functional>
#include <memory>

namespace plc {

// Those that end the program, but for those that are ignored: who started the program so, as a
// shell does with what it runs in the background, does not want them to end it.
sigset_t stopSignals();
// Has one of them come, and waits to be taken? Async-signal-safe.
bool stopSignalWaits();

// Make it before the first thread starts: the signals are blocked in this thread and in all that it
// starts, and arrive here instead.
class StopSignals {
public:
    explicit StopSignals(std::function<void()> onStop);
    ~StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    // The signals cannot be received; the program would not end in order.
    bool failed() const { return descriptor_ < 0; }

private:
    void take();

    std::function<void()> onStop_;
    int descriptor_ = -1;
    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace plc
