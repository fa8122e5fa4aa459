#ifndef VELKOR_HOST_TRACE_H
#define VELKOR_HOST_TRACE_H

/// Frames and replies in words, one line each.

#include <velkor/host/witness.h>

#include <QtCore/QTextStream>

namespace velkor_host {

/// "send sid=5 0101 read DM 100 count=2, 18 bytes" and so on; without the time.
QString traceSent(const QByteArray& frame, int attempt);
QString traceReceived(const QByteArray& datagram, Verdict verdict);
QString traceTimedOut(const QByteArray& frame);

class Trace : public FrameWitness {
public:
    explicit Trace(QTextStream& out) : m_out(out) {}
    void sent(const QByteArray& frame, int attempt) override;
    void received(const QByteArray& datagram, Verdict verdict) override;
    void timedOut(const QByteArray& frame) override;
    void portRefused() override;

private:
    void line(const QString& text);

    QTextStream& m_out;
};

} // namespace velkor_host

#endif
