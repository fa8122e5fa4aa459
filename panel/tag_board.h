#ifndef VELKOR_PANEL_TAG_BOARD_H
#define VELKOR_PANEL_TAG_BOARD_H

/// What is known of each tag: its value, since when, and whether it may still be trusted. A value
/// not yet read is not 0 but unknown, and one that is no longer refreshed is stale.

#include "panel/exchange.h"
#include "panel/tag.h"

#include <QtCore/QHash>

#include <functional>

namespace panel {

enum class TagState { NotRead, Fresh, Stale };

struct TagStatus {
    Tag tag;
    TagState state = TagState::NotRead;
    Items items;              ///< empty until read
    qint64 readAt = -1;       ///< microseconds; of the word read longest ago; -1: not all read
    int changes = 0;          ///< since the first value
    QString reason;           ///< why it is not read or stale; before a colon, the key words
    qint64 failingSince = -1; ///< microseconds; of `reason`; -1: not known
    QVector<double> history;  ///< of the last values, oldest first
};

/// When the board is refreshed.
enum class Occasion {
    Read,    ///< a request has ended: only what it touched is looked at
    Timer,   ///< in between: what has grown old
    ScanEnd, ///< every polled word has been asked for since the last one
};

struct TagEvent {
    enum Kind { Value, NowStale, Unreadable };
    int index = 0;
    Kind kind = Value;
};

class TagBoard {
public:
    /// A tag is stale when a request for it has failed since it was read, or when it was read
    /// longer than `staleAfter` microseconds ago.
    TagBoard(const QVector<Tag>& tags, qint64 staleAfter);
    void setStaleAfter(qint64 staleAfter) { m_staleAfter = staleAfter; }

    int size() const { return static_cast<int>(m_entries.size()); }
    const TagStatus& at(int index) const { return m_entries.at(index).status; }

    /// The words of all tags, for disjointRanges().
    QVector<WordRange> words() const;

    /// A read has ended; `reason` says why when it has failed.
    void readSettled(const Settled& settled, const QString& reason, qint64 now);

    /// The driver has announced a change of a word, or of a bit of a bit register.
    void valueChanged(const QString& reg, int address);

    /// Fetches what may have changed and tells what is new, in the tags' order. A tag whose words
    /// come in several reads is fetched at the scan's end only: before, some of them are old.
    QVector<TagEvent> refresh(const std::function<Items(const Tag&)>& fetch, qint64 now,
                              Occasion occasion = Occasion::ScanEnd);

    /// The PLC does not answer: the reason of every tag that has no failure of its own. `since` is
    /// of the first call since linkAnswers().
    void linkFails(const QString& reason, qint64 since);
    void linkAnswers() { m_linkFailure.clear(); }

    bool allFresh() const;

private:
    struct Entry {
        TagStatus status;
        WordRange words;
        QVector<qint64> wordReadAt;
        qint64 failedAt = -1;
        bool touched = false;  ///< the value is to be fetched
        bool inPieces = false; ///< no single read brings all its words
        bool told = false;     ///< that it is unreadable, while NotRead
        qint64 sampledAt = -1;
    };

    void explain(Entry* entry, bool failed);
    void markRead(Entry* entry, const WordRange& read, qint64 now);
    bool refreshEntry(Entry* entry, const std::function<Items(const Tag&)>& fetch, qint64 now,
                      Occasion occasion, TagEvent::Kind* kind);
    QVector<int> lookedAt(Occasion occasion);
    static void sample(Entry* entry, qint64 now);

    QVector<Entry> m_entries;
    QHash<QString, QVector<int>> m_byRegister; ///< indices by word register
    QVector<int> m_news; ///< indices of the entries that something has happened to
    qint64 m_staleAfter;
    QString m_linkFailure; ///< empty: the PLC answers
    qint64 m_linkFailingSince = -1;
};

} // namespace panel

#endif
