// What the keys of the screen do.

#include "panel/screen/screen_view.h"

#include <algorithm>

namespace panel {
namespace screen {

void ScreenView::keyPressed(Key key, const QString& text) {
    if (m_help >= 0) {
        const int next = m_help + m_helpRows;
        m_help = next < helpLines().size() && key != Key::Escape ? next : -1;
        return;
    }
    switch (m_mode) {
    case Mode::Select:
        return keyWhileSelecting(key, text);
    case Mode::TypeValue:
    case Mode::TypeFilter:
        return keyWhileTyping(key, text);
    case Mode::Trend:
        return keyInTrend(key, text);
    }
}

void ScreenView::select(int row) {
    if (!m_tags.isEmpty()) {
        m_tag = m_tags.at(std::max(0, std::min(row, static_cast<int>(m_tags.size()) - 1)));
    }
}

/// False: the key does not select.
bool ScreenView::moved(Key key) {
    switch (key) {
    case Key::Up:
        select(row() - 1);
        return true;
    case Key::Down:
        select(row() + 1);
        return true;
    case Key::PageUp:
        select(row() - m_page);
        return true;
    case Key::PageDown:
        select(row() + m_page);
        return true;
    case Key::Home:
        select(0);
        return true;
    case Key::End:
        select(static_cast<int>(m_tags.size()) - 1);
        return true;
    default:
        return false;
    }
}

void ScreenView::keyWhileSelecting(Key key, const QString& text) {
    m_message.keyPressed(m_model.now());
    if (moved(key)) {
        return;
    }
    if (key == Key::Enter) {
        startTyping();
    } else if (key == Key::Escape) {
        m_filter.clear();
        arrange();
    } else if (key == Key::Text) {
        commandWhileSelecting(text);
    }
}

void ScreenView::commandWhileSelecting(const QString& text) {
    const QString command = text.toLower();
    if (command == QLatin1String("q")) {
        m_over = true;
    } else if (command == QLatin1String("?")) {
        m_help = 0;
    } else if (command == QLatin1String("/")) {
        m_mode = Mode::TypeFilter;
        m_typed = m_filter;
    } else if (command == QLatin1String("s")) {
        m_order = nextOrder(m_order);
        arrange();
        if (ordersByTime()) {
            select(0); // what was asked for stands at the top
        }
    } else if (command == QLatin1String(" ")) {
        toggleMark();
    } else if (command == QLatin1String("u")) {
        m_marked.clear();
    } else if (command == QLatin1String("t")) {
        openTrend();
    }
}

void ScreenView::toggleMark() {
    if (m_tag < 0) {
        return;
    }
    if (!m_marked.remove(m_tag)) {
        m_marked.insert(m_tag);
    }
    m_history.keep(m_marked.values().toVector());
}

/// The marked tags, those that the filter hides too, in the order in which they were given.
void ScreenView::openTrend() {
    m_trend = m_marked.values().toVector();
    std::sort(m_trend.begin(), m_trend.end());
    if (m_trend.isEmpty() && m_tag >= 0) {
        m_trend.append(m_tag);
    }
    if (!m_trend.isEmpty()) {
        m_history.keep(m_trend);
        m_trendFirst = 0;
        m_mode = Mode::Trend;
    }
}

void ScreenView::startTyping() {
    if (m_tag < 0) {
        return;
    }
    m_mode = Mode::TypeValue;
    m_typed = m_tag == m_refusedTag ? m_refusedText : QString();
    m_refusedTag = -1;
}

void ScreenView::keyWhileTyping(Key key, const QString& text) {
    switch (key) {
    case Key::Text:
        m_typed += text;
        return typed();
    case Key::Backspace:
        if (!m_typed.isEmpty()) {
            m_typed.chop(static_cast<int>(glyphs(m_typed).last().text.size()));
        }
        return typed();
    case Key::Enter:
        return typingEnded();
    case Key::Escape:
        return typingLeft();
    default:
        if (m_mode == Mode::TypeFilter) {
            moved(key);
        }
    }
}

void ScreenView::typed() {
    if (m_mode == Mode::TypeFilter) {
        m_filter = m_typed;
        arrange();
    }
}

void ScreenView::typingEnded() {
    const bool value = m_mode == Mode::TypeValue;
    m_mode = Mode::Select;
    if (value && !m_typed.isEmpty()) {
        writeTyped();
    }
}

void ScreenView::typingLeft() {
    if (m_mode == Mode::TypeFilter) {
        m_filter.clear();
        arrange();
    }
    m_mode = Mode::Select;
}

void ScreenView::writeTyped() {
    const TagLabel& label = m_labels.at(m_tag);
    // Behind a text, which has no limits, "!" belongs to the text.
    const bool limited = label.low || label.high;
    const bool force = limited && m_typed.endsWith(QLatin1Char('!'));
    const QString value = force ? m_typed.left(m_typed.size() - 1) : m_typed;
    note(QStringLiteral("writing %1 ...").arg(label.name));
    const QString wrong = m_model.startWrite(m_tag, value, force);
    if (!wrong.isEmpty()) {
        m_refusedText = m_typed;
        m_refusedTag = m_tag;
        warn(wrong);
    }
}

void ScreenView::keyInTrend(Key key, const QString& text) {
    m_message.keyPressed(m_model.now());
    const int last = static_cast<int>(m_trend.size()) - 1;
    const int step = key == Key::PageUp || key == Key::PageDown ? m_trendPage : 1;
    if (key == Key::Up || key == Key::PageUp) {
        m_trendFirst = std::max(0, m_trendFirst - step);
    } else if (key == Key::Down || key == Key::PageDown) {
        m_trendFirst = std::min(last, m_trendFirst + step);
    } else if (key == Key::Escape || text == QLatin1String("t")) {
        m_mode = Mode::Select;
    } else if (text == QLatin1String("q")) {
        m_over = true;
    } else if (text == QLatin1String("?")) {
        m_help = 0;
    } else if (text == QLatin1String("o")) {
        m_oneScale = !m_oneScale;
    } else if (text == QLatin1String("+")) {
        m_span = std::max(0, m_span - 1);
    } else if (text == QLatin1String("-")) {
        m_span = std::min(LAST_SPAN, m_span + 1);
    }
}

} // namespace screen
} // namespace panel
