// The tests' own hold on the programs they start.

#include "endtoend/programs.h"
#include "support/process_signal.h"

#include <stdexcept>
#include <unistd.h>

namespace {

const int ASK_ONLY = 0; // a signal that is not delivered

TEST(ProcessSignal, idsOfNoProcess_areLeftAlone) {
    // Each of these would reach the tests themselves.
    for (const qint64 pid : {qint64(1), qint64(0), qint64(-1), -qint64(getpgrp())}) {
        EXPECT_FALSE(signalProcess(pid, ASK_ONLY)) << pid;
    }
}

TEST(ProcessSignal, idOfAProcess_isSignalled) {
    EXPECT_TRUE(signalProcess(getpid(), ASK_ONLY));
}

class RunningProgram : public Programs {};

TEST_F(RunningProgram, start_noSuchProgram_endsTheTest) {
    Running running;
    EXPECT_THROW(running.start(path("no-such-program"), {}), std::runtime_error);
    EXPECT_EQ(running.pid(), 0);
    EXPECT_EQ(running.stop(ASK_ONLY).exitCode, -1);
}

TEST_F(RunningProgram, startPlc_thatDoesNotListen_endsTheTest) {
    EXPECT_THROW(startPlc({"--mode", "fast"}), std::runtime_error);
}

TEST_F(RunningProgram, stop_programThatHasEnded_signalsNothing) {
    startPlc();
    EXPECT_EQ(m_plc.stop(SIGTERM).exitCode, 0);
    EXPECT_EQ(m_plc.pid(), 0);
    EXPECT_EQ(m_plc.stop(ASK_ONLY).exitCode, 0);
}

} // namespace
