// Many lines in one process against as many simulated PLCs: is anything stale, and what does a
// line cost? Prints a table; exit code 1 when a tag was not fresh, a write was not taken, or the
// load was not there: too few scans, or too old a value.

#include "load/process_cost.h"
#include "support/plc_process.h"

#include <velkor/host/line.h>

#include <QtCore/QCommandLineParser>
#include <QtCore/QCoreApplication>
#include <QtCore/QEventLoop>
#include <QtCore/QTextStream>
#include <QtCore/QTimer>

#include <algorithm>
#include <memory>
#include <vector>

#include <sys/resource.h>
#include <unistd.h>

using namespace velkor_host;

namespace {

const int PATIENCE_MS = 60000;
const int WATCH_MS = 200;

struct Settings {
    int lines = 100;
    int scanMs = 200;
    int seconds = 30;
    int leastRate = 90; ///< percent of the scans asked for, of the slowest line
    int mostAgeMs = 0;  ///< of the oldest value; 0: three scans and a time-out
    QString plc;
    QString driver;
};

QTextStream& out() {
    static QTextStream stream(stdout);
    return stream;
}

Tag tag(const char* reg, int address, ValueType type, int count = 1) {
    Tag made;
    made.name = QStringLiteral("%1 %2").arg(QLatin1String(reg)).arg(address);
    made.reg = QLatin1String(reg);
    made.address = address;
    made.type = type;
    made.count = count;
    return made;
}

/// A hundred tags of all kinds, as a panel has them: some side by side, some scattered.
QVector<Tag> hundredTags() {
    QVector<Tag> tags;
    for (int index = 0; index < 40; ++index) {
        tags.append(tag("DM", 100 + index, index % 2 == 0 ? ValueType::Uint16 : ValueType::Int16));
    }
    for (int index = 0; index < 15; ++index) {
        tags.append(tag("DM", 1000 + 100 * index, ValueType::Uint16));
    }
    for (int index = 0; index < 10; ++index) {
        tags.append(tag("HR", 2 * index, ValueType::Float32));
        tags.append(tag("DM", 200 + 2 * index, ValueType::Uint32));
    }
    for (int index = 0; index < 20; ++index) {
        tags.append(tag("CIO_bit", 16 * 10 + index, ValueType::Bool));
    }
    for (int index = 0; index < 5; ++index) {
        tags.append(tag("T", index, ValueType::Bcd));
    }
    return tags;
}

/// One line and what was seen of it.
struct Watched {
    explicit Watched(const LineSettings& settings) : line(settings) {}

    Line line;
    qint64 scans = 0;
    qint64 requests = 0;
    qint64 failed = 0;
    qint64 notFresh = 0; ///< tags that were told to be anything else
    qint64 oldest = 0;   ///< microseconds
    qint64 writes = 0;
    qint64 notTaken = 0;
};

class Load {
public:
    explicit Load(const Settings& settings) : m_settings(settings) {}

    /// The exit code.
    int run();

private:
    QString startPlcs();
    QString openLines();
    bool waitUntilFresh();
    void listen(Watched* watched);
    void beginToCount();
    void look();
    void measure();
    int report();
    QStringList wrong(const Watched& all, double scanRate) const;
    double plcSeconds() const;

    Settings m_settings;
    std::vector<std::unique_ptr<PlcProcess>> m_plcs;
    std::vector<std::unique_ptr<Watched>> m_lines;
    bool m_counting = false;
    quint16 m_written = 0;
    ProcessCost m_empty;   ///< before the first line was made
    ProcessCost m_settled; ///< when every tag was fresh
    ProcessCost m_end;
    double m_plcsBegun = 0;
    double m_plcsEnded = 0;
};

QString Load::startPlcs() {
    for (int index = 0; index < m_settings.lines; ++index) {
        m_plcs.push_back(std::make_unique<PlcProcess>());
        QString fault = m_plcs.back()->start(m_settings.plc, {});
        if (!fault.isEmpty()) {
            return fault;
        }
        m_plcs.back()->stopListening(); // its pipe would be one more file to wait for
    }
    return QString();
}

QString Load::openLines() {
    const QVector<Tag> tags = hundredTags();
    for (const auto& plc : m_plcs) {
        LineSettings settings;
        settings.plc = {QHostAddress(QHostAddress::LocalHost), plc->port()};
        settings.scanMs = m_settings.scanMs;
        settings.driverFile = m_settings.driver;
        m_lines.push_back(std::make_unique<Watched>(settings));
        Watched* watched = m_lines.back().get();
        QString fault = watched->line.open();
        if (fault.isEmpty()) {
            fault = watched->line.setTags(tags);
        }
        if (!fault.isEmpty()) {
            return fault;
        }
        listen(watched);
    }
    return QString();
}

void Load::listen(Watched* watched) {
    watched->line.onTags = [this, watched](const QVector<int>& changed) {
        for (const int index : changed) {
            const bool fresh = watched->line.status(index).state == TagState::Fresh;
            watched->notFresh += m_counting && !fresh ? 1 : 0;
        }
    };
    watched->line.onScan = [watched] { ++watched->scans; };
    watched->line.onRequest = [watched](const RequestEnd& end) {
        ++watched->requests;
        watched->failed += end.ok ? 0 : 1;
    };
    watched->line.onWrite = [watched](const WriteOutcome& outcome) {
        ++watched->writes;
        watched->notTaken += outcome.result == WriteResult::Taken ? 0 : 1;
    };
}

bool Load::waitUntilFresh() {
    QEventLoop loop;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        if (std::all_of(m_lines.begin(), m_lines.end(),
                        [](const auto& watched) { return watched->line.allFresh(); })) {
            loop.exit(1);
        }
    });
    poll.start(50);
    QTimer::singleShot(PATIENCE_MS, &loop, [&] { loop.exit(0); });
    return loop.exec() == 1;
}

double Load::plcSeconds() const {
    double seconds = 0;
    for (const auto& plc : m_plcs) {
        seconds += plc->cpuSeconds();
    }
    return seconds;
}

void Load::beginToCount() {
    for (const auto& watched : m_lines) {
        watched->scans = watched->requests = watched->failed = 0;
    }
    m_plcsBegun = plcSeconds();
    m_settled = ProcessCost::now();
    m_counting = true;
}

/// How old the oldest value is, whatever the line says of it.
void Load::look() {
    for (const auto& watched : m_lines) {
        const qint64 now = watched->line.now();
        for (int index = 0; index < watched->line.tags().size(); ++index) {
            const TagStatus& status = watched->line.status(index);
            watched->oldest = std::max(watched->oldest, now - status.readAt);
            watched->notFresh += status.state == TagState::Fresh ? 0 : 1;
        }
    }
}

void Load::measure() {
    beginToCount();
    QEventLoop loop;
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, &loop, [this] { look(); });
    watch.start(WATCH_MS);
    // A value that changes, once a second on each line.
    QTimer writer;
    QObject::connect(&writer, &QTimer::timeout, &loop, [this] {
        ++m_written;
        for (const auto& watched : m_lines) {
            watched->line.write(QStringLiteral("DM"), 100, {m_written});
        }
    });
    writer.start(1000);
    QTimer::singleShot(m_settings.seconds * 1000, Qt::PreciseTimer, &loop, &QEventLoop::quit);
    loop.exec();
    m_end = ProcessCost::now();
    m_plcsEnded = plcSeconds();
    m_counting = false;
}

int Load::report() {
    Watched all((LineSettings()));
    qint64 slowest = 0;
    all.scans = m_lines.front()->scans;
    for (const auto& watched : m_lines) {
        all.scans = std::min(all.scans, watched->scans);
        all.requests += watched->requests;
        all.failed += watched->failed;
        all.notFresh += watched->notFresh;
        all.writes += watched->writes;
        all.notTaken += watched->notTaken;
        all.oldest = std::max(all.oldest, watched->oldest);
        slowest = std::max(slowest, watched->line.statistics().roundTrips().percentile(99));
    }
    const ProcessCost spent = m_end - m_settled;
    const double lines = m_settings.lines;
    const double requests = static_cast<double>(std::max<qint64>(all.requests, 1));
    const auto row = [](const char* name, double value, int decimals, const char* unit) {
        out() << QStringLiteral("%1 %2 %3\n")
                     .arg(QLatin1String(name), -44)
                     .arg(value, 12, 'f', decimals)
                     .arg(QLatin1String(unit));
    };
    row("lines", lines, 0, "");
    row("tags a line", static_cast<int>(hundredTags().size()), 0, "");
    row("time", spent.wallSeconds, 1, "s");
    const double scanRate = double(all.scans) / spent.wallSeconds;
    row("scans a second, the slowest line", scanRate, 2, "");
    row("requests a second, all lines", requests / spent.wallSeconds, 0, "");
    row("requests that failed", double(all.failed), 0, "");
    row("writes", double(all.writes), 0, "");
    row("writes not taken", double(all.notTaken), 0, "");
    row("tags found not fresh", double(all.notFresh), 0, "");
    row("oldest value seen", double(all.oldest) / 1000, 0, "ms");
    row("slowest line's round trip, 99 of 100", double(slowest) / 1000, 1, "ms");
    row("processor time, all lines", 100 * spent.cpuSeconds / spent.wallSeconds, 1, "% of a core");
    row("processor time a line", 100 * spent.cpuSeconds / spent.wallSeconds / lines, 2,
        "% of a core");
    row("processor time a request", 1e6 * spent.cpuSeconds / requests, 1, "us");
    row("  of it in the system", 1e6 * spent.systemSeconds / requests, 1, "us");
    row("memory a line, private", double(m_settled.privateKib - m_empty.privateKib) / lines, 0,
        "KiB");
    row("  at the end", double(m_end.privateKib - m_empty.privateKib) / lines, 0, "KiB");
    row("processor time, all PLCs", 100 * (m_plcsEnded - m_plcsBegun) / spent.wallSeconds, 1,
        "% of a core");
    row("load average of the machine", m_end.loadAverage, 1, "");
    row("cores", double(sysconf(_SC_NPROCESSORS_ONLN)), 0, "");
    const QStringList faults = wrong(all, scanRate);
    for (const QString& fault : faults) {
        out() << "NOT GOOD: " << fault << '\n';
    }
    out() << (faults.isEmpty() ? "nothing was stale, at the rate that was asked for\n" : "");
    out().flush();
    return faults.isEmpty() ? 0 : 1;
}

/// Nothing is stale, either, where every line is slow: the limit of a value's age follows the
/// scans.
QStringList Load::wrong(const Watched& all, double scanRate) const {
    QStringList faults;
    if (all.notFresh > 0) {
        faults += QStringLiteral("tags were found not fresh %1 times").arg(all.notFresh);
    }
    if (all.notTaken > 0 || all.writes == 0) {
        faults +=
            QStringLiteral("%1 of %2 writes were not taken").arg(all.notTaken).arg(all.writes);
    }
    const double least = 1000.0 / m_settings.scanMs * m_settings.leastRate / 100;
    if (scanRate < least) {
        faults += QStringLiteral("the slowest line made %1 scans a second; right are %2 or more")
                      .arg(scanRate, 0, 'f', 2)
                      .arg(least, 0, 'f', 2);
    }
    const int mostAge = m_settings.mostAgeMs > 0 ? m_settings.mostAgeMs
                                                 : 3 * m_settings.scanMs + LineSettings().timeoutMs;
    if (all.oldest > qint64(mostAge) * 1000) {
        faults += QStringLiteral("the oldest value was %1 ms old; right are %2 or less")
                      .arg(all.oldest / 1000)
                      .arg(mostAge);
    }
    return faults;
}

int Load::run() {
    QString fault = startPlcs();
    m_empty = ProcessCost::now();
    if (fault.isEmpty()) {
        fault = openLines();
    }
    if (fault.isEmpty() && !waitUntilFresh()) {
        fault = QStringLiteral("not all tags became fresh within %1 s").arg(PATIENCE_MS / 1000);
    }
    if (!fault.isEmpty()) {
        QTextStream(stderr) << "lines_load: " << fault << '\n';
        return 1;
    }
    measure();
    return report();
}

/// A line takes a few files; a hundred of them come near to what a process is given at first.
void allowManyFiles() {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_NOFILE, &limit);
    }
}

/// False when an option is wrong.
bool parse(const QCoreApplication& application, Settings* settings) {
    QCommandLineParser parser;
    const auto number = [&](const char* name, int lowest, int highest, int* value) {
        bool isNumber = true;
        if (parser.isSet(QLatin1String(name))) {
            *value = parser.value(QLatin1String(name)).toInt(&isNumber);
        }
        if (!isNumber || *value < lowest || *value > highest) {
            QTextStream(stderr) << "lines_load: --" << name << ": right is a number from " << lowest
                                << " to " << highest << '\n';
            return false;
        }
        return true;
    };
    parser.setApplicationDescription(
        QStringLiteral("Polls many simulated PLCs at once and measures what a line costs."));
    parser.addHelpOption();
    for (const char* name :
         {"lines", "scan", "seconds", "least-rate", "most-age", "plc", "driver"}) {
        parser.addOption({QLatin1String(name), QString(), QStringLiteral("VALUE")});
    }
    parser.process(application);
    settings->plc = parser.value(QStringLiteral("plc"));
    settings->driver = parser.value(QStringLiteral("driver"));
    if (settings->plc.isEmpty() || settings->driver.isEmpty()) {
        QTextStream(stderr) << "lines_load: --plc and --driver name velkor-plc and the driver\n";
        return false;
    }
    return number("lines", 1, 500, &settings->lines) &&
           number("scan", 10, 60000, &settings->scanMs) &&
           number("seconds", 1, 3600, &settings->seconds) &&
           number("least-rate", 1, 100, &settings->leastRate) &&
           number("most-age", 0, 60000, &settings->mostAgeMs);
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    Settings settings;
    if (!parse(application, &settings)) {
        return 2;
    }
    allowManyFiles();
    return Load(settings).run();
}
