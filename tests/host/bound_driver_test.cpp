// A driver bound to the memory that it borrows.

#include "host/driver/bound_driver.h"
#include "host/driver/driver_copy.h"
#include "host/plain_text.h"

#include <gtest/gtest.h>

using namespace velkor_host;

namespace {

class Listener : public ChangeListener {
public:
    void valueChanged(const QString& /*reg*/, int address) override { heard.push_back(address); }
    std::vector<int> heard;
};

class HostBoundDriver : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_copy.load(QStringLiteral(VELKOR_LIBRARY)).isEmpty());
        m_driver = std::make_unique<BoundDriver>(m_copy.api(), &m_listener);
    }
    void bind(int skipped, int wordsPerFrame = 64) {
        BoundDriver::Settings settings;
        settings.wordsPerFrame = wordsPerFrame;
        settings.nodes = {1, 2, 3, 4, 5, 6};
        settings.skippedServiceIds = skipped;
        m_driver->bind(settings);
    }
    int nextServiceId() {
        m_driver->queueRead({"DM", 0, 1});
        EXPECT_TRUE(m_driver->nextFrame(&m_frame));
        return m_frame.frame[9];
    }

    DriverCopy m_copy;
    Listener m_listener;
    std::unique_ptr<BoundDriver> m_driver;
    FRAME_PRO m_frame = FRAME_PRO();
};

TEST_F(HostBoundDriver, skippedServiceIds_areUsedUp) {
    bind(0);
    const int first = nextServiceId();
    for (const int skipped : {1, 7, 200, 254}) {
        DriverCopy copy;
        ASSERT_TRUE(copy.load(QStringLiteral(VELKOR_LIBRARY)).isEmpty());
        BoundDriver other(copy.api(), &m_listener);
        BoundDriver::Settings settings;
        settings.nodes = {0, 1, 0, 0, 10, 0};
        settings.skippedServiceIds = skipped;
        other.bind(settings);
        FRAME_PRO frame = FRAME_PRO();
        EXPECT_FALSE(other.nextFrame(&frame)); // nothing is left of the frames that took them
        other.queueRead({"DM", 0, 1});
        ASSERT_TRUE(other.nextFrame(&frame));
        EXPECT_EQ(frame.frame[9], (first + skipped) % 255) << skipped;
    }
}

TEST_F(HostBoundDriver, nodes_standInTheFrame) {
    bind(3);
    nextServiceId();
    const std::vector<int> nodes(m_frame.frame + 3, m_frame.frame + 9);
    EXPECT_EQ(nodes, (std::vector<int>{1, 2, 3, 4, 5, 6}));
}

TEST_F(HostBoundDriver, poll_givesTheBlocksBack) {
    bind(0);
    EXPECT_EQ(plain(m_driver->poll({{"DM", 10, 2}, {"DM", 15, 2}, {"HR", 1, 1}})),
              "HR 1+1, DM 10+7");
    EXPECT_TRUE(m_driver->poll({}).isEmpty());
}

TEST_F(HostBoundDriver, queuedWrite_isSeenAndFramed) {
    bind(0);
    m_driver->queueWrite("DM", 5, {0x1234, 0xABCD});
    EXPECT_EQ(m_driver->items("DM", 5, 2), (Items{0x1234, 0xABCD}));
    ASSERT_TRUE(m_driver->nextFrame(&m_frame));
    EXPECT_EQ(QByteArray(reinterpret_cast<const char*>(m_frame.frame) + 10, 12),
              QByteArray::fromHex("01028200050000021234ABCD"));
    EXPECT_EQ(m_frame.var.type, TAG_WRITE);
}

TEST_F(HostBoundDriver, queuedBits_areFramedAsBits) {
    bind(0);
    m_driver->queueWrite("CIO_bit", 3 * 16 + 5, {1, 0});
    ASSERT_TRUE(m_driver->nextFrame(&m_frame));
    EXPECT_EQ(QByteArray(reinterpret_cast<const char*>(m_frame.frame) + 10, 10),
              QByteArray::fromHex("01023000030500020100"));
}

TEST_F(HostBoundDriver, change_isHeardByTheListenerOfItsTag) {
    bind(0);
    m_driver->poll({{"DM", 5, 1}});
    ASSERT_TRUE(m_driver->nextFrame(&m_frame));
    QByteArray reply = QByteArray::fromHex("C00002");
    reply += QByteArray(reinterpret_cast<const char*>(m_frame.frame) + 6, 3);
    reply += QByteArray(reinterpret_cast<const char*>(m_frame.frame) + 3, 3);
    reply += QByteArray(reinterpret_cast<const char*>(m_frame.frame) + 9, 3);
    reply += QByteArray::fromHex("00000007");
    QString message;
    EXPECT_EQ(m_driver->dealWithReply(reply, &message), REPLY_ACCEPTED);
    EXPECT_EQ(m_listener.heard, std::vector<int>{5});
}

TEST_F(HostBoundDriver, recipeRequest_standsUntilTheDriverEndsIt) {
    bind(0);
    EXPECT_FALSE(m_driver->recipeRequested());
    _RCP_VAR_PRO variable = _RCP_VAR_PRO();
    variable.hostTag = m_driver->hostTag();
    variable.station = STATION;
    variable.regName = "DM";
    variable.addr = 7;
    variable.len = 1;
    m_driver->setRecipe({variable});
    m_driver->requestRecipe(true);
    EXPECT_TRUE(m_driver->recipeRequested());
    QString message;
    int result = REPLY_REJECTED;
    for (int attempt = 0; attempt < 3; ++attempt) {
        ASSERT_TRUE(m_driver->nextFrame(&m_frame));
        result = m_driver->dealWithReply(QByteArray(), &message);
    }
    EXPECT_EQ(result, REPLY_REQUEST_FAILED);
    EXPECT_FALSE(m_driver->recipeRequested());
}

} // namespace
