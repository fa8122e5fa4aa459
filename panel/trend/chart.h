#ifndef VELKOR_PANEL_TREND_CHART_H
#define VELKOR_PANEL_TREND_CHART_H

/// One chart within a grid of cells.

#include "panel/picture/cells.h"
#include "panel/trend/history.h"
#include "panel/trend/scale.h"

namespace panel {
namespace screen {

struct Area {
    int x = 0; ///< the axis stands to the left of it, and the labels to the left of that
    int y = 0;
    int width = 1;
    int height = 1;
};

class Chart {
public:
    /// `grid` is borrowed.
    Chart(Grid* grid, const Area& area, const Scale& scale, bool unicode)
        : m_grid(grid), m_area(area), m_scale(scale), m_unicode(unicode) {}

    /// The axis with its labels, and the lines of limits; where two meet, the later one is seen.
    void drawScale(const QVector<ScaleLabel>& labels);

    /// Two by four in a cell, joined.
    void drawDots(const QVector<Sample>& samples);
    /// "*" where a cell's last value stands, "|" where others do.
    void drawStars(const QVector<Sample>& samples);
    /// Tags with a letter each. Where some meet, the columns take turns, so that all are seen.
    void drawLetters(const QVector<QVector<Sample>>& tags, const QString& letters);

private:
    QString axis(bool marked) const;
    void drawLabel(const ScaleLabel& label);
    template <typename Dot>
    void walk(const QVector<Column>& columns, int lines, const Dot& dot) const;

    Grid* m_grid;
    Area m_area;
    Scale m_scale;
    bool m_unicode;
};

/// "x" where a value was missing, on the line `y` below the columns of a chart, over whatever is
/// drawn there.
void drawGaps(Grid* grid, const Area& area, int y, const QVector<Sample>& samples);

} // namespace screen
} // namespace panel

#endif
