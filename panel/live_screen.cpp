#include "panel/live_screen.h"

#include "panel/advice.h"

#include <QtCore/QCoreApplication>

#include <algorithm>

namespace panel {
namespace {

const int DRAW_INTERVAL_MS = 250;
const int PAGE = 10;
const qint64 MESSAGE_TIME = 10000000; // microseconds; then what is wrong now is shown again

} // namespace

LiveScreen::LiveScreen(Session& session, const TagBoard& board)
    : m_session(session), m_board(board), m_unicode(terminalIsUnicode()) {
    m_terminal.onKey = [this](Key key, const QString& text) { keyPressed(key, text); };
    m_terminal.onClosed = [] { QCoreApplication::exit(0); };
    QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { draw(); });
    m_timer.start(DRAW_INTERVAL_MS);
}

void LiveScreen::redrawAll() {
    m_terminal.redrawAll();
    draw();
}

void LiveScreen::draw() {
    TableInput input;
    input.title = QStringLiteral("%1  %2 tags, scan %3 ms   q quits, arrows select, enter writes")
                      .arg(endpointText(m_session.settings().plc))
                      .arg(m_board.size())
                      .arg(m_session.settings().scanMs);
    input.selected = m_selected;
    input.width = m_terminal.width();
    input.height = m_terminal.height();
    input.unicode = m_unicode;
    input.now = m_session.now();
    if (m_typing) {
        input.message = prompt();
        if (input.message.size() > input.width) { // the end is where the cursor is
            input.message = QStringLiteral("...") + input.message.right(input.width - 3);
        }
    } else if (input.now - m_messageAt < MESSAGE_TIME) {
        input.message = m_message;
    }
    if (input.message.isEmpty()) {
        // Of a value that is not as it should be: why.
        input.message = m_board.at(m_selected).reason;
    }
    const TableScreen screen = renderTable(m_board, m_session.statistics(), input);
    m_terminal.show(screen.lines, screen.selectedLine);
}

QString LiveScreen::prompt() const {
    const Tag& tag = m_board.at(m_selected).tag;
    return QStringLiteral("write %1 (%2, %3): %4_")
        .arg(tag.name, tagAddressText(tag), valueTypeName(tag.type), m_typed);
}

void LiveScreen::keyPressed(Key key, const QString& text) {
    if (m_typing) {
        keyWhileTyping(key, text);
    } else {
        keyWhileSelecting(key, text);
    }
    draw();
}

void LiveScreen::keyWhileSelecting(Key key, const QString& text) {
    m_message.clear();
    switch (key) {
    case Key::Up:
        return select(m_selected - 1);
    case Key::Down:
        return select(m_selected + 1);
    case Key::PageUp:
        return select(m_selected - PAGE);
    case Key::PageDown:
        return select(m_selected + PAGE);
    case Key::Home:
        return select(0);
    case Key::End:
        return select(m_board.size() - 1);
    case Key::Enter:
        m_typing = true;
        m_typed.clear();
        return;
    case Key::Text:
        if (text == QLatin1String("q") || text == QLatin1String("Q")) {
            QCoreApplication::exit(0);
        }
        return;
    case Key::Escape:
    case Key::Backspace:
        return;
    }
}

void LiveScreen::keyWhileTyping(Key key, const QString& text) {
    if (key == Key::Text) {
        m_typed += text;
    } else if (key == Key::Backspace) {
        m_typed.chop(1);
    } else if (key == Key::Escape) {
        m_typing = false;
    } else if (key == Key::Enter) {
        writeTyped();
    }
}

void LiveScreen::select(int index) {
    m_selected = std::max(0, std::min(index, m_board.size() - 1));
}

void LiveScreen::writeTyped() {
    m_typing = false;
    m_messageAt = m_session.now();
    if (m_typed.isEmpty()) {
        return;
    }
    const Tag& tag = m_board.at(m_selected).tag;
    const QStringList texts = tag.type == ValueType::String
                                  ? QStringList(m_typed)
                                  : m_typed.simplified().split(QLatin1Char(' '));
    Items items;
    m_message = parseValues(tag.type, texts, tag.count, &items);
    if (m_message.isEmpty() && items.size() > tag.itemCount()) {
        m_message = QStringLiteral("%1 takes %2 values").arg(tag.name).arg(tag.count);
    }
    if (m_message.isEmpty()) {
        m_message = QStringLiteral("writing %1 ...").arg(tag.name);
        m_session.write(tag.reg, tag.address, items);
    }
}

void LiveScreen::writeEnded(const Settled& settled, const QString& reason, bool modeSwitched) {
    m_messageAt = m_session.now();
    m_message = settled.ok
                    ? QStringLiteral("written: ") + requestText(settled)
                    : QStringLiteral("writing %1 failed: %2").arg(requestText(settled), reason);
    if (modeSwitched) {
        m_message += QStringLiteral("; for it the PLC was switched to MONITOR mode");
    }
}

} // namespace panel
