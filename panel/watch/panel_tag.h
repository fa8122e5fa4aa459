#ifndef VELKOR_PANEL_WATCH_PANEL_TAG_H
#define VELKOR_PANEL_WATCH_PANEL_TAG_H

#include <velkor/host/scaled_value.h>
#include <velkor/host/tag.h>

#include <QtCore/QStringList>

namespace panel {
using namespace velkor_host;

/// A tag as a tag file names it: what the line polls, and what people see of it.
struct PanelTag {
    Tag tag;
    QString plc; ///< name of the PLC; empty with a single one without a name
    QString unit;
    QString comment;
    Limits limits; ///< in the unit shown; values at a limit are inside
};

/// See limits.h.
Limit limitOf(const PanelTag& tag, const Items& items);

/// "46.371 l"; a unit that begins with a number is a factor: "241 x 0.1 l". `mostDigits` of a float
/// that is not scaled, 6 to 9.
QString valueWithUnit(const PanelTag& tag, const Items& items, bool unicode, int mostDigits = 9);

/// What may be shown for the value: never one that was not read, never an old one without saying
/// so.
QString shownValue(const PanelTag& tag, const TagStatus& status);

/// "low" or "high" when the value is fresh and lies outside the tag's limits; else empty.
QString limitMark(const PanelTag& tag, const TagStatus& status);

/// "0 to 200 l", "at least 0 l"
QString limitsText(const PanelTag& tag);

/// The items that stand for what a person has typed or given as arguments. The result is empty or
/// says what would be right; then `items` is unchanged. A value outside the tag's limits is refused
/// unless `force` is set; `howToForce` says how to.
QString parseTagValues(const PanelTag& tag, const QStringList& texts, bool force,
                       const QString& howToForce, Items* items);

} // namespace panel

#endif
