// Frames that the system does not take.

#include "host/exchange_fixture.h"

#include <cerrno>

namespace {

using namespace exchange_fixture;

class ExchangeUnsent : public HostExchange {
protected:
    /// The next frames do not leave, or do again.
    void unplug() { m_link.error = ENETUNREACH; }
    void plugIn() { m_link.error = 0; }
};

TEST_F(ExchangeUnsent, everyTry_isCountedWithTheReasonAndIsNoTimeout) {
    unplug();
    write(100, 7);
    ASSERT_TRUE(m_exchange->start());
    for (int attempt = 0; attempt < RETRIES; ++attempt) {
        passDeadline();
    }
    ASSERT_EQ(m_record.settled.size(), 1U);
    const Settled& end = m_record.settled.front();
    EXPECT_EQ(end.tries, RETRIES);
    EXPECT_EQ(end.unsent, RETRIES);
    EXPECT_EQ(end.sendError, ENETUNREACH);
    EXPECT_TRUE(end.surelyNotExecuted());
    EXPECT_EQ(m_record.errors, std::vector<int>(RETRIES, ENETUNREACH));
    EXPECT_TRUE(m_record.attempts.empty());
    EXPECT_EQ(m_record.timeouts, 0);
}

TEST_F(ExchangeUnsent, link_isPreparedForEachTry) {
    unplug();
    write(100, 7);
    for (int attempt = 1; attempt <= RETRIES; ++attempt) {
        if (attempt == 1) {
            ASSERT_TRUE(m_exchange->start());
        } else {
            passDeadline();
        }
        EXPECT_EQ(m_link.prepared, attempt);
        EXPECT_EQ(m_link.frames.size(), std::size_t(attempt));
    }
}

TEST_F(ExchangeUnsent, oneTryOfSeveralHasLeft_mayHaveBeenExecuted) {
    for (int left = 0; left < RETRIES; ++left) {
        m_record.settled.clear();
        write(100, 7);
        for (int attempt = 0; attempt < RETRIES; ++attempt) {
            m_link.error = attempt == left ? 0 : EHOSTUNREACH;
            if (attempt == 0) {
                ASSERT_TRUE(m_exchange->start());
            } else {
                passDeadline();
            }
        }
        passDeadline();
        ASSERT_EQ(m_record.settled.size(), 1U);
        EXPECT_EQ(m_record.settled.front().unsent, RETRIES - 1);
        EXPECT_FALSE(m_record.settled.front().surelyNotExecuted()) << "try " << left + 1;
    }
}

TEST_F(ExchangeUnsent, firstTry_isTroubleAtOnce) {
    unplug();
    poll("DM", 100, 1);
    ASSERT_TRUE(m_exchange->start());
    const std::optional<RequestEnd> trouble = m_exchange->requestInTrouble(1000000);
    ASSERT_TRUE(trouble.has_value());
    EXPECT_EQ(trouble->tries, 1);
    EXPECT_EQ(trouble->unsent, 1);
    EXPECT_TRUE(m_exchange->requestUnderWay()->surelyNotExecuted());
}

TEST_F(ExchangeUnsent, replyToAFrameThatHasNeverLeft_isNoReply) {
    unplug();
    write(100, 7);
    ASSERT_TRUE(m_exchange->start());
    answer(0);
    EXPECT_EQ(m_record.verdicts, std::vector<Verdict>{Verdict::NothingInFlight});
    EXPECT_TRUE(m_record.settled.empty());
}

TEST_F(ExchangeUnsent, lateReplyToAnEarlierTry_endsTheRequest) {
    write(100, 7);
    ASSERT_TRUE(m_exchange->start());
    unplug();
    passDeadline();
    answer(0);
    ASSERT_EQ(m_record.settled.size(), 1U);
    EXPECT_TRUE(m_record.settled.front().ok);
    EXPECT_EQ(m_record.settled.front().unsent, 0);
}

TEST_F(ExchangeUnsent, portUnreachableMeanwhile_isOfAnEarlierFrame) {
    write(100, 7);
    ASSERT_TRUE(m_exchange->start());
    unplug();
    passDeadline();
    m_exchange->portRefused();
    m_exchange->portRefused();
    passDeadline();
    passDeadline();
    ASSERT_EQ(m_record.settled.size(), 1U);
    EXPECT_EQ(m_record.settled.front().unsent, RETRIES - 1);
    EXPECT_EQ(m_record.settled.front().unreached, 0);
    EXPECT_FALSE(m_record.settled.front().surelyNotExecuted());
}

/// Nothing of it is under way, so what comes later is not taken for its refusal.
TEST_F(ExchangeUnsent, portUnreachableForTheNextRequest_isThatOnes) {
    unplug();
    write(100, 7);
    ASSERT_TRUE(m_exchange->start());
    for (int attempt = 0; attempt < RETRIES; ++attempt) {
        passDeadline();
    }
    plugIn();
    write(100, 8);
    ASSERT_TRUE(m_exchange->start());
    for (int attempt = 0; attempt < RETRIES; ++attempt) {
        m_exchange->portRefused();
        passDeadline();
    }
    ASSERT_EQ(m_record.settled.size(), 2U);
    EXPECT_EQ(m_record.settled.back().unreached, RETRIES);
}

TEST_F(ExchangeUnsent, tryOfAWrite_isNoModeChange) {
    unplug();
    write(100, 7);
    ASSERT_TRUE(m_exchange->start());
    plugIn();
    passDeadline();
    answer(0x1103);
    ASSERT_EQ(m_record.settled.size(), 1U);
    EXPECT_EQ(m_record.settled.front().unsent, 1);
    EXPECT_EQ(m_record.settled.front().modeChangeUnsent, 0);
}

TEST_F(ExchangeUnsent, modeChange_wasNotAskedFor) {
    write(100, 7);
    ASSERT_TRUE(m_exchange->start());
    unplug();
    answer(0x2203);
    while (m_record.settled.empty()) {
        passDeadline();
    }
    const Settled& end = m_record.settled.front();
    EXPECT_FALSE(end.modeChange);
    EXPECT_EQ(end.sendError, ENETUNREACH);
    EXPECT_EQ(end.unsent, 0);
    EXPECT_GE(end.modeChangeUnsent, 1);
    EXPECT_TRUE(end.refused);
    EXPECT_TRUE(end.surelyNotExecuted());
}

} // namespace
