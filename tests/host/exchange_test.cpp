// The exchange of frames with the loaded driver, socket and clock in the test's hand: no test waits
// for anything.

#include "host/driver/bound_driver.h"
#include "host/driver/driver_copy.h"
#include "host/simulated_line.h"
#include "host/wire/exchange.h"

#include <gtest/gtest.h>

#include <QtCore/QMutex>

#include <vector>

using namespace velkor_host;

namespace {

const qint64 TIMEOUT = 500000;
const int RETRIES = 3;

class RecordedLink : public Link {
public:
    void send(const QByteArray& frame) override {
        frames.push_back(frame);
        if (onSend) {
            onSend();
        }
    }
    std::function<void()> onSend;
    std::vector<QByteArray> frames;
};

class DriverFrames : public FrameSource {
public:
    explicit DriverFrames(BoundDriver& driver) : m_driver(driver) {}
    bool nextFrame(FRAME_PRO* frame) override { return m_driver.nextFrame(frame); }
    int dealWithReply(QByteArray reply, QString* message) override {
        return m_driver.dealWithReply(reply, message);
    }

private:
    BoundDriver& m_driver;
};

class Record : public ExchangeObserver {
public:
    void frameSent(const QByteArray& /*frame*/, int attempt) override {
        attempts.push_back(attempt);
    }
    void datagramReceived(const QByteArray& /*datagram*/, Verdict verdict) override {
        verdicts.push_back(verdict);
    }
    void tryTimedOut(const QByteArray& /*frame*/) override { ++timeouts; }
    void requestSettled(const Settled& request) override { settled.push_back(request); }

    std::vector<int> attempts;
    std::vector<Verdict> verdicts;
    std::vector<Settled> settled;
    int timeouts = 0;
};

class Deaf : public ChangeListener {
public:
    void valueChanged(const QString& /*reg*/, int /*address*/) override {}
};

void ignoreDebugLine(QtMsgType /*type*/, const QMessageLogContext& /*context*/,
                     const QString& /*text*/) {}

/// A reply to a frame: source and destination changed round, the end code, then data in hex.
QByteArray replyTo(const QByteArray& frame, int endCode, const char* data = "") {
    QByteArray reply = QByteArray::fromHex("C00002");
    reply += frame.mid(6, 3) + frame.mid(3, 3) + frame.mid(9, 3);
    reply.append(static_cast<char>(endCode >> 8));
    reply.append(static_cast<char>(endCode & 0xFF));
    return reply + QByteArray::fromHex(data);
}

QByteArray withSid(QByteArray bytes, int offset) {
    bytes[9] = static_cast<char>(bytes.at(9) + offset);
    return bytes;
}

class HostExchange : public testing::Test {
protected:
    void SetUp() override {
        qInstallMessageHandler(ignoreDebugLine); // the driver's
        const QString fault = m_copy.load(QString::fromLatin1(VELKOR_LIBRARY));
        ASSERT_TRUE(fault.isEmpty()) << fault.toStdString();
        m_driver = std::make_unique<BoundDriver>(m_copy.api(), &m_deaf);
        m_source = std::make_unique<DriverFrames>(*m_driver);
        BoundDriver::Settings settings;
        settings.retries = RETRIES;
        settings.nodes = {0, 1, 0, 0, 10, 0};
        m_driver->bind(settings);
        allowModeChange(true);
    }
    void TearDown() override { qInstallMessageHandler(nullptr); }

    void allowModeChange(bool allowed) {
        m_exchange =
            std::make_unique<Exchange>(*m_source, m_link, m_clock, m_record, TIMEOUT, allowed);
    }

    void poll(const char* reg, int address, int length) {
        m_driver->poll({{QString::fromLatin1(reg), address, length}});
    }

    void write(int address, int value) {
        m_driver->queueWrite("DM", address, {static_cast<quint16>(value)});
    }

    int value(int address) { return m_driver->items("DM", address, 1).first(); }

    void passDeadline() {
        m_clock.time = m_exchange->deadline();
        m_exchange->poll();
    }

    void answer(int endCode, const char* data = "") {
        m_exchange->receive(replyTo(m_link.frames.back(), endCode, data));
    }

    DriverCopy m_copy;
    Deaf m_deaf;
    std::unique_ptr<BoundDriver> m_driver;
    std::unique_ptr<DriverFrames> m_source;
    RecordedLink m_link;
    ManualClock m_clock;
    Record m_record;
    std::unique_ptr<Exchange> m_exchange;
};

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

TEST_F(HostExchange, requestInTrouble_portRefused_isKnownAtOnce) {
    poll("DM", 100, 1);
    ASSERT_TRUE(m_exchange->start());
    m_exchange->portRefused();
    ASSERT_TRUE(m_exchange->requestInTrouble(10 * TIMEOUT).has_value());
    EXPECT_EQ(m_exchange->requestInTrouble(10 * TIMEOUT)->refusedPort, 1);
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
