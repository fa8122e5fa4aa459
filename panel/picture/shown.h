#ifndef VELKOR_PANEL_PICTURE_SHOWN_H
#define VELKOR_PANEL_PICTURE_SHOWN_H

/// What the screen shows of tags and PLCs. Times are microseconds, on the clock of who fills them
/// in; -1: never.

#include <QtCore/QString>
#include <QtCore/QVector>

#include <optional>

namespace panel {
namespace screen {

/// What stays as it is while the screen is shown.
struct TagLabel {
    QString plc; ///< shown when there are several
    QString name;
    QString address;           ///< "DM 100"
    QString type;              ///< "uint16", for the question for a value
    std::optional<double> low; ///< in the unit of TagNow::number
    std::optional<double> high;
    int values = 1; ///< that it has; the charts draw the first one
};

enum class TagState { NotRead, Fresh, Stale, Refused };
enum class Limit { Inside, Below, Above, BelowAndAbove, NoNumber };

/// What changes, and is cheap to tell: it is asked for of every tag, several times a second.
struct TagNow {
    TagState state = TagState::NotRead;
    bool pending = false; ///< a write to it has not been settled
    Limit limit = Limit::Inside;
    qint64 readAt = -1;
    qint64 changedAt = -1; ///< when the value last changed, the first value not counted
    int changes = 0;
    std::optional<double> number; ///< the (first) value, if it is one; of the last reading
};

/// What is asked for only of the tags on the page.
struct TagTexts {
    QString value;  ///< with its unit; of the last reading, empty without one
    QString reason; ///< why it is not fresh, one line; empty: it is
};

struct PlcStatus {
    QString name;
    QString endpoint;        ///< "192.168.250.1:9600"
    qint64 roundTrip = -1;   ///< duration, median; -1: none yet
    qint64 roundTrip99 = -1; ///< the 99th percentile
    double exchangesPerSecond = 0;
    qint64 retries = 0;
    qint64 failures = 0;
    qint64 dropped = 0;
    QString lastEndCode; ///< "0000 normal"; empty: none yet
    qint64 lastEndCodeAt = -1;
    qint64 silentSince = -1; ///< since when no request has been answered; -1: the last one was
    bool cannotSend = false; ///< nor could it be sent
    QString lastError;       ///< the last end code that was an error; empty: none yet
    qint64 lastErrorAt = -1;
};

} // namespace screen
} // namespace panel

#endif
