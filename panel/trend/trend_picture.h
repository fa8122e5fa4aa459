#ifndef VELKOR_PANEL_TREND_TREND_PICTURE_H
#define VELKOR_PANEL_TREND_TREND_PICTURE_H

/// A chart of the last minutes: a strip for each tag with a scale of its own, or the tags of a page
/// on one scale, each drawn with a letter of its own. Where a value was missing, there is an "x" on
/// a line below the chart.

#include "panel/picture/cells.h"
#include "panel/picture/shown.h"
#include "panel/trend/history.h"

namespace panel {
namespace screen {

struct TrendTag {
    TagLabel label;
    TagNow status;
    QString value;
    QVector<Sample> samples; ///< oldest first, up to now, History::SAMPLE_MS apart
};

struct TrendInput {
    QVector<TrendTag> tags;
    int first = 0;         ///< of those shown
    bool oneScale = false; ///< all that are shown in one chart
    bool withPlc = false;  ///< the PLC's name is shown with a tag's
    int seconds = 120;     ///< that `samples` hold
    QStringList message;   ///< last lines
    Ink messageInk = Ink::Plain;
    int width = 80;
    int height = 24;
    bool unicode = true;
};

/// Tags that are shown at a time; at least 1. The title says which these are when there are more.
int tagsThatFit(const TrendInput& input);

Grid trendPicture(const TrendInput& input);

} // namespace screen
} // namespace panel

#endif
