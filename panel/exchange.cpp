#include "panel/exchange.h"

#include "host/wire/fins_decode.h"
#include <velkor/host/end_codes.h>

#include <algorithm>

namespace panel {
namespace {

const int HEADER_LENGTH = 10;
const int SID_OFFSET = 9;
const int COMMAND_OFFSET = 10;
const int END_CODE_OFFSET = 12;
const int END_CODE_END = 14;

bool isModeChange(const FRAME_PRO& frame) {
    return frame.frame[COMMAND_OFFSET] == 0x04 && frame.frame[COMMAND_OFFSET + 1] == 0x01;
}

} // namespace

Exchange::Exchange(FrameSource& source, Link& link, const Clock& clock, ExchangeObserver& observer,
                   qint64 timeout)
    : m_source(source), m_link(link), m_clock(clock), m_observer(observer), m_timeout(timeout) {}

bool Exchange::start() {
    if (m_inFlight) {
        return true;
    }
    if (!m_source.nextFrame(&m_frame)) {
        return false;
    }
    sendFrame();
    return true;
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
    if (m_request.write) {
        m_request.data =
            QByteArray(reinterpret_cast<const char*>(m_frame.var.data), VELKOR_DATA_SIZE);
    }
}

void Exchange::sendFrame() {
    if (!m_requestOpen) {
        beginRequest();
    }
    if (isModeChange(m_frame)) {
        m_request.modeChange = true;
    } else {
        ++m_request.tries;
    }
    m_bytes = QByteArray(reinterpret_cast<const char*>(m_frame.frame), m_frame.sendLen);
    m_sentAt = m_clock.now();
    m_deadline = m_sentAt + m_timeout;
    // A refusal that the link tells of meanwhile is that of an earlier frame.
    m_link.send(m_bytes);
    m_inFlight = true;
    m_portRefused = false;
    m_observer.frameSent(m_bytes, m_request.tries);
}

Verdict Exchange::judge(const QByteArray& datagram) const {
    if (!m_inFlight) {
        return Verdict::NothingInFlight;
    }
    if (datagram.size() < HEADER_LENGTH || (datagram.at(0) & 0x40) == 0) {
        return Verdict::NoReply;
    }
    if (datagram.at(SID_OFFSET) != m_bytes.at(SID_OFFSET)) {
        return Verdict::WrongServiceId;
    }
    // A reply cut short before its command code is still one: the driver judges its length.
    const bool sameCommand = datagram.size() < END_CODE_OFFSET ||
                             datagram.mid(COMMAND_OFFSET, 2) == m_bytes.mid(COMMAND_OFFSET, 2);
    return sameCommand ? Verdict::Reply : Verdict::NoReply;
}

void Exchange::receive(const QByteArray& datagram) {
    const Verdict verdict = judge(datagram);
    m_observer.datagramReceived(datagram, verdict);
    if (verdict != Verdict::Reply) {
        return;
    }
    const FinsFrame reply = decodeFins(datagram);
    m_request.replyNode[0] = reply.sna;
    m_request.replyNode[1] = reply.sa1;
    m_request.replyNode[2] = reply.sa2;
    if (m_request.tries == 1 && !m_request.modeChange) {
        m_request.roundTrip = m_clock.now() - m_sentAt;
    }
    endTry(replyForDriver(datagram));
}

/// Notes the end code and returns what the driver is to see of the reply.
///
/// The driver takes any read reply of the right length for data, and takes a write for done
/// whatever its end code, the three mode refusals apart. So that a refused request fails:
/// - a read's reply with an error is cut after its end code: it carries no data;
/// - of a write's, the mode refusals go through, freed of the flag bits the driver does not know;
///   every other error becomes an empty reply, which the driver counts as no answer.
QByteArray Exchange::replyForDriver(const QByteArray& datagram) {
    if (datagram.size() < END_CODE_END) {
        return datagram;
    }
    const int endCode = decodeFins(datagram).endCode;
    if (isModeChange(m_frame)) {
        m_request.modeChangeEnd = endCode;
        return datagram;
    }
    m_request.endCode = endCode;
    m_request.refused = !isNormalEnd(endCode);
    if (m_request.write) {
        noteWriteReply(datagram);
    }
    if (!m_request.refused) {
        m_request.wrongLength += datagram.size() == m_frame.rcvLen ? 0 : 1;
        return datagram;
    }
    if (!m_request.write) {
        return datagram.left(END_CODE_END);
    }
    if (!isModeRefusal(endCode)) {
        return QByteArray();
    }
    m_request.refusalBeforeModeChange = endCode;
    const int plain = plainEndCode(endCode);
    QByteArray freed = datagram;
    freed[END_CODE_OFFSET] = static_cast<char>(plain >> 8);
    freed[END_CODE_OFFSET + 1] = static_cast<char>(plain & 0xFF);
    return freed;
}

void Exchange::noteWriteReply(const QByteArray& datagram) {
    const bool whole = datagram.size() == m_frame.rcvLen;
    m_request.acknowledged = m_request.acknowledged || (!m_request.refused && whole);
    m_request.perhaps = m_request.perhaps || !isSurelyNotDone(m_request.endCode);
}

void Exchange::portRefused() {
    if (m_inFlight) {
        ++m_request.refusedPort;
        m_portRefused = true;
    }
}

std::optional<Settled> Exchange::requestInTrouble() const {
    if (!m_requestOpen || (m_request.silent == 0 && m_request.refusedPort == 0)) {
        return std::nullopt;
    }
    Settled soFar = m_request;
    soFar.tries = std::max(1, soFar.silent); // without the one that is still waiting
    soFar.waited = m_clock.now() - m_begun;
    return soFar;
}

void Exchange::poll() {
    if (!m_inFlight || m_clock.now() < m_deadline) {
        return;
    }
    m_observer.tryTimedOut(m_bytes);
    if (!isModeChange(m_frame)) {
        ++m_request.silent;
        m_request.refused = false;
        m_request.perhaps = m_request.perhaps || (m_request.write && !m_portRefused);
    }
    endTry(QByteArray());
}

void Exchange::endTry(const QByteArray& reply) {
    m_inFlight = false;
    QString message;
    const int result = m_source.dealWithReply(reply, &message);
    if (result == REPLY_REQUEST_FAILED || result == REPLY_NOT_EXPECTED) {
        settle(false);
        return;
    }
    if (result == REPLY_ACCEPTED && !isModeChange(m_frame)) {
        settle(true);
        return;
    }
    // The frame goes out again, or what the driver has put before it.
    if (!m_source.nextFrame(&m_frame)) {
        settle(false);
        return;
    }
    sendFrame();
}

void Exchange::settle(bool ok) {
    m_request.ok = ok;
    m_request.waited = m_clock.now() - m_begun;
    m_requestOpen = false;
    const Settled settled = m_request;
    m_observer.requestSettled(settled);
}

} // namespace panel
