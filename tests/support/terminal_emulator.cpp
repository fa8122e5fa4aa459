#include "support/terminal_emulator.h"

#include "panel/picture/cells.h"

#include <algorithm>

namespace {

const char ESCAPE = '\x1b';

QVector<int> numbersOf(const QByteArray& parameters) {
    QVector<int> result;
    for (const QByteArray& part : parameters.split(';')) {
        result.append(part.toInt());
    }
    return result;
}

/// A count that is 1 when it is not given.
int count(const QVector<int>& numbers) {
    return std::max(1, numbers.value(0));
}

int utf8Length(char first) {
    const auto byte = static_cast<unsigned char>(first);
    return byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : byte >= 0xC0 ? 2 : 1;
}

} // namespace

void TerminalEmulator::resize(int width, int height) {
    m_width = width;
    m_height = height;
    m_cells = Cells(height, QVector<QString>(width, " "));
    m_main = m_cells;
    m_x = 0;
    m_y = 0;
    m_top = 0;
    m_bottom = height - 1;
}

void TerminalEmulator::feed(const QByteArray& bytes) {
    m_pending += bytes;
    int at = 0;
    while (at < m_pending.size()) {
        const char byte = m_pending.at(at);
        if (byte == ESCAPE) {
            const int end = takeSequence(at);
            if (end < 0) {
                break;
            }
            at = end;
        } else if (static_cast<unsigned char>(byte) < 0x20) {
            control(byte);
            ++at;
        } else {
            const int length = utf8Length(byte);
            if (at + length > m_pending.size()) {
                break;
            }
            m_moreThanAscii = m_moreThanAscii || length > 1;
            const QString text = QString::fromUtf8(m_pending.mid(at, length));
            // Alone, a combining character has no width of its own.
            const QString based = 'a' + text;
            print(text, panel::screen::textWidth(based) - 1);
            at += length;
        }
    }
    m_pending.remove(0, at);
}

/// The index behind the sequence; -1: it is not complete.
int TerminalEmulator::takeSequence(int at) {
    if (at + 1 >= m_pending.size()) {
        return -1;
    }
    const char second = m_pending.at(at + 1);
    if (second == '(' || second == ')') {
        return at + 2 < m_pending.size() ? at + 3 : -1; // character sets: ASCII alone is used
    }
    if (second != '[') {
        if (second == 'M') {
            m_y == m_top ? scroll(-1) : void(--m_y);
        } else if (!QByteArray("=>78c").contains(second)) {
            m_unknown.append(QString("ESC %1").arg(QLatin1Char(second)));
        }
        return at + 2;
    }
    int end = at + 2;
    while (end < m_pending.size() && (m_pending.at(end) < 0x40 || m_pending.at(end) > 0x7E)) {
        ++end;
    }
    if (end >= m_pending.size()) {
        return -1;
    }
    command(m_pending.at(end), m_pending.mid(at + 2, end - at - 2));
    return end + 1;
}

void TerminalEmulator::control(char byte) {
    switch (byte) {
    case '\r':
        m_x = 0;
        return;
    case '\n':
        m_y == m_bottom ? scroll(1) : void(m_y = std::min(m_y + 1, m_height - 1));
        return;
    case '\b':
        m_x = std::max(0, m_x - 1);
        return;
    case '\t':
        m_x = std::min(m_width - 1, m_x / 8 * 8 + 8);
        return;
    default: // shifts of character sets, pauses, the bell
        return;
    }
}

void TerminalEmulator::command(char final, const QByteArray& parameters) {
    const QVector<int> numbers = numbersOf(parameters);
    if (QByteArray("HfABCDGd").contains(final)) {
        move(final, numbers);
    } else if (final == 'h' || final == 'l') {
        mode(final, parameters);
    } else if (final == 'm') {
        attributes(numbers);
    } else if (final == 'r') {
        m_top = std::max(1, numbers.value(0)) - 1;
        m_bottom = (numbers.value(1) > 0 ? numbers.value(1) : m_height) - 1;
        m_x = 0;
        m_y = 0;
    } else if (final == 'b') {
        for (int repeat = 0; repeat < count(numbers); ++repeat) {
            print(m_last, 1);
        }
    } else if (final != 't' && !erase(final, numbers)) { // t: the window's title
        m_unknown.append(QString("CSI %1%2").arg(QString::fromLatin1(parameters)).arg(final));
    }
}

void TerminalEmulator::move(char final, const QVector<int>& numbers) {
    switch (final) {
    case 'A':
        m_y -= count(numbers);
        break;
    case 'B':
        m_y += count(numbers);
        break;
    case 'C':
        m_x += count(numbers);
        break;
    case 'D':
        m_x -= count(numbers);
        break;
    case 'G':
        m_x = count(numbers) - 1;
        break;
    case 'd':
        m_y = count(numbers) - 1;
        break;
    default:
        m_y = count(numbers) - 1;
        m_x = std::max(1, numbers.value(1)) - 1;
    }
    m_x = std::max(0, std::min(m_x, m_width - 1));
    m_y = std::max(0, std::min(m_y, m_height - 1));
}

bool TerminalEmulator::erase(char final, const QVector<int>& numbers) {
    const int x = std::min(m_x, m_width - 1);
    switch (final) {
    case 'J':
        for (int y = 0; y < m_height; ++y) {
            const bool here = y == m_y;
            const int part = numbers.value(0);
            if (part == 2 || (part == 0 && y > m_y) || (part == 1 && y < m_y)) {
                clear(y, 0, m_width);
            } else if (here) {
                part == 0 ? clear(y, x, m_width) : clear(y, 0, x + 1);
            }
        }
        return true;
    case 'K':
        clear(m_y, numbers.value(0) == 0 ? x : 0, numbers.value(0) == 1 ? x + 1 : m_width);
        return true;
    case 'X':
        clear(m_y, x, x + count(numbers));
        return true;
    case 'P':
        for (int index = 0; index < count(numbers); ++index) {
            m_cells[m_y].remove(x);
            m_cells[m_y].append(" ");
        }
        return true;
    case '@':
        for (int index = 0; index < count(numbers); ++index) {
            m_cells[m_y].insert(x, " ");
            m_cells[m_y].removeLast();
        }
        return true;
    case 'L':
    case 'M': {
        const int top = m_top;
        m_top = m_y;
        scroll(final == 'M' ? count(numbers) : -count(numbers));
        m_top = top;
        return true;
    }
    case 'S':
        scroll(count(numbers));
        return true;
    case 'T':
        scroll(-count(numbers));
        return true;
    default:
        return false;
    }
}

void TerminalEmulator::scroll(int lines) {
    for (int step = 0; step < std::abs(lines); ++step) {
        m_cells.remove(lines > 0 ? m_top : m_bottom);
        m_cells.insert(lines > 0 ? m_bottom : m_top, QVector<QString>(m_width, " "));
    }
}

void TerminalEmulator::mode(char final, const QByteArray& parameters) {
    const bool on = final == 'h';
    if (parameters == "?1049" && on != m_alternate) {
        m_alternate = on; // and the place of the cursor is kept
        std::swap(m_main, m_cells);
        std::swap(m_mainX, m_x);
        std::swap(m_mainY, m_y);
        if (on) {
            m_cells = Cells(m_height, QVector<QString>(m_width, " "));
        }
    } else if (parameters.startsWith("?") && parameters.contains("25")) {
        m_cursorShown = on;
    }
}

void TerminalEmulator::attributes(const QVector<int>& numbers) {
    for (const int number : numbers) {
        const bool plain = number == 39 || number == 49;
        m_colours = m_colours || (!plain && ((number >= 30 && number <= 48) || number >= 90));
    }
}

void TerminalEmulator::print(const QString& text, int width) {
    if (width == 0) {
        m_cells[m_y][std::max(0, m_x - 1)] += text;
        return;
    }
    if (m_x + width > m_width) { // the line is full
        m_x = 0;
        control('\n');
    }
    m_cells[m_y][m_x] = text;
    if (width == 2) {
        m_cells[m_y][m_x + 1].clear();
    }
    m_x += width;
    m_last = text;
}

void TerminalEmulator::clear(int y, int from, int end) {
    for (int x = from; x < std::min(end, m_width); ++x) {
        m_cells[y][x] = " ";
    }
}

QString TerminalEmulator::line(int y) const {
    QString text;
    for (const QString& cell : m_cells.at(y)) {
        text += cell;
    }
    while (text.endsWith(' ')) {
        text.chop(1);
    }
    return text;
}

QStringList TerminalEmulator::lines() const {
    QStringList result;
    for (int y = 0; y < m_height; ++y) {
        result.append(line(y));
    }
    return result;
}

int TerminalEmulator::find(const QString& text) const {
    for (int y = 0; y < m_height; ++y) {
        if (line(y).contains(text)) {
            return y;
        }
    }
    return -1;
}

int TerminalEmulator::column(int y, const QString& text) const {
    const auto index = line(y).indexOf(text);
    return index < 0 ? -1 : panel::screen::textWidth(line(y).left(index));
}
