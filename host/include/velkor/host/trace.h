#ifndef VELKOR_HOST_TRACE_H
#define VELKOR_HOST_TRACE_H

/// Frames and replies in words, one line each.

#include <velkor/host/export.h>
#include <velkor/host/witness.h>

#include <QtCore/QTextStream>

namespace velkor_host {

/// "send sid=5 0101 read DM 100 count=2, 18 bytes" and so on; without the time.
VELKOR_HOST_EXPORT QString traceSent(const QByteArray& frame, int attempt);
VELKOR_HOST_EXPORT QString traceNotSent(const QByteArray& frame, int attempt, int error);
VELKOR_HOST_EXPORT QString traceReceived(const QByteArray& datagram, Verdict verdict);
VELKOR_HOST_EXPORT QString traceTimedOut(const QByteArray& frame);

class VELKOR_HOST_EXPORT Trace : public FrameWitness {
public:
    /// Borrows `out`. `name`, if not empty, stands in each line behind the time: which line it is.
    explicit Trace(QTextStream& out, const QString& name = QString()) : m_out(out), m_name(name) {}
    void sent(const QByteArray& frame, int attempt) override;
    void notSent(const QByteArray& frame, int attempt, int error) override;
    void received(const QByteArray& datagram, Verdict verdict) override;
    void timedOut(const QByteArray& frame) override;
    void portRefused() override;

private:
    void line(const QString& text);

    QTextStream& m_out;
    const QString m_name;
};

} // namespace velkor_host

#endif
