// velkor-plc as a program: started at a port of the kernel's choice, spoken to over loopback UDP.
// A reply that must not come is shown by the next one, which comes first; nothing waits for
// silence.
#pragma once

#include "support/process_signal.h"

#include <gtest/gtest.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtNetwork/QNetworkDatagram>
#include <QtNetwork/QUdpSocket>

#include <stdexcept>

constexpr int kPatienceMs = 10000; // nothing waits for it to pass

inline QString latin(const char* text) {
    return QString::fromLatin1(text);
}

class PlcProgram : public testing::Test {
protected:
    ~PlcProgram() override {
        if (signalProcess(process_.processId(), SIGKILL)) {
            process_.waitForFinished(kPatienceMs);
        }
    }

    // What a shell does instead of starting the program, which is its "$@": limits, redirections.
    void startThrough(const char* shellCommand) { shellCommand_ = latin(shellCommand); }

    // Throws when it does not start, which ends the test: nothing after it could hold.
    void start(const QStringList& arguments) {
        const QStringList command = QStringList{latin(VELKOR_PLC_PROGRAM)} + arguments;
        if (shellCommand_.isEmpty()) {
            process_.start(command.first(), arguments);
        } else {
            process_.start(latin("sh"),
                           QStringList{latin("-c"), shellCommand_, latin("sh")} + command);
        }
        if (!process_.waitForStarted(kPatienceMs)) {
            throw std::runtime_error("velkor-plc did not start");
        }
    }

    // Starts it and takes the port from its first line.
    void serve(const QStringList& arguments = {}) {
        start(QStringList{latin("--listen"), latin("127.0.0.1:0")} + arguments);
        meet(readLine());
    }

    // Takes the port from the program's first line.
    void meet(const QString& line) {
        const QString begin = latin("listening on 127.0.0.1:");
        if (!line.startsWith(begin)) {
            throw std::runtime_error("velkor-plc does not listen: " + line.toStdString());
        }
        port_ = line.mid(begin.size()).toUShort();
        ASSERT_TRUE(socket_.bind(QHostAddress(QHostAddress::LocalHost), 0));
    }

    QString readLine() {
        QElapsedTimer timer;
        timer.start();
        while (!process_.canReadLine() && timer.elapsed() < kPatienceMs &&
               process_.state() != QProcess::NotRunning) {
            process_.waitForReadyRead(100);
        }
        return QString::fromLatin1(process_.readLine()).trimmed();
    }

    // The file's content; empty when it cannot be read.
    static QByteArray contentOf(const QString& file) {
        QFile in(file);
        return in.open(QIODevice::ReadOnly) ? in.readAll() : QByteArray();
    }

    // SID and what follows it, as hex text.
    void send(const char* sidCommandAndParameters) {
        const QByteArray frame =
            QByteArray::fromHex(QByteArray("800002000000000500") + sidCommandAndParameters);
        ASSERT_EQ(socket_.writeDatagram(frame, QHostAddress(QHostAddress::LocalHost), port_),
                  frame.size());
    }

    QByteArray receive() {
        if (!socket_.hasPendingDatagrams() && !socket_.waitForReadyRead(kPatienceMs)) {
            return "nothing came";
        }
        const QByteArray data = socket_.receiveDatagram().data();
        // header up to the SID, the PLC's own node as source
        return data.startsWith(QByteArray::fromHex("c00002000500000100"))
                   ? data.mid(9).toHex(' ')
                   : QByteArray("odd header ") + data.toHex(' ');
    }

    void stop(int signal) {
        ASSERT_TRUE(signalProcess(process_.processId(), signal));
        ASSERT_TRUE(process_.waitForFinished(kPatienceMs));
    }

    void expectEnd(int exitCode) {
        EXPECT_EQ(process_.exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(process_.exitCode(), exitCode);
    }

    // Everything after the listening line.
    std::string output() { return process_.readAllStandardOutput().toStdString(); }
    QString complaint() { return QString::fromLatin1(process_.readAllStandardError()); }

    void expectRefusal(const QStringList& arguments, int exitCode, const QStringList& says) {
        start(arguments);
        ASSERT_TRUE(process_.waitForFinished(kPatienceMs));
        expectEnd(exitCode);
        const QString told = complaint();
        for (const QString& part : says) {
            EXPECT_TRUE(told.contains(part)) << qPrintable(told);
        }
        EXPECT_EQ(output(), "");
    }

    int argc_ = 1;
    char name_[9] = "endtoend";
    char* argv_[2] = {name_, nullptr};
    QCoreApplication application_{argc_, argv_};
    QString shellCommand_;
    QProcess process_;
    QUdpSocket socket_;
    quint16 port_ = 0;
};
