// Waiting for whoever reads what the program says. It may last for as long as the program runs, and
// not longer: once it has been told to stop, a reader that takes nothing for half a second is given
// up. All of it is for the program's first thread.
#pragma once

#include <csignal>

namespace plc {

// While it lives, a write that waits for the reader fails with EINTR once the reader is given up.
// Where the system has no timer left for this, the stop signals end the program at once instead.
class OutputWait {
public:
    OutputWait();
    ~OutputWait();
    OutputWait(const OutputWait&) = delete;
    OutputWait& operator=(const OutputWait&) = delete;

    static bool isGivenUp();
    // For a descriptor that does not wait by itself: till it takes something, or for a moment.
    static void untilWritable(int descriptor);

private:
    sigset_t before_ = {};
};

// The program is to stop: a stop signal has been taken. One that is held and has not been taken yet
// needs no call.
void stopWaiting();

} // namespace plc
