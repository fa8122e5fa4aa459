// The PLC on its UDP socket: gives it datagrams, the time of day and the passing of time, and sends
// what it answers.
#pragma once

#include <QtCore/QElapsedTimer>
#include <QtCore/QObject>
#include <QtCore/QTimer>

#include <functional>

#include "plc/command_line.h"
#include "plc/datagram_socket.h"
#include "plc/faulty_line.h"
#include "plc/tank.h"

namespace plc {

class UdpServer {
public:
    explicit UdpServer(const Settings& settings);

    // The memory of an earlier run; to be called before listen().
    void restore(const Memory& memory);

    // Empty, or what stands in the way and what to do about it.
    QString listen();

    QHostAddress address() const { return socket_.address(); }
    quint16 port() const { return socket_.port(); }
    const Memory& memory() const { return core_.memory(); }

    // "stopped: requests 40, replies 37, refused 2, ignored 1; faults: drop 3"
    QString counts() const;

    // Called once, when a line of the trace could not be written; what is received after that stays
    // unanswered. traceError() says why.
    std::function<void()> onTraceLost = [] {};
    const QString& traceError() const { return traceError_; }

private:
    void receive(const Bytes& datagram, const Peer& from);
    void traceRequest(const Bytes& datagram, const Peer& from, const FaultyLine::Result& result);
    void settle(const FaultyLine::Result& result);
    void send(const Outgoing& outgoing);
    void later(unsigned milliseconds, std::function<void()> what);
    void letTimePass();
    void trace(const QString& line);

    const Settings settings_;
    Core core_;
    FaultyLine line_;
    Tank tank_;
    unsigned long sent_ = 0;
    QString traceError_;
    DatagramSocket socket_;
    QTimer processTimer_;
    QElapsedTimer sinceLastStep_;
};

} // namespace plc
