#include "host/wire/exchange.h"

#include "host/wire/end_code_kinds.h"
#include "host/wire/fins_decode.h"
#include "host/wire/request_facts.h"

#include <velkor/host/end_codes.h>

#include <algorithm>

namespace velkor_host {
namespace {

const int SID_OFFSET = 9;
const int COMMAND_OFFSET = 10;
const int END_CODE_OFFSET = 12;
const int END_CODE_END = 14;

/// Microseconds. Nothing that a frame has caused is under way for longer.
const qint64 LONGEST_LIFE = 120000000;

bool isModeChange(const FRAME_PRO& frame) {
    return frame.frame[COMMAND_OFFSET] == 0x04 && frame.frame[COMMAND_OFFSET + 1] == 0x01;
}

} // namespace

Exchange::Exchange(FrameSource& source, Link& link, const Clock& clock, ExchangeObserver& observer,
                   qint64 timeout, bool allowModeChange)
    : m_source(source), m_link(link), m_clock(clock), m_observer(observer), m_timeout(timeout),
      m_allowModeChange(allowModeChange) {}

bool Exchange::start() {
    if (m_inFlight) {
        return true;
    }
    if (!nextFrame()) {
        return false;
    }
    sendFrame();
    return true;
}

bool Exchange::nextFrame() {
    m_link.prepare();
    return m_source.nextFrame(&m_frame);
}

void Exchange::beginRequest() {
    m_request = Settled();
    m_requestOpen = true;
    m_begun = m_clock.now();
    m_request.reg = m_frame.var.regName;
    m_request.address = m_frame.var.addr;
    m_request.length = m_frame.var.len;
    m_request.tag = m_frame.var.type;
    m_request.write = m_frame.dataLen == 0;
    m_request.answeredBefore = m_answeredAt < 0 ? -1 : m_begun - m_answeredAt;
}

void Exchange::sendFrame() {
    if (!m_requestOpen) {
        beginRequest();
    }
    m_request.tries += isModeChange(m_frame) ? 0 : 1;
    m_bytes = QByteArray(reinterpret_cast<const char*>(m_frame.frame), m_frame.sendLen);
    m_inFlight = true;
    // Before the frame leaves: the reply may be there as soon as the socket has taken it.
    m_sentAt = m_clock.now();
    m_deadline = m_sentAt + m_timeout;
    m_observer.frameLeaving();
    m_sendError = m_link.send(m_bytes);
    m_portRefused = false; // what the link has told of meanwhile is the refusal of an earlier frame
    if (m_sendError != 0) {
        m_request.sendError = m_sendError;
        m_request.modeChangeUnsent += isModeChange(m_frame) ? 1 : 0;
        m_observer.frameNotSent(m_bytes, m_request.tries, m_sendError);
        return;
    }
    m_lastSent = m_bytes;
    m_request.modeChange = m_request.modeChange || isModeChange(m_frame);
    m_observer.frameSent(m_bytes, m_request.tries);
}

Verdict Exchange::judge(const QByteArray& datagram) const {
    // Of a frame that has never left only an earlier copy can be answered.
    if (!m_inFlight || (m_sendError != 0 && m_bytes != m_lastSent)) {
        return Verdict::NothingInFlight;
    }
    // What is too short for an end code tells nothing, and were it to end the try, a few damaged
    // replies would use up all tries at once.
    if (datagram.size() < END_CODE_END || (datagram.at(0) & 0x40) == 0) {
        return Verdict::NoReply;
    }
    if (datagram.at(SID_OFFSET) != m_bytes.at(SID_OFFSET)) {
        return Verdict::WrongServiceId;
    }
    const bool sameCommand = datagram.mid(COMMAND_OFFSET, 2) == m_bytes.mid(COMMAND_OFFSET, 2);
    return sameCommand ? Verdict::Reply : Verdict::NoReply;
}

void Exchange::receive(const QByteArray& datagram) {
    const qint64 receivedAt = m_clock.now();
    const Verdict verdict = judge(datagram);
    m_observer.datagramReceived(datagram, verdict);
    if (verdict != Verdict::Reply) {
        m_request.strange += m_requestOpen ? 1 : 0;
        return;
    }
    const FinsFrame reply = decodeFins(datagram);
    m_request.answeredAt = receivedAt - m_begun;
    if (!isErrorOnTheWay(reply.endCode)) {
        m_answeredAt = receivedAt;
    }
    m_request.replyNode[0] = reply.sna;
    m_request.replyNode[1] = reply.sa1;
    m_request.replyNode[2] = reply.sa2;
    if (m_request.tries == 1 && !m_request.modeChange) {
        m_request.roundTrip = receivedAt - m_sentAt;
    }
    endTry(replyForDriver(datagram));
}

/// Notes the end code and returns what the driver is to see of the reply.
///
/// The driver takes any read reply of the right length for data, so a read's reply with an error is
/// cut after its end code: it carries no data.
QByteArray Exchange::replyForDriver(const QByteArray& datagram) {
    const int endCode = decodeFins(datagram).endCode;
    if (isModeChange(m_frame)) {
        // One that came damaged, or refused, may be followed by one that did not.
        if (m_request.modeChangeEnd < 0 || !isNormalEnd(m_request.modeChangeEnd)) {
            m_request.modeChangeEnd = endCode;
        }
        return datagram;
    }
    m_request.endCode = endCode;
    m_request.refused = !isNormalEnd(endCode);
    if (!m_request.refused) {
        m_request.wrongLength += datagram.size() == m_frame.rcvLen ? 0 : 1;
        return datagram;
    }
    ++m_request.refusals;
    m_request.doubtful += !isSurelyNotDone(endCode) ? 1 : 0;
    return m_request.write ? refusalForDriver(datagram, endCode) : datagram.left(END_CODE_END);
}

/// The driver takes a write for done whatever its end code, the three mode refusals apart. So that
/// a refused write fails, the mode refusals go through, if the mode may be changed, freed of the
/// flag bits that the driver does not know; every other error becomes an empty reply, which the
/// driver counts as no answer.
QByteArray Exchange::refusalForDriver(const QByteArray& datagram, int endCode) {
    if (!isModeRefusal(endCode) || !m_allowModeChange) {
        return QByteArray();
    }
    m_request.refusalBeforeModeChange = endCode;
    const int plain = plainEndCode(endCode);
    QByteArray freed = datagram;
    freed[END_CODE_OFFSET] = static_cast<char>(plain >> 8);
    freed[END_CODE_OFFSET + 1] = static_cast<char>(plain & 0xFF);
    return freed;
}

void Exchange::portRefused() {
    m_request.refusedPort += m_inFlight ? 1 : 0;
    forgetOldFrames();
    if (!m_unaccounted.empty()) {
        m_unaccounted.pop_front();
    } else {
        m_portRefused = m_inFlight && m_sendError == 0;
    }
}

void Exchange::forgetOldFrames() {
    const qint64 now = m_clock.now();
    while (!m_unaccounted.empty() && now - m_unaccounted.front() > LONGEST_LIFE) {
        m_unaccounted.pop_front();
    }
}

std::optional<RequestEnd> Exchange::requestUnderWay() const {
    if (!m_requestOpen) {
        return std::nullopt;
    }
    RequestEnd soFar = m_request;
    soFar.waited = m_clock.now() - m_begun;
    addTryInFlight(&soFar);
    return soFar;
}

/// What is known of it before its deadline has passed: that nobody has got its frame.
void Exchange::addTryInFlight(RequestEnd* soFar) const {
    if (m_inFlight && !isModeChange(m_frame)) {
        soFar->unreached += m_portRefused ? 1 : 0;
        soFar->unsent += m_sendError != 0 ? 1 : 0;
    }
}

std::optional<RequestEnd> Exchange::requestInTrouble(qint64 patience) const {
    std::optional<RequestEnd> soFar = requestUnderWay();
    const bool overdue = m_inFlight && m_clock.now() - m_sentAt > patience;
    if (!soFar ||
        (soFar->silent == 0 && soFar->refusedPort == 0 && soFar->sendError == 0 && !overdue)) {
        return std::nullopt;
    }
    // Without the one that is still waiting, unless it is known that it waits in vain.
    const bool inVain = m_inFlight && (m_portRefused || m_sendError != 0);
    soFar->tries = std::max(1, soFar->silent + (inVain ? 1 : 0));
    return soFar;
}

void Exchange::poll() {
    if (!m_inFlight || m_clock.now() < m_deadline) {
        return;
    }
    if (m_sendError == 0) {
        m_observer.tryTimedOut(m_bytes);
    }
    if (m_sendError == 0 && !m_portRefused) {
        forgetOldFrames();
        m_unaccounted.push_back(m_sentAt);
    }
    addTryInFlight(&m_request);
    if (!isModeChange(m_frame)) {
        ++m_request.silent;
        m_request.refused = false;
    }
    endTry(QByteArray());
}

bool Exchange::doomed() const {
    return m_abandoned || (m_request.write && m_request.refusals > 0 && !isModeChange(m_frame));
}

void Exchange::endTry(const QByteArray& reply) {
    m_inFlight = false;
    QString message;
    int result = m_source.dealWithReply(reply, &message);
    for (;;) {
        if (result == REPLY_REQUEST_FAILED || result == REPLY_NOT_EXPECTED) {
            settle(false);
            return;
        }
        if (result == REPLY_ACCEPTED && !isModeChange(m_frame)) {
            settle(true);
            return;
        }
        // The frame goes out again, or what the driver has put before it.
        if (!nextFrame()) {
            settle(false);
            return;
        }
        if (!doomed()) {
            sendFrame();
            return;
        }
        result = m_source.dealWithReply(QByteArray(), &message);
    }
}

void Exchange::discardNext() {
    if (m_inFlight || !m_source.nextFrame(&m_frame)) {
        return;
    }
    beginRequest();
    m_abandoned = true;
    endTry(QByteArray());
}

void Exchange::settle(bool ok) {
    m_request.ok = ok;
    m_request.waited = m_clock.now() - m_begun;
    m_requestOpen = false;
    m_abandoned = false;
    const Settled settled = m_request;
    m_observer.requestSettled(settled);
}

} // namespace velkor_host
