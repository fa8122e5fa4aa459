#include "host/poll/disjoint_ranges.h"
#include "panel/advice.h"
#include "panel/commands.h"
#include "panel/file_access.h"
#include "panel/live_screen.h"
#include "panel/output.h"
#include "panel/standard_output.h"
#include "panel/tag_file.h"
#include "panel/terminal.h"
#include <velkor/host/end_codes.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDateTime>
#include <QtCore/QTimer>

#include <algorithm>
#include <limits>

namespace panel {
namespace {

const int CHECK_INTERVAL_MS = 250; // for values growing old
const int STABLE_SCANS = 3;

int loadTags(const Context& context, QVector<Tag>* tags) {
    const QStringList& arguments = context.options.arguments;
    const bool file = arguments.size() == 1 && !arguments.first().contains(QLatin1Char(':'));
    if (file) {
        QByteArray csv;
        const QString unreadable = readFile(arguments.first(), &csv);
        if (!unreadable.isEmpty()) {
            return context.fail(EXIT_WRONG_USAGE,
                                unreadable + QStringLiteral("; right is a file of tags, or "
                                                            "REGISTER:ADDRESS[:COUNT]..."));
        }
        const TagList list = readTags(csv, context.catalogue);
        *tags = list.tags;
        return list.errors.isEmpty() ? int(EXIT_DONE)
                                     : failWithErrors(context, arguments.first(), list.errors);
    }
    for (const QString& argument : arguments) {
        Tag tag;
        const QString wrong =
            parseTagArgument(argument, context.options.type, context.catalogue, &tag);
        if (!wrong.isEmpty()) {
            return context.fail(EXIT_WRONG_USAGE, wrong);
        }
        tags->append(tag);
    }
    return EXIT_DONE;
}

/// A value counts as stale after some missed scans, and not before a try could time out.
qint64 shortestStaleAfter(const LinkSettings& settings) {
    return std::max(1000, std::max(5 * settings.scanMs, 2 * settings.timeoutMs)) * qint64(1000);
}

/// Until the first scan has ended, how long a scan takes is not known.
const qint64 NEVER = std::numeric_limits<qint64>::max();

/// One line for each change.
class LineOutput {
public:
    explicit LineOutput(const Context& context) : m_context(context) {
        const QString header = recordHeader(context.options.format, m_columns);
        if (!header.isEmpty()) {
            context.out << header << '\n';
            context.out.flush();
        }
    }

    void print(const TagStatus& status) {
        const bool known = status.state != TagState::NotRead;
        const QString time = QDateTime::currentDateTime().toString(QStringLiteral("HH:mm:ss.zzz"));
        Record record{time, status.tag.name, tagAddressText(status.tag)};
        if (m_context.options.format == OutputFormat::Table) {
            record.append(shownValue(status));
            if (!status.reason.isEmpty()) {
                record.append(QLatin1Char('(') + status.reason + QLatin1Char(')'));
            }
        } else {
            record.append(known ? formatItems(status.tag.type, status.items) : QString());
            record.append(status.tag.unit);
            record.append(stateName(status.state));
            record.append(status.reason);
        }
        m_context.out << recordLine(m_context.options.format, m_columns, record) << '\n';
        m_context.out.flush();
    }

private:
    const Context& m_context;
    const QStringList m_columns{QStringLiteral("time"),    QStringLiteral("name"),
                                QStringLiteral("address"), QStringLiteral("value"),
                                QStringLiteral("unit"),    QStringLiteral("state"),
                                QStringLiteral("reason")};
};

class Watch {
public:
    Watch(const Context& context, Session& session, Signals& endSignals, const QVector<Tag>& tags)
        : m_context(context), m_session(session), m_signals(endSignals), m_board(tags, NEVER) {
        session.onSettled = [this](const Settled& settled) { requestSettled(settled); };
        session.onValueChanged = [this](const QString& reg, int address) {
            m_board.valueChanged(reg, address);
        };
        session.onWrittenAgain = [this](const Settled& settled) {
            m_modeSwitched = settled.modeChangeEnd >= 0 && isNormalEnd(settled.modeChangeEnd);
        };
        session.onTransferEnd = [this](const TransferEnd& end) { writeEnded(end); };
        session.onScanEnd = [this] { scanEnded(); };
        m_signals.onEnd = [] { QCoreApplication::exit(EXIT_DONE); };
        if (onTerminal() && context.options.format == OutputFormat::Table &&
            !context.options.trace) {
            m_screen = std::make_unique<LiveScreen>(session, m_board);
            m_signals.onResize = [this] { m_screen->redrawAll(); };
        } else {
            m_lines = std::make_unique<LineOutput>(context);
        }
    }

    int run() {
        QTimer check;
        QObject::connect(&check, &QTimer::timeout, [this] { refresh(Occasion::Timer); });
        check.start(CHECK_INTERVAL_MS);
        QTimer end;
        if (m_context.options.seconds > 0) {
            QObject::connect(&end, &QTimer::timeout, [this] { timeIsUp(); });
            end.setSingleShot(true);
            end.start(static_cast<int>(std::min(m_context.options.seconds * 1000, 2e9)));
        }
        m_lastScanEnd = m_session.now();
        m_session.setPolled(disjointRanges(m_board.words(), m_session.settings().wordsPerFrame));
        const int exitCode = QCoreApplication::exec();
        if (m_screen) {
            m_screen.reset();
            printSummary();
        }
        if (exitCode != EXIT_DONE && m_context.out.status() == QTextStream::Ok) {
            explainFailure();
        }
        return exitCode;
    }

private:
    void requestSettled(const Settled& settled) {
        if (!settled.write) {
            m_board.readSettled(settled, shortReason(settled, m_session.settings()),
                                m_session.now());
        }
        noteLink(settled);
        if (!settled.ok) {
            m_lastFailure = settled;
            m_failed = true;
            m_failedInScan = true;
        }
        refresh(Occasion::Read);
    }

    void writeEnded(const TransferEnd& end) {
        if (m_screen) {
            m_screen->writeEnded(end, failureReason(end.last, m_session.settings()),
                                 m_modeSwitched);
        }
        m_modeSwitched = false;
    }

    void noteLink(const Settled& settled) {
        if (settled.ok || settled.refused) {
            m_board.linkAnswers();
        } else {
            m_board.linkFails(shortReason(settled, m_session.settings()),
                              m_session.now() - settled.waited);
        }
    }

    void refresh(Occasion occasion) {
        if (const std::optional<Settled> trouble = m_session.requestInTrouble()) {
            noteLink(*trouble);
        }
        const QVector<TagEvent> events = m_board.refresh(
            [this](const Tag& tag) {
                return m_session.items(tag.reg, tag.address, tag.itemCount());
            },
            m_session.now(), occasion);
        for (const TagEvent& event : events) {
            if (m_lines) {
                m_lines->print(m_board.at(event.index));
            }
            m_changedInScan = true;
        }
        if (m_lines && !stillRead(m_context.out)) {
            QCoreApplication::exit(EXIT_WORK_FAILED);
        }
    }

    /// A value may be as old as a scan takes; a scan that met failures took longer than that.
    void adaptStaleness() {
        const qint64 now = m_session.now();
        if (!m_failedInScan) {
            m_longestScan = std::max(m_longestScan, now - m_lastScanEnd);
        }
        m_board.setStaleAfter(
            std::max(shortestStaleAfter(m_session.settings()), 3 * m_longestScan));
        m_lastScanEnd = now;
        m_failedInScan = false;
    }

    void scanEnded() {
        ++m_scans;
        adaptStaleness();
        refresh(Occasion::ScanEnd);
        m_quietScans = m_changedInScan || !m_board.allFresh() ? 0 : m_quietScans + 1;
        m_changedInScan = false;
        if (m_context.options.untilStable && m_quietScans >= STABLE_SCANS) {
            QCoreApplication::exit(EXIT_DONE);
        }
    }

    /// Done when what was asked for has been seen: every tag fresh, or nothing changing any more.
    void timeIsUp() {
        const bool done = m_board.allFresh() && !m_context.options.untilStable;
        QCoreApplication::exit(done ? EXIT_DONE : EXIT_WORK_FAILED);
    }

    /// The table leaves nothing behind on the terminal.
    void printSummary() {
        const LinkStatistics& statistics = m_session.statistics();
        m_context.out << QStringLiteral("watched %1: %2, %3, %4, %5, %6 dropped\n")
                             .arg(counted(m_board.size(), "tag", "tags"),
                                  counted(m_scans, "scan", "scans"),
                                  counted(statistics.exchanges(), "exchange", "exchanges"),
                                  counted(statistics.retries(), "retry", "retries"),
                                  counted(statistics.failures(), "failure", "failures"))
                             .arg(statistics.dropped());
        m_context.out.flush();
    }

    void explainFailure() {
        QStringList missing;
        for (int index = 0; index < m_board.size(); ++index) {
            const TagStatus& status = m_board.at(index);
            if (status.state != TagState::Fresh) {
                missing.append(
                    QStringLiteral("%1 (%2)").arg(status.tag.name, stateName(status.state)));
            }
        }
        if (missing.isEmpty()) {
            m_context.fail(EXIT_WORK_FAILED,
                           QStringLiteral("values were still changing when the time was up"));
            return;
        }
        const int more = static_cast<int>(missing.size()) - 5;
        m_context.fail(EXIT_WORK_FAILED,
                       QStringLiteral("without a fresh value when the time was up: %1%2")
                           .arg(missing.mid(0, 5).join(QStringLiteral(", ")),
                                more > 0 ? QStringLiteral(" and %1 more").arg(more) : QString()));
        if (m_failed) {
            m_context.fail(EXIT_WORK_FAILED,
                           failureText(m_lastFailure, m_session.settings(), m_session.nodes()));
        }
    }

    const Context& m_context;
    Session& m_session;
    Signals& m_signals;
    TagBoard m_board;
    std::unique_ptr<LiveScreen> m_screen;
    std::unique_ptr<LineOutput> m_lines;
    Settled m_lastFailure;
    bool m_failed = false;
    bool m_modeSwitched = false; ///< for the write under way
    bool m_changedInScan = false;
    bool m_failedInScan = false;
    qint64 m_lastScanEnd = 0;
    qint64 m_longestScan = 0;
    int m_quietScans = 0;
    qint64 m_scans = 0;
};

} // namespace

int runWatch(const Context& context) {
    QVector<Tag> tags;
    const int exitCode = loadTags(context, &tags);
    if (exitCode != EXIT_DONE) {
        return exitCode;
    }
    OpenSession session(context);
    if (session.exitCode() != EXIT_DONE) {
        return session.exitCode();
    }
    Signals endSignals;
    if (!endSignals.fault().isEmpty()) {
        return context.fail(EXIT_WORK_FAILED, endSignals.fault());
    }
    return Watch(context, *session, endSignals, tags).run();
}

} // namespace panel
