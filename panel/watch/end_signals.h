#ifndef VELKOR_PANEL_WATCH_END_SIGNALS_H
#define VELKOR_PANEL_WATCH_END_SIGNALS_H

/// SIGINT, SIGTERM, SIGQUIT and SIGHUP as calls from the event loop.

#include <QtCore/QSocketNotifier>
#include <QtCore/QString>

#include <functional>
#include <memory>

namespace panel {

/// Keeps these signals from ending the process at once, in every thread that begins after this.
/// Before anything else in main: libraries begin threads of their own.
void holdEndSignals();
/// The opposite, for a command that is ended by them.
void releaseEndSignals();

class EndSignals {
public:
    EndSignals() = default;
    ~EndSignals();
    EndSignals(const EndSignals&) = delete;
    EndSignals& operator=(const EndSignals&) = delete;

    /// The result is empty, or says why signals could not be waited for.
    QString open();
    std::function<void()> onEnd;

private:
    int m_descriptor = -1;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace panel

#endif
