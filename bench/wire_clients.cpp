#include "wire_clients.h"

#include "poll_keys.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QEventLoop>

#include <chrono>
#include <cstdio>
#include <cstdlib>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

const int SERVICE_ID = 9;
const int REPLY_HEAD = 14;
const int CACHED_WORDS = 1000;
const unsigned char LAST_SERVICE_ID = 254;
const int READS_WAITING = 20;

class Bare : public WireClient {
public:
    Bare(std::uint16_t port, int words) : m_socket(loopbackSocket(port)), m_words(words) {}
    ~Bare() override { ::close(m_socket); }

    long exchangesIn(std::int64_t milliseconds) override {
        unsigned char request[] = {0x80,
                                   0,
                                   2,
                                   0,
                                   1,
                                   0,
                                   0,
                                   1,
                                   0,
                                   0,
                                   1,
                                   1,
                                   0x82,
                                   0,
                                   0,
                                   0,
                                   static_cast<unsigned char>(m_words >> 8),
                                   static_cast<unsigned char>(m_words)};
        unsigned char reply[2048];
        const std::int64_t end = nanoseconds() + milliseconds * 1000000;
        long exchanges = 0;
        while (nanoseconds() < end) {
            request[SERVICE_ID] = request[SERVICE_ID] == LAST_SERVICE_ID
                                      ? 0
                                      : static_cast<unsigned char>(request[SERVICE_ID] + 1);
            ::send(m_socket, request, sizeof request, 0);
            if (::recv(m_socket, reply, sizeof reply, 0) != REPLY_HEAD + 2 * m_words) {
                return -1;
            }
            ++exchanges;
        }
        return exchanges;
    }

private:
    int m_socket;
    int m_words;
};

class Loop : public WireClient {
public:
    Loop(const DriverEntries& entries, std::uint16_t port, int words)
        : m_driver(entries), m_socket(loopbackSocket(port)) {
        bindDriver(m_driver, m_memory, words);
        QList<KEY_ADDRESS> keys = wordKeys(CACHED_WORDS / words * words, false);
        m_driver.addrMerge(keys);
        std::vector<unsigned char> values(2 * CACHED_WORDS);
        m_driver.getData(1, QLatin1String("HR"), 0, CACHED_WORDS % words, values.data());
    }
    ~Loop() override { ::close(m_socket); }

    long exchangesIn(std::int64_t milliseconds) override {
        char bytes[2048];
        QString message;
        const std::int64_t end = nanoseconds() + milliseconds * 1000000;
        long exchanges = 0;
        while (nanoseconds() < end) {
            if (m_driver.getSendFrame(m_frame) != 1) {
                return -1;
            }
            ::send(m_socket, m_frame.frame, static_cast<size_t>(m_frame.sendLen), 0);
            const ssize_t length = ::recv(m_socket, bytes, sizeof bytes, 0);
            if (length < 0) {
                return -1;
            }
            QByteArray reply = QByteArray::fromRawData(bytes, static_cast<int>(length));
            if (m_driver.dealRcvFrame(&reply, &message) != REPLY_ACCEPTED) {
                return -1;
            }
            ++exchanges;
        }
        return exchanges;
    }

private:
    const DriverEntries& m_driver;
    int m_socket;
    LentMemory m_memory;
    FRAME_PRO m_frame = FRAME_PRO();
};

class LineReads : public WireClient {
public:
    LineReads(const std::string& driverFile, std::uint16_t port, int words)
        : m_line(settingsFor(driverFile, port)), m_words(words) {
        m_line.onRead = [this](const velkor_host::ReadOutcome& outcome) { count(outcome); };
        const QString fault = m_line.open();
        if (!fault.isEmpty()) {
            std::fprintf(stderr, "wire_rates: %s\n", qPrintable(fault));
            std::exit(1);
        }
    }

    long exchangesIn(std::int64_t milliseconds) override {
        m_exchanges = 0;
        m_failed = false;
        m_end = nanoseconds() + milliseconds * 1000000;
        for (int i = 0; i < READS_WAITING; ++i) {
            m_line.read(QStringLiteral("DM"), 0, m_words);
        }
        while (m_line.pending() > 0) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
        return m_failed ? -1 : m_exchanges;
    }

private:
    static velkor_host::LineSettings settingsFor(const std::string& driverFile,
                                                 std::uint16_t port) {
        velkor_host::LineSettings settings;
        settings.plc = {QHostAddress(QHostAddress::LocalHost), port};
        settings.driverFile = QString::fromStdString(driverFile);
        return settings;
    }

    void count(const velkor_host::ReadOutcome& outcome) {
        m_failed = m_failed || !outcome.ok;
        if (nanoseconds() < m_end) {
            ++m_exchanges; // those that still wait at the end are no longer counted
            m_line.read(QStringLiteral("DM"), 0, m_words);
        }
    }

    velkor_host::Line m_line;
    int m_words;
    long m_exchanges = 0;
    bool m_failed = false;
    std::int64_t m_end = 0;
};

} // namespace

std::int64_t nanoseconds() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

int loopbackSocket(std::uint16_t port) {
    const int made = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const auto* any = reinterpret_cast<const sockaddr*>(&address);
    bool usable = made >= 0 && ::bind(made, any, sizeof address) == 0;
    if (port != 0) {
        const timeval patience = {1, 0};
        address.sin_port = htons(port);
        usable = usable && ::connect(made, any, sizeof address) == 0 &&
                 setsockopt(made, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience) == 0;
    }
    if (!usable) {
        std::perror("wire_rates: a loopback socket");
        std::exit(1);
    }
    return made;
}

std::unique_ptr<WireClient> bareClient(std::uint16_t port, int words) {
    return std::make_unique<Bare>(port, words);
}

std::unique_ptr<WireClient> loopClient(const DriverEntries& entries, std::uint16_t port,
                                       int words) {
    return std::make_unique<Loop>(entries, port, words);
}

std::unique_ptr<WireClient> lineClient(const std::string& driverFile, std::uint16_t port,
                                       int words) {
    return std::make_unique<LineReads>(driverFile, port, words);
}
