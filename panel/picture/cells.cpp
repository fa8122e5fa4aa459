#include "panel/picture/cells.h"

#include <algorithm>
#include <climits>
#include <cwchar>

namespace panel {
namespace screen {
namespace {

const char32_t ZERO_WIDTH_NON_JOINER = 0x200C;
const char32_t ZERO_WIDTH_JOINER = 0x200D;

/// 0 for a combining character; -1 for one that cannot be shown.
int columns(char32_t character) {
    const bool joiner = character == ZERO_WIDTH_JOINER || character == ZERO_WIDTH_NON_JOINER;
    // Format characters turn the direction of the line around.
    if (QChar::category(character) == QChar::Other_Format && !joiner) {
        return -1;
    }
    char bytes[MB_LEN_MAX];
    std::mbstate_t state = {};
    const auto wide = static_cast<wchar_t>(character);
    if (std::wcrtomb(bytes, wide, &state) == static_cast<std::size_t>(-1)) {
        return -1;
    }
    return wcwidth(wide);
}

} // namespace

QVector<Glyph> glyphs(const QString& text) {
    QVector<Glyph> result;
    result.reserve(static_cast<int>(text.size()));
    for (const char32_t character : text.toUcs4()) {
        const int width = columns(character);
        if (width == 0 && !result.isEmpty()) {
            result.last().text += QString::fromUcs4(&character, 1);
        } else if (width <= 0) {
            result.append({QStringLiteral("?"), 1});
        } else {
            result.append({QString::fromUcs4(&character, 1), width});
        }
    }
    return result;
}

int textWidth(const QString& text) {
    int width = 0;
    for (const Glyph& glyph : glyphs(text)) {
        width += glyph.width;
    }
    return width;
}

QString cutText(const QString& text, int width, bool unicode) {
    const QVector<Glyph> all = glyphs(text);
    QString whole;
    QString part; // with room for the mark
    int used = 0;
    for (const Glyph& glyph : all) {
        used += glyph.width;
        whole += glyph.text;
        if (used < width) {
            part = whole;
        }
    }
    if (used <= width) {
        return whole;
    }
    return width < 1 ? QString() : part + (unicode ? QChar(0x2026) : QLatin1Char('~'));
}

QStringList wrapText(const QString& text, int width, int lines, bool unicode) {
    QStringList result;
    QString rest = text;
    while (result.size() < lines - 1 && textWidth(rest) > width) {
        int used = 0;
        int taken = 0; // UTF-16 units up to the last blank that fits
        int at = 0;
        for (const Glyph& glyph : glyphs(rest)) {
            if (glyph.text == QLatin1String(" ") && used <= width) {
                taken = at;
            }
            used += glyph.width;
            at += static_cast<int>(glyph.text.size());
        }
        if (taken == 0) {
            break; // one long word
        }
        result.append(rest.left(taken));
        rest = rest.mid(taken + 1);
    }
    result.append(cutText(rest, width, unicode));
    return result;
}

QString ageText(qint64 age) {
    const qint64 milli = std::max<qint64>(0, age) / 1000;
    if (milli < 1000) {
        return QStringLiteral("%1 ms").arg(milli);
    }
    if (milli < 60000) {
        return QStringLiteral("%1.%2 s").arg(milli / 1000).arg(milli % 1000 / 100);
    }
    return milli < 3600000 ? QStringLiteral("%1 min").arg(milli / 60000)
                           : QStringLiteral("%1 h").arg(milli / 3600000);
}

QString countText(qint64 count, const char* one, const char* many) {
    return QStringLiteral("%1 %2").arg(count).arg(QString::fromLatin1(count == 1 ? one : many));
}

Grid::Grid(int width, int height)
    : m_width(std::max(1, width)), m_height(std::max(1, height)),
      m_cells(m_width * m_height, Cell{QStringLiteral(" "), Style()}) {}

void Grid::setCell(int x, int y, const QString& text, Style style) {
    Cell& cell = m_cells[y * m_width + x];
    // Half a wide character cannot stay.
    if (cell.text.isEmpty() && x > 0) {
        m_cells[y * m_width + x - 1].text = QStringLiteral(" ");
    }
    if (x + 1 < m_width && at(x + 1, y).text.isEmpty()) {
        m_cells[y * m_width + x + 1].text = QStringLiteral(" ");
    }
    cell = {text, style};
}

int Grid::put(int x, int y, const QString& text, Style style) {
    for (const Glyph& glyph : glyphs(text)) {
        const bool inside = y >= 0 && y < m_height && x >= 0 && x + glyph.width <= m_width;
        if (inside) {
            setCell(x, y, glyph.text, style);
            if (glyph.width == 2) {
                setCell(x + 1, y, QStringLiteral(" "), style);
                m_cells[y * m_width + x] = {glyph.text, style};
                m_cells[y * m_width + x + 1].text.clear();
            }
        }
        x += glyph.width;
    }
    return x;
}

void Grid::putRight(int end, int y, const QString& text, Style style) {
    put(end - textWidth(text), y, text, style);
}

void Grid::fill(int x, int y, int width, Style style) {
    put(x, y, QString(std::max(0, width), QLatin1Char(' ')), style);
}

void Grid::setStyle(int x, int y, int width, Style style) {
    for (int column = std::max(0, x); column < std::min(m_width, x + width); ++column) {
        if (y >= 0 && y < m_height) {
            m_cells[y * m_width + column].style = style;
        }
    }
}

QString Grid::line(int y) const {
    QString text;
    for (int x = 0; x < m_width; ++x) {
        text += at(x, y).text;
    }
    while (text.endsWith(QLatin1Char(' '))) {
        text.chop(1);
    }
    return text;
}

QString sparkline(const QVector<double>& values, int width, bool unicode) {
    const QString steps = unicode
                              ? QStringLiteral("\u2581\u2582\u2583\u2584\u2585\u2586\u2587\u2588")
                              : QStringLiteral("_.-:=+*#");
    const QVector<double> shown = values.mid(std::max(0, static_cast<int>(values.size()) - width));
    if (shown.isEmpty() || width < 1) {
        return QString();
    }
    const double lowest = *std::min_element(shown.begin(), shown.end());
    const double span = *std::max_element(shown.begin(), shown.end()) - lowest;
    QString text;
    for (const double value : shown) {
        const double part = span > 0 ? (value - lowest) / span : 0;
        text += steps.at(std::min(7, static_cast<int>(part * 8)));
    }
    return text;
}

} // namespace screen
} // namespace panel
