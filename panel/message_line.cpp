#include "panel/message_line.h"

namespace panel {

void MessageLine::note(const QString& text, qint64 now) {
    m_text = text;
    m_end = now + NOTE_TIME;
    m_warning = false;
}

void MessageLine::warn(const QString& text, qint64 now) {
    m_text = text;
    m_end = now + WARNING_TIME;
    m_warning = true;
}

QString MessageLine::text(const QString& failure, qint64 now) const {
    if (m_text.isEmpty() || now >= m_end) {
        return failure;
    }
    return m_warning || failure.isEmpty() ? m_text : failure;
}

} // namespace panel
