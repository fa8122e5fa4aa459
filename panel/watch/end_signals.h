#ifndef VELKOR_PANEL_WATCH_END_SIGNALS_H
#define VELKOR_PANEL_WATCH_END_SIGNALS_H

/// SIGINT, SIGTERM, SIGQUIT and SIGHUP as calls from the event loop.

#include <QtCore/QSocketNotifier>
#include <QtCore/QString>

#include <csignal>
#include <functional>
#include <memory>

namespace panel {

/// Keeps these signals from ending the process at once, in this thread and in every one that it
/// begins after this. Before anything else in main: libraries begin threads of their own, and a
/// signal goes to any thread that does not hold it.
void holdEndSignals();
/// The opposite, for a command that is ended by them. What was held when the process began stays.
void releaseEndSignals();

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
    std::function<void()> onEnd;

    /// Waits until `descriptor` takes something more, a page of a pipe at least, or would fail at
    /// once. False: one of the signals has come before that; onEnd is called all the same.
    bool waitUntilWritable(int descriptor) const;

private:
    int m_descriptor = -1;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace panel

#endif
