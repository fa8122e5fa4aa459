// Frames, tries and replies: what ends a try, what is dropped, what is abandoned.

#include "host/exchange_fixture.h"

using namespace exchange_fixture;

namespace {

TEST_F(HostExchange, start_nothingToSend_staysIdle) {
    EXPECT_FALSE(m_exchange->start());
    EXPECT_TRUE(m_exchange->idle());
    EXPECT_EQ(m_exchange->deadline(), -1);
    EXPECT_TRUE(m_link.frames.empty());
}

TEST_F(HostExchange, start_twice_keepsOneFrameInFlight) {
    poll("DM", 100, 2);
    EXPECT_TRUE(m_exchange->start());
    EXPECT_TRUE(m_exchange->start());
    EXPECT_EQ(m_link.frames.size(), 1U);
    EXPECT_EQ(m_exchange->deadline(), m_clock.time + TIMEOUT);
}

TEST_F(HostExchange, receive_reply_settlesTheReadWithItsRoundTrip) {
    poll("DM", 100, 2);
    m_exchange->start();
    m_clock.time += 4000;
    answer(0, "12345678");
    ASSERT_EQ(m_record.settled.size(), 1U);
    const Settled& settled = m_record.settled.front();
    EXPECT_TRUE(settled.ok);
    EXPECT_EQ(settled.address, 100);
    EXPECT_EQ(settled.length, 2);
    EXPECT_EQ(settled.roundTrip, 4000);
    EXPECT_EQ(settled.replyNode[1], 1);
    EXPECT_EQ(value(101), 0x5678);
    EXPECT_TRUE(m_exchange->idle());
}

TEST_F(HostExchange, receive_wrongServiceId_isDroppedAndDoesNotCutTheWaitShort) {
    poll("DM", 100, 1);
    m_exchange->start();
    const qint64 deadline = m_exchange->deadline();
    m_clock.time += 1000;
    m_exchange->receive(withSid(replyTo(m_link.frames.back(), 0, "0001"), 1));
    EXPECT_EQ(m_record.verdicts, std::vector<Verdict>{Verdict::WrongServiceId});
    EXPECT_EQ(m_link.frames.size(), 1U);
    EXPECT_EQ(m_exchange->deadline(), deadline);
    answer(0, "0002");
    EXPECT_TRUE(m_record.settled.at(0).ok);
    EXPECT_EQ(value(100), 2);
}

TEST_F(HostExchange, receive_floodOfLateDuplicates_sendsNothing) {
    poll("DM", 100, 1);
    m_exchange->start();
    const QByteArray stale = withSid(replyTo(m_link.frames.back(), 0, "0001"), -1);
    for (int count = 0; count < 1000; ++count) {
        m_exchange->receive(stale);
    }
    EXPECT_EQ(m_link.frames.size(), 1U);
    EXPECT_TRUE(m_record.settled.empty());
}

TEST_F(HostExchange, receive_garbage_isDropped) {
    poll("DM", 100, 1);
    m_exchange->start();
    m_exchange->receive(QByteArray());
    m_exchange->receive("hello");
    m_exchange->receive(m_link.frames.back()); // its own frame: a command, no reply
    QByteArray otherCommand = replyTo(m_link.frames.back(), 0, "0001");
    otherCommand[11] = 2;
    m_exchange->receive(otherCommand);
    EXPECT_EQ(m_record.verdicts, std::vector<Verdict>(4, Verdict::NoReply));
    EXPECT_EQ(m_link.frames.size(), 1U);
    EXPECT_FALSE(m_exchange->idle());
}

TEST_F(HostExchange, receive_whenIdle_isDropped) {
    poll("DM", 100, 1);
    m_exchange->start();
    const QByteArray reply = replyTo(m_link.frames.back(), 0, "0001");
    m_exchange->receive(reply);
    m_exchange->receive(reply);
    EXPECT_EQ(m_record.verdicts.back(), Verdict::NothingInFlight);
    EXPECT_EQ(m_record.settled.size(), 1U);
}

TEST_F(HostExchange, poll_beforeTheDeadline_doesNothing) {
    poll("DM", 100, 1);
    m_exchange->start();
    m_clock.time += TIMEOUT - 1;
    m_exchange->poll();
    EXPECT_EQ(m_link.frames.size(), 1U);
    EXPECT_EQ(m_record.timeouts, 0);
}

TEST_F(HostExchange, poll_atTheDeadline_sendsTheSameFrameAgain) {
    poll("DM", 100, 1);
    m_exchange->start();
    passDeadline();
    ASSERT_EQ(m_link.frames.size(), 2U);
    EXPECT_EQ(m_link.frames.at(0), m_link.frames.at(1));
    EXPECT_EQ(m_record.attempts, (std::vector<int>{1, 2}));
    EXPECT_EQ(m_exchange->deadline(), m_clock.time + TIMEOUT);
}

TEST_F(HostExchange, poll_noAnswerInAnyTry_failsTheRequest) {
    poll("DM", 100, 1);
    m_exchange->start();
    for (int attempt = 0; attempt < RETRIES; ++attempt) {
        passDeadline();
    }
    ASSERT_EQ(m_record.settled.size(), 1U);
    const Settled& settled = m_record.settled.front();
    EXPECT_FALSE(settled.ok);
    EXPECT_EQ(settled.tries, RETRIES);
    EXPECT_EQ(settled.silent, RETRIES);
    EXPECT_EQ(settled.waited, RETRIES * TIMEOUT);
    EXPECT_EQ(settled.endCode, -1);
    EXPECT_EQ(m_link.frames.size(), 3U);
    EXPECT_TRUE(m_exchange->idle());
}

TEST_F(HostExchange, receive_lateReplyAfterAResend_isTakenOnceAndItsDuplicateDropped) {
    poll("DM", 100, 1);
    m_exchange->start();
    passDeadline();
    const QByteArray late = replyTo(m_link.frames.at(0), 0, "0007");
    m_exchange->receive(late);
    ASSERT_EQ(m_record.settled.size(), 1U);
    EXPECT_TRUE(m_record.settled.front().ok);
    EXPECT_EQ(m_record.settled.front().roundTrip, -1); // whose reply it was, nobody knows
    m_exchange->start();
    m_exchange->receive(late); // the answer to the resend
    EXPECT_EQ(m_record.verdicts.back(), Verdict::WrongServiceId);
    EXPECT_EQ(m_link.frames.size(), 3U);
    answer(0, "0008");
    EXPECT_EQ(value(100), 8);
}

TEST_F(HostExchange, receive_replyCutShort_isDroppedAndTheWaitGoesOn) {
    poll("DM", 100, 1);
    m_exchange->start();
    for (int length = 0; length < 14; ++length) {
        m_exchange->receive(replyTo(m_link.frames.back(), 0, "0001").left(length));
    }
    EXPECT_EQ(m_record.verdicts, std::vector<Verdict>(14, Verdict::NoReply));
    EXPECT_EQ(m_link.frames.size(), 1U);
    answer(0, "0001");
    EXPECT_TRUE(m_record.settled.at(0).ok);
    EXPECT_EQ(m_record.settled.at(0).wrongLength, 0);
}

TEST_F(HostExchange, receive_readCutBehindTheEndCode_isOfAWrongLengthAndSentAgain) {
    poll("DM", 100, 1);
    m_exchange->start();
    for (int attempt = 0; attempt < RETRIES; ++attempt) {
        m_exchange->receive(replyTo(m_link.frames.back(), 0, "0001").left(15));
    }
    ASSERT_EQ(m_record.settled.size(), 1U);
    EXPECT_FALSE(m_record.settled.at(0).ok);
    EXPECT_EQ(m_record.settled.at(0).wrongLength, RETRIES);
}

TEST_F(HostExchange, receive_errorOnReadWithDataBehindIt_isNoData) {
    poll("DM", 100, 1);
    m_exchange->start();
    for (int attempt = 0; attempt < RETRIES; ++attempt) {
        answer(0x1104, "7777");
    }
    ASSERT_EQ(m_record.settled.size(), 1U);
    EXPECT_FALSE(m_record.settled.front().ok);
    EXPECT_EQ(value(100), 0);
}

TEST_F(HostExchange, receive_readWithAlarmFlag_isData) {
    poll("DM", 100, 1);
    m_exchange->start();
    answer(0x0040, "0102");
    EXPECT_TRUE(m_record.settled.at(0).ok);
    EXPECT_FALSE(m_record.settled.at(0).refused);
    EXPECT_EQ(value(100), 0x0102);
}

TEST_F(HostExchange, requestInTrouble_isKnownFromTheFirstUnansweredTryToTheEnd) {
    poll("DM", 100, 1);
    ASSERT_TRUE(m_exchange->start());
    EXPECT_FALSE(m_exchange->requestInTrouble(10 * TIMEOUT).has_value());
    passDeadline();
    const std::optional<RequestEnd> trouble = m_exchange->requestInTrouble(10 * TIMEOUT);
    ASSERT_TRUE(trouble.has_value());
    EXPECT_EQ(trouble->tries, 1); // the second is still waiting
    EXPECT_EQ(trouble->waited, TIMEOUT);
    answer(0x0000, "002A");
    EXPECT_FALSE(m_exchange->requestInTrouble(10 * TIMEOUT).has_value());
}

TEST_F(HostExchange, abandonWhenIdle_doesNotConcernTheNextRequest) {
    m_exchange->abandon();
    write(100, 1);
    m_exchange->start();
    passDeadline();
    EXPECT_EQ(m_link.frames.size(), 2U);
}

TEST_F(HostExchange, discardNext_closesTheRequestUnsent) {
    write(100, 1);
    write(101, 2);
    m_exchange->discardNext();
    EXPECT_TRUE(m_link.frames.empty());
    ASSERT_EQ(m_record.settled.size(), 1U);
    EXPECT_FALSE(m_record.settled.front().ok);
    EXPECT_EQ(m_record.settled.front().tries, 0);
    EXPECT_EQ(m_record.settled.front().address, 100);
    m_exchange->start();
    ASSERT_EQ(m_link.frames.size(), 1U);
    answer(0);
    EXPECT_EQ(m_record.settled.back().address, 101);
    EXPECT_TRUE(m_record.settled.back().ok);
}

TEST_F(HostExchange, discardNextWithNothingWaiting_doesNothing) {
    m_exchange->discardNext();
    EXPECT_TRUE(m_record.settled.empty());
    EXPECT_TRUE(m_exchange->idle());
}

TEST_F(HostExchange, discardNextWithAFrameInFlight_doesNothing) {
    write(100, 1);
    m_exchange->start();
    m_exchange->discardNext();
    EXPECT_TRUE(m_record.settled.empty());
    EXPECT_FALSE(m_exchange->idle());
}

TEST_F(HostExchange, frame_isStampedBeforeItIsSent) {
    // The reply may be there as soon as the socket has taken the frame.
    poll("DM", 100, 1);
    m_link.onSend = [this] { m_clock.time += 700; };
    m_exchange->start();
    answer(0, "0001");
    EXPECT_EQ(m_record.settled.at(0).roundTrip, 700);
    EXPECT_EQ(m_record.settled.at(0).waited, 700);
}

TEST_F(HostExchange, requestInTrouble_overdueTry_isKnownAfterItsPatience) {
    poll("DM", 100, 1);
    m_exchange->start();
    m_clock.time += 1000;
    EXPECT_FALSE(m_exchange->requestInTrouble(1000).has_value());
    m_clock.time += 1;
    ASSERT_TRUE(m_exchange->requestInTrouble(1000).has_value());
    EXPECT_EQ(m_exchange->requestInTrouble(1000)->waited, 1001);
}

TEST_F(HostExchange, answeredBefore_isTheTimeSinceThePlcsLastAnswer) {
    write(100, 1);
    m_exchange->start();
    m_clock.time += 10;
    answer(0);
    m_clock.time += 2000;
    write(100, 2);
    m_exchange->start();
    m_clock.time += 30;
    answer(0x1103); // a refusal of the PLC's own is an answer as well
    m_clock.time += 500;
    write(100, 3);
    m_exchange->start();
    answer(0);
    ASSERT_EQ(m_record.settled.size(), 3U);
    EXPECT_EQ(m_record.settled.at(0).answeredBefore, -1);
    EXPECT_EQ(m_record.settled.at(1).answeredBefore, 2000);
    EXPECT_LE(m_record.settled.at(2).answeredBefore, 500 + 3 * TIMEOUT);
    EXPECT_GE(m_record.settled.at(2).answeredBefore, 500);
}

TEST_F(HostExchange, answeredBefore_silenceAndErrorsOnTheWay_areNoAnswersOfThePlc) {
    poll("DM", 100, 1);
    m_exchange->start();
    answer(0x0205);
    while (m_record.settled.empty()) {
        passDeadline();
    }
    m_exchange->start();
    answer(0, "0001");
    ASSERT_EQ(m_record.settled.size(), 2U);
    EXPECT_EQ(m_record.settled.at(1).answeredBefore, -1);
}

} // namespace
