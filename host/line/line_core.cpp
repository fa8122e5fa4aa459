#include "host/line/line_core.h"

#include <algorithm>

namespace velkor_host {
namespace {

/// Between two polls that are due go at most so many of the host's requests. It is the driver's own
/// measure: after more it would put a poll between of itself, while it has a write in hand whose
/// value its cache then shows.
const int JOBS_BETWEEN_POLLS = 3;
const qint64 CHECK_INTERVAL = 250000; // for values growing old

Poller::Settings pollerSettings(const LineSettings& settings) {
    Poller::Settings out;
    out.wordsPerFrame = settings.wordsPerFrame;
    out.scanMs = settings.scanMs;
    out.refusedRetryMs = settings.refusedRetryMs;
    out.reason = [settings](const RequestEnd& end) { return shortReason(end, settings); };
    return out;
}

} // namespace

LineCore::LineCore(const DriverApi& api, const LineSettings& settings, const QVector<int>& nodes,
                   int skippedServiceIds, Link& link, const Clock& clock)
    : m_settings(settings), m_clock(clock), m_driver(api, this),
      m_exchange(*this, link, clock, *this, qint64(settings.timeoutMs) * 1000,
                 settings.allowModeChange),
      m_poller(m_driver, pollerSettings(settings)) {
    BoundDriver::Settings bound;
    bound.retries = settings.retries;
    bound.wordsPerFrame = settings.wordsPerFrame;
    bound.nodes = nodes;
    bound.skippedServiceIds = skippedServiceIds;
    m_driver.bind(bound);
}

LineCore::~LineCore() = default;

// --- What the host hands over -------------------------------------------------------------------

void LineCore::setTags(const QVector<Tag>& tags) {
    m_blockForgotten = blockUnderWay();
    m_poller.setTags(tags, m_clock.now());
    for (const Job& job : m_queue.jobs()) {
        if (const WriteTransfer* write = std::get_if<WriteTransfer>(&job)) {
            m_poller.board().writeBegun(write->written());
        } else if (const RecipeWork* recipe = std::get_if<RecipeWork>(&job)) {
            recipeBegunOnBoard(*recipe);
        }
    }
    m_poller.board().setInDriversHands(m_wordsInHand);
    work();
}

void LineCore::write(quint64 id, const QString& reg, int address, const Items& items) {
    const WriteTransfer transfer(id, reg, address, items, m_settings.wordsPerFrame,
                                 m_settings.retries);
    m_poller.board().writeBegun(transfer.written());
    m_queue.append(transfer);
    tellTags();
    work();
}

void LineCore::read(quint64 id, const QString& reg, int address, int count) {
    m_queue.append(ReadTransfer(id, reg, address, count, m_settings.wordsPerFrame));
    work();
}

void LineCore::recipe(quint64 id, RecipeDirection direction,
                      const QVector<RecipeVariable>& variables, bool readBack) {
    const RecipeWork recipe(id, direction, variables, readBack, m_driver.wordRegisters());
    recipeBegunOnBoard(recipe);
    m_queue.append(recipe);
    tellTags();
    work();
}

bool LineCore::takeBack(quint64 id) {
    const bool firstIsInHand = m_jobInHand || m_recipeRunning;
    std::optional<Job> taken = m_queue.takeUnsentTransfer(id, firstIsInHand);
    if (!taken) {
        return false;
    }
    if (WriteTransfer* write = std::get_if<WriteTransfer>(&*taken)) {
        write->takeBack();
        m_poller.board().writeEnded(write->written(), TagBoard::WriteEnd::NotExecuted,
                                    m_clock.now());
        m_notices.emplace_back(write->outcome());
    } else {
        ReadTransfer& read = std::get<ReadTransfer>(*taken);
        read.takeBack();
        m_notices.emplace_back(read.outcome());
    }
    tellTags();
    return true;
}

void LineCore::giveUpRecipe(quint64 id) {
    RecipeWork* first = m_queue.first<RecipeWork>();
    if (first != nullptr && first->id() == id && m_recipeRunning) {
        first->giveUp();
        m_exchange.abandon();
        work();
        return;
    }
    if (first != nullptr && first->id() == id) {
        first->cancel();
        tellRecipe(*first);
        m_queue.takeFirst();
    } else if (std::optional<RecipeWork> waiting = m_queue.takeWaitingRecipe(id)) {
        waiting->cancel();
        tellRecipe(*waiting);
    }
}

void LineCore::close() {
    std::optional<RequestEnd> underWay;
    if ((m_jobInHand || m_recipeRunning) && !blockUnderWay()) {
        underWay = m_exchange.requestUnderWay();
    }
    while (!m_queue.isEmpty()) {
        Job job = m_queue.takeFirst();
        if (WriteTransfer* write = std::get_if<WriteTransfer>(&job)) {
            write->cancel(underWay);
            m_notices.emplace_back(write->outcome());
        } else if (RecipeWork* recipe = std::get_if<RecipeWork>(&job)) {
            recipe->close(underWay);
            m_notices.emplace_back(recipe->outcome());
        } else {
            ReadTransfer& read = std::get<ReadTransfer>(job);
            read.cancel(underWay);
            m_notices.emplace_back(read.outcome());
        }
        underWay.reset(); // it was of the first job
    }
}

// --- What is done next --------------------------------------------------------------------------

void LineCore::receive(const QByteArray& datagram) {
    m_exchange.receive(datagram);
    work();
}

void LineCore::portRefused() {
    m_exchange.portRefused();
    for (FrameWitness* witness : m_witnesses) {
        witness->portRefused();
    }
}

void LineCore::moved(const Endpoint& local, const QVector<int>& nodes) {
    m_driver.setNodes(nodes);
    for (FrameWitness* witness : m_witnesses) {
        witness->moved(local);
    }
}

void LineCore::turn() {
    m_exchange.poll();
    const qint64 now = m_clock.now();
    if (now >= m_nextCheck) {
        m_nextCheck = now + CHECK_INTERVAL;
        if (const std::optional<RequestEnd> trouble = requestInTrouble()) {
            noteLink(*trouble);
        }
        noteOverdueRead(now);
        m_poller.timePasses(now);
        tellTags();
    }
    work();
}

qint64 LineCore::due() const {
    qint64 due = m_exchange.idle() ? m_poller.nextDue() : m_exchange.deadline();
    if (m_poller.board().size() > 0) {
        due = due < 0 ? m_nextCheck : std::min(due, m_nextCheck);
    }
    return due;
}

/// Starts the next exchange if there is a reason for one. Without one the driver is not asked: it
/// would go on with the next block at once, for ever.
void LineCore::work() {
    while (m_exchange.idle()) {
        RecipeWork* recipe = m_recipeRunning ? m_queue.first<RecipeWork>() : nullptr;
        if (recipe != nullptr && recipe->givenUp()) {
            m_exchange.discardNext();
            if (m_recipeRunning) { // there was nothing to discard
                recipe->cancel();
                recipeEnded();
            }
            continue;
        }
        if (!handOver()) {
            return;
        }
        if (!m_exchange.start() && !m_exchange.start()) {
            nothingToSend();
            return;
        }
    }
}

/// True when the driver has something to send.
bool LineCore::handOver() {
    if (m_jobInHand || m_recipeRunning || m_poller.oneShotUnderWay()) {
        return true;
    }
    const qint64 now = m_clock.now();
    const std::optional<WordRange> oneShot = m_poller.oneShotDue(now);
    const bool blockDue = m_poller.blockDue(now);
    const bool pollFirst = (oneShot || blockDue) && m_jobsInARow >= JOBS_BETWEEN_POLLS;
    if (!m_queue.isEmpty() && !pollFirst) {
        ++m_jobsInARow;
        handOverJob();
        return true;
    }
    m_jobsInARow = 0;
    // Turn and turn about, so that neither kind of poll waits for the other's end.
    m_blockNext = blockDue && (m_blockNext || !oneShot);
    if (m_blockNext) {
        m_blockNext = false;
        return true;
    }
    m_blockNext = true;
    if (oneShot) {
        m_driver.queueRead(*oneShot);
        m_poller.oneShotBegun();
    }
    return oneShot.has_value();
}

void LineCore::handOverJob() {
    if (RecipeWork* recipe = m_queue.first<RecipeWork>()) {
        m_driver.setRecipe(
            recipe->driverVariables(m_driver.hostTag(), STATION, m_settings.wordsPerFrame));
        startRecipe(recipe);
        return;
    }
    m_jobInHand = true;
    if (WriteTransfer* write = m_queue.first<WriteTransfer>()) {
        const Piece piece = write->piece();
        m_wordsInHand =
            wordsHolding(piece.reg, isBitRegister(piece.reg), piece.address, piece.length);
        m_poller.board().setInDriversHands(m_wordsInHand);
        m_driver.queueWrite(piece.reg, piece.address, piece.items);
    } else {
        const Piece piece = m_queue.first<ReadTransfer>()->piece();
        m_driver.queueRead({piece.reg, piece.address, piece.length});
    }
}

void LineCore::startRecipe(RecipeWork* recipe) {
    if (recipe->download()) {
        recipe->fill(&m_driver.recipeBuffer());
    }
    m_recipeRunning = true;
    m_driver.requestRecipe(recipe->download());
}

/// The driver has said twice that it has nothing to send (it pauses once after a burst).
void LineCore::nothingToSend() {
    if (m_recipeRunning && !m_driver.recipeRequested()) {
        blockSettled(RequestEnd());
    }
}

bool LineCore::blockUnderWay() const {
    return !m_recipeRunning && m_exchange.tagUnderWay() == TAG_POLL;
}

} // namespace velkor_host
