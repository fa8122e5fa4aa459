#include "support/plc_process.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>

#include <unistd.h>

namespace {

const int PATIENCE_MS = 20000;

} // namespace

PlcProcess::PlcProcess() {
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    QObject::connect(&m_process, &QProcess::readyReadStandardOutput, &m_process,
                     [this] { read(); });
}

PlcProcess::~PlcProcess() {
    end();
}

QString PlcProcess::start(const QString& program, const QStringList& arguments) {
    // setpriv becomes the program, and has the system end it when this process has ended.
    const QStringList all =
        QStringList{QStringLiteral("--pdeathsig"), QStringLiteral("TERM"), program,
                    QStringLiteral("--listen"), QStringLiteral("127.0.0.1:0")} +
        arguments;
    m_process.start(QStringLiteral("setpriv"), all);
    QElapsedTimer timer;
    timer.start();
    while (!m_output.contains('\n') && timer.elapsed() < PATIENCE_MS) {
        if (m_process.state() == QProcess::NotRunning) {
            return QStringLiteral("%1 does not start: %2").arg(program, m_process.errorString());
        }
        m_process.waitForReadyRead(100);
        read();
    }
    const QByteArray first = m_output.left(m_output.indexOf('\n'));
    m_port = first.mid(first.lastIndexOf(':') + 1).toUShort();
    return m_port != 0 ? QString()
                       : QStringLiteral("%1 does not listen: \"%2\"")
                             .arg(program, QString::fromLatin1(first));
}

void PlcProcess::read() {
    m_output += m_process.readAllStandardOutput();
}

bool PlcProcess::end() {
    if (m_process.state() == QProcess::NotRunning) {
        return false;
    }
    m_process.terminate();
    const bool ended = m_process.waitForFinished(PATIENCE_MS);
    if (!ended) {
        m_process.kill();
        m_process.waitForFinished(PATIENCE_MS);
    }
    read();
    return ended && m_process.exitStatus() == QProcess::NormalExit && m_process.exitCode() == 0;
}

double PlcProcess::cpuSeconds() const {
    QFile stat(QStringLiteral("/proc/%1/stat").arg(m_process.processId()));
    if (!stat.open(QIODevice::ReadOnly)) {
        return 0;
    }
    // The name, in brackets, may hold anything; user and system time are fields 14 and 15.
    const QByteArray all = stat.readAll();
    const QList<QByteArray> fields = all.mid(all.lastIndexOf(')') + 2).split(' ');
    return (fields.value(11).toDouble() + fields.value(12).toDouble()) /
           static_cast<double>(sysconf(_SC_CLK_TCK));
}
