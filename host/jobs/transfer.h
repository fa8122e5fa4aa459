#ifndef VELKOR_HOST_JOBS_TRANSFER_H
#define VELKOR_HOST_JOBS_TRANSFER_H

/// One write or one-shot read of the host's, piece by piece. Pure: it says which piece is next and
/// is told how each ended.

#include "host/values/word_range.h"

#include <velkor/host/outcome.h>

namespace velkor_host {

/// What is handed to the driver at a time: fits one frame.
struct Piece {
    QString reg;
    int address = 0;
    int length = 0;
    Items items; ///< of a write
};

/// What comes after a piece.
enum class NextStep {
    Piece, ///< piece() is to be handed over (the next one, or the same once more)
    Ended  ///< the outcome is known; nothing more is sent
};

class WriteTransfer {
public:
    /// A piece that is refused is handed over again until `tries` of it have been sent.
    WriteTransfer(quint64 id, const QString& reg, int address, const Items& items,
                  int wordsPerFrame, int tries);

    Piece piece() const;
    NextStep pieceEnded(const RequestEnd& end);
    /// The line is closed: nothing more will be sent. `underWay`: of the piece that has been sent
    /// and not settled.
    void cancel(const std::optional<RequestEnd>& underWay);
    /// Whether a piece of it has been settled.
    bool begun() const { return m_soFar.tries > 0 || m_outcome.taken > 0; }
    /// The host does not want it any more; nothing of it has been handed over.
    void takeBack();

    /// Once it has ended.
    const WriteOutcome& outcome() const { return m_outcome; }
    /// What it changes, all of it and the piece in hand.
    WrittenItems written() const;
    WrittenItems pieceWritten() const;

private:
    int pieceItems() const;
    bool again(const RequestEnd& end);
    void noteMode(const RequestEnd& end);
    void judge();

    Items m_items;
    int m_most; ///< items in a piece
    int m_tries;
    bool m_switched = false; ///< the mode, for this piece
    RequestEnd m_soFar;      ///< of this piece, all requests for it together
    WriteOutcome m_outcome;
};

class ReadTransfer {
public:
    ReadTransfer(quint64 id, const QString& reg, int address, int count, int wordsPerFrame);

    /// Bits are asked for as the words that hold them all: the driver counts the words of a bit
    /// range from the first one's bit 0.
    Piece piece() const;
    /// `words`: of the piece, when it has been read.
    NextStep pieceEnded(const RequestEnd& end, const Items& words);
    /// As of a write.
    void cancel(const std::optional<RequestEnd>& underWay);
    bool begun() const { return !m_read.isEmpty(); }
    void takeBack();

    const ReadOutcome& outcome() const { return m_outcome; }

private:
    WordRange m_words;
    int m_most;
    Items m_read;
    ReadOutcome m_outcome;
};

} // namespace velkor_host

#endif
