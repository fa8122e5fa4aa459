// The panel's exchange with the loaded driver, its socket and clock in the test's hand: no test
// waits for anything.

#include "panel/driver_library.h"
#include "panel/exchange.h"
#include "panel/tag.h"

#include <gtest/gtest.h>

#include <QtCore/QMutex>

#include <vector>

using namespace panel;

namespace {

const qint64 TIMEOUT = 500000;
const int RETRIES = 3;
const int STATION = 1;

class ManualClock : public Clock {
public:
    qint64 now() const override { return time; }
    qint64 time = 1000000;
};

class RecordedLink : public Link {
public:
    void send(const QByteArray& frame) override { frames.push_back(frame); }
    std::vector<QByteArray> frames;
};

class DriverFrames : public FrameSource {
public:
    explicit DriverFrames(const DriverApi& api) : m_api(api) {}
    bool nextFrame(FRAME_PRO* frame) override { return m_api.getSendFrame(*frame) == 1; }
    int dealWithReply(QByteArray reply, QString* message) override {
        return static_cast<int>(m_api.dealRcvFrame(&reply, message));
    }

private:
    const DriverApi& m_api;
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

int ignoreChange(int /*tag*/, int /*station*/, QString /*regName*/, int /*address*/) {
    return 0;
}

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

class PanelExchange : public testing::Test {
protected:
    void SetUp() override {
        qInstallMessageHandler(ignoreDebugLine); // the driver's
        const QString fault = loadDriver(QString::fromLatin1(VELKOR_LIBRARY), &m_api);
        ASSERT_TRUE(fault.isEmpty()) << fault.toStdString();
        int out = 0;
        m_api.setAddrValueChangeCallBack(ignoreChange);
        m_api.initProperty(m_hostBlock.data(), m_statusBlock.data(), nullptr, &out, "1#0#0#3#256",
                           &m_mutex);
        m_api.setDriverPropertyPage("6,0,1,0,0,10,0");
    }

    void poll(const char* reg, int address, int length) {
        QList<KEY_ADDRESS> keys;
        KEY_ADDRESS key = KEY_ADDRESS();
        key.station = STATION;
        key.regName = reg;
        key.addr = address;
        key.len = length;
        keys.append(key);
        m_api.addrMerge(keys);
    }

    void write(int address, int value) {
        unsigned char data[2] = {static_cast<unsigned char>(value & 0xFF),
                                 static_cast<unsigned char>(value >> 8)};
        m_api.setData(STATION, "DM", address, 1, data, 2);
    }

    int value(int address) {
        unsigned char data[2] = {};
        m_api.getData(STATION, "DM", address, 1, data);
        return data[0] + 256 * data[1];
    }

    void passDeadline() {
        m_clock.time = m_exchange.deadline();
        m_exchange.poll();
    }

    void answer(int endCode, const char* data = "") {
        m_exchange.receive(replyTo(m_link.frames.back(), endCode, data));
    }

    std::vector<unsigned char> m_hostBlock = std::vector<unsigned char>(60117, 0);
    std::vector<unsigned char> m_statusBlock = std::vector<unsigned char>(122024, 0);
    QMutex m_mutex;
    DriverApi m_api;
    DriverFrames m_source{m_api};
    RecordedLink m_link;
    ManualClock m_clock;
    Record m_record;
    Exchange m_exchange{m_source, m_link, m_clock, m_record, TIMEOUT};
};

TEST_F(PanelExchange, start_nothingToSend_staysIdle) {
    EXPECT_FALSE(m_exchange.start());
    EXPECT_TRUE(m_exchange.idle());
    EXPECT_EQ(m_exchange.deadline(), -1);
    EXPECT_TRUE(m_link.frames.empty());
}

TEST_F(PanelExchange, start_twice_keepsOneFrameInFlight) {
    poll("DM", 100, 2);
    EXPECT_TRUE(m_exchange.start());
    EXPECT_TRUE(m_exchange.start());
    EXPECT_EQ(m_link.frames.size(), 1U);
    EXPECT_EQ(m_exchange.deadline(), m_clock.time + TIMEOUT);
}

TEST_F(PanelExchange, receive_reply_settlesTheReadWithItsRoundTrip) {
    poll("DM", 100, 2);
    m_exchange.start();
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
    EXPECT_TRUE(m_exchange.idle());
}

TEST_F(PanelExchange, receive_wrongServiceId_isDroppedAndDoesNotCutTheWaitShort) {
    poll("DM", 100, 1);
    m_exchange.start();
    const qint64 deadline = m_exchange.deadline();
    m_clock.time += 1000;
    m_exchange.receive(withSid(replyTo(m_link.frames.back(), 0, "0001"), 1));
    EXPECT_EQ(m_record.verdicts, std::vector<Verdict>{Verdict::WrongServiceId});
    EXPECT_EQ(m_link.frames.size(), 1U);
    EXPECT_EQ(m_exchange.deadline(), deadline);
    answer(0, "0002");
    EXPECT_TRUE(m_record.settled.at(0).ok);
    EXPECT_EQ(value(100), 2);
}

TEST_F(PanelExchange, receive_floodOfLateDuplicates_sendsNothing) {
    poll("DM", 100, 1);
    m_exchange.start();
    const QByteArray stale = withSid(replyTo(m_link.frames.back(), 0, "0001"), -1);
    for (int count = 0; count < 1000; ++count) {
        m_exchange.receive(stale);
    }
    EXPECT_EQ(m_link.frames.size(), 1U);
    EXPECT_TRUE(m_record.settled.empty());
}

TEST_F(PanelExchange, receive_garbage_isDropped) {
    poll("DM", 100, 1);
    m_exchange.start();
    m_exchange.receive(QByteArray());
    m_exchange.receive("hello");
    m_exchange.receive(m_link.frames.back()); // its own frame: a command, no reply
    QByteArray otherCommand = replyTo(m_link.frames.back(), 0, "0001");
    otherCommand[11] = 2;
    m_exchange.receive(otherCommand);
    EXPECT_EQ(m_record.verdicts, std::vector<Verdict>(4, Verdict::NoReply));
    EXPECT_EQ(m_link.frames.size(), 1U);
    EXPECT_FALSE(m_exchange.idle());
}

TEST_F(PanelExchange, receive_whenIdle_isDropped) {
    poll("DM", 100, 1);
    m_exchange.start();
    const QByteArray reply = replyTo(m_link.frames.back(), 0, "0001");
    m_exchange.receive(reply);
    m_exchange.receive(reply);
    EXPECT_EQ(m_record.verdicts.back(), Verdict::NothingInFlight);
    EXPECT_EQ(m_record.settled.size(), 1U);
}

TEST_F(PanelExchange, poll_beforeTheDeadline_doesNothing) {
    poll("DM", 100, 1);
    m_exchange.start();
    m_clock.time += TIMEOUT - 1;
    m_exchange.poll();
    EXPECT_EQ(m_link.frames.size(), 1U);
    EXPECT_EQ(m_record.timeouts, 0);
}

TEST_F(PanelExchange, poll_atTheDeadline_sendsTheSameFrameAgain) {
    poll("DM", 100, 1);
    m_exchange.start();
    passDeadline();
    ASSERT_EQ(m_link.frames.size(), 2U);
    EXPECT_EQ(m_link.frames.at(0), m_link.frames.at(1));
    EXPECT_EQ(m_record.attempts, (std::vector<int>{1, 2}));
    EXPECT_EQ(m_exchange.deadline(), m_clock.time + TIMEOUT);
}

TEST_F(PanelExchange, poll_noAnswerInAnyTry_failsTheRequest) {
    poll("DM", 100, 1);
    m_exchange.start();
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
    EXPECT_TRUE(m_exchange.idle());
}

TEST_F(PanelExchange, receive_lateReplyAfterAResend_isTakenOnceAndItsDuplicateDropped) {
    poll("DM", 100, 1);
    m_exchange.start();
    passDeadline();
    const QByteArray late = replyTo(m_link.frames.at(0), 0, "0007");
    m_exchange.receive(late);
    ASSERT_EQ(m_record.settled.size(), 1U);
    EXPECT_TRUE(m_record.settled.front().ok);
    EXPECT_EQ(m_record.settled.front().roundTrip, -1); // whose reply it was, nobody knows
    m_exchange.start();
    m_exchange.receive(late); // the answer to the resend
    EXPECT_EQ(m_record.verdicts.back(), Verdict::WrongServiceId);
    EXPECT_EQ(m_link.frames.size(), 3U);
    answer(0, "0008");
    EXPECT_EQ(value(100), 8);
}

TEST_F(PanelExchange, receive_replyCutShort_sendsAgainAtOnce) {
    poll("DM", 100, 1);
    m_exchange.start();
    m_exchange.receive(replyTo(m_link.frames.back(), 0, "0001").left(13));
    EXPECT_EQ(m_record.verdicts.back(), Verdict::Reply);
    EXPECT_EQ(m_link.frames.size(), 2U);
    answer(0, "0001");
    EXPECT_TRUE(m_record.settled.at(0).ok);
}

TEST_F(PanelExchange, receive_refusedRead_failsAndKeepsTheEndCode) {
    poll("DM", 100, 1);
    m_exchange.start();
    for (int attempt = 0; attempt < RETRIES; ++attempt) {
        answer(0x1103);
    }
    ASSERT_EQ(m_record.settled.size(), 1U);
    EXPECT_FALSE(m_record.settled.front().ok);
    EXPECT_TRUE(m_record.settled.front().refused);
    EXPECT_EQ(m_record.settled.front().endCode, 0x1103);
    EXPECT_EQ(m_record.settled.front().tries, RETRIES);
}

TEST_F(PanelExchange, receive_errorOnReadWithDataBehindIt_isNoData) {
    poll("DM", 100, 1);
    m_exchange.start();
    for (int attempt = 0; attempt < RETRIES; ++attempt) {
        answer(0x1104, "7777");
    }
    ASSERT_EQ(m_record.settled.size(), 1U);
    EXPECT_FALSE(m_record.settled.front().ok);
    EXPECT_EQ(value(100), 0);
}

TEST_F(PanelExchange, receive_readWithAlarmFlag_isData) {
    poll("DM", 100, 1);
    m_exchange.start();
    answer(0x0040, "0102");
    EXPECT_TRUE(m_record.settled.at(0).ok);
    EXPECT_FALSE(m_record.settled.at(0).refused);
    EXPECT_EQ(value(100), 0x0102);
}

TEST_F(PanelExchange, receive_acceptedWrite_settlesIt) {
    write(100, 0x1234);
    m_exchange.start();
    answer(0x0040);
    ASSERT_EQ(m_record.settled.size(), 1U);
    EXPECT_TRUE(m_record.settled.front().ok);
    EXPECT_TRUE(m_record.settled.front().write);
    EXPECT_EQ(value(100), 0x1234);
}

TEST_F(PanelExchange, receive_refusedWrite_failsAndTheOldValueIsBack) {
    poll("DM", 100, 1);
    m_exchange.start();
    answer(0, "0005");
    write(100, 9);
    m_exchange.start();
    for (int attempt = 0; attempt < RETRIES; ++attempt) {
        answer(0x2101);
    }
    ASSERT_EQ(m_record.settled.size(), 2U);
    EXPECT_FALSE(m_record.settled.back().ok);
    EXPECT_EQ(m_record.settled.back().endCode, 0x2101);
    EXPECT_EQ(value(100), 5);
}

TEST_F(PanelExchange, writeRefusedInEveryTry_isSurelyNotDone) {
    write(100, 9);
    m_exchange.start();
    for (int attempt = 0; attempt < RETRIES; ++attempt) {
        answer(0x2101);
    }
    EXPECT_FALSE(m_record.settled.at(0).perhaps);
    EXPECT_FALSE(m_record.settled.at(0).acknowledged);
}

TEST_F(PanelExchange, writeWithOneTryUnanswered_isPerhapsDone) {
    write(100, 9);
    m_exchange.start();
    passDeadline();
    answer(0x2101);
    answer(0x2101);
    ASSERT_EQ(m_record.settled.size(), 1U);
    EXPECT_TRUE(m_record.settled.at(0).perhaps);
    EXPECT_FALSE(m_record.settled.at(0).acknowledged);
}

TEST_F(PanelExchange, writeWhoseAnswerWasLostBehindARelay_isPerhapsDone) {
    write(100, 9);
    m_exchange.start();
    for (int attempt = 0; attempt < RETRIES; ++attempt) {
        answer(0x0205);
    }
    EXPECT_TRUE(m_record.settled.at(0).perhaps);
}

TEST_F(PanelExchange, writeToAClosedPortInEveryTry_isSurelyNotDone) {
    write(100, 9);
    m_exchange.start();
    for (int attempt = 0; attempt < RETRIES; ++attempt) {
        m_exchange.portRefused();
        passDeadline();
    }
    ASSERT_EQ(m_record.settled.size(), 1U);
    EXPECT_FALSE(m_record.settled.at(0).perhaps);
}

TEST_F(PanelExchange, writeToAClosedPortInItsFirstTryOnly_isPerhapsDone) {
    write(100, 9);
    m_exchange.start();
    m_exchange.portRefused();
    for (int attempt = 0; attempt < RETRIES; ++attempt) {
        passDeadline();
    }
    EXPECT_TRUE(m_record.settled.at(0).perhaps);
}

class ModeRefusal : public PanelExchange, public testing::WithParamInterface<int> {};

TEST_P(ModeRefusal, ofAWrite_switchesToMonitorAndEndsInAFailureThatTellsSo) {
    write(100, 1);
    m_exchange.start();
    const QByteArray first = m_link.frames.back();
    answer(GetParam());
    // The mode change: command 0401, all programs, MONITOR.
    ASSERT_EQ(m_link.frames.size(), 2U);
    EXPECT_EQ(m_link.frames.at(1).mid(10), QByteArray::fromHex("0401FFFF02"));
    answer(0);
    EXPECT_TRUE(m_record.settled.empty());
    // The write goes out again with its old service ID, which the driver then accepts no more.
    for (int attempt = 0; attempt < RETRIES; ++attempt) {
        EXPECT_EQ(m_link.frames.back(), first);
        answer(0);
    }
    ASSERT_EQ(m_record.settled.size(), 1U);
    const Settled& settled = m_record.settled.front();
    EXPECT_FALSE(settled.ok);
    EXPECT_TRUE(settled.modeChange);
    EXPECT_EQ(settled.modeChangeEnd, 0);
    EXPECT_EQ(settled.refusalBeforeModeChange, GetParam());
    EXPECT_FALSE(settled.refused);
    EXPECT_TRUE(settled.acknowledged); // by the PLC
    EXPECT_EQ(settled.reg, "DM");
    EXPECT_EQ(settled.address, 100);
}

INSTANTIATE_TEST_SUITE_P(EndCodes, ModeRefusal,
                         testing::Values(0x2203, 0x2204, 0x2206, 0x2243, 0x22C6));

TEST_F(PanelExchange, receive_writeAfterAModeChange_isAcceptedWithItsNewServiceId) {
    write(100, 1);
    m_exchange.start();
    answer(0x2203);
    answer(0);
    for (int attempt = 0; attempt < RETRIES; ++attempt) {
        answer(0);
    }
    write(100, 1);
    m_exchange.start();
    answer(0);
    ASSERT_EQ(m_record.settled.size(), 2U);
    EXPECT_TRUE(m_record.settled.back().ok);
}

TEST_F(PanelExchange, receive_readRefusedForTheMode_changesNoMode) {
    poll("DM", 100, 1);
    m_exchange.start();
    answer(0x2203);
    EXPECT_EQ(m_link.frames.size(), 2U);
    EXPECT_EQ(m_link.frames.at(1), m_link.frames.at(0));
}

TEST_F(PanelExchange, portRefused_isCountedAndTheTryWaitsOn) {
    poll("DM", 100, 1);
    m_exchange.start();
    const qint64 deadline = m_exchange.deadline();
    m_exchange.portRefused();
    EXPECT_EQ(m_exchange.deadline(), deadline);
    EXPECT_EQ(m_link.frames.size(), 1U);
    for (int attempt = 0; attempt < RETRIES; ++attempt) {
        passDeadline();
    }
    EXPECT_EQ(m_record.settled.at(0).refusedPort, 1);
}

TEST_F(PanelExchange, requestInTrouble_isKnownFromTheFirstUnansweredTryToTheEnd) {
    poll("DM", 100, 1);
    ASSERT_TRUE(m_exchange.start());
    EXPECT_FALSE(m_exchange.requestInTrouble().has_value());
    passDeadline();
    const std::optional<Settled> trouble = m_exchange.requestInTrouble();
    ASSERT_TRUE(trouble.has_value());
    EXPECT_EQ(trouble->tries, 1); // the second is still waiting
    EXPECT_EQ(trouble->waited, TIMEOUT);
    answer(0x0000, "002A");
    EXPECT_FALSE(m_exchange.requestInTrouble().has_value());
}

TEST_F(PanelExchange, requestInTrouble_portRefused_isKnownAtOnce) {
    poll("DM", 100, 1);
    ASSERT_TRUE(m_exchange.start());
    m_exchange.portRefused();
    ASSERT_TRUE(m_exchange.requestInTrouble().has_value());
    EXPECT_EQ(m_exchange.requestInTrouble()->refusedPort, 1);
}

TEST_F(PanelExchange, receive_refusalAfterSilence_isTheReasonThatCounts) {
    poll("DM", 100, 1);
    m_exchange.start();
    passDeadline();
    answer(0x0204);
    answer(0x0204);
    ASSERT_EQ(m_record.settled.size(), 1U);
    EXPECT_EQ(m_record.settled.front().silent, 1);
    EXPECT_TRUE(m_record.settled.front().refused);
}

} // namespace
