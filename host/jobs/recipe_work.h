#ifndef VELKOR_HOST_JOBS_RECIPE_WORK_H
#define VELKOR_HOST_JOBS_RECIPE_WORK_H

/// One recipe on its way: how its words lie in the buffer that the driver borrows, which blocks
/// have moved, and what comes next. Pure: it is told how each block ended.

#include "host/values/word_range.h"

#include <velkor/host/outcome.h>

#include <velkor/host_interface.h>

#include <vector>

namespace velkor_host {

class RecipeWork {
public:
    /// `registers`: as the driver lists them, which is the order in which it moves them; what is
    /// not in it comes first, by name.
    RecipeWork(quint64 id, RecipeDirection direction, const QVector<RecipeVariable>& variables,
               bool readBack, const QStringList& registers = QStringList());

    /// Empty, or what is wrong with the variables.
    static QString fault(const QVector<RecipeVariable>& variables, RecipeDirection direction,
                         int bufferWords);

    quint64 id() const { return m_outcome.id; }
    /// The pass under way goes to the PLC.
    bool download() const { return m_direction == RecipeDirection::Download; }
    /// The recipe as a whole does, read back or not.
    bool writes() const { return m_outcome.direction == RecipeDirection::Download; }

    /// The variables as the driver is told them, none longer than `wordsPerFrame`: laid out back to
    /// back in the order of their registers and addresses, because the driver downloads neighbours
    /// as one run.
    QVector<_RCP_VAR_PRO> driverVariables(int hostTag, int station, int wordsPerFrame) const;
    /// Puts the words to be downloaded into the buffer.
    void fill(std::vector<unsigned short>* buffer) const;

    /// A block's request has ended. `requested`: the driver goes on with the next block.
    enum class Next {
        Block, ///< the driver has more
        Start, ///< the driver is to be asked for a transfer (again): see download()
        Ended  ///< the outcome is known
    };
    Next blockEnded(const RequestEnd& end, bool requested,
                    const std::vector<unsigned short>& buffer);
    /// The host gives it up. Settled by the end of the request under way, or by cancel().
    void giveUp() { m_givenUp = true; }
    bool givenUp() const { return m_givenUp; }
    /// Ends it here, before its turn comes or between two blocks.
    void cancel();
    /// The line is closed. `underWay`: a request that has been sent and is not settled.
    void close(const std::optional<RequestEnd>& underWay);

    const RecipeOutcome& outcome() const { return m_outcome; }
    /// As it was when the last block had been moved.
    const RecipeProgress& progress() const { return m_progress; }
    QVector<WordRange> ranges() const; ///< of the variables

private:
    Next begin(RecipeDirection direction);
    Next finish(RecipeResult result);
    void noteMode(const RequestEnd& end);
    void note(const RequestEnd& end, RecipeBlock::State state);
    void rememberMovedBefore();
    void addBlocksNotMoved();
    void fetch(const std::vector<unsigned short>& buffer);
    int wordsMoved() const;

    RecipeDirection m_direction; ///< of the pass under way; reading back is an upload
    bool m_readBack;
    bool m_readingBack = false;
    bool m_givenUp = false;
    bool m_again = false; ///< started once more after a change of the mode
    int m_words = 0;
    QStringList m_registers;            ///< in the driver's order
    QVector<int> m_order;               ///< indices of the variables in the order of moving
    QVector<int> m_offsets;             ///< first word in the buffer, of each variable
    QVector<RecipeBlock> m_moved;       ///< of the pass under way
    QVector<RecipeBlock> m_movedBefore; ///< of the pass that the change of the mode has ended
    RecipeOutcome m_outcome;
    RecipeProgress m_progress;
};

} // namespace velkor_host

#endif
