#ifndef VELKOR_PANEL_WATCH_WATCHED_TAGS_H
#define VELKOR_PANEL_WATCH_WATCHED_TAGS_H

/// The tags of a list over the lines to their PLCs, as one list.

#include "panel/watch/panel_tag.h"

#include <velkor/host/line.h>

#include <functional>

namespace panel {

class WatchedTags {
public:
    /// `lines` are borrowed, open, and named as `names` says. Every tag's PLC is one of them.
    WatchedTags(const QVector<Line*>& lines, const QStringList& names,
                const QVector<PanelTag>& tags);

    /// Hands the tags to the lines. The result is empty or says what is wrong.
    QString start();

    int size() const { return static_cast<int>(m_tags.size()); }
    const PanelTag& tag(int index) const { return m_tags.at(index); }
    const TagStatus& status(int index) const;
    int lineIndexOf(int index) const { return m_places.at(index).line; }
    Line& lineOf(int index) const { return *m_lines.at(lineIndexOf(index)); }
    bool allFresh() const;

    int lines() const { return static_cast<int>(m_lines.size()); }
    Line& line(int index) const { return *m_lines.at(index); }
    const QString& lineName(int index) const { return m_names.at(index); }
    int tagsOf(int line) const { return static_cast<int>(m_tagsOf.at(line).size()); }

    /// Tags (indices into this list) whose state or value has changed.
    std::function<void(const QVector<int>& changed)> onTags;
    /// A line has asked for every word of its tags once more.
    std::function<void(int line)> onScan;
    std::function<void(int line, const WriteOutcome& outcome)> onWrite;
    std::function<void(int line, const RequestEnd& end)> onRequest;

private:
    struct Place {
        int line = 0;
        int index = 0; ///< in the line's own list
    };

    QVector<Line*> m_lines;
    QStringList m_names;
    QVector<PanelTag> m_tags;
    QVector<Place> m_places;
    QVector<QVector<int>> m_tagsOf; ///< for each line: indices into m_tags
};

} // namespace panel

#endif
