#include <velkor/host/witness.h>

#include "host/wire/end_code_kinds.h"
#include "host/wire/fins_decode.h"

#include <QtCore/QDateTime>

#include <cstring>

namespace velkor_host {
namespace {

QString codeText(int command) {
    return QString::number(0x10000 + command, 16).mid(1).toUpper();
}

/// "sid=5 0101 read"
QString headText(const FinsFrame& frame) {
    QString text = QStringLiteral("sid=%1").arg(frame.sid);
    if (frame.command >= 0) {
        text += QStringLiteral(" %1 %2").arg(codeText(frame.command), commandText(frame.command));
    }
    return text;
}

QString verdictText(Verdict verdict) {
    switch (verdict) {
    case Verdict::NothingInFlight:
        return QStringLiteral("nothing is waiting for a reply");
    case Verdict::WrongServiceId:
        return QStringLiteral("not the service ID in flight");
    case Verdict::NoReply:
        return QStringLiteral("no reply to the frame in flight");
    case Verdict::Reply:
        break;
    }
    return QString();
}

/// "sid=5 0101 read DM 100 count=2, 18 bytes, try 2"
QString askedText(const QByteArray& bytes, int attempt) {
    const FinsFrame frame = decodeFins(bytes);
    QString text = headText(frame);
    if (frame.area >= 0) {
        text += QStringLiteral(" %1 count=%2").arg(memoryText(frame)).arg(frame.count);
    } else if (frame.command == FINS_RUN) {
        text += QStringLiteral(" MONITOR");
    }
    text += QStringLiteral(", %1 bytes").arg(frame.length);
    if (attempt > 1) {
        text += QStringLiteral(", try %1").arg(attempt);
    }
    return text;
}

} // namespace

QString traceSent(const QByteArray& frame, int attempt) {
    return QStringLiteral("send ") + askedText(frame, attempt);
}

QString traceNotSent(const QByteArray& frame, int attempt, int error) {
    return QStringLiteral("fail ") + askedText(frame, attempt) + QStringLiteral(": cannot send: ") +
           QString::fromLocal8Bit(std::strerror(error));
}

QString traceReceived(const QByteArray& datagram, Verdict verdict) {
    const FinsFrame frame = decodeFins(datagram);
    QString text = verdict == Verdict::Reply ? QStringLiteral("recv ") : QStringLiteral("drop ");
    text += frame.sid >= 0 && frame.isReply() ? headText(frame) : QStringLiteral("no FINS reply");
    if (frame.endCode >= 0) {
        text +=
            QStringLiteral(" end=%1 %2").arg(codeText(frame.endCode), endCodeWords(frame.endCode));
    }
    text += QStringLiteral(", %1 bytes").arg(frame.length);
    if (verdict != Verdict::Reply) {
        text += QStringLiteral(": ") + verdictText(verdict);
    }
    return text;
}

QString traceTimedOut(const QByteArray& frame) {
    return QStringLiteral("none ") + headText(decodeFins(frame)) +
           QStringLiteral(": no reply in time");
}

void Trace::line(const QString& text, const QDateTime& when) {
    m_out << when.toString(QStringLiteral("HH:mm:ss.zzz "));
    if (!m_name.isEmpty()) {
        m_out << m_name << ' ';
    }
    m_out << text << '\n';
    m_out.flush();
}

void Trace::leaving() {
    m_leaving = QDateTime::currentDateTime();
}

void Trace::sent(const QByteArray& frame, int attempt) {
    line(traceSent(frame, attempt), m_leaving);
}

void Trace::notSent(const QByteArray& frame, int attempt, int error) {
    line(traceNotSent(frame, attempt, error));
}

void Trace::received(const QByteArray& datagram, Verdict verdict) {
    line(traceReceived(datagram, verdict));
}

void Trace::timedOut(const QByteArray& frame) {
    line(traceTimedOut(frame));
}

void Trace::portRefused() {
    line(QStringLiteral("icmp the PLC's address says that nothing listens on the port"));
}

} // namespace velkor_host
