#include "host/line/line_core.h"

#include <algorithm>

namespace velkor_host {
namespace {

/// Between two polls that are due go at most so many of the host's requests. It is the driver's own
/// measure: after more it would put a poll between of itself, while it has a write in hand whose
/// value its cache then shows.
const int JOBS_BETWEEN_POLLS = 3;
const qint64 OVERDUE = 1000000;       ///< a read without an answer for so long
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
            m_poller.board().writeBegun(write->words());
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
    m_poller.board().writeBegun(transfer.words());
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

// --- What the exchange tells --------------------------------------------------------------------

void LineCore::frameSent(const QByteArray& frame, int attempt) {
    for (FrameWitness* witness : m_witnesses) {
        witness->sent(frame, attempt);
    }
}

void LineCore::frameNotSent(const QByteArray& frame, int attempt, int error) {
    m_statistics.notSent();
    for (FrameWitness* witness : m_witnesses) {
        witness->notSent(frame, attempt, error);
    }
}

void LineCore::datagramReceived(const QByteArray& datagram, Verdict verdict) {
    m_statistics.received(verdict);
    for (FrameWitness* witness : m_witnesses) {
        witness->received(datagram, verdict);
    }
}

void LineCore::tryTimedOut(const QByteArray& frame) {
    m_statistics.timedOut();
    for (FrameWitness* witness : m_witnesses) {
        witness->timedOut(frame);
    }
}

void LineCore::requestSettled(const Settled& settled) {
    const qint64 now = m_clock.now();
    if (settled.tries > 0) {
        m_statistics.requestEnded(settled, now);
        m_notices.emplace_back(RequestEnd(settled));
        noteLink(settled);
        const bool ofWrite = m_jobInHand && settled.tag == TAG_WRITE;
        if (!ofWrite || m_recipeRunning) { // a write's piece may be handed over again
            m_statistics.exchangeEnded(settled, now);
        }
    }
    if (m_recipeRunning) {
        blockSettled(settled);
    } else if (m_jobInHand &&
               settled.tag == (m_queue.first<WriteTransfer>() ? TAG_WRITE : TAG_READ)) {
        jobSettled(settled);
    } else if (settled.tag == TAG_READ) {
        m_poller.oneShotEnded(settled, now);
    } else {
        if (!m_blockForgotten) {
            m_poller.blockEnded(settled, now);
        }
        m_blockForgotten = false;
    }
    tellTags();
    if (m_poller.takeScanEnd()) {
        m_notices.emplace_back(ScanEnded());
    }
}

void LineCore::jobSettled(const Settled& settled) {
    m_jobInHand = false;
    if (WriteTransfer* write = m_queue.first<WriteTransfer>()) {
        m_wordsInHand = WordRange();
        m_poller.board().setInDriversHands(m_wordsInHand);
        const NextStep next = write->pieceEnded(settled);
        if (settled.ok || next == NextStep::Ended) {
            m_statistics.exchangeEnded(write->outcome().last, m_clock.now());
        }
        if (next == NextStep::Ended) {
            const WriteOutcome& outcome = write->outcome();
            // Of a long write some pieces may be there though others are not.
            const bool there = outcome.result == WriteResult::Taken || outcome.taken > 0;
            m_poller.board().writeEnded(write->words(),
                                        outcome.result == WriteResult::Unknown
                                            ? TagBoard::WriteEnd::Perhaps
                                        : there ? TagBoard::WriteEnd::Taken
                                                : TagBoard::WriteEnd::NotExecuted,
                                        m_clock.now());
            m_notices.emplace_back(write->outcome());
            m_queue.takeFirst();
        }
        return;
    }
    ReadTransfer* read = m_queue.first<ReadTransfer>();
    const Items words =
        settled.ok ? m_driver.items(settled.reg, settled.address, settled.length) : Items();
    if (read->pieceEnded(settled, words) == NextStep::Ended) {
        m_notices.emplace_back(read->outcome());
        m_queue.takeFirst();
    }
}

void LineCore::blockSettled(const RequestEnd& end) {
    RecipeWork* recipe = m_queue.first<RecipeWork>();
    const bool requested = m_driver.recipeRequested();
    const RecipeWork::Next next = recipe->blockEnded(end, requested, m_driver.recipeBuffer());
    m_notices.emplace_back(RecipeProgress{recipe->id(), recipe->wordsMoved(), recipe->words()});
    if (next == RecipeWork::Next::Start) {
        startRecipe(recipe);
    } else if (next == RecipeWork::Next::Ended) {
        recipeEnded();
    }
}

void LineCore::recipeEnded() {
    m_recipeRunning = false;
    tellRecipe(*m_queue.first<RecipeWork>());
    m_queue.takeFirst();
}

/// A download writes as a write does: what is shown of its words is about to change.
void LineCore::recipeBegunOnBoard(const RecipeWork& recipe) {
    if (recipe.writes()) {
        for (const WordRange& words : recipe.ranges()) {
            m_poller.board().writeBegun(words);
        }
    }
}

void LineCore::tellRecipe(const RecipeWork& recipe) {
    const RecipeOutcome& outcome = recipe.outcome();
    if (recipe.writes()) {
        for (const WordRange& words : recipe.ranges()) {
            m_poller.board().writeSettled(words);
        }
        for (const RecipeBlock& block : outcome.blocks) {
            m_poller.board().wordsWritten(
                {block.reg, block.address, block.length},
                block.state == RecipeBlock::Moved     ? TagBoard::WriteEnd::Taken
                : block.state == RecipeBlock::Unknown ? TagBoard::WriteEnd::Perhaps
                                                      : TagBoard::WriteEnd::NotExecuted,
                m_clock.now());
        }
    }
    m_notices.emplace_back(outcome);
    tellTags();
}

void LineCore::noteLink(const RequestEnd& end) {
    if (end.ok || end.refused) {
        m_poller.board().linkAnswers();
    } else {
        m_poller.board().linkFails(shortReason(end, m_settings), m_clock.now() - end.waited);
    }
}

/// How long a try may take says nothing of how old a value may be.
void LineCore::noteOverdueRead(qint64 now) {
    const std::optional<RequestEnd> late = m_exchange.requestInTrouble(OVERDUE);
    if (late && late->waited > OVERDUE && !late->write && !m_recipeRunning) {
        m_poller.board().readOverdue({late->reg, late->address, late->length},
                                     shortReason(*late, m_settings), now - late->waited, now);
    }
}

void LineCore::tellTags() {
    const QVector<int> changed = m_poller.board().takeChanged();
    if (!changed.isEmpty()) {
        m_notices.emplace_back(TagsChanged{changed});
    }
}

std::optional<RequestEnd> LineCore::requestInTrouble() const {
    return m_exchange.requestInTrouble(m_poller.staleAfter());
}

std::optional<Notice> LineCore::take() {
    if (m_notices.empty()) {
        return std::nullopt;
    }
    Notice oldest = std::move(m_notices.front());
    m_notices.pop_front();
    return oldest;
}

} // namespace velkor_host
