#include "panel/commands/commands.h"
#include "panel/context/open_lines.h"
#include "panel/context/tag_arguments.h"
#include "panel/output/outcome_text.h"
#include "panel/output/standard_output.h"
#include "panel/process/end_signals.h"
#include "panel/process/output_wait.h"
#include "panel/screen/screen.h"
#include "panel/watch/change_lines.h"
#include "panel/watch/screen_source.h"
#include "panel/watch/watch_progress.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QTimer>

#include <algorithm>

#include <unistd.h>

namespace panel {
namespace {

const int OUTPUT_CHECK_MS = 250;

/// As the environment says, the most particular variable first.
bool localeIsUnicode() {
    for (const char* variable : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        const QByteArray locale = qgetenv(variable).toLower();
        if (!locale.isEmpty()) {
            return locale.contains("utf-8") || locale.contains("utf8");
        }
    }
    return false;
}

class Watch {
public:
    Watch(const Context& context, const OpenLines& lines, WatchedTags& tags)
        : m_context(context), m_lines(lines), m_tags(tags),
          m_source(tags, context.options.force, localeIsUnicode()), m_screen(m_source),
          m_progress(tags) {
        tags.onTags = [this](const QVector<int>& changed) { tagsChanged(changed); };
        tags.onScan = [this](int line) { scanEnded(line); };
        tags.onWrite = [this](int line, const WriteOutcome& outcome) { writeEnded(line, outcome); };
        tags.onRequest = [this](int line, const RequestEnd& end) {
            m_progress.requestEnded(line, end);
        };
    }

    int run() {
        QTimer end;
        if (m_context.options.seconds > 0) {
            const int milliseconds =
                static_cast<int>(std::min(m_context.options.seconds * 1000, 2e9));
            QObject::connect(&end, &QTimer::timeout, [this] { timeIsUp(); });
            end.setSingleShot(true);
            end.start(milliseconds);
            endOutputIn(milliseconds);
        }
        QString fault = m_tags.start(); // the screen asks for them as soon as it is open
        if (fault.isEmpty()) {
            fault = beginOutput();
        }
        if (!fault.isEmpty()) {
            m_screen.close();
            return m_context.fail(EXIT_WORK_FAILED, fault);
        }
        QTimer check; // the reader may leave while there is nothing to print
        if (m_changes) {
            QObject::connect(&check, &QTimer::timeout, [this] { checkOutput(); });
            check.start(OUTPUT_CHECK_MS);
        }
        int exitCode = QCoreApplication::exec();
        if (m_onScreen) {
            m_screen.close();
            printSummary();
        }
        if (outputGivenUp() == GivenUp::BySignal) {
            m_context.out.forgive();
            m_context.err.forgive();
        }
        if (tellUnsettled() && exitCode == EXIT_DONE) {
            return EXIT_WORK_FAILED;
        }
        if (exitCode != EXIT_DONE && m_context.out.status() == QTextStream::Ok &&
            m_lines.captureIsWhole()) {
            explainFailure();
        }
        return exitCode;
    }

private:
    QString beginOutput() {
        if (m_context.options.format == OutputFormat::Table && !m_context.options.trace &&
            screen::Screen::refusal().isEmpty()) {
            m_screen.onEnd = [this] { end(EXIT_DONE); };
            m_onScreen = m_screen.open().isEmpty();
        }
        if (m_onScreen) {
            return QString();
        }
        m_signals.onEnd = [this] { end(EXIT_DONE); };
        m_changes = std::make_unique<ChangeLines>(m_context.out, m_context.options.format, m_tags);
        return m_signals.open();
    }

    void tagsChanged(const QVector<int>& changed) {
        m_progress.tagsChanged(changed);
        if (m_changes) {
            m_changes->print(changed);
            checkOutput();
        }
    }

    /// Of what comes in one turn of the event loop the first counts.
    void end(ExitCode code) {
        if (!m_ended) {
            m_ended = true;
            QCoreApplication::exit(code);
        }
    }

    /// A reader that was given up because of a signal is no failure: its end was wanted.
    void checkOutput() {
        if (!stillRead(m_context.out)) {
            end(outputGivenUp() == GivenUp::BySignal ? EXIT_DONE : EXIT_WORK_FAILED);
        }
    }

    void scanEnded(int line) {
        m_progress.scanEnded(line);
        if (!m_lines.captureIsWhole()) {
            end(EXIT_WORK_FAILED);
        }
        if (m_context.options.untilStable && m_progress.isStable()) {
            end(EXIT_DONE);
        }
    }

    void writeEnded(int line, const WriteOutcome& outcome) {
        const QString plc = m_tags.lines() > 1 ? m_tags.lineName(line) : QString();
        const QString text = outcomeText(outcome, m_tags.line(line).settings(), optionNames(), plc);
        if (outcome.result == WriteResult::Taken && !outcome.modeSwitched) {
            m_screen.note(text);
        } else {
            m_screen.warn(text);
        }
    }

    /// Done when what was asked for has been seen: every tag fresh, or nothing changing any more.
    /// A signal that waits was there as soon.
    void timeIsUp() {
        const bool done = endSignalWaits() || (m_tags.allFresh() && !m_context.options.untilStable);
        end(done ? EXIT_DONE : EXIT_WORK_FAILED);
    }

    /// The table leaves nothing behind on the terminal.
    void printSummary() {
        qint64 exchanges = 0;
        qint64 retries = 0;
        qint64 failures = 0;
        qint64 dropped = 0;
        for (int line = 0; line < m_tags.lines(); ++line) {
            const LinkStatistics statistics = m_tags.line(line).statistics();
            exchanges += statistics.exchanges();
            retries += statistics.retries();
            failures += statistics.failures();
            dropped += statistics.dropped();
        }
        m_context.out << QStringLiteral("watched %1: %2, %3, %4, %5, %6 dropped\n")
                             .arg(counted(m_tags.size(), "tag", "tags"), m_progress.scansText(),
                                  counted(exchanges, "exchange", "exchanges"),
                                  counted(retries, "retry", "retries"),
                                  counted(failures, "failure", "failures"))
                             .arg(dropped);
        m_context.out.flush();
    }

    /// Writes whose end nobody has waited for. True: there were some, and standard error was told.
    bool tellUnsettled() {
        int writes = 0;
        for (int line = 0; line < m_tags.lines(); ++line) {
            writes += m_tags.line(line).pending();
        }
        if (writes > 0) {
            m_context.fail(
                EXIT_WORK_FAILED,
                QStringLiteral("ended before %1 settled; the PLC may have got what was to "
                               "be written, or not")
                    .arg(writes == 1 ? QStringLiteral("a write was")
                                     : QStringLiteral("%1 writes were").arg(writes)));
        }
        return writes > 0;
    }

    void explainFailure() {
        for (const QString& text :
             m_progress.whatIsMissing(m_context.options.untilStable, optionNames())) {
            m_context.fail(EXIT_WORK_FAILED, text);
        }
    }

    const Context& m_context;
    const OpenLines& m_lines;
    WatchedTags& m_tags;
    ScreenSource m_source;
    screen::Screen m_screen;
    bool m_onScreen = false;
    EndSignals m_signals; ///< without a screen
    std::unique_ptr<ChangeLines> m_changes;
    WatchProgress m_progress;
    bool m_ended = false;
};

} // namespace

int runWatch(const Context& context) {
    QVector<PanelTag> tags;
    int exitCode = EXIT_DONE;
    {
        const EndSignalsReleased released; // a pipe may have to be waited for
        exitCode = loadTags(context, &tags);
    }
    if (exitCode != EXIT_DONE) {
        return exitCode;
    }
    OpenLines lines(context);
    if (lines.exitCode() != EXIT_DONE) {
        return lines.exitCode();
    }
    QVector<Line*> all;
    QStringList names;
    for (int index = 0; index < lines.size(); ++index) {
        all.append(lines.at(index).line.get());
        names.append(lines.at(index).name);
    }
    WatchedTags watched(all, names, tags);
    exitCode = Watch(context, lines, watched).run();
    return lines.close(exitCode);
}

} // namespace panel
