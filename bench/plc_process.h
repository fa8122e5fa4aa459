#ifndef VELKOR_BENCH_PLC_PROCESS_H
#define VELKOR_BENCH_PLC_PROCESS_H

#include <QtCore/QProcess>
#include <QtCore/QStringList>

#include <cstdint>

/// velkor-plc on a loopback port of the kernel's choice; it ends when this object does.
class PlcProcess {
public:
    explicit PlcProcess(const QString& program, const QStringList& options = QStringList());
    ~PlcProcess();
    PlcProcess(const PlcProcess&) = delete;
    PlcProcess& operator=(const PlcProcess&) = delete;

    QString fault() const; ///< empty, or why it does not listen
    std::uint16_t port() const { return m_port; }

private:
    QProcess m_process;
    std::uint16_t m_port = 0;
};

#endif
