#ifndef VELKOR_PANEL_SCREEN_MESSAGE_LINE_H
#define VELKOR_PANEL_SCREEN_MESSAGE_LINE_H

/// The last line of the table: for a while what became of what the user has done, and else why the
/// selected value is not as it should be.

#include <QtCore/QString>

namespace panel {
namespace screen {

class MessageLine {
public:
    static const qint64 NOTE_TIME = 3000000;          ///< microseconds
    static const qint64 WARNING_TIME = 6000000;       ///< these are longer to read
    static const qint64 LEAST_WARNING_TIME = 2000000; ///< whatever keys are pressed

    /// Something has been done. A failure takes its place at once: it would hide that one.
    void note(const QString& text, qint64 now) { set(text, now, NOTE_TIME, false); }

    /// Something has not been done, or has changed more than was asked for.
    void warn(const QString& text, qint64 now) { set(text, now, WARNING_TIME, true); }

    /// The user goes on: a message that has been read goes. A warning may have come while the key
    /// was on its way down, and stays until there was time to read it.
    void keyPressed(qint64 now) {
        if (!m_warning || now - m_begin >= LEAST_WARNING_TIME) {
            m_text.clear();
        }
    }

    /// Is a warning shown now?
    bool warns(qint64 now) const { return m_warning && !m_text.isEmpty() && now < m_end; }

    /// `failure` says why the selected value is not fresh; empty: it is.
    QString text(const QString& failure, qint64 now) const {
        if (m_text.isEmpty() || now >= m_end) {
            return failure;
        }
        return m_warning || failure.isEmpty() ? m_text : failure;
    }

private:
    void set(const QString& text, qint64 now, qint64 time, bool warning) {
        m_text = text;
        m_begin = now;
        m_end = now + time;
        m_warning = warning;
    }

    QString m_text;
    qint64 m_begin = 0;
    qint64 m_end = 0;
    bool m_warning = false;
};

} // namespace screen
} // namespace panel

#endif
