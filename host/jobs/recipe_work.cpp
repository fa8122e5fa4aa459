#include "host/jobs/recipe_work.h"

#include "host/poll/poll_plan.h"

#include <velkor/host/end_codes.h>
#include <velkor/host/registers.h>

#include <algorithm>
#include <numeric>

namespace velkor_host {
namespace {

WordRange wordsOf(const RecipeVariable& variable) {
    return {variable.reg, variable.address, variable.count};
}

/// "speed (DM 101)", "DM 101"
QString variableText(const RecipeVariable& variable) {
    const QString words = QStringLiteral("%1 %2").arg(variable.reg).arg(variable.address);
    return variable.name.isEmpty() ? words : QStringLiteral("%1 (%2)").arg(variable.name, words);
}

WordRange wordsOf(const RecipeBlock& block) {
    return {block.reg, block.address, block.length};
}

/// Whether the driver moves one address before the other.
bool movedBefore(const QStringList& registers, const WordRange& one, const WordRange& other) {
    const auto rankOne = registers.indexOf(one.reg);
    const auto rankOther = registers.indexOf(other.reg);
    if (rankOne != rankOther) {
        return rankOne < rankOther;
    }
    return one.reg != other.reg ? one.reg < other.reg : one.address < other.address;
}

QVector<int> orderOf(const QVector<RecipeVariable>& variables, const QStringList& registers) {
    QVector<int> order(variables.size());
    std::iota(order.begin(), order.end(), 0);
    std::sort(order.begin(), order.end(), [&](int a, int b) {
        return movedBefore(registers, wordsOf(variables.at(a)), wordsOf(variables.at(b)));
    });
    return order;
}

bool modeWasSwitched(const RequestEnd& end) {
    return end.modeChangeEnd >= 0 && isNormalEnd(end.modeChangeEnd);
}

} // namespace

QString RecipeWork::fault(const QVector<RecipeVariable>& variables, RecipeDirection direction,
                          int bufferWords) {
    if (variables.isEmpty()) {
        return QStringLiteral("the recipe has no variables");
    }
    qint64 words = 0;
    for (const RecipeVariable& variable : variables) {
        if (direction == RecipeDirection::Download && variable.words.size() != variable.count) {
            return QStringLiteral("%1 has %2 words of values; right is its count, %3")
                .arg(variableText(variable))
                .arg(variable.words.size())
                .arg(variable.count);
        }
        words += variable.count;
    }
    if (words > bufferWords) {
        return QStringLiteral("the recipe has %1 words; right is at most %2")
            .arg(words)
            .arg(bufferWords);
    }
    const QVector<int> order = orderOf(variables, QStringList());
    for (int index = 1; index < order.size(); ++index) {
        const RecipeVariable& before = variables.at(order.at(index - 1));
        const RecipeVariable& next = variables.at(order.at(index));
        if (overlap(wordsOf(before), wordsOf(next))) {
            return QStringLiteral("%1 is in two variables of the recipe; right is one variable for "
                                  "each word")
                .arg(variableText(next));
        }
    }
    return QString();
}

RecipeWork::RecipeWork(quint64 id, RecipeDirection direction,
                       const QVector<RecipeVariable>& variables, bool readBack,
                       const QStringList& registers)
    : m_direction(direction), m_readBack(readBack), m_registers(registers),
      m_order(orderOf(variables, registers)), m_offsets(variables.size(), 0) {
    m_outcome.id = id;
    m_outcome.direction = direction;
    m_outcome.readBack = readBack && direction == RecipeDirection::Download;
    m_outcome.variables = variables;
    for (const int index : m_order) {
        m_offsets[index] = m_words;
        m_words += variables.at(index).count;
    }
}

QVector<_RCP_VAR_PRO> RecipeWork::driverVariables(int hostTag, int station,
                                                  int wordsPerFrame) const {
    QVector<_RCP_VAR_PRO> out;
    for (const int index : m_order) {
        const RecipeVariable& variable = m_outcome.variables.at(index);
        for (int at = 0; at < variable.count; at += wordsPerFrame) {
            _RCP_VAR_PRO piece = _RCP_VAR_PRO();
            piece.hostTag = hostTag;
            piece.station = station;
            piece.regName = variable.reg;
            piece.addr = variable.address + at;
            piece.len = std::min(wordsPerFrame, variable.count - at);
            piece.rcpOffset = m_offsets.at(index) + at;
            out.append(piece);
        }
    }
    return out;
}

void RecipeWork::fill(std::vector<unsigned short>* buffer) const {
    for (int index = 0; index < m_outcome.variables.size(); ++index) {
        const Items& words = m_outcome.variables.at(index).words;
        std::copy(words.begin(), words.end(), buffer->begin() + m_offsets.at(index));
    }
}

int RecipeWork::wordsMoved() const {
    int words = 0;
    for (const RecipeBlock& block : m_moved) {
        words += block.state == RecipeBlock::Moved ? block.length : 0;
    }
    return words;
}

QVector<WordRange> RecipeWork::ranges() const {
    QVector<WordRange> ranges;
    for (const RecipeVariable& variable : m_outcome.variables) {
        ranges.append(wordsOf(variable));
    }
    return ranges;
}

void RecipeWork::note(const RequestEnd& end, RecipeBlock::State state) {
    RecipeBlock block;
    block.reg = end.reg;
    block.address = end.address;
    block.length = end.length;
    block.state = state;
    m_moved.append(block);
}

void RecipeWork::noteMode(const RequestEnd& end) {
    const bool unanswered = end.modeChange && end.modeChangeEnd < 0;
    m_outcome.modeSwitched = m_outcome.modeSwitched || modeWasSwitched(end);
    m_outcome.modeUnknown = !m_outcome.modeSwitched && (m_outcome.modeUnknown || unanswered);
}

RecipeWork::Next RecipeWork::blockEnded(const RequestEnd& end, bool requested,
                                        const std::vector<unsigned short>& buffer) {
    m_outcome.last = end;
    m_outcome.last.refusedAfterModeChange = m_again && end.refused;
    noteMode(end);
    if (end.ok) {
        note(end, RecipeBlock::Moved);
        m_progress = {id(), m_readingBack ? RecipePhase::Compare : RecipePhase::Transfer,
                      wordsMoved(), m_words};
        if (requested) {
            return Next::Block;
        }
        if (wordsMoved() == m_words) {
            fetch(buffer);
            return m_readingBack || !(download() && m_readBack) ? finish(RecipeResult::Done)
                                                                : begin(RecipeDirection::Upload);
        }
        return finish(RecipeResult::Unknown); // the driver has ended it early: that is not Done
    }
    if (m_givenUp) {
        if (end.tries > 0) {
            note(end, end.surelyNotExecuted() ? RecipeBlock::NotMoved : RecipeBlock::Unknown);
        }
        return finish(RecipeResult::GivenUp);
    }
    // As a single write: see WriteTransfer. The driver begins with the first block.
    if (modeWasSwitched(end) && !m_again) {
        m_again = true;
        return begin(m_direction);
    }
    if (end.tries > 0) {
        note(end, end.surelyNotExecuted() ? RecipeBlock::NotMoved : RecipeBlock::Unknown);
    }
    if (end.tries == 0 || !end.surelyNotExecuted()) {
        return finish(RecipeResult::Unknown);
    }
    return finish(end.refusals > 0 ? RecipeResult::Refused : RecipeResult::NotReached);
}

RecipeWork::Next RecipeWork::begin(RecipeDirection direction) {
    if (direction != m_direction) { // reading back: what was written is for the outcome
        m_outcome.blocks = m_moved;
        m_readingBack = true;
        m_direction = direction;
    }
    m_movedBefore = m_readingBack ? QVector<RecipeBlock>() : m_moved;
    m_moved.clear();
    return Next::Start;
}

RecipeWork::Next RecipeWork::finish(RecipeResult result) {
    m_outcome.result = result;
    if (m_readingBack) {
        if (result != RecipeResult::Done) {
            m_outcome.result = RecipeResult::NotVerified;
        } else if (!m_outcome.differences.isEmpty()) {
            m_outcome.result = RecipeResult::Different;
        }
        return Next::Ended;
    }
    m_outcome.blocks = m_moved;
    rememberMovedBefore();
    addBlocksNotMoved();
    std::stable_sort(m_outcome.blocks.begin(), m_outcome.blocks.end(),
                     [this](const RecipeBlock& one, const RecipeBlock& other) {
                         return movedBefore(m_registers, wordsOf(one), wordsOf(other));
                     });
    return Next::Ended;
}

void RecipeWork::cancel() {
    m_outcome.last = RequestEnd(); // what ended well before says nothing of this end
    finish(RecipeResult::GivenUp);
}

void RecipeWork::close(const std::optional<RequestEnd>& underWay) {
    m_outcome.last = underWay ? *underWay : RequestEnd();
    m_outcome.last.closed = true;
    if (underWay && underWay->tries > 0) {
        noteMode(*underWay);
        note(*underWay,
             underWay->surelyNotExecuted() ? RecipeBlock::NotMoved : RecipeBlock::Unknown);
    }
    finish(RecipeResult::GivenUp);
}

/// What a download had written before it began again the PLC still holds, and the same words once
/// more change nothing, whether they have arrived or not.
void RecipeWork::rememberMovedBefore() {
    if (!download()) {
        return;
    }
    for (const RecipeBlock& before : m_movedBefore) {
        const auto known = std::find_if(
            m_outcome.blocks.begin(), m_outcome.blocks.end(), [&](const RecipeBlock& block) {
                return block.reg == before.reg && block.address == before.address;
            });
        if (known == m_outcome.blocks.end()) {
            m_outcome.blocks.append(before);
        } else {
            known->state = RecipeBlock::Moved;
        }
    }
}

/// The words of the recipe that no block has touched, joined where they touch.
void RecipeWork::addBlocksNotMoved() {
    QVector<WordRange> left;
    for (const int index : m_order) {
        const WordRange words = wordsOf(m_outcome.variables.at(index));
        if (!left.isEmpty() && left.last().reg == words.reg && left.last().end() == words.address) {
            left.last().length += words.length;
        } else {
            left.append(words);
        }
    }
    QVector<WordRange> touched;
    for (const RecipeBlock& block : m_outcome.blocks) {
        touched.append(wordsOf(block));
    }
    for (const WordRange& range : withoutHoles(left, touched)) {
        RecipeBlock block;
        block.reg = range.reg;
        block.address = range.address;
        block.length = range.length;
        m_outcome.blocks.append(block);
    }
}

/// Takes what has been uploaded out of the buffer.
void RecipeWork::fetch(const std::vector<unsigned short>& buffer) {
    if (download()) {
        return;
    }
    for (int index = 0; index < m_outcome.variables.size(); ++index) {
        RecipeVariable& variable = m_outcome.variables[index];
        for (int word = 0; word < variable.count; ++word) {
            const quint16 found = buffer.at(std::size_t(m_offsets.at(index)) + std::size_t(word));
            if (!m_readingBack) {
                variable.words.resize(variable.count);
                variable.words[word] = found;
            } else if (found != variable.words.at(word)) {
                m_outcome.differences.append({variable.reg, variable.address + word,
                                              variable.words.at(word), found, variable.name});
            }
        }
    }
}

} // namespace velkor_host
