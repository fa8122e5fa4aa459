#include "host/jobs/transfer.h"

#include "host/values/item_bytes.h"

#include <velkor/host/end_codes.h>
#include <velkor/host/registers.h>

#include <algorithm>

namespace velkor_host {
namespace {

const int LARGEST_WRITE_WORDS = 503; // what the driver's frame of 1024 bytes carries
const int LARGEST_WRITE_BITS = 1006;

/// Items in a piece of a range of `count`: no value of two words is torn between two pieces.
int itemsInPiece(int count, bool bits, int wordsPerFrame) {
    const int most = std::min(wordsPerFrame, bits ? LARGEST_WRITE_BITS : LARGEST_WRITE_WORDS);
    return bits || count <= most ? most : pieceLength(most);
}

bool modeWasSwitched(const RequestEnd& end) {
    return end.modeChangeEnd >= 0 && isNormalEnd(end.modeChangeEnd);
}

bool modeIsUnknown(const RequestEnd& end) {
    return end.modeChange && end.modeChangeEnd < 0;
}

/// Two requests for one piece as one: what the second says, with what the first has cost.
RequestEnd together(const RequestEnd& first, const RequestEnd& second) {
    if (first.tries == 0) {
        return second;
    }
    RequestEnd both = second.tries > 0 ? second : first;
    if (second.tries > 0) {
        both.tries += first.tries;
        both.refusals += first.refusals;
        both.doubtful += first.doubtful;
        both.silent += first.silent;
        both.strange += first.strange;
        both.unreached += first.unreached;
        both.unsent += first.unsent;
        both.modeChangeUnsent += first.modeChangeUnsent;
        both.refusedPort += first.refusedPort;
        both.wrongLength += first.wrongLength;
        both.answeredAt =
            second.answeredAt >= 0 ? first.waited + second.answeredAt : first.answeredAt;
        both.waited += first.waited;
        both.answeredBefore = first.answeredBefore;
        both.roundTrip = first.roundTrip;
        if (second.sendError == 0) {
            both.sendError = first.sendError;
        }
        if (second.endCode < 0) {
            both.endCode = first.endCode;
        }
        both.refusedAfterModeChange =
            first.refusedAfterModeChange || (modeWasSwitched(first) && second.refused);
        if (!second.modeChange) {
            both.modeChange = first.modeChange;
            both.modeChangeEnd = first.modeChangeEnd;
            both.refusalBeforeModeChange = first.refusalBeforeModeChange;
        }
    }
    return both;
}

WrittenItems itemsWritten(const QString& reg, int address, int count) {
    const bool bits = isBitRegister(reg);
    const WordRange words = wordsHolding(reg, bits, address, count);
    return bits ? WrittenItems(words, address, count) : WrittenItems(words);
}

/// The end that the line's closing puts to a piece of which nothing has been sent.
RequestEnd neverTried(const Piece& piece, bool write) {
    RequestEnd end;
    end.write = write;
    end.reg = piece.reg;
    end.address = piece.address;
    end.length = piece.length;
    return end;
}

} // namespace

WriteTransfer::WriteTransfer(quint64 id, const QString& reg, int address, const Items& items,
                             int wordsPerFrame, int tries)
    : m_items(items),
      m_most(itemsInPiece(static_cast<int>(items.size()), isBitRegister(reg), wordsPerFrame)),
      m_tries(tries) {
    m_outcome.id = id;
    m_outcome.reg = reg;
    m_outcome.address = address;
    m_outcome.count = static_cast<int>(items.size());
}

int WriteTransfer::pieceItems() const {
    return std::min(m_most, m_outcome.count - m_outcome.taken);
}

Piece WriteTransfer::piece() const {
    Piece piece;
    piece.reg = m_outcome.reg;
    piece.address = m_outcome.address + m_outcome.taken;
    piece.length = pieceItems();
    piece.items = m_items.mid(m_outcome.taken, piece.length);
    return piece;
}

WrittenItems WriteTransfer::written() const {
    return itemsWritten(m_outcome.reg, m_outcome.address, m_outcome.count);
}

WrittenItems WriteTransfer::pieceWritten() const {
    return itemsWritten(m_outcome.reg, m_outcome.address + m_outcome.taken, pieceItems());
}

/// Whether the piece is to be handed over once more. Each time it is a request of its own, because
/// the resends of one request cannot be told apart: see Exchange. A write that met the PLC in the
/// wrong mode fails although the driver has switched the mode, so it is written again, once.
bool WriteTransfer::again(const RequestEnd& end) {
    if (modeWasSwitched(end)) {
        const bool first = !m_switched;
        m_switched = true;
        return first;
    }
    return end.refused && !modeIsUnknown(end) && m_soFar.tries < m_tries;
}

void WriteTransfer::noteMode(const RequestEnd& end) {
    m_outcome.modeSwitched = m_outcome.modeSwitched || modeWasSwitched(end);
    m_outcome.modeUnknown =
        !m_outcome.modeSwitched && (m_outcome.modeUnknown || modeIsUnknown(end));
}

/// What became of the piece in hand, by all that has been sent of it.
void WriteTransfer::judge() {
    m_outcome.last = m_soFar;
    if (m_soFar.surelyNotExecuted()) {
        m_outcome.result = m_soFar.refusals > 0 ? WriteResult::Refused : WriteResult::NotReached;
    } else {
        m_outcome.result = WriteResult::Unknown;
        m_outcome.unknown = pieceItems();
    }
}

NextStep WriteTransfer::pieceEnded(const RequestEnd& end) {
    m_soFar = together(m_soFar, end);
    m_outcome.last = m_soFar;
    noteMode(end);
    if (end.ok) {
        m_outcome.taken += pieceItems();
        m_outcome.result = WriteResult::Taken;
        m_soFar = RequestEnd();
        m_switched = false;
        return m_outcome.taken < m_outcome.count ? NextStep::Piece : NextStep::Ended;
    }
    if (again(end)) {
        return NextStep::Piece;
    }
    judge();
    return NextStep::Ended;
}

void WriteTransfer::cancel(const std::optional<RequestEnd>& underWay) {
    if (underWay) {
        m_soFar = together(m_soFar, *underWay);
        noteMode(*underWay);
    }
    if (m_soFar.tries == 0) {
        m_soFar = neverTried(piece(), true);
    }
    m_soFar.closed = true;
    judge();
}

void WriteTransfer::takeBack() {
    m_soFar = neverTried(piece(), true);
    m_soFar.takenBack = true;
    judge();
}

ReadTransfer::ReadTransfer(quint64 id, const QString& reg, int address, int count,
                           int wordsPerFrame)
    : m_words(wordsHolding(reg, isBitRegister(reg), address, count)),
      m_most(m_words.length > wordsPerFrame ? pieceLength(wordsPerFrame) : wordsPerFrame) {
    m_outcome.id = id;
    m_outcome.reg = reg;
    m_outcome.address = address;
    m_outcome.count = count;
}

Piece ReadTransfer::piece() const {
    Piece piece;
    piece.reg = m_words.reg;
    const int done = static_cast<int>(m_read.size());
    piece.address = m_words.address + done;
    piece.length = std::min(m_most, m_words.length - done);
    return piece;
}

void ReadTransfer::cancel(const std::optional<RequestEnd>& underWay) {
    m_outcome.last = underWay && underWay->tries > 0 ? *underWay : neverTried(piece(), false);
    m_outcome.last.closed = true;
}

void ReadTransfer::takeBack() {
    m_outcome.last = neverTried(piece(), false);
    m_outcome.last.takenBack = true;
}

NextStep ReadTransfer::pieceEnded(const RequestEnd& end, const Items& words) {
    m_outcome.last = end;
    if (!end.ok) {
        return NextStep::Ended;
    }
    m_read += words;
    if (m_read.size() < m_words.length) {
        return NextStep::Piece;
    }
    m_outcome.ok = true;
    m_outcome.items = isBitRegister(m_outcome.reg)
                          ? bitsOf(m_read, m_words.address, m_outcome.address, m_outcome.count)
                          : m_read;
    return NextStep::Ended;
}

} // namespace velkor_host
