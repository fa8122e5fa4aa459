#ifndef VELKOR_HOST_POLL_ISOLATION_H
#define VELKOR_HOST_POLL_ISOLATION_H

/// The search for what the PLC refuses to give in a block that it has refused, by halving.
///
/// The block is taken as the runs of words between the ends of its tags: a tag with one bad word is
/// bad as a whole, and words between tags matter only where a read goes over them. Pure: it says
/// what to read next and is told what became of it.

#include "host/values/word_range.h"

#include <velkor/host/request_end.h>

#include <QtCore/QVector>

#include <optional>

namespace velkor_host {

struct RefusedRange {
    WordRange range;
    RequestEnd refusal;
};

/// The PLC says that it has no such words, or does not give them out (1101, 1103 and their like):
/// its answer depends on the address, and asking for less may help.
bool isAddressRefusal(const RequestEnd& end);

class Isolation {
public:
    /// `block` has been refused, as `refusal` says; `wanted` are the words of the tags.
    Isolation(const WordRange& block, const QVector<WordRange>& wanted, const RequestEnd& refusal);

    /// What to read next; nothing when the search has ended.
    std::optional<WordRange> next() const;
    /// How the read of next() ended. Anything but success or a refusal of the address leaves all as
    /// it is: next() asks for the same words again.
    void ended(const RequestEnd& end);

    const WordRange& block() const { return m_block; }
    bool finished() const { return m_tasks.isEmpty(); }
    /// Runs of tags' words that the PLC refuses.
    const QVector<RefusedRange>& refused() const { return m_refused; }
    /// Words that no tag wants and that no read may go over: both sides are given, but not as one.
    const QVector<WordRange>& gaps() const { return m_gaps; }

private:
    /// Segments first to last are to be asked for; or, with a `middle`, both halves of them have
    /// been, and if that has found nothing, the fault lies between them.
    struct Task {
        int first = 0;
        int last = 0;
        int middle = -1;  ///< first segment of the right half
        int findings = 0; ///< how many there were before the halves were asked for
    };

    WordRange rangeOf(int first, int last) const;
    void divide(int first, int last, const RequestEnd& refusal);
    void closeHalves();
    int findings() const { return static_cast<int>(m_refused.size() + m_gaps.size()); }

    WordRange m_block;
    QVector<WordRange> m_segments; ///< sorted, disjoint
    QVector<Task> m_tasks;         ///< the last one is next
    QVector<RefusedRange> m_refused;
    QVector<WordRange> m_gaps;
};

} // namespace velkor_host

#endif
