#ifndef VELKOR_PANEL_PICTURE_CELLS_H
#define VELKOR_PANEL_PICTURE_CELLS_H

/// A picture of the screen as a grid of cells, and texts measured in columns as the terminal does:
/// a CJK character takes two, a combining one none. Measures go by LC_CTYPE, which the caller has
/// set; what its character set does not hold, and what would move the cursor, is shown as "?".

#include <QtCore/QStringList>
#include <QtCore/QVector>

namespace panel {
namespace screen {

/// What a text means; the terminal makes colours or other marks of it.
enum class Ink { Plain, Faint, Strong, Fresh, Stale, Refused, NotRead, Outside, Pending };

struct Style {
    Ink ink = Ink::Plain;
    bool inverse = false;
};

/// One character with the combining ones that follow it.
struct Glyph {
    QString text;
    int width = 1; ///< columns, 1 or 2
};

QVector<Glyph> glyphs(const QString& text);

/// Columns that the text takes.
int textWidth(const QString& text);

/// At most `width` columns; a text that was cut ends with a mark that says so.
QString cutText(const QString& text, int width, bool unicode);

/// Broken at blanks into at most `lines` lines, the last one cut when it does not all fit.
QStringList wrapText(const QString& text, int width, int lines, bool unicode);

/// "120 ms", "4.2 s", "3 min", "2 h": of microseconds.
QString ageText(qint64 age);

/// "1 retry", "2 retries"
QString countText(qint64 count, const char* one, const char* many);

struct Cell {
    QString text; ///< one glyph; empty: the right half of the wide one to its left
    Style style;
};

class Grid {
public:
    Grid(int width, int height);

    int width() const { return m_width; }
    int height() const { return m_height; }
    const Cell& at(int x, int y) const { return m_cells.at(y * m_width + x); }

    /// Draws from column `x` on, leaving out what lies outside; returns the column behind it.
    int put(int x, int y, const QString& text, Style style = Style());
    /// The same, ending before column `end`.
    void putRight(int end, int y, const QString& text, Style style = Style());
    /// Blanks.
    void fill(int x, int y, int width, Style style = Style());
    void setStyle(int x, int y, int width, Style style);

    /// Where the cursor is shown; -1: nowhere.
    int cursorX = -1;
    int cursorY = -1;

    /// A line's text without the blanks at its end.
    QString line(int y) const;

private:
    void setCell(int x, int y, const QString& text, Style style);

    int m_width;
    int m_height;
    QVector<Cell> m_cells;
};

/// A small graph of the values, scaled from their smallest to their largest, at most `width` of the
/// last ones. A steady value draws a low line.
QString sparkline(const QVector<double>& values, int width, bool unicode);

} // namespace screen
} // namespace panel

#endif
