// Writes and refusals: what the driver is shown of an error, and what is surely not executed.

#include "host/exchange_fixture.h"

using namespace exchange_fixture;

namespace {

TEST_F(HostExchange, receive_refusedRead_failsAndKeepsTheEndCode) {
    poll("DM", 100, 1);
    m_exchange->start();
    for (int attempt = 0; attempt < RETRIES; ++attempt) {
        answer(0x1103);
    }
    ASSERT_EQ(m_record.settled.size(), 1U);
    EXPECT_FALSE(m_record.settled.front().ok);
    EXPECT_TRUE(m_record.settled.front().refused);
    EXPECT_EQ(m_record.settled.front().endCode, 0x1103);
    EXPECT_EQ(m_record.settled.front().tries, RETRIES);
}

TEST_F(HostExchange, receive_acceptedWrite_settlesIt) {
    write(100, 0x1234);
    m_exchange->start();
    answer(0x0040);
    ASSERT_EQ(m_record.settled.size(), 1U);
    EXPECT_TRUE(m_record.settled.front().ok);
    EXPECT_TRUE(m_record.settled.front().write);
    EXPECT_EQ(value(100), 0x1234);
}

TEST_F(HostExchange, receive_refusedWrite_failsUnsentAgainAndTheOldValueIsBack) {
    poll("DM", 100, 1);
    m_exchange->start();
    answer(0, "0005");
    write(100, 9);
    m_exchange->start();
    answer(0x2101);
    ASSERT_EQ(m_record.settled.size(), 2U);
    EXPECT_FALSE(m_record.settled.back().ok);
    EXPECT_EQ(m_record.settled.back().endCode, 0x2101);
    EXPECT_EQ(m_record.settled.back().tries, 1);
    EXPECT_TRUE(m_record.settled.back().surelyNotExecuted());
    EXPECT_EQ(m_link.frames.size(), 2U);
    EXPECT_EQ(value(100), 5);
}

TEST_F(HostExchange, receive_writeRefusedAfterSilence_isNotSurelyNotExecuted) {
    write(100, 9);
    m_exchange->start();
    passDeadline();
    answer(0x2101);
    ASSERT_EQ(m_record.settled.size(), 1U);
    EXPECT_EQ(m_record.settled.back().tries, 2);
    EXPECT_FALSE(m_record.settled.back().surelyNotExecuted());
}

TEST_F(HostExchange, receive_writeRefusedForWantOfAnAnswer_isNotSurelyNotExecuted) {
    write(100, 9);
    m_exchange->start();
    answer(0x0205);
    ASSERT_EQ(m_record.settled.size(), 1U);
    EXPECT_TRUE(m_record.settled.back().refused);
    EXPECT_FALSE(m_record.settled.back().surelyNotExecuted());
}

TEST_F(HostExchange, portRefusedInEachTryOfAWrite_isSurelyNotExecuted) {
    write(100, 9);
    m_exchange->start();
    for (int attempt = 0; attempt < RETRIES; ++attempt) {
        m_exchange->portRefused();
        passDeadline();
    }
    ASSERT_EQ(m_record.settled.size(), 1U);
    EXPECT_TRUE(m_record.settled.back().surelyNotExecuted());
}

TEST_F(HostExchange, portRefusalOfAnEarlierFrame_saysNothingOfTheOneBeingSent) {
    m_link.onSend = [this] { m_exchange->portRefused(); };
    write(100, 9);
    m_exchange->start();
    for (int attempt = 0; attempt < RETRIES; ++attempt) {
        passDeadline();
    }
    ASSERT_EQ(m_record.settled.size(), 1U);
    EXPECT_FALSE(m_record.settled.back().surelyNotExecuted());
}

class HostModeRefusal : public HostExchange, public testing::WithParamInterface<int> {};

TEST_P(HostModeRefusal, ofAWrite_switchesToMonitorAndSendsNoResendOfIt) {
    write(100, 1);
    m_exchange->start();
    answer(GetParam());
    // The mode change: command 0401, all programs, MONITOR.
    ASSERT_EQ(m_link.frames.size(), 2U);
    EXPECT_EQ(m_link.frames.at(1).mid(10), QByteArray::fromHex("0401FFFF02"));
    answer(0);
    EXPECT_EQ(m_link.frames.size(), 2U);
    ASSERT_EQ(m_record.settled.size(), 1U);
    const Settled& settled = m_record.settled.front();
    EXPECT_FALSE(settled.ok);
    EXPECT_TRUE(settled.modeChange);
    EXPECT_EQ(settled.modeChangeEnd, 0);
    EXPECT_EQ(settled.refusalBeforeModeChange, GetParam());
    EXPECT_EQ(settled.tries, 1);
    EXPECT_TRUE(settled.surelyNotExecuted());
    EXPECT_EQ(settled.reg, "DM");
    EXPECT_EQ(settled.address, 100);
}

TEST_P(HostModeRefusal, whereTheSwitchIsForbidden_isARefusalLikeAnyOther) {
    allowModeChange(false);
    write(100, 1);
    m_exchange->start();
    answer(GetParam());
    EXPECT_EQ(m_link.frames.size(), 1U);
    ASSERT_EQ(m_record.settled.size(), 1U);
    EXPECT_FALSE(m_record.settled.front().modeChange);
    EXPECT_TRUE(m_record.settled.front().refused);
}

INSTANTIATE_TEST_SUITE_P(EndCodes, HostModeRefusal,
                         testing::Values(0x2203, 0x2204, 0x2206, 0x2243, 0x22C6));

TEST_F(HostExchange, receive_writeAfterAModeChange_isAcceptedWithItsNewServiceId) {
    write(100, 1);
    m_exchange->start();
    answer(0x2203);
    answer(0);
    write(100, 1);
    m_exchange->start();
    answer(0);
    ASSERT_EQ(m_record.settled.size(), 2U);
    EXPECT_TRUE(m_record.settled.back().ok);
}

TEST_F(HostExchange, receive_readRefusedForTheMode_changesNoMode) {
    poll("DM", 100, 1);
    m_exchange->start();
    answer(0x2203);
    EXPECT_EQ(m_link.frames.size(), 2U);
    EXPECT_EQ(m_link.frames.at(1), m_link.frames.at(0));
}

TEST_F(HostExchange, portRefused_isCountedAndTheTryWaitsOn) {
    poll("DM", 100, 1);
    m_exchange->start();
    const qint64 deadline = m_exchange->deadline();
    m_exchange->portRefused();
    EXPECT_EQ(m_exchange->deadline(), deadline);
    EXPECT_EQ(m_link.frames.size(), 1U);
    for (int attempt = 0; attempt < RETRIES; ++attempt) {
        passDeadline();
    }
    EXPECT_EQ(m_record.settled.at(0).refusedPort, 1);
}

TEST_F(HostExchange, modeChangeAnsweredOnlyAtItsResend_isStillASwitch) {
    write(100, 1);
    m_exchange->start();
    answer(0x2203);
    passDeadline();
    ASSERT_EQ(m_link.frames.size(), 3U);
    EXPECT_TRUE(isModeChangeFrame(m_link.frames.back()));
    answer(0);
    ASSERT_EQ(m_record.settled.size(), 1U);
    EXPECT_EQ(m_record.settled.front().modeChangeEnd, 0);
    EXPECT_EQ(m_record.settled.front().silent, 0);
}

TEST_F(HostExchange, abandonWithAWriteInFlight_takesItsReplyButSendsNothingMore) {
    write(100, 1);
    m_exchange->start();
    m_exchange->abandon();
    answer(0);
    ASSERT_EQ(m_record.settled.size(), 1U);
    EXPECT_TRUE(m_record.settled.front().ok);
    write(100, 2);
    m_exchange->start();
    m_exchange->abandon();
    passDeadline();
    ASSERT_EQ(m_record.settled.size(), 2U);
    EXPECT_FALSE(m_record.settled.back().ok);
    EXPECT_EQ(m_record.settled.back().tries, 1);
    EXPECT_EQ(m_link.frames.size(), 2U);
    write(100, 3); // the next request is not abandoned
    m_exchange->start();
    passDeadline();
    EXPECT_EQ(m_link.frames.size(), 4U);
}

TEST_F(HostExchange, abandonBeforeARefusalByTheMode_changesNoMode) {
    write(100, 1);
    m_exchange->start();
    m_exchange->abandon();
    answer(0x2203);
    EXPECT_EQ(m_link.frames.size(), 1U);
    ASSERT_EQ(m_record.settled.size(), 1U);
    EXPECT_FALSE(m_record.settled.front().modeChange);
}

TEST_F(HostExchange, portRefusalsOfAnEarlierRequest_areNotHeldAgainstAWrite) {
    poll("DM", 100, 1);
    m_exchange->start();
    for (int attempt = 0; attempt < RETRIES; ++attempt) {
        passDeadline();
    }
    write(100, 9);
    m_exchange->start();
    for (int attempt = 0; attempt < RETRIES; ++attempt) {
        m_exchange->portRefused(); // of the reads, which nobody has answered yet
        passDeadline();
    }
    ASSERT_EQ(m_record.settled.size(), 2U);
    EXPECT_EQ(m_record.settled.back().unreached, 0);
    EXPECT_EQ(m_record.settled.back().refusedPort, RETRIES);
    EXPECT_FALSE(m_record.settled.back().surelyNotExecuted());
}

TEST_F(HostExchange, portRefusalThatComesWhenIdle_isOfTheEarlierFrame) {
    poll("DM", 100, 1);
    m_exchange->start();
    for (int attempt = 0; attempt < RETRIES; ++attempt) {
        passDeadline();
    }
    for (int attempt = 0; attempt < RETRIES; ++attempt) {
        m_exchange->portRefused();
    }
    write(100, 9);
    m_exchange->start();
    for (int attempt = 0; attempt < RETRIES; ++attempt) {
        m_exchange->portRefused();
        passDeadline();
    }
    EXPECT_TRUE(m_record.settled.back().surelyNotExecuted());
}

TEST_F(HostExchange, framesLostLongAgo_areNotWaitedForAnyMore) {
    poll("DM", 100, 1);
    m_exchange->start();
    for (int attempt = 0; attempt < RETRIES; ++attempt) {
        passDeadline();
    }
    m_clock.time += 130000000;
    write(100, 9);
    m_exchange->start();
    for (int attempt = 0; attempt < RETRIES; ++attempt) {
        m_exchange->portRefused();
        passDeadline();
    }
    EXPECT_TRUE(m_record.settled.back().surelyNotExecuted());
}

TEST_F(HostExchange, requestInTrouble_portRefused_isKnownAtOnce) {
    poll("DM", 100, 1);
    ASSERT_TRUE(m_exchange->start());
    m_exchange->portRefused();
    ASSERT_TRUE(m_exchange->requestInTrouble(10 * TIMEOUT).has_value());
    EXPECT_EQ(m_exchange->requestInTrouble(10 * TIMEOUT)->refusedPort, 1);
    EXPECT_EQ(m_exchange->requestInTrouble(10 * TIMEOUT)->unreached, 1);
}

TEST_F(HostExchange, receive_refusalAfterSilence_isTheReasonThatCounts) {
    poll("DM", 100, 1);
    m_exchange->start();
    passDeadline();
    answer(0x0204);
    answer(0x0204);
    ASSERT_EQ(m_record.settled.size(), 1U);
    EXPECT_EQ(m_record.settled.front().silent, 1);
    EXPECT_TRUE(m_record.settled.front().refused);
}

} // namespace
