#include "panel/process/output_wait.h"

#include "panel/process/end_signals.h"

#include <cerrno>
#include <ctime>
#include <termios.h>
#include <unistd.h>

#ifndef sigev_notify_thread_id
#define sigev_notify_thread_id _sigev_un._tid
#endif

namespace panel {
namespace {

const qint64 GRACE_MS = 500;
const long TICK_NS = 50 * 1000 * 1000;

/// A call that waits cannot be told to look at a signal that is held. So a timer's signal comes to
/// this thread again and again while one may wait. Its handler sees whether the end is wanted; the
/// system starts the call again after it, until the handler says otherwise.
///
/// Written by the first thread alone: outside of the waits, or in the handler while it waits.
struct Waiting {
    bool hasTimer = false;
    bool living = false; ///< an OutputWait
    bool dropsTerminal = false;
    qint64 since = 0;      ///< of this wait
    qint64 endAt = -1;     ///< when the program is to end by itself
    qint64 endWanted = -1; ///< since when
    GivenUp why = GivenUp::No;
    GivenUp given = GivenUp::No;
    timer_t timer = {};
};

Waiting waiting; // NOLINT(cppcoreguidelines-avoid-non-const-global-variables)

/// Async-signal-safe, as all that the handler calls.
qint64 nowMs() {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return qint64(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

void wantEnd(GivenUp why) {
    if (waiting.endWanted < 0) {
        waiting.endWanted = nowMs();
        waiting.why = why;
    }
}

void tick(int /*signal*/);

int tickSignal() {
    return SIGRTMIN;
}

void setHandler(bool callsGoOn) {
    struct sigaction action = {};
    action.sa_handler = tick;
    action.sa_flags = callsGoOn ? SA_RESTART : 0;
    sigaddset(&action.sa_mask, SIGTTOU); // else tcflush() stops a program in the background
    sigaction(tickSignal(), &action, nullptr);
}

void tick(int /*signal*/) {
    if (!waiting.living) {
        return;
    }
    const int before = errno;
    const qint64 now = nowMs();
    if (waiting.endAt >= 0 && now >= waiting.endAt) {
        wantEnd(GivenUp::ByTime);
    }
    if (endSignalWaits()) {
        wantEnd(GivenUp::BySignal);
    }
    if (waiting.given == GivenUp::No && waiting.endWanted >= 0 &&
        now - qMax(waiting.since, waiting.endWanted) >= GRACE_MS) {
        waiting.given = waiting.why;
        setHandler(false);
    }
    if (waiting.given != GivenUp::No && waiting.dropsTerminal) {
        tcflush(STDOUT_FILENO, TCOFLUSH);
    }
    errno = before;
}

bool makeTimer() {
    sigevent event = {};
    event.sigev_notify = SIGEV_THREAD_ID;
    event.sigev_signo = tickSignal();
    event.sigev_notify_thread_id = gettid();
    return timer_create(CLOCK_MONOTONIC, &event, &waiting.timer) == 0;
}

void setTimer(long interval) {
    const itimerspec times = {{0, interval}, {0, interval}};
    timer_settime(waiting.timer, 0, &times, nullptr);
}

} // namespace

void endOutput() {
    wantEnd(GivenUp::BySignal);
}

void endOutputIn(qint64 milliseconds) {
    waiting.endAt = nowMs() + milliseconds;
}

GivenUp outputGivenUp() {
    return waiting.given;
}

OutputWait::OutputWait(Stuck stuck) : m_inner(waiting.living) {
    if (m_inner) {
        return;
    }
    if (!waiting.hasTimer) {
        setHandler(true);
        waiting.hasTimer = makeTimer();
    }
    waiting.living = true;
    waiting.dropsTerminal = stuck == DropsTerminal;
    waiting.since = nowMs();
    sigset_t heard;
    sigemptyset(&heard);
    sigaddset(&heard, tickSignal());
    if (waiting.hasTimer) {
        setTimer(TICK_NS);
    } else {
        heard = releasableEndSignals();
    }
    pthread_sigmask(SIG_UNBLOCK, &heard, &m_before);
}

OutputWait::~OutputWait() {
    if (m_inner) {
        return;
    }
    if (waiting.hasTimer) {
        setTimer(0);
    }
    waiting.living = false;
    pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
}

} // namespace panel
