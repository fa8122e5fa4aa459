#ifndef VELKOR_HOST_WITNESS_H
#define VELKOR_HOST_WITNESS_H

/// Something that watches the datagrams of a line: a trace, a capture.

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <velkor/host/export.h>

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
    virtual void portRefused() = 0;
};

} // namespace velkor_host

#endif
