#include "panel/transfer_queue.h"

#include <velkor/host/registers.h>

#include <algorithm>

namespace panel {
namespace {

const int LARGEST_WRITE_WORDS = 503; // what the driver's frame of 1024 bytes carries
const int LARGEST_WRITE_BITS = 1006;

bool isBits(const QString& reg) {
    return reg.endsWith(QLatin1String("_bit"));
}

int itemsOf(const QVector<Piece>& pieces, int count) {
    int items = 0;
    for (int index = 0; index < count; ++index) {
        items += pieces.at(index).length;
    }
    return items;
}

} // namespace

QVector<Piece> readPieces(const WordRange& range, int wordsPerFrame) {
    const int most = range.length > wordsPerFrame ? pieceLength(wordsPerFrame) : wordsPerFrame;
    QVector<Piece> pieces;
    for (int at = 0; at < range.length; at += most) {
        Piece piece;
        piece.reg = range.reg;
        piece.address = range.address + at;
        piece.length = std::min(most, range.length - at);
        pieces.append(piece);
    }
    return pieces;
}

QVector<Piece> writePieces(const QString& reg, int address, const Items& items, int wordsPerFrame) {
    const bool bits = isBits(reg);
    int most = std::min(wordsPerFrame, bits ? LARGEST_WRITE_BITS : LARGEST_WRITE_WORDS);
    if (!bits && items.size() > most) {
        most = pieceLength(most);
    }
    QVector<Piece> pieces;
    for (int at = 0; at < items.size(); at += most) {
        const Items part = items.mid(at, most);
        Piece piece;
        piece.write = true;
        piece.reg = reg;
        piece.address = address + at;
        piece.length = static_cast<int>(part.size());
        piece.data = toDriverBytes(part, bits);
        pieces.append(piece);
    }
    return pieces;
}

void TransferQueue::add(const QVector<Piece>& pieces) {
    if (!pieces.isEmpty()) {
        m_transfers.enqueue(pieces);
    }
}

const Piece* TransferQueue::piece() const {
    return m_transfers.isEmpty() ? nullptr : &m_transfers.head().at(m_at);
}

TransferQueue::Next TransferQueue::pieceEnded(const Settled& settled, TransferEnd* end) {
    m_handedOver = false;
    m_acknowledged = m_acknowledged || settled.acknowledged;
    m_perhaps = m_perhaps || settled.perhaps;
    if (!settled.ok && settled.modeChange && !m_again) {
        m_again = true;
        return Next::Again;
    }
    const bool ok = settled.ok || m_acknowledged;
    const bool perhaps = m_perhaps;
    m_again = m_acknowledged = m_perhaps = false;
    const QVector<Piece>& pieces = m_transfers.head();
    if (ok && m_at + 1 < pieces.size()) {
        ++m_at;
        return Next::Piece;
    }
    const Piece& first = pieces.first();
    end->ok = ok;
    end->write = first.write;
    end->reg = first.reg;
    end->address = first.address;
    end->length = itemsOf(pieces, static_cast<int>(pieces.size()));
    end->done = itemsOf(pieces, ok ? m_at + 1 : m_at);
    end->perhaps = !ok && perhaps ? pieces.at(m_at).length : 0;
    end->last = settled;
    m_transfers.dequeue();
    m_at = 0;
    return Next::Ended;
}

} // namespace panel
