#include "panel/live_screen.h"

#include "panel/advice.h"
#include "panel/output.h"

#include <QtCore/QCoreApplication>

#include <algorithm>

namespace panel {
namespace {

const int DRAW_INTERVAL_MS = 250;
const int PAGE = 10;

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
    input.title =
        QStringLiteral("%1  %2, scan %3 ms   q quits, arrows select, enter writes")
            .arg(endpointText(m_session.settings().plc), counted(m_board.size(), "tag", "tags"))
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
    } else {
        input.message = m_message.text(reasonLine(m_board.at(m_selected), input.now), input.now);
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
    if (m_typed.isEmpty()) {
        return;
    }
    const Tag& tag = m_board.at(m_selected).tag;
    const QStringList texts = tag.type == ValueType::String
                                  ? QStringList(m_typed)
                                  : m_typed.simplified().split(QLatin1Char(' '));
    Items items;
    QString wrong = parseValues(tag.type, texts, tag.count, &items);
    if (wrong.isEmpty() && items.size() > tag.itemCount()) {
        wrong = QStringLiteral("%1 takes %2").arg(tag.name, counted(tag.count, "value", "values"));
    }
    if (!wrong.isEmpty()) {
        m_message.warn(wrong, m_session.now());
        return;
    }
    m_message.note(QStringLiteral("writing %1 ...").arg(tag.name), m_session.now());
    m_session.write(tag.reg, tag.address, items);
}

void LiveScreen::writeEnded(const TransferEnd& end, const QString& reason, bool modeSwitched) {
    QString text = QStringLiteral("written: ") + requestText(end.reg, end.address, end.length);
    if (!end.ok) {
        text = QStringLiteral("writing %1 failed").arg(requestText(end.last));
        for (const QString& line : leftBehind(end)) {
            text += QStringLiteral("; ") + line;
        }
        text += QStringLiteral(": ") + reason;
    }
    if (modeSwitched) {
        text += QStringLiteral("; for it the PLC was switched to MONITOR mode");
    }
    if (end.ok && !modeSwitched) {
        m_message.note(text, m_session.now());
    } else {
        m_message.warn(text, m_session.now());
    }
}

} // namespace panel
