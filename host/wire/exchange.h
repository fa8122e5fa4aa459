#ifndef VELKOR_HOST_WIRE_EXCHANGE_H
#define VELKOR_HOST_WIRE_EXCHANGE_H

/// The exchange of frames and replies between the driver and the PLC, without socket and clock.
///
/// One frame is in flight at a time. Each try has a deadline; when it passes, the driver is handed
/// an empty reply and says whether the frame goes out again. Only a reply to the frame in flight
/// ends a try: anything else is dropped and counted, and the wait goes on, so that one late reply
/// does not set off a chain of resends each of whose replies comes too late in turn.
///
/// Two kinds of frames are never sent; the driver is answered with empty replies until it gives the
/// request up:
/// - the resends of a write that the PLC has refused. They keep their service ID. After a change of
///   the PLC's mode the driver takes only the newest ID for good, so it could never learn that the
///   PLC has executed them; and a second copy of the refusal would pass for the answer to a resend
///   that the PLC executes. Whoever wants to try again makes a request of its own of it;
/// - everything that is left of a request that the host has abandoned.

#include <velkor/host/request_end.h>
#include <velkor/host/witness.h>

#include <velkor/host_interface.h>

#include <deque>
#include <optional>

namespace velkor_host {

/// The driver's side: the two calls of the exchange.
class FrameSource {
public:
    FrameSource() = default;
    FrameSource(const FrameSource&) = delete;
    FrameSource& operator=(const FrameSource&) = delete;
    virtual ~FrameSource() = default;
    /// False: nothing to send.
    virtual bool nextFrame(FRAME_PRO* frame) = 0;
    /// A ReplyResult.
    virtual int dealWithReply(QByteArray reply, QString* message) = 0;
};

/// The network's side.
class Link {
public:
    Link() = default;
    Link(const Link&) = delete;
    Link& operator=(const Link&) = delete;
    virtual ~Link() = default;
    /// The driver is about to be asked for a frame: the time to mend what kept the last one from
    /// being sent, and to tell the driver by what node number it sends from now on.
    virtual void prepare() {}
    /// 0, or why the system did not take the frame, as its error number (errno): then nothing of it
    /// has left this computer.
    virtual int send(const QByteArray& frame) = 0;
};

class Clock {
public:
    Clock() = default;
    Clock(const Clock&) = delete;
    Clock& operator=(const Clock&) = delete;
    virtual ~Clock() = default;
    /// Microseconds from any fixed point, never going back.
    virtual qint64 now() const = 0;
};

/// A request that has ended, and what only the layer itself needs to know of it.
struct Settled : RequestEnd {
    int tag = 0; ///< VARIABLE::type; of a recipe frame it is that of the request before
};

class ExchangeObserver {
public:
    ExchangeObserver() = default;
    ExchangeObserver(const ExchangeObserver&) = delete;
    ExchangeObserver& operator=(const ExchangeObserver&) = delete;
    virtual ~ExchangeObserver() = default;
    /// The system is about to be asked to take a frame; one of the next two follows.
    virtual void frameLeaving() {}
    /// The system has taken the frame.
    virtual void frameSent(const QByteArray& frame, int attempt) = 0;
    /// It has not; `error` as of Link::send(). The try waits on all the same, as for a reply: that
    /// keeps the line from trying without end.
    virtual void frameNotSent(const QByteArray& frame, int attempt, int error) = 0;
    virtual void datagramReceived(const QByteArray& datagram, Verdict verdict) = 0;
    /// Of a frame that was sent.
    virtual void tryTimedOut(const QByteArray& frame) = 0;
    /// The driver has closed the request. The exchange is idle; start() may be called again.
    virtual void requestSettled(const Settled& settled) = 0;
};

class Exchange {
public:
    /// `timeout` of a try in microseconds. With `allowModeChange` the driver is shown a refusal by
    /// the PLC's mode and switches it to MONITOR; without, such a refusal is like any other.
    Exchange(FrameSource& source, Link& link, const Clock& clock, ExchangeObserver& observer,
             qint64 timeout, bool allowModeChange);

    bool idle() const { return !m_inFlight; }

    /// Asks the driver for a frame and sends it, unless one is in flight. False: nothing to send.
    bool start();

    /// A datagram has come from the PLC's address.
    void receive(const QByteArray& datagram);

    /// The PLC's computer has said that nothing listens on the port. The try waits on all the same:
    /// the PLC may be just starting, and waiting is what keeps the line from sending without end.
    /// Which frame it means is not said. It is held against the frame in flight only when every
    /// earlier one has had its reply or its refusal.
    void portRefused();

    /// Nothing more is sent of the request under way. The frame in flight is waited for: its reply
    /// still settles it.
    void abandon() { m_abandoned = m_inFlight; }

    /// Closes the driver's next request without sending anything of it: observers are told that it
    /// has failed with 0 tries. Only when idle; does nothing when the driver has none.
    void discardNext();

    /// The request under way, so far, once a try of it has gone unanswered or has met a closed
    /// port, or waits for longer than `patience` microseconds: why values grow old is known before
    /// it has failed for good.
    std::optional<RequestEnd> requestInTrouble(qint64 patience) const;
    /// The request whose frame is in flight; nothing when idle.
    std::optional<RequestEnd> requestUnderWay() const;
    /// Settled::tag of it; -1 when idle.
    int tagUnderWay() const { return m_requestOpen ? m_request.tag : -1; }

    /// When poll() is to be called next, on the clock's scale; -1 when idle.
    qint64 deadline() const { return m_inFlight ? m_deadline : -1; }

    /// Ends the try whose deadline has passed.
    void poll();

private:
    Verdict judge(const QByteArray& datagram) const;
    QByteArray replyForDriver(const QByteArray& datagram);
    QByteArray refusalForDriver(const QByteArray& datagram, int endCode);
    bool doomed() const;
    bool nextFrame();
    void beginRequest();
    void sendFrame();
    void endTry(const QByteArray& reply);
    void settle(bool ok);
    void addTryInFlight(RequestEnd* soFar) const;
    void forgetOldFrames();

    FrameSource& m_source;
    Link& m_link;
    const Clock& m_clock;
    ExchangeObserver& m_observer;
    const qint64 m_timeout;
    const bool m_allowModeChange;

    FRAME_PRO m_frame = FRAME_PRO();
    QByteArray m_bytes; ///< of m_frame
    bool m_inFlight = false;
    bool m_requestOpen = false;
    bool m_abandoned = false;
    bool m_portRefused = false; ///< the frame in flight has met a closed port
    int m_sendError = 0;        ///< the frame "in flight" has never left: as of Link::send()
    QByteArray m_lastSent;      ///< the bytes that have left last
    /// When the frames left that have had neither reply nor refusal, the oldest first.
    std::deque<qint64> m_unaccounted;
    Settled m_request;
    qint64 m_begun = 0;
    qint64 m_answeredAt = -1; ///< the PLC's last answer; -1: none so far
    qint64 m_sentAt = 0;
    qint64 m_deadline = 0;
};

} // namespace velkor_host

#endif
