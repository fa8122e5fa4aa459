#ifndef VELKOR_HOST_LINE_LINE_CORE_H
#define VELKOR_HOST_LINE_LINE_CORE_H

/// A line without its socket, its clock and its event loop: what is done next, and what is told.
///
/// What can happen between two calls is told by take(): the outcomes, in the order in which they
/// came about.

#include "host/driver/bound_driver.h"
#include "host/jobs/work_queue.h"
#include "host/poll/poller.h"
#include "host/wire/exchange.h"

#include <velkor/host/line.h>

#include <deque>
#include <variant>

namespace velkor_host {

struct ScanEnded {};
struct TagsChanged {
    QVector<int> indices;
};
struct PendingChanged {
    QVector<int> indices;
};
typedef std::variant<TagsChanged, PendingChanged, ScanEnded, WriteOutcome, ReadOutcome,
                     RecipeOutcome, RecipeProgress, RequestEnd>
    Notice;

class LineCore : private FrameSource, private ExchangeObserver, private ChangeListener {
public:
    /// `skippedServiceIds`: see BoundDriver::Settings. `nodes` are the six FINS numbers.
    LineCore(const DriverApi& api, const LineSettings& settings, const QVector<int>& nodes,
             int skippedServiceIds, Link& link, const Clock& clock);
    ~LineCore() override;

    void setTags(const QVector<Tag>& tags);
    const TagBoard& board() const { return m_poller.board(); }
    /// As they are now, also where the event loop has been held up and nobody has looked at the
    /// time.
    const TagStatus& status(int index);
    bool allFresh();

    void write(quint64 id, const QString& reg, int address, const Items& items);
    void read(quint64 id, const QString& reg, int address, int count);
    void recipe(quint64 id, RecipeDirection direction, const QVector<RecipeVariable>& variables,
                bool readBack);
    /// As Line's.
    bool takeBack(quint64 id);
    void giveUpRecipe(quint64 id);
    int pending() const { return m_queue.size(); }

    void receive(const QByteArray& datagram);
    void portRefused();
    /// The link sends from another address or port than before, with these nodes.
    void moved(const Endpoint& local, const QVector<int>& nodes);
    /// Ends a try whose deadline has passed, and starts what is due. To be called at due() at the
    /// latest.
    void turn();
    /// -1: nothing to wait for.
    qint64 due() const;
    /// Settles everything that is not settled; nothing is sent any more.
    void close();

    /// The oldest notice; nothing when all have been taken.
    std::optional<Notice> take();

    const LinkStatistics& statistics() const { return m_statistics; }
    std::optional<RequestEnd> requestInTrouble() const;
    void addWitness(FrameWitness* witness) { m_witnesses.append(witness); }
    void removeWitness(FrameWitness* witness) { m_witnesses.removeAll(witness); }

private:
    bool nextFrame(FRAME_PRO* frame) override { return m_driver.nextFrame(frame); }
    int dealWithReply(QByteArray reply, QString* message) override {
        return m_driver.dealWithReply(reply, message);
    }
    void frameLeaving() override;
    void frameSent(const QByteArray& frame, int attempt) override;
    void frameNotSent(const QByteArray& frame, int attempt, int error) override;
    void datagramReceived(const QByteArray& datagram, Verdict verdict) override;
    void tryTimedOut(const QByteArray& frame) override;
    void requestSettled(const Settled& settled) override;
    void valueChanged(const QString& reg, int address) override {
        m_poller.board().valueChanged(reg, address);
    }

    void work();
    bool handOver();
    void handOverJob();
    void startRecipe(RecipeWork* recipe);
    void nothingToSend();
    void jobSettled(const Settled& settled);
    void writeSettled(WriteTransfer* write, const Settled& settled);
    void blockSettled(const RequestEnd& end);
    void recipeEnded();
    void recipeBegunOnBoard(const RecipeWork& recipe);
    void tellRecipe(const RecipeWork& recipe);
    bool blockUnderWay() const;
    void noteOverdueRead(qint64 now);
    void noteLink(const RequestEnd& end);
    void tellTags();

    const LineSettings m_settings;
    const Clock& m_clock;
    BoundDriver m_driver;
    Exchange m_exchange;
    Poller m_poller;
    WorkQueue m_queue;
    LinkStatistics m_statistics;
    QVector<FrameWitness*> m_witnesses;
    std::deque<Notice> m_notices;
    bool m_jobInHand = false; ///< a piece of the first job is with the driver
    WordRange m_wordsInHand;  ///< those of them that it writes
    bool m_recipeRunning =
        false; ///< the first job is a recipe, and the driver has been asked for it
    bool m_blockForgotten = false; ///< the block in flight was asked for by tags that are no more
    bool m_blockNext = false;
    int m_jobsInARow = 0;
    qint64 m_nextCheck = 0; ///< of values growing old
};

} // namespace velkor_host

#endif
