// The host that the documentation shows, as it stands.

#include "endtoend/programs.h"

#include <csignal>

namespace {

class MinimalHost : public Programs {
protected:
    void start(Running* host) {
        host->start(VELKOR_MINIMAL_HOST, {VELKOR_LIBRARY, "127.0.0.1", QString::number(m_port)});
    }
};

TEST_F(MinimalHost, changedValues_arePrinted) {
    startPlc();
    Running host;
    start(&host);
    EXPECT_EQ(panel({"write", "DM", "12", "4711"}).exitCode, 0);
    EXPECT_TRUE(host.waitFor("DM 12 = 4711\n")) << plain(host.output());
    EXPECT_EQ(panel({"write", "CIO_bit", "100.2", "1"}).exitCode, 0);
    EXPECT_TRUE(host.waitFor("CIO_bit 1602 = 1\n")) << plain(host.output());
}

TEST_F(MinimalHost, plcGoneAndBack_isPolledAgain) {
    startPlc();
    const quint16 port = m_port;
    Running host;
    start(&host);
    EXPECT_EQ(panel({"write", "DM", "0", "5"}).exitCode, 0);
    ASSERT_TRUE(host.waitFor("DM 0 = 5\n")) << plain(host.output());
    m_plc.kill();
    ASSERT_TRUE(host.waitFor("failed: 0,1,")) << plain(host.output());
    startPlc({}, port);
    EXPECT_TRUE(host.waitFor("DM 0 = 0\n")) << plain(host.output());
}

} // namespace
