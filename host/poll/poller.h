#ifndef VELKOR_HOST_POLL_POLLER_H
#define VELKOR_HOST_POLL_POLLER_H

/// Polls the tags: what is to be read next, and what is learnt from how it ended. It sees neither
/// the PLC nor the clock: it is told what has been read, and the time.

#include "host/driver/bound_driver.h"
#include "host/poll/poll_plan.h"
#include "host/poll/scan_pace.h"
#include "host/poll/tag_board.h"

#include <deque>

namespace velkor_host {

class Poller {
public:
    struct Settings {
        int wordsPerFrame = 256;
        int scanMs = 200;
        int refusedRetryMs = 10000;
        /// Makes a line of a failure.
        std::function<QString(const RequestEnd&)> reason;
    };
    Poller(BoundDriver& driver, const Settings& settings);

    /// Readings that are under way are not credited to the new tags; of a block's the caller sees
    /// to that.
    void setTags(const QVector<Tag>& tags, qint64 now);
    TagBoard& board() { return m_board; }
    const TagBoard& board() const { return m_board; }

    /// A one-shot read that is due; oneShotBegun() says that it has been handed to the driver.
    std::optional<WordRange> oneShotDue(qint64 now);
    void oneShotBegun();
    bool oneShotUnderWay() const { return m_oneShot != OneShot::None; }
    /// A block of the driver's is to be read.
    bool blockDue(qint64 now);
    /// When there will be something to do again; -1: never.
    qint64 nextDue() const;

    void oneShotEnded(const RequestEnd& end, qint64 now);
    void blockEnded(const RequestEnd& end, qint64 now);

    /// To be called now and then: values grow old.
    void timePasses(qint64 now);
    qint64 staleAfter() const { return m_pace.staleAfter(); }

    /// True once for each scan that has ended.
    bool takeScanEnd();

private:
    enum class OneShot { None, Apart, Probe, Retry, Forgotten };

    bool scanOver() const { return m_blocksLeft == 0 && m_apartNext == m_plan.apart.size(); }
    void plan();
    void beginScan(qint64 now);
    void partOfScanEnded(qint64 now);
    void credit(const WordRange& asked, const RequestEnd& end, qint64 now);
    void rangeEnded(const WordRange& range, const RequestEnd& end, qint64 now);
    void searchFor(const WordRange& block, const RequestEnd& end, qint64 now);
    bool beingSearched(const WordRange& block) const;
    void dropSearch(const WordRange& block);
    void probeEnded(const RequestEnd& end, qint64 now);
    void isolationEnded(qint64 now);
    void fillRetries(qint64 now);
    OneShot nextOneShot() const;
    void retryEnded(const RequestEnd& end, qint64 now);
    void refusedStill(const WordRange& range, const RequestEnd& end, qint64 now);
    void refusalsChanged(qint64 now);
    bool searchedFor(const WordRange& block) const;
    FetchFunction fetch() const;

    BoundDriver& m_driver;
    const Settings m_settings;
    TagBoard m_board;
    ScanPace m_pace;

    PollPlan m_plan;
    bool m_planDue = false; ///< refusals have changed since it was made
    int m_blocksLeft = 0;   ///< of the scan under way
    int m_apartNext = 0;    ///< index into the plan's ranges apart; their number when all are done
    qint64 m_nextScan = 0;
    bool m_scanEnded = false;

    OneShot m_oneShot = OneShot::None; ///< in the driver's hands
    WordRange m_oneShotRange;

    QVector<RefusedRange> m_refused;
    QVector<WordRange> m_gaps;          ///< no read may go over them
    std::deque<Isolation> m_isolations; ///< the first one is under way
    bool m_searchRests =
        false; ///< until the next scan: its last read got no answer to its question
    QVector<WordRange> m_searched; ///< blocks of the plan whose search has found something
    struct Fruitless {
        WordRange block;
        qint64 until = 0;
    };
    QVector<Fruitless> m_fruitless; ///< a search has found nothing; not again so soon
    QVector<WordRange> m_retries;   ///< of refused words, the last one next
    qint64 m_nextRetry = -1;
    bool m_searchedLast = false; ///< the one-shot before was of no scan
};

} // namespace velkor_host

#endif
