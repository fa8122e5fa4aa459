// What the exchange tells a line, and what the line makes of it for the host.

#include "host/line/line_core.h"

namespace velkor_host {
namespace {

const qint64 OVERDUE = 1000000; ///< a read without an answer for so long

} // namespace

void LineCore::frameLeaving() {
    for (FrameWitness* witness : m_witnesses) {
        witness->leaving();
    }
}

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

/// Of a long write some pieces may be there though others are not: each is told by itself.
void LineCore::writeSettled(WriteTransfer* write, const Settled& settled) {
    m_wordsInHand = WordRange();
    TagBoard& board = m_poller.board();
    board.setInDriversHands(m_wordsInHand);
    const WrittenItems piece = write->pieceWritten();
    const bool ended = write->pieceEnded(settled) == NextStep::Ended;
    const bool perhaps = ended && write->outcome().result == WriteResult::Unknown;
    board.wordsWritten(piece,
                       settled.ok ? TagBoard::WriteEnd::Taken
                       : perhaps  ? TagBoard::WriteEnd::Perhaps
                                  : TagBoard::WriteEnd::NotExecuted,
                       m_clock.now());
    if (settled.ok || ended) {
        m_statistics.exchangeEnded(write->outcome().last, m_clock.now());
    }
    if (ended) {
        board.writeSettled(write->written());
        m_notices.emplace_back(write->outcome());
        m_queue.takeFirst();
    }
}

void LineCore::jobSettled(const Settled& settled) {
    m_jobInHand = false;
    if (WriteTransfer* write = m_queue.first<WriteTransfer>()) {
        writeSettled(write, settled);
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
    if (end.ok) {
        m_notices.emplace_back(recipe->progress());
    }
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

const TagStatus& LineCore::status(int index) {
    m_poller.board().growOlder(index, m_clock.now());
    return board().at(index);
}

bool LineCore::allFresh() {
    for (int index = 0; index < board().size(); ++index) {
        if (status(index).state != TagState::Fresh) {
            return false;
        }
    }
    return true;
}

void LineCore::tellTags() {
    const QVector<int> changed = m_poller.board().takeChanged();
    if (!changed.isEmpty()) {
        m_notices.emplace_back(TagsChanged{changed});
    }
    const QVector<int> pending = m_poller.board().takePendingChanged();
    if (!pending.isEmpty()) {
        m_notices.emplace_back(PendingChanged{pending});
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
