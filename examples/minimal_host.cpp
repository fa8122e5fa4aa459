// A complete small host: polls a few words and bits of one PLC and prints what changes (a first
// value of 0 is no change; try it on velkor-plc --process tank). minimal_host LIBRARY ADDRESS PORT
// Its socket is in udp_link.cpp, so QtCore is all that it needs of Qt, from 4.8 on.

#include "udp_link.h"

#include <velkor/host_interface.h>

#include <QtCore/QByteArray>
#include <QtCore/QLibrary>
#include <QtCore/QList>
#include <QtCore/QMutex>
#include <QtCore/QPair>
#include <QtCore/QString>
#include <QtCore/QTextStream>
#include <QtCore/QVector>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

namespace {

const int TAG = 1, STATION = 1; // of every data callback; one station for one PLC
const int REPLY_MS = 500, SCAN_MS = 200;

// No range may lie inside another one: it would cut the other's block back.
const struct {
    const char* reg;
    int address, length; // words, or bits: word * 16 + bit
} POLLED[] = {{"CIO_bit", 100 * 16, 4}, {"DM", 0, 2}, {"DM", 11, 3}};

struct Symbol {
    QLibrary& library;
    const char* name;
    template <typename Function> operator Function() const {
        return reinterpret_cast<Function>(library.resolve(name));
    }
};

struct Driver {
    explicit Driver(const QString& path) : library(path) {}
    Symbol find(const char* name) { return {library, name}; }

    QLibrary library; // stays loaded
    decltype(&intf_initProperty) initProperty = find("intf_initProperty");
    decltype(&intf_setAddrValueChangeCallBack) setCallback =
        find("intf_setAddrValueChangeCallBack");
    decltype(&intf_SetDriverPropertyPage) setNodes = find("intf_SetDriverPropertyPage");
    decltype(&intf_addrMerge) addrMerge = find("intf_addrMerge");
    decltype(&intf_getSendFrame) getSendFrame = find("intf_getSendFrame");
    decltype(&intf_dealRcvFrame) dealRcvFrame = find("intf_dealRcvFrame");
    decltype(&intf_getData) getData = find("intf_getData");
};

QVector<QPair<QString, int>> changes; // the callback carries no pointer to its host

int valueChanged(int tag, int station, QString reg, int address) {
    if (tag == TAG && station == STATION) {
        changes.append(qMakePair(reg, address)); // the driver still gives the old value: only note
    }
    return 0;
}

class Host {
public:
    Host(const Driver& driver, const UdpLink& link) : m_driver(driver), m_link(link) {
        int out = 0;
        m_driver.setCallback(valueChanged);
        // tag, write disable (0: writes are sent), unused, tries of a frame, words per frame
        m_driver.initProperty(m_hostBlock.data(), m_statusBlock.data(), nullptr, &out,
                              "1#0#0#3#256", &m_mutex);
        m_driver.setNodes(
            QString::fromLatin1("6,0,%1,0,0,%2,0").arg(m_link.plcNode()).arg(m_link.ownNode()));
        QList<KEY_ADDRESS> keys;
        for (const auto& range : POLLED) {
            keys.append(KEY_ADDRESS());
            keys.last().station = STATION;
            keys.last().regName = QString::fromLatin1(range.reg);
            keys.last().addr = range.address;
            keys.last().len = range.length;
        }
        m_blocks = m_driver.addrMerge(keys);
    }

    // Reads every block once. A frame that is not answered is the next one to be sent, until the
    // driver gives its request up.
    void scan() {
        for (int settled = 0; settled < m_blocks;) {
            if (m_driver.getSendFrame(m_frame) != 1) {
                return;
            }
            m_link.send(m_frame.frame, m_frame.sendLen);
            settled += deal(reply()) == REPLY_REJECTED ? 0 : 1;
        }
    }

private:
    // The reply to the frame that was sent, or an empty one when none has come in time. A datagram
    // that is no reply to it does not end the wait.
    QByteArray reply() const {
        const Deadline deadline(REPLY_MS);
        char buffer[2048];
        for (;;) {
            const int length = m_link.receive(buffer, sizeof buffer, deadline);
            if (length < 0) {
                return QByteArray();
            }
            if (length >= 10 && static_cast<unsigned char>(buffer[9]) == m_frame.frame[9]) {
                return QByteArray(buffer, length);
            }
        }
    }

    unsigned int deal(QByteArray reply) {
        QString message;
        const unsigned int result = m_driver.dealRcvFrame(&reply, &message);
        QTextStream out(stdout);
        if (result == REPLY_REQUEST_FAILED) {
            out << "failed: " << message << "\n";
        }
        for (const auto& change : changes) {
            unsigned char value[2] = {}; // a word, low byte first, or one bit
            m_driver.getData(STATION, change.first, change.second, 1, value);
            out << change.first << " " << change.second << " = " << value[0] + 256 * value[1]
                << "\n";
        }
        changes.clear();
        return result;
    }

    const Driver& m_driver;
    const UdpLink& m_link;
    FRAME_PRO m_frame = FRAME_PRO();
    int m_blocks = 0;
    std::vector<unsigned char> m_hostBlock = std::vector<unsigned char>(60117);
    std::vector<unsigned char> m_statusBlock = std::vector<unsigned char>(122024);
    QMutex m_mutex;
};

} // namespace

int main(int argc, char** argv) {
    const Driver driver(QString::fromLocal8Bit(argc > 1 ? argv[1] : ""));
    if (argc != 4 || driver.getData == nullptr) {
        QTextStream(stderr) << "minimal_host LIBRARY ADDRESS PORT: " << driver.library.errorString()
                            << "\n";
        return argc != 4 ? 2 : 1;
    }
    UdpLink link;
    if (!link.open(argv[2], static_cast<unsigned short>(std::atoi(argv[3])))) {
        QTextStream(stderr) << "no way to " << argv[2] << ": " << std::strerror(errno) << "\n";
        return 1;
    }
    Host host(driver, link);
    for (;;) {
        host.scan();
        std::this_thread::sleep_for(std::chrono::milliseconds(SCAN_MS));
    }
}
