#include "panel/trend/chart.h"

#include <algorithm>

namespace panel {
namespace screen {
namespace {

const int DOTS_ACROSS = 2; // of a braille character
const int DOTS_DOWN = 4;

const Style FAINT = {Ink::Faint, false};
const Style OUTSIDE = {Ink::Outside, false};
const Style FRESH = {Ink::Fresh, false};

} // namespace

QString Chart::axis(bool marked) const {
    if (!m_unicode) {
        return marked ? QStringLiteral("+") : QStringLiteral("|");
    }
    return QString(QChar(marked ? 0x2524 : 0x2502));
}

void Chart::drawScale(const QVector<ScaleLabel>& labels) {
    for (int line = 0; line < m_area.height; ++line) {
        m_grid->put(m_area.x - 1, m_area.y + line, axis(false), FAINT);
    }
    for (const ScaleLabel& label : labels) {
        drawLabel(label);
    }
}

void Chart::drawLabel(const ScaleLabel& label) {
    const Style style = label.limit ? OUTSIDE : FAINT;
    const int y = m_area.y + lineOf(m_scale, label.value, m_area.height);
    const int room = m_area.x - 1;
    if (label.limit) {
        const QString dash = m_unicode ? QString(QChar(0x2504)) : QStringLiteral("-");
        m_grid->put(m_area.x, y, dash.repeated(m_area.width), style);
    }
    const QString text =
        textWidth(label.text) <= room ? label.text : cutText(label.withoutNumber, room, m_unicode);
    m_grid->fill(0, y, room);
    m_grid->putRight(room, y, text, style);
    m_grid->put(room, y, axis(true), FAINT);
}

/// Calls `dot` for each of the lines that each column's values cover, joined to the column before
/// when nothing was missing between.
template <typename Dot>
void Chart::walk(const QVector<Column>& columns, int lines, const Dot& dot) const {
    for (int x = 0; x < columns.size(); ++x) {
        const Column& column = columns.at(x);
        if (!column.value) {
            continue;
        }
        int top = lineOf(m_scale, column.high, lines);
        int bottom = lineOf(m_scale, column.low, lines);
        if (x > 0 && columns.at(x - 1).value && !columns.at(x - 1).gap && !column.gap) {
            const int before = lineOf(m_scale, columns.at(x - 1).last, lines);
            top = std::min(top, before + 1);
            bottom = std::max(bottom, before - 1);
        }
        for (int line = top; line <= bottom; ++line) {
            dot(x, line);
        }
    }
}

void Chart::drawDots(const QVector<Sample>& samples) {
    static const ushort DOTS[DOTS_DOWN][DOTS_ACROSS] = {
        {0x01, 0x08}, {0x02, 0x10}, {0x04, 0x20}, {0x40, 0x80}};
    QVector<ushort> cells(m_area.width * m_area.height, 0);
    walk(columnsOf(samples, m_area.width * DOTS_ACROSS), m_area.height * DOTS_DOWN,
         [&](int x, int line) {
             ushort& cell = cells[line / DOTS_DOWN * m_area.width + x / DOTS_ACROSS];
             cell = static_cast<ushort>(cell | DOTS[line % DOTS_DOWN][x % DOTS_ACROSS]);
         });
    for (int index = 0; index < cells.size(); ++index) {
        if (cells.at(index) != 0) {
            m_grid->put(m_area.x + index % m_area.width, m_area.y + index / m_area.width,
                        QString(QChar(static_cast<ushort>(0x2800 + cells.at(index)))), FRESH);
        }
    }
}

void Chart::drawStars(const QVector<Sample>& samples) {
    const QVector<Column> columns = columnsOf(samples, m_area.width);
    walk(columns, m_area.height, [&](int x, int line) {
        const bool last = line == lineOf(m_scale, columns.at(x).last, m_area.height);
        m_grid->put(m_area.x + x, m_area.y + line, last ? QStringLiteral("*") : QStringLiteral("|"),
                    FRESH);
    });
}

void Chart::drawLetters(const QVector<QVector<Sample>>& tags, const QString& letters) {
    QVector<QString> cells(m_area.width * m_area.height); // all letters that stand there
    for (int tag = 0; tag < tags.size(); ++tag) {
        const QVector<Column> columns = columnsOf(tags.at(tag), m_area.width);
        for (int x = 0; x < m_area.width; ++x) {
            if (columns.at(x).value) {
                const int line = lineOf(m_scale, columns.at(x).last, m_area.height);
                cells[line * m_area.width + x] += letters.at(tag);
            }
        }
    }
    for (int index = 0; index < cells.size(); ++index) {
        const QString& there = cells.at(index);
        const int x = index % m_area.width;
        if (!there.isEmpty()) {
            m_grid->put(m_area.x + x, m_area.y + index / m_area.width,
                        there.mid(x % static_cast<int>(there.size()), 1), FRESH);
        }
    }
}

void drawGaps(Grid* grid, const Area& area, int y, const QVector<Sample>& samples) {
    const QVector<Column> columns = columnsOf(samples, area.width);
    for (int x = 0; x < area.width; ++x) {
        if (columns.at(x).gap) {
            grid->put(area.x + x, y, QStringLiteral("x"), {Ink::Stale, false});
        }
    }
}

} // namespace screen
} // namespace panel
