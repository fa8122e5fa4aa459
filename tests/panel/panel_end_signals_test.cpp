#include "panel/process/end_signals.h"

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <thread>

using namespace panel;

namespace {

bool isHeld(int signal) {
    sigset_t held;
    pthread_sigmask(SIG_BLOCK, nullptr, &held);
    return sigismember(&held, signal) == 1;
}

class EndSignalMask : public testing::Test {
protected:
    EndSignalMask() { pthread_sigmask(SIG_SETMASK, nullptr, &m_before); }
    ~EndSignalMask() override { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }

    static void hold(int signal) {
        sigset_t one;
        sigemptyset(&one);
        sigaddset(&one, signal);
        pthread_sigmask(SIG_BLOCK, &one, nullptr);
    }

private:
    sigset_t m_before;
};

TEST_F(EndSignalMask, holdEndSignals_threadBegunLater_holdsThemToo) {
    holdEndSignals();
    int held = 0;
    std::thread([&held] {
        for (const int signal : {SIGINT, SIGTERM, SIGQUIT, SIGHUP}) {
            held += isHeld(signal) ? 1 : 0;
        }
    }).join();
    EXPECT_EQ(held, 4);
}

TEST_F(EndSignalMask, releaseEndSignals_releasesThemAndNothingElse) {
    holdEndSignals();
    hold(SIGUSR1);
    releaseEndSignals();
    for (const int signal : {SIGINT, SIGTERM, SIGQUIT, SIGHUP}) {
        EXPECT_FALSE(isHeld(signal)) << signal;
    }
    EXPECT_TRUE(isHeld(SIGUSR1));
}

TEST_F(EndSignalMask, releaseEndSignals_heldWhenTheProcessBegan_staysHeld) {
    hold(SIGHUP);
    holdEndSignals();
    releaseEndSignals();
    EXPECT_TRUE(isHeld(SIGHUP));
    EXPECT_FALSE(isHeld(SIGTERM));
}

TEST_F(EndSignalMask, holdEndSignals_ignoredWhenTheProcessBegan_staysIgnored) {
    const auto before = std::signal(SIGHUP, SIG_IGN);
    holdEndSignals();
    EXPECT_FALSE(isHeld(SIGHUP)); // held, it would be taken
    EXPECT_TRUE(isHeld(SIGTERM));
    std::signal(SIGHUP, before);
}

TEST_F(EndSignalMask, endSignalsReleased_untilItsEnd_releasesThem) {
    holdEndSignals();
    {
        const EndSignalsReleased released;
        EXPECT_FALSE(isHeld(SIGTERM));
    }
    EXPECT_TRUE(isHeld(SIGTERM));
}

TEST_F(EndSignalMask, open_withoutADescriptor_saysSoAndHoldsNothing) {
    rlimit files = {};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &files), 0);
    const rlimit none = {0, files.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    EndSignals end;
    const QString fault = end.open();
    setrlimit(RLIMIT_NOFILE, &files);
    EXPECT_TRUE(fault.startsWith(QLatin1String("cannot wait for signals"))) << qPrintable(fault);
    EXPECT_FALSE(isHeld(SIGTERM));
}

} // namespace
