#include "endtoend/programs.h"

#include <QtCore/QFile>

#include <csignal>
#include <unistd.h>

namespace {

const int SLICE_MS = 50;

} // namespace

void Running::start(const QString& program, const QStringList& arguments) {
    m_output.clear();
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    m_process.start(program, arguments);
    ASSERT_TRUE(m_process.waitForStarted(PATIENCE_MS));
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

bool Running::waitFor(const QString& text) {
    return waitFor([&text](const QString& output) { return output.contains(text); });
}

Ended Running::stop(int signal) {
    if (m_process.state() != QProcess::NotRunning) {
        ::kill(static_cast<pid_t>(pid()), signal);
    }
    return waitForEnd();
}

Ended Running::waitForEnd() {
    m_process.waitForFinished(PATIENCE_MS);
    read();
    const bool ended =
        m_process.state() == QProcess::NotRunning && m_process.exitStatus() == QProcess::NormalExit;
    return {ended ? m_process.exitCode() : -1, m_output, QString()};
}

void Running::kill() {
    if (m_process.state() != QProcess::NotRunning) {
        m_process.kill();
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

void Programs::startPlc(const QStringList& arguments, quint16 port) {
    m_plc.kill();
    m_plc.start(VELKOR_PLC_PROGRAM,
                QStringList{"--listen", QString("127.0.0.1:%1").arg(port)} + arguments);
    ASSERT_TRUE(m_plc.waitFor("\n")) << plain(m_plc.output());
    const QString first = m_plc.output().section('\n', 0, 0);
    ASSERT_TRUE(first.startsWith("listening on 127.0.0.1:")) << plain(first);
    m_port = first.section(':', 1).toUShort();
    ASSERT_NE(m_port, 0);
}

Ended Programs::bare(const QStringList& arguments) {
    QProcess process;
    process.start(VELKOR_PANEL_PROGRAM, arguments);
    const bool finished = process.waitForFinished(PATIENCE_MS);
    Ended ended;
    ended.out = QString::fromUtf8(process.readAllStandardOutput());
    ended.err = QString::fromUtf8(process.readAllStandardError());
    if (finished && process.exitStatus() == QProcess::NormalExit) {
        ended.exitCode = process.exitCode();
    } else {
        process.kill();
        process.waitForFinished(PATIENCE_MS);
    }
    return ended;
}

Ended Programs::panel(const QStringList& arguments) {
    return bare(QStringList{"--plc", plcAddress()} + arguments);
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
