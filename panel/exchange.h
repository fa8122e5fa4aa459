#ifndef VELKOR_PANEL_EXCHANGE_H
#define VELKOR_PANEL_EXCHANGE_H

/// The exchange of frames and replies between the driver and the PLC, without socket and clock.
///
/// One frame is in flight at a time. Each try has a deadline; when it passes, the driver is handed
/// an empty reply and says whether the frame goes out again. Only a reply to the frame in flight
/// ends a try: anything else is dropped and counted, and the wait goes on, so that one late reply
/// does not set off a chain of resends each of whose replies comes too late in turn.

#include "panel/host_names.h"
#include <velkor/host_interface.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <optional>

namespace panel {

/// The driver's side: the two calls of the exchange.
class FrameSource {
public:
    FrameSource() = default;
    FrameSource(const FrameSource&) = delete;
    FrameSource& operator=(const FrameSource&) = delete;
    virtual ~FrameSource() = default;
    /// False: nothing to send.
    virtual bool nextFrame(FRAME_PRO* frame) = 0;
    virtual int dealWithReply(QByteArray reply, QString* message) = 0;
};

/// The network's side. A frame that cannot be sent counts as sent and lost.
class Link {
public:
    Link() = default;
    Link(const Link&) = delete;
    Link& operator=(const Link&) = delete;
    virtual ~Link() = default;
    virtual void send(const QByteArray& frame) = 0;
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

/// How a request ended. A request may take several frames: resends and a mode change.
struct Settled {
    bool ok = false;
    QString reg; ///< the request, as the driver cut it
    int address = 0;
    int length = 0;
    int tag = 0; ///< VARIABLE::type
    bool write = false;
    QByteArray data; ///< of a write, in the driver's byte order

    int tries = 0;           ///< frames sent, mode changes not counted
    int silent = 0;          ///< tries that no reply ended
    int refusedPort = 0;     ///< how often the PLC's computer said that nothing listens on the port
    int wrongLength = 0;     ///< replies of a wrong length that carried no error
    int endCode = -1;        ///< of the last reply; -1: none
    bool refused = false;    ///< the last reply carried an error
    bool modeChange = false; ///< the driver asked the PLC to change to MONITOR mode
    int modeChangeEnd = -1;  ///< end code of that; -1: no answer
    int refusalBeforeModeChange = -1;
    qint64 waited = 0;     ///< microseconds from the first frame to the end
    qint64 roundTrip = -1; ///< microseconds to the reply to the first try; -1: it had none
    int replyNode[3] = {-1, -1, -1}; ///< network, node and unit that answered

    // Of a write, in whatever of its tries:
    bool acknowledged = false; ///< the PLC has answered that it is done, though the driver may have
                               ///< failed it: after a change of mode it does not accept the answer
    bool perhaps = false;      ///< the PLC may have done it
};

enum class Verdict {
    Reply, ///< to the frame in flight
    NothingInFlight,
    WrongServiceId,
    NoReply, ///< too short for a header, no reply at all, or to another command
};

class ExchangeObserver {
public:
    ExchangeObserver() = default;
    ExchangeObserver(const ExchangeObserver&) = delete;
    ExchangeObserver& operator=(const ExchangeObserver&) = delete;
    virtual ~ExchangeObserver() = default;
    virtual void frameSent(const QByteArray& frame, int attempt) = 0;
    virtual void datagramReceived(const QByteArray& datagram, Verdict verdict) = 0;
    virtual void tryTimedOut(const QByteArray& frame) = 0;
    virtual void requestSettled(const Settled& settled) = 0;
};

class Exchange {
public:
    /// `timeout` of a try in microseconds.
    Exchange(FrameSource& source, Link& link, const Clock& clock, ExchangeObserver& observer,
             qint64 timeout);

    bool idle() const { return !m_inFlight; }

    /// Asks the driver for a frame and sends it, unless one is in flight. False: nothing to send.
    bool start();

    /// A datagram has come from the PLC's address.
    void receive(const QByteArray& datagram);

    /// The PLC's computer has said that nothing listens on the port. The try waits on all the same:
    /// the PLC may be just starting, and waiting is what keeps the panel from sending without end.
    void portRefused();

    /// The request under way, so far, once a try of it has gone unanswered or has met a closed
    /// port: why values grow old is known before it has failed for good.
    std::optional<Settled> requestInTrouble() const;

    /// When poll() is to be called next, on the clock's scale; -1 when idle.
    qint64 deadline() const { return m_inFlight ? m_deadline : -1; }

    /// Ends the try whose deadline has passed.
    void poll();

private:
    Verdict judge(const QByteArray& datagram) const;
    QByteArray replyForDriver(const QByteArray& datagram);
    void noteWriteReply(const QByteArray& datagram);
    void sendFrame();
    void endTry(const QByteArray& reply);
    void settle(bool ok);
    void beginRequest();

    FrameSource& m_source;
    Link& m_link;
    const Clock& m_clock;
    ExchangeObserver& m_observer;
    const qint64 m_timeout;

    FRAME_PRO m_frame = FRAME_PRO();
    QByteArray m_bytes; ///< of m_frame, as sent
    bool m_inFlight = false;
    bool m_requestOpen = false;
    bool m_portRefused = false; ///< the frame in flight met a closed port
    Settled m_request;
    qint64 m_begun = 0;
    qint64 m_sentAt = 0;
    qint64 m_deadline = 0;
};

} // namespace panel

#endif
