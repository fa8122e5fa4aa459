#ifndef VELKOR_PANEL_WATCH_WATCH_PROGRESS_H
#define VELKOR_PANEL_WATCH_WATCH_PROGRESS_H

/// What a watch has seen so far: whether nothing changes any more, and what is missing when its
/// time is up.

#include "panel/watch/watched_tags.h"

#include <QtCore/QBitArray>

namespace panel {

class WatchProgress {
public:
    /// `tags` are borrowed.
    explicit WatchProgress(const WatchedTags& tags);

    void tagsChanged(const QVector<int>& changed);
    void scanEnded(int line);
    void requestEnded(int line, const RequestEnd& end);

    /// Every tag has been read, and nothing has changed for three scans of its PLC.
    bool isStable() const;
    /// "11 scans"; with several PLCs, each of which is scanned by itself, "11 scans of left, 9
    /// scans of right".
    QString scansText() const;

    /// Why the time was too short, one text each. `stable` was waited for. `names` as in
    /// failureText().
    QStringList whatIsMissing(bool stable, const SettingNames& names) const;

private:
    static const int STABLE_SCANS = 3;

    /// A read that failed, and which of its words no read has brought since.
    struct FailedRead {
        RequestEnd end;
        QBitArray missing; ///< by word, from the first; never all of them 0
    };
    struct OfLine {
        qint64 scans = 0;
        int quietScans = 0; ///< in a row
        bool changedInScan = false;
        int scansSinceAChange = STABLE_SCANS; ///< of a value; so many, too, when there was none
        QVector<FailedRead> failures;         ///< the last one of each range, oldest first
    };

    const RequestEnd* failureOf(int index) const;
    QString tagName(int index) const;
    QString missingTags(const QVector<int>& missing) const;
    QString reasonOf(int index, const SettingNames& names) const;

    const WatchedTags& m_tags;
    QVector<OfLine> m_lines;
    QVector<int> m_changes; ///< of each tag, as seen last
};

} // namespace panel

#endif
