#include "panel/watch/watched_tags.h"

#include <algorithm>

namespace panel {

WatchedTags::WatchedTags(const QVector<Line*>& lines, const QStringList& names,
                         const QVector<PanelTag>& tags)
    : m_lines(lines), m_names(names), m_tags(tags), m_tagsOf(lines.size()) {
    for (int index = 0; index < size(); ++index) {
        Place place;
        place.line = std::max(0, static_cast<int>(names.indexOf(tags.at(index).plc)));
        place.index = static_cast<int>(m_tagsOf.at(place.line).size());
        m_tagsOf[place.line].append(index);
        m_places.append(place);
    }
}

QString WatchedTags::start() {
    for (int line = 0; line < lines(); ++line) {
        const QVector<int>& own = m_tagsOf.at(line);
        m_lines.at(line)->onTags = [this, line](const QVector<int>& changed) {
            QVector<int> indices;
            for (const int index : changed) {
                indices.append(m_tagsOf.at(line).at(index));
            }
            if (onTags) {
                onTags(indices);
            }
        };
        m_lines.at(line)->onScan = [this, line] {
            if (onScan) {
                onScan(line);
            }
        };
        m_lines.at(line)->onWrite = [this, line](const WriteOutcome& outcome) {
            if (onWrite) {
                onWrite(line, outcome);
            }
        };
        m_lines.at(line)->onRequest = [this, line](const RequestEnd& end) {
            if (onRequest) {
                onRequest(line, end);
            }
        };
        QVector<Tag> tags;
        for (const int index : own) {
            tags.append(m_tags.at(index).tag);
        }
        QString fault = m_lines.at(line)->setTags(tags);
        if (!fault.isEmpty()) {
            return fault;
        }
    }
    return QString();
}

const TagStatus& WatchedTags::status(int index) const {
    return lineOf(index).status(m_places.at(index).index);
}

bool WatchedTags::allFresh() const {
    return std::all_of(m_lines.begin(), m_lines.end(),
                       [](const Line* line) { return line->allFresh(); });
}

} // namespace panel
