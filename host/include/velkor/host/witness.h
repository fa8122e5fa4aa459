#ifndef VELKOR_HOST_WITNESS_H
#define VELKOR_HOST_WITNESS_H

/// What watches the datagrams of a line: a trace, a capture, or one of the host's own.

#include <velkor/host/endpoint.h>
#include <velkor/host/export.h>

#include <QtCore/QByteArray>
#include <QtCore/QDateTime>
#include <QtCore/QString>
#include <QtCore/QTextStream>

#include <memory>

namespace velkor_host {

/// What became of a datagram from the PLC.
enum class Verdict {
    Reply,           ///< to the frame in flight
    NothingInFlight, ///< dropped
    WrongServiceId,  ///< dropped
    NoReply          ///< dropped: too short for an end code, no reply at all, or to another command
};

/// Called on the line's thread, from inside its turns. A witness calls nothing of the line.
class VELKOR_HOST_EXPORT FrameWitness {
public:
    FrameWitness() = default;
    FrameWitness(const FrameWitness&) = delete;
    FrameWitness& operator=(const FrameWitness&) = delete;
    virtual ~FrameWitness() = default;
    /// The system is about to be asked to take a frame: the time to note for it, because when
    /// sent() comes the PLC may have it already. sent() or notSent() follows.
    virtual void leaving() {}
    /// The system has taken the frame. `attempt` counts the tries of the request from 1.
    virtual void sent(const QByteArray& frame, int attempt) = 0;
    /// It has not: nothing of the frame has left this computer. `error` is the system's error
    /// number (errno).
    virtual void notSent(const QByteArray& frame, int attempt, int error) {
        Q_UNUSED(frame)
        Q_UNUSED(attempt)
        Q_UNUSED(error)
    }
    /// As soon as the datagram has been taken from the socket and judged.
    virtual void received(const QByteArray& datagram, Verdict verdict) = 0;
    /// No reply has come in time to a frame that was sent.
    virtual void timedOut(const QByteArray& frame) = 0;
    /// The PLC's computer has said that nothing listens at the PLC's port ("port unreachable"). Of
    /// which frame it does not say: perhaps of one sent earlier than the last.
    virtual void portRefused() = 0;
    /// The line sends from another address or port than before: see Line::localEndpoint().
    virtual void moved(const Endpoint& local) { Q_UNUSED(local) }
};

/// "send sid=5 0101 read DM 100 count=2, 18 bytes" and so on; without the time.
VELKOR_HOST_EXPORT QString traceSent(const QByteArray& frame, int attempt);
VELKOR_HOST_EXPORT QString traceNotSent(const QByteArray& frame, int attempt, int error);
VELKOR_HOST_EXPORT QString traceReceived(const QByteArray& datagram, Verdict verdict);
VELKOR_HOST_EXPORT QString traceTimedOut(const QByteArray& frame);

/// Frames and replies in words, one line each, with the time.
class VELKOR_HOST_EXPORT Trace : public FrameWitness {
public:
    /// Borrows `out`. `name`, if not empty, stands in each line behind the time: which line it is.
    explicit Trace(QTextStream& out, const QString& name = QString()) : m_out(out), m_name(name) {}
    void leaving() override;
    void sent(const QByteArray& frame, int attempt) override;
    void notSent(const QByteArray& frame, int attempt, int error) override;
    void received(const QByteArray& datagram, Verdict verdict) override;
    void timedOut(const QByteArray& frame) override;
    void portRefused() override;

private:
    void line(const QString& text, const QDateTime& when = QDateTime::currentDateTime());

    QTextStream& m_out;
    const QString m_name;
    QDateTime m_leaving;
};

/// A capture of the datagrams of one or more lines for Wireshark and its kin, readable while it is
/// being written. Off port 9600 Wireshark is told: -d udp.port==N,omron
///
/// One file, used on one thread. Its witnesses must not outlive it.
class VELKOR_HOST_EXPORT CaptureFile {
public:
    CaptureFile();
    ~CaptureFile();
    CaptureFile(const CaptureFile&) = delete;
    CaptureFile& operator=(const CaptureFile&) = delete;

    /// Begins the file anew. The result is empty or says why it cannot be written.
    ///
    /// A named pipe waits for its reader, here and whenever it is full. A host that must not wait
    /// for ever interrupts the wait by a signal whose handler lets no call go on (no SA_RESTART):
    /// the capture has a fault then.
    QString open(const QString& path);

    /// For one line, between these two addresses (see Line::localEndpoint()); the host owns it. It
    /// writes to the file that open() has begun last, and nothing while there is none.
    std::unique_ptr<FrameWitness> witness(const Endpoint& local, const Endpoint& plc);

    /// Empty while every packet has been written; else why one could not, and the file ends before
    /// it.
    QString fault() const;

private:
    class File;
    class Witness;
    std::unique_ptr<File> m_file;
};

} // namespace velkor_host

#endif
