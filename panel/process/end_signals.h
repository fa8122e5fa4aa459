#ifndef VELKOR_PANEL_PROCESS_END_SIGNALS_H
#define VELKOR_PANEL_PROCESS_END_SIGNALS_H

/// SIGINT, SIGTERM, SIGQUIT and SIGHUP as calls from the event loop.

#include <QtCore/QSocketNotifier>
#include <QtCore/QString>

#include <csignal>
#include <functional>
#include <memory>

namespace panel {

/// Those of them that end the process. One that is ignored does not: whoever started it so, as
/// nohup and a shell's background do, wants it to live on.
sigset_t endSignals();
/// Has one of them come that is held, and waits to be taken? Async-signal-safe.
bool endSignalWaits();

/// Keeps these signals from ending the process at once, in this thread and in every one that it
/// begins after this. Before anything else in main: libraries begin threads of their own, and a
/// signal goes to any thread that does not hold it.
void holdEndSignals();
/// The opposite, for a command that is ended by them. What was held when the process began stays.
void releaseEndSignals();
/// Those that releaseEndSignals() releases.
sigset_t releasableEndSignals();

/// While it lives, its thread is ended by them as after releaseEndSignals(): for what may take long
/// and begins no thread.
class EndSignalsReleased {
public:
    EndSignalsReleased();
    ~EndSignalsReleased();
    EndSignalsReleased(const EndSignalsReleased&) = delete;
    EndSignalsReleased& operator=(const EndSignalsReleased&) = delete;

private:
    sigset_t m_before;
};

class EndSignals {
public:
    EndSignals() = default;
    ~EndSignals();
    EndSignals(const EndSignals&) = delete;
    EndSignals& operator=(const EndSignals&) = delete;

    /// The result is empty, or says why signals could not be waited for; then nothing is held that
    /// was not held before.
    QString open();
    /// Called for each signal; output is waited for no longer than endOutput() says then.
    std::function<void()> onEnd;

private:
    int m_descriptor = -1;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace panel

#endif
