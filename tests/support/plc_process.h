#ifndef VELKOR_TESTS_SUPPORT_PLC_PROCESS_H
#define VELKOR_TESTS_SUPPORT_PLC_PROCESS_H

/// velkor-plc as a program of its own, on a loopback port of the kernel's choice. It ends with this
/// object, and with the program that made it however that ends.

#include <QtCore/QByteArray>
#include <QtCore/QProcess>
#include <QtCore/QStringList>

class PlcProcess {
public:
    PlcProcess();
    ~PlcProcess(); ///< ends it
    PlcProcess(const PlcProcess&) = delete;
    PlcProcess& operator=(const PlcProcess&) = delete;

    /// Empty, or why it does not listen.
    QString start(const QString& program, const QStringList& arguments);
    quint16 port() const { return m_port; }
    bool running() const { return m_process.state() == QProcess::Running; }

    /// Ends it in order. False when it did not end well. All that it has printed is in output().
    bool end();
    const QByteArray& output() const { return m_output; }

    /// What it prints from now on is lost.
    void stopListening() { m_process.closeReadChannel(QProcess::StandardOutput); }

    /// Processor time used so far, in seconds.
    double cpuSeconds() const;

private:
    void read();

    QProcess m_process;
    QByteArray m_output;
    quint16 m_port = 0;
};

#endif
