#ifndef VELKOR_TESTS_SUPPORT_PROCESS_SIGNAL_H
#define VELKOR_TESTS_SUPPORT_PROCESS_SIGNAL_H

/// The one place where a test signals a program.

#include <QtCore/QtGlobal>

#include <csignal>
#include <sys/types.h>

/// Sends `signal` (0: none, only asks) to one process; true when it is there. A program that did
/// not start has 0 or -1 for an id, which kill() takes for the tests' own process group or for
/// every process there is: below 2 nothing is sent.
inline bool signalProcess(qint64 pid, int signal) {
    return pid > 1 && ::kill(static_cast<pid_t>(pid), signal) == 0;
}

#endif
