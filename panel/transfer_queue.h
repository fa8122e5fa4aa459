#ifndef VELKOR_PANEL_TRANSFER_QUEUE_H
#define VELKOR_PANEL_TRANSFER_QUEUE_H

/// Reads and writes of any length, as pieces of one frame each, one behind the other. Behind a
/// piece that failed nothing more of its transfer is sent, and the failure is how the transfer
/// ended, whatever comes after it. No driver, socket or clock.

#include "host/values/word_range.h"
#include "panel/exchange.h"
#include "panel/host_names.h"

#include <velkor/host/value.h>

#include <QtCore/QQueue>

namespace panel {

/// What one frame carries.
struct Piece {
    bool write = false;
    QString reg;
    int address = 0; ///< as the driver counts
    int length = 0;  ///< words or bits
    QByteArray data; ///< of a write, in the driver's byte order
};

/// A range as pieces of at most `wordsPerFrame` words; none but the last ends inside a 32-bit value
/// that begins at an even distance from the range's start, unless `wordsPerFrame` is 1.
QVector<Piece> readPieces(const WordRange& range, int wordsPerFrame);
/// The same of a write; bits too go `wordsPerFrame` at most in a frame.
QVector<Piece> writePieces(const QString& reg, int address, const Items& items, int wordsPerFrame);

/// How a whole read or write has ended. Items are words, or bits of a bit register.
struct TransferEnd {
    bool ok = false;
    bool write = false;
    QString reg;
    int address = 0;
    int length = 0;  ///< items asked for
    int done = 0;    ///< items, from the first, of the pieces that were done
    int perhaps = 0; ///< items behind those that the PLC may have written though their piece failed
    Settled last;    ///< the request that decided
};

class TransferQueue {
public:
    void add(const QVector<Piece>& pieces);

    /// Transfers that have not ended.
    int size() const { return static_cast<int>(m_transfers.size()); }

    /// The piece that is to be handed to the driver now, or is in its hands. Null: there is none.
    const Piece* piece() const;
    /// The piece is in the driver's hands from now on, until pieceEnded().
    void handedOver() { m_handedOver = true; }
    bool isHandedOver() const { return m_handedOver; }

    enum class Next {
        Piece, ///< there is more of this transfer
        Again, ///< the same piece is to be handed over once more
        Ended  ///< the transfer has ended
    };
    /// `*end` is written when the transfer has ended.
    ///
    /// A write that met the PLC in the wrong mode fails although the driver has switched the mode:
    /// the driver does not accept the replies to its resends. So it is handed over once more; and
    /// should it fail again though the PLC has acknowledged it, then it is written.
    Next pieceEnded(const Settled& settled, TransferEnd* end);

private:
    QQueue<QVector<Piece>> m_transfers; ///< the first is under way
    int m_at = 0;                       ///< piece of the first transfer
    bool m_handedOver = false;
    bool m_again = false;        ///< the piece is handed over for the second time
    bool m_acknowledged = false; ///< in whatever attempt
    bool m_perhaps = false;
};

} // namespace panel

#endif
