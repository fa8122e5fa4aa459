// A complete small host: polls a few words and bits of one PLC and prints what changes (a first
// value of 0 is no change; try it on velkor-plc --process tank). minimal_host LIBRARY HOST PORT

#include <velkor/host_interface.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QLibrary>
#include <QtCore/QTextStream>
#include <QtCore/QTimer>
#include <QtNetwork/QUdpSocket>

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
    QFunctionPointer address;
    template <typename Function> operator Function() const {
        return reinterpret_cast<Function>(address);
    }
};

struct Driver {
    explicit Driver(const QString& path) : library(path) {}
    Symbol find(const char* name) { return {library.resolve(name)}; }

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
        changes.append({reg, address}); // the driver still gives the old value: only note it
    }
    return 0;
}

class Host {
public:
    Host(const Driver& driver, const QHostAddress& plc, quint16 port) : m_driver(driver) {
        m_socket.bind(QHostAddress(QHostAddress::AnyIPv4), 0);
        m_socket.connectToHost(plc, port); // only the PLC's datagrams arrive
        int out = 0;
        m_driver.setCallback(valueChanged);
        // tag, write disable (0: writes are sent), unused, tries of a frame, words per frame
        m_driver.initProperty(m_hostBlock.data(), m_statusBlock.data(), nullptr, &out,
                              "1#0#0#3#256", &m_mutex);
        const unsigned own = m_socket.localAddress().toIPv4Address() & 0xFFU; // the last octet
        const unsigned node = plc.toIPv4Address() & 0xFFU;
        m_driver.setNodes(QStringLiteral("6,0,%1,0,0,%2,0").arg(node).arg(own));
        QList<KEY_ADDRESS> keys;
        for (const auto& range : POLLED) {
            keys.append(KEY_ADDRESS());
            keys.last().station = STATION;
            keys.last().regName = QString::fromLatin1(range.reg);
            keys.last().addr = range.address;
            keys.last().len = range.length;
        }
        m_blocks = m_driver.addrMerge(keys);
        m_timer.setSingleShot(true);
        QObject::connect(&m_timer, &QTimer::timeout,
                         [this] { m_inFlight ? deal(QByteArray()) : send(); });
        QObject::connect(&m_socket, &QUdpSocket::readyRead, [this] { receive(); });
        send();
    }

private:
    void send() {
        if (m_driver.getSendFrame(m_frame) == 1) {
            m_socket.write(reinterpret_cast<const char*>(m_frame.frame), m_frame.sendLen);
            m_inFlight = true;
            m_timer.start(REPLY_MS);
        }
    }

    void receive() {
        char buffer[2048];
        for (qint64 length = 0; (length = m_socket.readDatagram(buffer, sizeof buffer)) >= 0;) {
            const bool mine = length >= 10 && uchar(buffer[9]) == m_frame.frame[9];
            if (mine && m_inFlight) { // anything else does not end the wait
                deal(QByteArray(buffer, static_cast<int>(length)));
            }
        }
    }

    // Hands the driver a reply, or an empty one when none has come in time.
    void deal(QByteArray reply) {
        m_inFlight = false;
        QString message;
        const unsigned int result = m_driver.dealRcvFrame(&reply, &message);
        QTextStream out(stdout);
        if (result == REPLY_REQUEST_FAILED) {
            out << "failed: " << message << "\n";
        }
        for (const auto& [reg, address] : changes) {
            unsigned char value[2] = {}; // a word, low byte first, or one bit
            m_driver.getData(STATION, reg, address, 1, value);
            out << reg << " " << address << " = " << value[0] + 256 * value[1] << "\n";
        }
        changes.clear();
        m_settled += result == REPLY_REJECTED ? 0 : 1;
        if (result != REPLY_REJECTED && m_settled % m_blocks == 0) { // the scan is complete
            m_timer.start(SCAN_MS);
        } else {
            send(); // the next block, or the same frame again
        }
    }

    const Driver& m_driver;
    QUdpSocket m_socket;
    QTimer m_timer; // the reply's deadline or, with no frame in flight, the next scan
    bool m_inFlight = false;
    FRAME_PRO m_frame = FRAME_PRO();
    int m_blocks = 0, m_settled = 0;
    std::vector<unsigned char> m_hostBlock = std::vector<unsigned char>(60117);
    std::vector<unsigned char> m_statusBlock = std::vector<unsigned char>(122024);
    QMutex m_mutex;
};

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const Driver driver(arguments.value(1));
    if (arguments.size() < 4 || driver.getData == nullptr) {
        QTextStream(stderr) << "minimal_host LIBRARY HOST PORT: " << driver.library.errorString();
        return arguments.size() < 4 ? 2 : 1;
    }
    const Host host(driver, QHostAddress(arguments.at(2)), arguments.at(3).toUShort());
    return QCoreApplication::exec();
}
