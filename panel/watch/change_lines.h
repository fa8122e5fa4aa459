#ifndef VELKOR_PANEL_WATCH_CHANGE_LINES_H
#define VELKOR_PANEL_WATCH_CHANGE_LINES_H

/// watch without a terminal: one line for each change of a value or of its state.

#include "panel/output/output.h"
#include "panel/watch/watched_tags.h"

namespace panel {

class ChangeLines {
public:
    /// Prints the header, if the format has one. `out` and `tags` are borrowed.
    ChangeLines(QTextStream& out, OutputFormat format, const WatchedTags& tags);

    /// Prints those of `changed` that look different from what was printed last. True: there were
    /// some. What could not be written shows in the stream's status.
    bool print(const QVector<int>& changed);

private:
    struct Printed {
        bool any = false;
        TagState state = TagState::NotRead;
        Items items;
    };

    Record record(int index) const;

    QTextStream& m_out;
    const OutputFormat m_format;
    const WatchedTags& m_tags;
    QStringList m_columns;
    QVector<Printed> m_printed;
};

} // namespace panel

#endif
