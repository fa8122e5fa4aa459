#ifndef VELKOR_PANEL_MESSAGE_LINE_H
#define VELKOR_PANEL_MESSAGE_LINE_H

/// The last line of the live table: for a while what became of what the user has done, and else why
/// the selected value is not as it should be.

#include <QtCore/QString>

namespace panel {

class MessageLine {
public:
    static const qint64 NOTE_TIME = 3000000;    ///< microseconds
    static const qint64 WARNING_TIME = 6000000; ///< these are longer to read

    /// Something has been done. A failure takes its place at once: it would hide that one.
    void note(const QString& text, qint64 now);

    /// Something has not been done, or has changed more than was asked for.
    void warn(const QString& text, qint64 now);

    void clear() { m_text.clear(); }

    /// `failure` says why the selected value is stale or not read; empty: it is neither.
    QString text(const QString& failure, qint64 now) const;

private:
    QString m_text;
    qint64 m_end = 0;
    bool m_warning = false;
};

} // namespace panel

#endif
