#ifndef VELKOR_TESTS_HOST_EXCHANGE_FIXTURE_H
#define VELKOR_TESTS_HOST_EXCHANGE_FIXTURE_H

/// The exchange of frames with the loaded driver, socket and clock in the test's hand: no test
/// waits for anything.

#include "host/driver/bound_driver.h"
#include "host/driver/driver_copy.h"
#include "host/simulated_line.h"
#include "host/wire/exchange.h"

#include <gtest/gtest.h>

#include <vector>

namespace exchange_fixture {

using namespace velkor_host;

const qint64 TIMEOUT = 500000;
const int RETRIES = 3;

class RecordedLink : public Link {
public:
    void prepare() override { ++prepared; }
    int send(const QByteArray& frame) override {
        frames.push_back(frame);
        if (onSend) {
            onSend();
        }
        return error;
    }
    std::function<void()> onSend;
    int error = 0; ///< of the next ones
    std::vector<QByteArray> frames;
    int prepared = 0;
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
    void frameNotSent(const QByteArray& /*frame*/, int /*attempt*/, int error) override {
        errors.push_back(error);
    }
    void datagramReceived(const QByteArray& /*datagram*/, Verdict verdict) override {
        verdicts.push_back(verdict);
    }
    void tryTimedOut(const QByteArray& /*frame*/) override { ++timeouts; }
    void requestSettled(const Settled& request) override { settled.push_back(request); }

    std::vector<int> attempts;
    std::vector<int> errors; ///< of frames that were not sent
    std::vector<Verdict> verdicts;
    std::vector<Settled> settled;
    int timeouts = 0;
};

class Deaf : public ChangeListener {
public:
    void valueChanged(const QString& /*reg*/, int /*address*/) override {}
};

/// A reply to a frame: source and destination changed round, the end code, then data in hex.
inline QByteArray replyTo(const QByteArray& frame, int endCode, const char* data = "") {
    QByteArray reply = QByteArray::fromHex("C00002");
    reply += frame.mid(6, 3) + frame.mid(3, 3) + frame.mid(9, 3);
    reply.append(static_cast<char>(endCode >> 8));
    reply.append(static_cast<char>(endCode & 0xFF));
    return reply + QByteArray::fromHex(data);
}

inline QByteArray withSid(QByteArray bytes, int offset) {
    bytes[9] = static_cast<char>(bytes.at(9) + offset);
    return bytes;
}

/// An exchange with the loaded driver on one side and a recorded link on the other.
class HostExchange : public testing::Test {
protected:
    void SetUp() override {
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

} // namespace exchange_fixture

#endif
