#include "plc/output_wait.h"

#include <cerrno>
#include <ctime>
#include <poll.h>
#include <unistd.h>

#include "plc/stop_signals.h"

#ifndef sigev_notify_thread_id
#define sigev_notify_thread_id _sigev_un._tid
#endif

namespace plc {

namespace {

constexpr long kGraceMs = 500;
constexpr long kTickNs = 50 * 1000 * 1000;

// A write that waits cannot be told to look at a signal that is held. So a timer's signal comes to
// this thread again and again while one may wait; the system starts the write again after it, until
// the handler has seen that the program is to stop.
//
// Written by the first thread alone: outside of the waits, or in the handler while it waits.
struct Waiting {
    bool hasTimer = false;
    bool living = false;
    bool givenUp = false;
    timespec since = {}; // of this wait
    bool stopWanted = false;
    timespec stopSince = {};
    timer_t timer = {};
};

Waiting waiting; // NOLINT(cppcoreguidelines-avoid-non-const-global-variables)

// What the handler calls is async-signal-safe, as it has to be.
timespec now() {
    timespec time = {};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return time;
}

bool isPast(const timespec& since) {
    const timespec time = now();
    return (time.tv_sec - since.tv_sec) * 1000 + (time.tv_nsec - since.tv_nsec) / 1000000 >=
           kGraceMs;
}

void tick(int signal);

void setHandler(bool writesGoOn) {
    struct sigaction action = {};
    action.sa_handler = tick;
    action.sa_flags = writesGoOn ? SA_RESTART : 0;
    sigaction(SIGRTMIN, &action, nullptr);
}

void tick(int /*signal*/) {
    if (!waiting.living) {
        return;
    }
    const int before = errno;
    if (stopSignalWaits()) {
        stopWaiting();
    }
    if (waiting.stopWanted && isPast(waiting.since) && isPast(waiting.stopSince)) {
        waiting.givenUp = true;
        setHandler(false);
    }
    errno = before;
}

bool makeTimer() {
    sigevent event = {};
    event.sigev_notify = SIGEV_THREAD_ID;
    event.sigev_signo = SIGRTMIN;
    event.sigev_notify_thread_id = gettid();
    return timer_create(CLOCK_MONOTONIC, &event, &waiting.timer) == 0;
}

void setTimer(long interval) {
    const itimerspec times = {{0, interval}, {0, interval}};
    timer_settime(waiting.timer, 0, &times, nullptr);
}

} // namespace

OutputWait::OutputWait() {
    if (!waiting.hasTimer) {
        setHandler(true);
        waiting.hasTimer = makeTimer();
    }
    waiting.living = true;
    waiting.since = now();
    sigset_t heard;
    sigemptyset(&heard);
    sigaddset(&heard, SIGRTMIN);
    if (waiting.hasTimer) {
        setTimer(kTickNs);
    } else {
        heard = stopSignals();
    }
    pthread_sigmask(SIG_UNBLOCK, &heard, &before_);
}

OutputWait::~OutputWait() {
    if (waiting.hasTimer) {
        setTimer(0);
    }
    waiting.living = false;
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

bool OutputWait::isGivenUp() {
    return waiting.givenUp;
}

void OutputWait::untilWritable(int descriptor) {
    pollfd output = {descriptor, POLLOUT, 0};
    ::poll(&output, 1, -1); // the timer ends it
}

void stopWaiting() {
    if (!waiting.stopWanted) {
        waiting.stopWanted = true;
        waiting.stopSince = now();
    }
}

} // namespace plc
