#include "endtoend/programs.h"

#include "support/process_signal.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <stdexcept>
#include <unistd.h>

namespace {

const int SLICE_MS = 50;

} // namespace

void Running::start(const QString& program, const QStringList& arguments) {
    m_output.clear();
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    m_process.start(program, arguments);
    if (!m_process.waitForStarted(PATIENCE_MS)) {
        throw std::runtime_error(plain(program + " did not start: " + m_process.errorString()));
    }
}

void Running::read() {
    m_output += QString::fromUtf8(m_process.readAll());
}

bool Running::waitFor(const std::function<bool(const QString&)>& found) {
    QElapsedTimer timer;
    timer.start();
    for (;;) {
        read();
        if (found(m_output)) {
            return true;
        }
        if (timer.elapsed() > PATIENCE_MS || m_process.state() == QProcess::NotRunning) {
            return false;
        }
        m_process.waitForReadyRead(SLICE_MS);
    }
}

bool Running::hasEnded() {
    return m_process.state() == QProcess::NotRunning || m_process.waitForFinished(0);
}

bool Running::waitFor(const QString& text) {
    return waitFor([&text](const QString& output) { return output.contains(text); });
}

Ended Running::stop(int signal) {
    if (m_process.state() != QProcess::NotRunning) {
        signalProcess(pid(), signal);
    }
    return waitForEnd();
}

Ended Running::waitForEnd() {
    m_process.waitForFinished(PATIENCE_MS);
    read();
    const bool ended = m_process.state() == QProcess::NotRunning &&
                       m_process.error() != QProcess::FailedToStart &&
                       m_process.exitStatus() == QProcess::NormalExit;
    return {ended ? m_process.exitCode() : -1, m_output, QString()};
}

void Running::kill() {
    if (m_process.state() != QProcess::NotRunning && signalProcess(pid(), SIGKILL)) {
        m_process.waitForFinished(PATIENCE_MS);
    }
}

double Running::cpuSeconds() const {
    QFile file(QStringLiteral("/proc/%1/stat").arg(pid()));
    if (!file.open(QIODevice::ReadOnly)) {
        return -1;
    }
    const QString line = QString::fromLatin1(file.readAll());
    // Behind the name in brackets, fields 14 and 15 of the whole line.
    const QStringList fields = line.mid(line.lastIndexOf(')') + 2).split(' ');
    const double ticks = fields.value(11).toDouble() + fields.value(12).toDouble();
    return ticks / static_cast<double>(sysconf(_SC_CLK_TCK));
}

int Running::threads() const {
    const QDir tasks(QStringLiteral("/proc/%1/task").arg(pid()));
    return static_cast<int>(tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot).size());
}

void Programs::startPlc(const QStringList& arguments, quint16 port) {
    m_plc.kill();
    m_plc.start(VELKOR_PLC_PROGRAM,
                QStringList{"--listen", QString("127.0.0.1:%1").arg(port)} + arguments);
    const QString listening = "listening on 127.0.0.1:";
    if (!m_plc.waitFor("\n") || !m_plc.output().startsWith(listening)) {
        throw std::runtime_error(plain("velkor-plc does not listen: " + m_plc.output()));
    }
    m_port = m_plc.output().mid(listening.size()).section('\n', 0, 0).toUShort();
}

Ended Programs::runToEnd(QProcess* process, const QString& program, const QStringList& arguments) {
    process->start(program, arguments);
    const bool finished = process->waitForFinished(PATIENCE_MS);
    Ended ended;
    ended.out = QString::fromUtf8(process->readAllStandardOutput());
    ended.err = QString::fromUtf8(process->readAllStandardError());
    if (finished && process->exitStatus() == QProcess::NormalExit) {
        ended.exitCode = process->exitCode();
    } else if (signalProcess(process->processId(), SIGKILL)) {
        process->waitForFinished(PATIENCE_MS);
    }
    return ended;
}

Ended Programs::bare(const QStringList& arguments) {
    QProcess process;
    return runToEnd(&process, VELKOR_PANEL_PROGRAM, arguments);
}

Ended Programs::panel(const QStringList& arguments) {
    return bare(QStringList{"--plc", plcAddress()} + arguments);
}

Ended Programs::panelInShell(const QString& before, const QStringList& arguments,
                             const QString& after) {
    QProcess process;
    return runToEnd(&process, "/bin/sh",
                    QStringList{"-c", before + " \"$@\" " + after, "sh", VELKOR_PANEL_PROGRAM,
                                "--plc", plcAddress()} +
                        arguments);
}

void Programs::startPanel(Running* running, const QStringList& arguments) {
    running->start(VELKOR_PANEL_PROGRAM, QStringList{"--plc", plcAddress()} + arguments);
}

QString Programs::path(const char* name) const {
    return m_folder.filePath(name);
}

QString Programs::file(const char* name, const QByteArray& content) {
    QFile file(path(name));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    EXPECT_EQ(file.write(content), content.size());
    return path(name);
}

int Programs::plcRequests() {
    const QString output = m_plc.stop(SIGTERM).out;
    return output.section("stopped: requests ", 1).section(',', 0, 0).toInt();
}
