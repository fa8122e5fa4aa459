#ifndef VELKOR_PANEL_PROCESS_OUTPUT_WAIT_H
#define VELKOR_PANEL_PROCESS_OUTPUT_WAIT_H

/// Waiting for whoever takes the output: the reader of a pipe, a terminal. It may last for as long
/// as the program runs, and not longer: once the program is to end, a reader that takes nothing for
/// half a second is given up. All of it is for the program's first thread.

#include <QtCore/QtGlobal>

#include <csignal>

namespace panel {

/// The program is to end: an end signal has been taken. One that is held and has not been taken yet
/// needs no call.
void endOutput();
/// The program is to end by itself so many milliseconds from now.
void endOutputIn(qint64 milliseconds);

/// Why a reader has been given up.
enum class GivenUp { No, BySignal, ByTime };
GivenUp outputGivenUp();

/// While it lives, a system call that waits for the reader is ended when the reader is given up: it
/// fails with EINTR. Till then nothing interrupts it that would not do so otherwise. Where the
/// system has no timer left for this, the end signals end the program at once instead.
class OutputWait {
public:
    enum Stuck {
        Fails,        ///< as said
        DropsTerminal ///< what the terminal on standard output has not taken is dropped too, which
                      ///< makes room: for ncurses, which tries again whatever fails
    };
    explicit OutputWait(Stuck stuck = Fails);
    ~OutputWait();
    OutputWait(const OutputWait&) = delete;
    OutputWait& operator=(const OutputWait&) = delete;

private:
    sigset_t m_before = {};
    bool m_inner = false; ///< another one lives already
};

} // namespace panel

#endif
