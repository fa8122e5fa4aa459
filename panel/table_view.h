#ifndef VELKOR_PANEL_TABLE_VIEW_H
#define VELKOR_PANEL_TABLE_VIEW_H

/// The live table as lines of text; no terminal involved.

#include "panel/statistics.h"
#include "panel/tag_board.h"

#include <QtCore/QStringList>

namespace panel {

/// A small graph of the values, scaled from their smallest to their largest, at most `width` of the
/// last ones. A steady value draws a low line.
QString sparkline(const QVector<double>& values, int width, bool unicode);

/// "120 ms", "4.2 s", "3 min", "2 h": how long ago.
QString ageText(qint64 microseconds);

/// The value with its unit as the user is to see it: never a value that was not read, never a stale
/// one without saying so.
QString shownValue(const TagStatus& status);

/// Why the tag is not read or stale, and for how long: "no answer for 4.2 s: 3 tries of ...".
QString reasonLine(const TagStatus& status, qint64 now);

/// "read", "stale" or "not read".
QString stateName(TagState state);

struct TableScreen {
    QStringList lines;
    int selectedLine = -1; ///< of `lines`; shown inverted
};

struct TableInput {
    QString title;   ///< first line
    QString message; ///< last line: what is being typed, or what went wrong
    int selected = 0;
    int width = 80;
    int height = 24;
    bool unicode = true;
    qint64 now = 0;
};

/// Fits width and height exactly: never more lines than `height`, never more characters than
/// `width` in one; the selected tag is always among the visible ones.
TableScreen renderTable(const TagBoard& board, const LinkStatistics& statistics,
                        const TableInput& input);

} // namespace panel

#endif
