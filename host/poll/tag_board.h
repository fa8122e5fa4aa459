#ifndef VELKOR_HOST_POLL_TAG_BOARD_H
#define VELKOR_HOST_POLL_TAG_BOARD_H

/// What is known of each tag, and whether it may still be trusted. Pure: it is told what was read,
/// what failed and what time it is. Times in microseconds.

#include "host/poll/isolation.h"
#include "host/values/word_range.h"

#include <velkor/host/tag.h>

#include <QtCore/QHash>

#include <functional>
#include <limits>

namespace velkor_host {

/// Fetches words as the driver has them.
typedef std::function<Items(const WordRange&)> FetchFunction;

class TagBoard {
public:
    TagBoard() = default;
    /// Every tag is NotRead.
    explicit TagBoard(const QVector<Tag>& tags);

    int size() const { return static_cast<int>(m_entries.size()); }
    const QVector<Tag>& tags() const { return m_tags; }
    const TagStatus& at(int index) const { return m_entries.at(index).status; }
    bool allFresh() const;

    /// The words of all tags; they may overlap.
    QVector<WordRange> words() const;

    /// These words have just been read, by a request whose first frame left at `askedAt`: they may
    /// be as old as that. Where a tag may have changed, `fetch` is asked for the words of `read`,
    /// once at most.
    void wordsRead(const WordRange& read, const FetchFunction& fetch, qint64 askedAt, qint64 now);
    void readFailed(const WordRange& asked, const QString& reason, qint64 since, qint64 now);
    /// Every word has been asked for since the last call: tags that come in several reads, and of
    /// which every word has been read since then, are whole now.
    void scanEnded(const FetchFunction& fetch, qint64 now);
    /// Lets values grow old. What has grown old stays so until it is read again, also with a
    /// longer limit.
    void timePasses(qint64 now, qint64 staleAfter);
    /// Of one tag, with the limit of before.
    void growOlder(int index, qint64 now);

    /// The driver has announced a change of a word, or of a bit of a bit register.
    void valueChanged(const QString& reg, int address);
    /// The driver will not announce what it has announced already: everything is looked at again.
    void lookAtAll();
    void lookAt(const WordRange& words);

    /// Writes that are not settled, counted: each begun one ends once. A write of bits leaves the
    /// tags of other bits alone.
    void writeBegun(const WrittenItems& items);
    /// `taken`: the PLC has acknowledged it; the tags are pending until they are read again.
    /// `perhaps`: it may have executed it; the tags are stale until they are read again.
    enum class WriteEnd { Taken, Perhaps, NotExecuted };
    void writeEnded(const WrittenItems& items, WriteEnd end, qint64 now);
    /// The two halves of that, for what ends in other pieces than it was begun in.
    void writeSettled(const WrittenItems& items);
    void wordsWritten(const WrittenItems& items, WriteEnd end, qint64 now);
    /// A read of these words waits for its answer for too long: they are stale before it has
    /// failed.
    void readOverdue(const WordRange& asked, const QString& reason, qint64 since, qint64 now) {
        readFailed(asked, reason, since, now);
    }
    /// While the driver has a write in its hands, its cache shows what is being written and not
    /// what the PLC holds: readings of these words are passed over. Length 0 ends it.
    void setInDriversHands(const WordRange& words) { m_inDriversHands = words; }

    /// Replaces what is known to be refused. `reason` makes a line of a refusal.
    void setRefused(const QVector<RefusedRange>& refused,
                    const std::function<QString(const RequestEnd&)>& reason, qint64 now);

    /// The PLC does not answer: the reason of every tag that has no failure of its own. `since` is
    /// of the first call with a reason of that kind, which is what stands before its colon, since
    /// linkAnswers() or a reason of another kind.
    void linkFails(const QString& reason, qint64 since);
    void linkAnswers() { m_linkFailure.clear(); }

    /// Whose state or value has changed since the last call, or that could not be read for the
    /// first time: ascending, each once.
    QVector<int> takeChanged();
    /// The same of the pending flag.
    QVector<int> takePendingChanged();

private:
    struct Entry {
        TagStatus status;
        WordRange words;
        /// When each word was read in the scan under way, -1: not yet, or not since a write to it.
        /// Empty while single reads bring all its words.
        QVector<qint64> wordReadAt;
        qint64 answeredAt = -1; ///< when the last reading came: later than `readAt`
        qint64 failedAt = -1;
        /// Which reading is too old. It stays so, however far the limit grows: only another
        /// reading makes the tag fresh again.
        qint64 grownOld = -1;
        bool dirty = true;    ///< the driver may have another value
        int writes = 0;       ///< not settled
        bool written = false; ///< and not read since

        bool inPieces() const { return !wordReadAt.isEmpty(); }
    };

    QVector<int> touching(const WordRange& range) const;
    QVector<int> changedBy(const WrittenItems& items) const;
    void fail(int index, const QString& reason, qint64 since, qint64 now);
    void markRead(Entry* entry, const WordRange& read, qint64 askedAt, qint64 now);
    static void noteReadAt(Entry* entry, const WordRange& words, qint64 askedAt);
    void takeValue(int index, const WordRange& read, const Items& words, qint64 now);
    void judge(int index, qint64 now);
    void explain(Entry* entry, bool failed);
    void settlePending(int index);
    void changed(int index) { m_changed.append(index); }

    QVector<Tag> m_tags;
    QVector<Entry> m_entries;
    struct Register {
        QVector<int> byAddress; ///< indices, sorted by first word
        int longest = 0;        ///< words of the longest tag
    };
    QHash<QString, Register> m_registers; ///< by word register
    QVector<int> m_changed;
    QVector<int> m_pendingChanged;
    WordRange m_inDriversHands;
    qint64 m_staleAfter = std::numeric_limits<qint64>::max(); ///< until it is known
    QString m_linkFailure;                                    ///< empty: the PLC answers
    qint64 m_linkFailingSince = -1;
};

} // namespace velkor_host

#endif
