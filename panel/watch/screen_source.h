#ifndef VELKOR_PANEL_WATCH_SCREEN_SOURCE_H
#define VELKOR_PANEL_WATCH_SCREEN_SOURCE_H

/// The watched tags as the screen wants them.

#include "panel/screen/screen_model.h"
#include "panel/watch/watched_tags.h"

namespace panel {

/// "port unreachable for 4.2 s: nothing listens on ...": the key words, for how long, and the rest.
/// "no answer for 4.2 s; last request: 1 try of ...": where the rest is of one request alone.
QString reasonSince(const TagStatus& status, qint64 now);

class ScreenSource : public screen::ScreenModel {
public:
    /// `tags` are borrowed. `force`: values outside the limits are written without being asked for
    /// twice.
    ScreenSource(WatchedTags& tags, bool force, bool unicode);

    QString title() const override;
    int tagCount() const override { return m_tags.size(); }
    screen::TagLabel label(int tag) const override;
    screen::TagNow status(int tag) const override;
    screen::TagTexts texts(int tag) const override;
    QVector<screen::PlcStatus> plcs() const override;
    QString startWrite(int tag, const QString& typed, bool force) override;
    qint64 now() const override { return m_tags.line(0).now(); }

private:
    WatchedTags& m_tags;
    const bool m_force;
    const bool m_unicode;
};

} // namespace panel

#endif
