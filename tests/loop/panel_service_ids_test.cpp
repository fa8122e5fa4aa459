// Using up service IDs of the loaded driver, and what that leaves behind in it.

#include "panel/service_ids.h"

#include <gtest/gtest.h>

#include <QtCore/QMutex>

#include <algorithm>
#include <set>
#include <vector>

using namespace panel;

namespace {

const int SID = 9;

int calls = 0;

int countCall(int /*tag*/, int /*station*/, QString /*regName*/, int /*address*/) {
    return ++calls;
}

class PanelServiceIds : public testing::Test {
protected:
    void SetUp() override {
        const QString fault = loadDriver(QString::fromLatin1(VELKOR_LIBRARY), &m_api);
        ASSERT_TRUE(fault.isEmpty()) << fault.toStdString();
        calls = 0;
        m_api.setAddrValueChangeCallBack(countCall);
        bind();
    }

    void bind() {
        int out = 0;
        m_api.initProperty(m_hostBlock.data(), m_statusBlock.data(), nullptr, &out, "1#0#0#3#256",
                           &m_mutex);
    }

    void useUp(int count) {
        useUpServiceIds(m_api, count, [this] { bind(); });
    }

    /// Of a request that the driver builds next; it is bound afresh behind it.
    int nextId() {
        KEY_ADDRESS key = KEY_ADDRESS();
        key.regName = "HR";
        key.len = 1;
        FRAME_PRO frame = FRAME_PRO();
        m_api.addConditionRead(key, 0);
        EXPECT_EQ(m_api.getSendFrame(frame), 1U);
        bind();
        return frame.frame[SID];
    }

    std::vector<unsigned char> m_hostBlock = std::vector<unsigned char>(60117, 0);
    std::vector<unsigned char> m_statusBlock = std::vector<unsigned char>(122024, 0xEE);
    QMutex m_mutex;
    DriverApi m_api;
};

TEST_F(PanelServiceIds, useUp_some_nextRequestIsSoMuchFurther) {
    const int before = nextId();
    useUp(0);
    EXPECT_EQ(nextId(), (before + 1) % SERVICE_IDS);
    useUp(100);
    EXPECT_EQ(nextId(), (before + 102) % SERVICE_IDS);
}

TEST_F(PanelServiceIds, useUp_everyCount_reachesEveryServiceId) {
    std::set<int> ids;
    for (int count = 0; count < SERVICE_IDS; ++count) {
        useUp(SERVICE_IDS - nextId() + count); // counted from the ID 0 on
        ids.insert(nextId());
    }
    EXPECT_EQ(ids.size(), 255U);
    EXPECT_EQ(*ids.begin(), 0);
    EXPECT_EQ(*ids.rbegin(), 254);
}

TEST_F(PanelServiceIds, useUp_any_leavesNothingBehind) {
    useUp(200);
    FRAME_PRO frame = FRAME_PRO();
    EXPECT_EQ(m_api.getSendFrame(frame), 0U); // nothing waits
    QByteArray none;
    QString message;
    EXPECT_EQ(m_api.dealRcvFrame(&none, &message), unsigned(REPLY_NOT_EXPECTED));
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(std::count(m_hostBlock.begin(), m_hostBlock.end(), 0), 60117);
    EXPECT_EQ(std::count(m_statusBlock.begin(), m_statusBlock.end(), 0xEE), 122024);
}

TEST_F(PanelServiceIds, useUp_any_bindsTheDriver) {
    int bound = 0;
    useUpServiceIds(m_api, 0, [&] {
        bind();
        ++bound;
    });
    EXPECT_EQ(bound, 1);
}

} // namespace
