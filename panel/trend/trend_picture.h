#ifndef VELKOR_PANEL_TREND_TREND_PICTURE_H
#define VELKOR_PANEL_TREND_TREND_PICTURE_H

/// A chart of the last minutes: a strip for each tag with a scale of its own, or all tags on one
/// scale, each drawn with a letter of its own.

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
    int first = 0;         ///< of the strips shown
    bool oneScale = false; ///< all tags in one chart
    bool withPlc = false;  ///< the PLC's name is shown with a tag's
    int seconds = 120;     ///< that `samples` hold
    QStringList message;   ///< last lines
    Ink messageInk = Ink::Plain;
    int width = 80;
    int height = 24;
    bool unicode = true;
};

/// Strips that fit one above the other; at least 1.
int stripsThatFit(const TrendInput& input);

Grid trendPicture(const TrendInput& input);

/// A scale: round numbers around lowest to highest.
struct Scale {
    double low = 0;
    double high = 1;
    double step = 1;
};

/// With about `steps` steps; `low` and `high` are finite.
Scale roundScale(double low, double high, int steps);

} // namespace screen
} // namespace panel

#endif
