#ifndef VELKOR_TESTS_ENDTOEND_PROGRAMS_H
#define VELKOR_TESTS_ENDTOEND_PROGRAMS_H

/// velkor-panel and velkor-plc as a user starts them, over loopback UDP on a port of the kernel's
/// choice.

#include <gtest/gtest.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QProcess>
#include <QtCore/QStringList>
#include <QtCore/QTemporaryDir>

#include <functional>
#include <string>

/// Long enough for a busy machine; nothing waits for it to pass.
constexpr int PATIENCE_MS = 20000;

/// How a program ended.
struct Ended {
    int exitCode = -1; ///< -1: not by itself
    QString out;
    QString err;
};

/// What a program that is still running has printed.
class Running {
public:
    Running() = default;
    ~Running() { kill(); }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;

    /// Throws when it does not start, which ends the test: nothing after it could hold.
    void start(const QString& program, const QStringList& arguments);
    /// 0 when it is not running.
    qint64 pid() const { return m_process.processId(); }

    /// Reads on until `found` holds of all output so far; false when it does not come.
    bool waitFor(const std::function<bool(const QString& output)>& found);
    bool waitFor(const QString& text);
    QString output() const { return m_output; }
    bool hasEnded();

    /// Sends a signal, if it is still running, and waits for the end.
    Ended stop(int signal);
    Ended waitForEnd();
    void kill();

    /// CPU time used so far, in seconds.
    double cpuSeconds() const;
    /// How many it has now.
    int threads() const;

private:
    void read();

    QProcess m_process;
    QString m_output;
};

class Programs : public testing::Test {
protected:
    /// Starts a PLC and learns its address from its first line; `port` 0 lets the kernel choose.
    /// Throws when it does not listen, which ends the test.
    void startPlc(const QStringList& arguments = {}, quint16 port = 0);
    QString plcAddress() const { return QStringLiteral("127.0.0.1:%1").arg(m_port); }

    /// Runs a program until it ends; one that does not is killed.
    static Ended runToEnd(QProcess* process, const QString& program, const QStringList& arguments);
    /// Runs the panel against the PLC until it ends.
    Ended panel(const QStringList& arguments);
    /// Runs it without an address.
    Ended bare(const QStringList& arguments);
    /// Runs it against the PLC from a shell: "BEFORE velkor-panel ARGUMENTS AFTER", for limits and
    /// pipes. What may be left running when a test fails needs --seconds.
    Ended panelInShell(const QString& before, const QStringList& arguments,
                       const QString& after = QString());
    /// Starts it against the PLC.
    void startPanel(Running* running, const QStringList& arguments);

    /// A file in a folder of the test's own; its path.
    QString file(const char* name, const QByteArray& content);
    QString path(const char* name) const;

    /// "requests" of the PLC's last line, after ending it.
    int plcRequests();

    QTemporaryDir m_folder;
    Running m_plc;
    quint16 m_port = 0;

private:
    int m_argc = 1;
    char m_name[9] = "endtoend";
    char* m_argv[2] = {m_name, nullptr};
    QCoreApplication m_application{m_argc, m_argv};
};

inline std::string plain(const QString& text) {
    return text.toStdString();
}

#endif
