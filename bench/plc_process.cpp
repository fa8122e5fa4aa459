#include "plc_process.h"

namespace {

const int PATIENCE_MS = 10000;

} // namespace

PlcProcess::PlcProcess(const QString& program, const QStringList& options) {
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process.start(
        program, QStringList{QStringLiteral("--listen"), QStringLiteral("127.0.0.1:0")} + options);
    QByteArray said;
    while (!said.contains('\n') && m_process.waitForReadyRead(PATIENCE_MS)) {
        said += m_process.readAllStandardOutput();
    }
    m_port = said.trimmed().split(':').last().toUShort(); // "listening on 127.0.0.1:41234"
}

PlcProcess::~PlcProcess() {
    m_process.terminate();
    if (!m_process.waitForFinished(PATIENCE_MS)) {
        m_process.kill();
    }
}

QString PlcProcess::fault() const {
    return m_port != 0 ? QString() : QStringLiteral("%1 does not listen").arg(m_process.program());
}
