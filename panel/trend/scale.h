#ifndef VELKOR_PANEL_TREND_SCALE_H
#define VELKOR_PANEL_TREND_SCALE_H

/// The scale of a chart, and the numbers that stand beside it.

#include <QtCore/QString>
#include <QtCore/QVector>

namespace panel {
namespace screen {

/// Round numbers around lowest to highest.
struct Scale {
    double low = 0;
    double high = 1;
    double step = 1;
};

/// No value lies farther from 0 on a scale: the range between two such is a number, too.
const double FARTHEST = 1e300;

/// With about `steps` steps; `low` and `high` are at most FARTHEST.
Scale roundScale(double low, double high, int steps);

/// The line of `lines`, counted from the top, at which a value stands.
int lineOf(const Scale& scale, double value, int lines);

/// What stands beside a line of the chart. A number is shown whole or not at all: one without its
/// end would be another one.
struct ScaleLabel {
    double value = 0;
    QString text;
    QString withoutNumber; ///< for where `text` finds no room
    bool limit = false;    ///< a line is drawn across the chart
};

/// The steps, the lowest first, each with the digits that tell it from its neighbours.
QVector<ScaleLabel> stepLabels(const Scale& scale);

/// "high 1180.5", for the name "high".
ScaleLabel limitLabel(double limit, const QString& name);

} // namespace screen
} // namespace panel

#endif
