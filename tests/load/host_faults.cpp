// Writes over a bad network, and whether each outcome that the line told agrees with what the
// simulated PLC has executed and holds. Meanwhile two pages of tags are polled in turn, and no
// value may be shown that the PLC cannot have had.

#include "load/random_writes.h"
#include "load/write_ledger.h"
#include "support/plc_process.h"

#include "plc/image.h"

#include <velkor/host/line.h>

#include <QtCore/QCommandLineParser>
#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QEventLoop>
#include <QtCore/QTemporaryDir>
#include <QtCore/QTextStream>
#include <QtCore/QTimer>
#include <QtNetwork/QUdpSocket>

#include <memory>

using namespace velkor_host;

namespace {

const int PATIENCE_MS = 120000; // for the last outcomes
const int WORDS_PER_FRAME = 32;
const int MOST_WAITING = 20;
const int PAGE_MS = 700;
const int FAULTS_SHOWN = 20;

struct Settings {
    int writes = 200;
    int seconds = 8;
    int seed = 1;
    QString faults;
    bool switchMode = false; ///< the PLC takes writes in MONITOR only and is put into RUN each time
    QString plc;
    QString driver;

    bool has(const char* verb) const { return faults.contains(QLatin1String(verb)); }
};

QTextStream& out() {
    static QTextStream stream(stdout);
    return stream;
}

class FaultRun {
public:
    explicit FaultRun(const Settings& settings)
        : m_settings(settings), m_random(static_cast<unsigned>(settings.seed)) {}

    /// The exit code.
    int run();

private:
    QString start();
    LineSettings lineSettings() const;
    void listen();
    void writeOne();
    void putIntoRun();
    void readBack(const RandomWrite& write);
    void nextPage();
    void checkShown();
    bool writeAll();
    bool waitUntilShown();
    void checkPlc();
    int report();
    void complain(const QString& fault) { m_faults.append(fault); }

    const Settings m_settings;
    RandomWrites m_random;
    QTemporaryDir m_folder;
    PlcProcess m_plc;
    std::unique_ptr<Line> m_line;
    QUdpSocket m_operator; ///< who puts the PLC into RUN
    WriteLedger m_ledger;
    struct Reading {
        QString reg;
        int address = 0;
        int after = 0; ///< writes that were handed over before it
    };
    QHash<quint64, Reading> m_readings;
    QStringList m_faults;
    int m_page = 0;
    qint64 m_lastSettled = 0; ///< when an outcome was told
    qint64 m_requests = 0;
    qint64 m_shown = 0; ///< values held against the ledger
    int m_excused = 0;  ///< writes told as refused after damaged bytes, and executed
    int m_readsGood = 0;
    int m_readsFailed = 0;
};

LineSettings FaultRun::lineSettings() const {
    LineSettings settings;
    settings.plc = {QHostAddress(QHostAddress::LocalHost), m_plc.port()};
    settings.wordsPerFrame = WORDS_PER_FRAME;
    // Without faults every try is to be answered, however busy the machine is: what is executed
    // twice then was written twice.
    settings.timeoutMs = m_settings.faults.isEmpty() ? 5000 : 60;
    settings.scanMs = 250;
    settings.allowModeChange = m_settings.switchMode;
    settings.driverFile = m_settings.driver;
    return settings;
}

QString FaultRun::start() {
    QFile image(m_folder.filePath(QStringLiteral("image.txt"))); // an empty one: all words are 0
    if (!image.open(QIODevice::WriteOnly)) {
        return QStringLiteral("cannot write %1: %2").arg(image.fileName(), image.errorString());
    }
    QStringList arguments{QStringLiteral("--trace"), QStringLiteral("--image"), image.fileName()};
    if (!m_settings.faults.isEmpty()) {
        arguments << QStringLiteral("--faults") << m_settings.faults << QStringLiteral("--seed")
                  << QString::number(m_settings.seed);
    }
    if (m_settings.switchMode) {
        arguments << QStringLiteral("--writes-in") << QStringLiteral("monitor");
    }
    QString fault = m_plc.start(m_settings.plc, arguments);
    if (fault.isEmpty()) {
        m_line = std::make_unique<Line>(lineSettings());
        fault = m_line->open();
    }
    if (fault.isEmpty()) {
        fault = m_line->setTags(RandomWrites::page(m_page));
    }
    return fault;
}

void FaultRun::listen() {
    m_line->onWrite = [this](const WriteOutcome& outcome) {
        m_ledger.settled(outcome);
        m_lastSettled = m_line->now();
    };
    m_line->onRead = [this](const ReadOutcome& outcome) {
        const Reading asked = m_readings.take(outcome.id);
        m_readsGood += outcome.ok ? 1 : 0;
        m_readsFailed += outcome.ok ? 0 : 1;
        // Order is kept: what was handed over before it has settled, and nothing else has.
        const bool comparable = m_ledger.settledCount() == asked.after &&
                                !m_settings.has("-request") && !m_settings.has("corrupt");
        for (int item = 0; comparable && item < outcome.items.size(); ++item) {
            if (!m_ledger.mayHold(asked.reg, asked.address + item, outcome.items.at(item))) {
                complain(QStringLiteral("read %1 from %2 %3, which no outcome explains")
                             .arg(outcome.items.at(item))
                             .arg(asked.reg)
                             .arg(asked.address + item));
            }
        }
    };
    m_line->onRequest = [this](const RequestEnd&) { ++m_requests; };
    m_line->onTags = [this](const QVector<int>&) { checkShown(); };
    m_line->onScan = [this] { checkShown(); };
}

/// An operator at the PLC. Only without faults, which would meet his command as well.
void FaultRun::putIntoRun() {
    const QByteArray frame = QByteArray::fromHex("80000200010000630001"
                                                 "0401FFFF04");
    m_operator.writeDatagram(frame, QHostAddress(QHostAddress::LocalHost), m_plc.port());
    if (!m_operator.waitForReadyRead(PATIENCE_MS)) {
        complain(QStringLiteral("the PLC was not put into RUN"));
    }
    while (m_operator.hasPendingDatagrams()) {
        m_operator.readDatagram(nullptr, 0);
    }
}

void FaultRun::writeOne() {
    if (m_settings.switchMode) {
        putIntoRun();
    }
    const RandomWrite write = m_random.next();
    QString fault;
    const quint64 id = m_line->write(write.reg, write.address, write.items, &fault);
    if (id == 0) {
        complain(QStringLiteral("not queued: ") + fault);
        return;
    }
    m_ledger.add(id, write.reg, write.address, write.items);
    if (m_random.below(8) == 0) {
        readBack(write);
    }
}

void FaultRun::readBack(const RandomWrite& write) {
    const quint64 id = m_line->read(write.reg, write.address, static_cast<int>(write.items.size()));
    Reading reading;
    reading.reg = write.reg;
    reading.address = write.address;
    reading.after = m_ledger.size();
    m_readings.insert(id, reading);
}

void FaultRun::nextPage() {
    m_page = 1 - m_page;
    const QString fault = m_line->setTags(RandomWrites::page(m_page));
    if (!fault.isEmpty()) {
        complain(fault);
    }
}

/// What a tag shows as its value: always one that was asked for, and, when it was read after all
/// that has been settled, one that the outcomes allow.
void FaultRun::checkShown() {
    if (m_settings.has("corrupt")) {
        return; // a byte of a value that is another: no client can know
    }
    for (int index = 0; index < m_line->tags().size(); ++index) {
        const Tag& tag = m_line->tags().at(index);
        const TagStatus& status = m_line->status(index);
        const std::optional<Items> value = status.value();
        const bool settled = !status.pending && status.readAt > m_lastSettled &&
                             m_ledger.settledCount() == m_ledger.size() &&
                             !m_settings.has("-request");
        for (int item = 0; value && item < value->size(); ++item) {
            const quint16 shown = value->at(item);
            const int address = tag.address + item;
            ++m_shown;
            if (!m_ledger.mayEverHold(tag.reg, address, shown) ||
                (settled && !m_ledger.mayHold(tag.reg, address, shown))) {
                complain(QStringLiteral("%1 %2 is shown as %3, which it cannot be")
                             .arg(tag.reg)
                             .arg(address)
                             .arg(shown));
            }
        }
    }
}

/// False when not all outcomes came.
bool FaultRun::writeAll() {
    QEventLoop loop;
    QElapsedTimer time;
    time.start();
    QTimer writer;
    QObject::connect(&writer, &QTimer::timeout, &loop, [&] {
        const double due =
            double(time.elapsed()) * m_settings.writes / (m_settings.seconds * 1000.);
        // One at a time where each is to meet the mode again.
        const int waiting = m_settings.switchMode ? 1 : MOST_WAITING;
        while (m_ledger.size() < m_settings.writes && m_ledger.size() < due &&
               m_line->pending() < waiting) {
            writeOne();
        }
        if (m_ledger.size() == m_settings.writes && m_line->pending() == 0 &&
            m_ledger.settledCount() == m_ledger.size()) {
            loop.exit(1);
        }
    });
    writer.start(5);
    QTimer pages;
    QObject::connect(&pages, &QTimer::timeout, &loop, [this] { nextPage(); });
    pages.start(PAGE_MS);
    QTimer::singleShot(m_settings.seconds * 1000 + PATIENCE_MS, &loop, [&] { loop.exit(0); });
    return loop.exec() == 1;
}

/// Until each tag of the page has been read after the last outcome, so that checkShown() has held
/// it against what the outcomes allow. One tag at a time may be stale: the network is as bad.
bool FaultRun::waitUntilShown() {
    QEventLoop loop;
    QVector<bool> seen(m_line->tags().size(), false);
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        for (int index = 0; index < seen.size(); ++index) {
            const TagStatus& status = m_line->status(index);
            seen[index] = seen.at(index) ||
                          (status.state == TagState::Fresh && status.readAt > m_lastSettled);
        }
        if (!seen.contains(false)) {
            loop.exit(1);
        }
    });
    poll.start(20);
    QTimer::singleShot(PATIENCE_MS, &loop, [&] { loop.exit(0); });
    return loop.exec() == 1;
}

/// Ends the PLC, and holds the outcomes against what it has done and what it holds.
void FaultRun::checkPlc() {
    if (!m_plc.end()) {
        complain(QStringLiteral("the PLC did not end in order"));
    }
    WriteLedger::Circumstances circumstances;
    circumstances.exactlyOnce = m_settings.faults.isEmpty();
    circumstances.inOrder = !m_settings.has("-request");
    m_faults += m_ledger.untold();
    m_faults += m_ledger.disagreements(tracedWrites(m_plc.output(), m_settings.switchMode),
                                       circumstances, &m_excused);
    if (m_settings.has("-request") || m_settings.has("corrupt")) {
        return; // an old command may have arrived after newer ones, a taken one be told as refused
    }
    QFile file(m_folder.filePath(QStringLiteral("image.txt")));
    plc::Memory memory;
    if (!file.open(QIODevice::ReadOnly) ||
        plc::readImage(file.readAll().toStdString(), memory).has_value()) {
        complain(QStringLiteral("the PLC's image cannot be read"));
        return;
    }
    m_faults += m_ledger.memoryDisagreements([&memory](const QString& reg, int address) {
        const bool bit = reg.endsWith(QLatin1String("_bit"));
        const plc::Area area = *plc::areaNamed(reg.left(bit ? reg.size() - 4 : -1).toStdString());
        return bit ? quint16(memory.bit(area, quint32(address / 16), unsigned(address % 16)))
                   : memory.word(area, quint32(address));
    });
}

int FaultRun::report() {
    int results[4] = {0, 0, 0, 0};
    int switched = 0;
    for (const LedgerEntry& entry : m_ledger.entries()) {
        ++results[static_cast<int>(entry.outcome.result)];
        switched += entry.outcome.modeSwitched ? 1 : 0;
    }
    const LinkStatistics link = m_line->statistics();
    out() << "faults            " << (m_settings.faults.isEmpty() ? "none" : m_settings.faults)
          << "\nwrites            " << m_ledger.size() << ": " << results[0] << " taken, "
          << results[1] << " refused, " << results[2] << " unknown, " << results[3] << " not sent"
          << "\nmode switched for " << switched << "\nread back         " << m_readsGood
          << " well, " << m_readsFailed << " not answered"
          << "\nvalues compared   " << m_shown << "\nrequests          " << m_requests
          << ", tries again " << link.retries() << ", without reply in time " << link.timeouts()
          << ", datagrams dropped " << link.dropped() << '\n';
    const QList<QByteArray> lines = m_plc.output().trimmed().split('\n');
    out() << "PLC " << lines.last() << '\n';
    for (const QString& fault : m_faults.mid(0, FAULTS_SHOWN)) {
        out() << "WRONG: " << fault << '\n';
    }
    if (m_excused > 0) {
        out() << m_excused << " told as refused, because damaged bytes were, and executed\n";
    }
    if (!m_faults.isEmpty()) {
        QFile trace(m_folder.filePath(QStringLiteral("trace.txt")));
        if (trace.open(QIODevice::WriteOnly) && trace.write(m_plc.output()) > 0) {
            m_folder.setAutoRemove(false);
            out() << "the PLC's trace is in " << trace.fileName() << '\n';
        }
        out() << m_faults.size() << " disagreements\n";
        return 1;
    }
    out() << "every outcome agrees with the PLC\n";
    return 0;
}

int FaultRun::run() {
    QString fault = start();
    if (!fault.isEmpty()) {
        QTextStream(stderr) << "host_faults: " << fault << '\n';
        return 1;
    }
    listen();
    if (!writeAll()) {
        complain(QStringLiteral("not every outcome came"));
    } else if (!waitUntilShown()) {
        complain(QStringLiteral("not every tag became fresh again"));
    }
    m_line->close();
    checkPlc();
    const int code = report();
    out().flush();
    return code;
}

/// False when an option is wrong.
bool parse(const QCoreApplication& application, Settings* settings) {
    QCommandLineParser parser;
    const auto number = [&](const char* name, int highest, int* value) {
        bool isNumber = true;
        if (parser.isSet(QLatin1String(name))) {
            *value = parser.value(QLatin1String(name)).toInt(&isNumber);
        }
        if (!isNumber || *value < 1 || *value > highest) {
            QTextStream(stderr) << "host_faults: --" << name << ": right is a number from 1 to "
                                << highest << '\n';
            return false;
        }
        return true;
    };
    parser.setApplicationDescription(QStringLiteral(
        "Writes over a bad network and holds each outcome against the simulated PLC."));
    parser.addHelpOption();
    for (const char* name : {"writes", "seconds", "seed", "faults", "plc", "driver"}) {
        parser.addOption({QLatin1String(name), QString(), QStringLiteral("VALUE")});
    }
    parser.addOption({QStringLiteral("switch-mode"), QString()});
    parser.process(application);
    settings->plc = parser.value(QStringLiteral("plc"));
    settings->driver = parser.value(QStringLiteral("driver"));
    settings->faults = parser.value(QStringLiteral("faults"));
    settings->switchMode = parser.isSet(QStringLiteral("switch-mode"));
    if (settings->plc.isEmpty() || settings->driver.isEmpty()) {
        QTextStream(stderr) << "host_faults: --plc and --driver name velkor-plc and the driver\n";
        return false;
    }
    if (settings->switchMode && !settings->faults.isEmpty()) {
        QTextStream(stderr) << "host_faults: --switch-mode goes without --faults\n";
        return false;
    }
    return number("writes", 60000, &settings->writes) &&
           number("seconds", 7200, &settings->seconds) && number("seed", 1000000, &settings->seed);
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    Settings settings;
    return parse(application, &settings) ? FaultRun(settings).run() : 2;
}
