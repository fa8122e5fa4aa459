#ifndef VELKOR_PANEL_TREND_HISTORY_H
#define VELKOR_PANEL_TREND_HISTORY_H

/// The last values of the tags, for the small graph and for the trend, in memory that is bounded:
/// of up to ALL_KEPT tags the last ten minutes are kept, at four samples a second, of the tags of
/// a longer list only from when keep() names them on. Values are kept as double, as a counter of 32
/// bits needs it: 19 kB a tag for the ten minutes, and 128 bytes a tag of any list for the small
/// graph.

#include <QtCore/QHash>
#include <QtCore/QVector>

#include <functional>
#include <vector>

namespace panel {
namespace screen {

/// One moment of one tag.
struct Sample {
    enum Kind {
        None, ///< nobody looked
        Gap,  ///< it had no fresh value, or none that is a number
        Value
    };
    Kind kind = None;
    double value = 0;
};

/// What one column of a chart shows: several moments, or a part of one.
struct Column {
    bool value = false; ///< `low` to `last` hold
    bool gap = false;   ///< at some moment there was no fresh value
    double low = 0;
    double high = 0;
    double last = 0;
};

/// The samples, the oldest first, laid out over so many columns.
QVector<Column> columnsOf(const QVector<Sample>& samples, int count);

class History {
public:
    static const int SAMPLE_MS = 250;
    static const int SAMPLES = 2400;  ///< ten minutes
    static const int RECENT = 16;     ///< for the small graph, one a second
    static const int ALL_KEPT = 1000; ///< 19 MB

    explicit History(int tags);

    /// The tags of a trend, the first ALL_KEPT of them: of a longer list, others are forgotten.
    void keep(const QVector<int>& tags);

    /// To be called four times a second. `look` tells what a tag is now. A call that comes late
    /// leaves no gap, one that is missing does.
    void sample(qint64 now, const std::function<Sample(int tag)>& look);

    /// For the small graph: the last values, oldest first.
    QVector<double> recent(int tag) const;

    /// The last `count` moments up to the latest one, oldest first.
    QVector<Sample> last(int tag, int count) const;

private:
    struct Kept {
        std::vector<double> samples; ///< a ring, as stored()
        qint64 first = 0;            ///< slots that have been stored: from `first` on,
        qint64 end = 0;              ///< before `end`

        void store(qint64 slot, double value);
    };

    int m_tags;
    QHash<int, Kept> m_kept;
    QVector<double> m_recent; ///< RECENT of each tag, oldest first; not finite: none yet
    qint64 m_slot = -1;       ///< of the latest sample
    qint64 m_recentAt = -1;
};

} // namespace screen
} // namespace panel

#endif
