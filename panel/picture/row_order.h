#ifndef VELKOR_PANEL_PICTURE_ROW_ORDER_H
#define VELKOR_PANEL_PICTURE_ROW_ORDER_H

/// Which tags the table has, and in what order.

#include "panel/picture/shown.h"

#include <functional>

namespace panel {
namespace screen {

enum class Order {
    AsGiven,
    Name,  ///< case and PLC last; numbers in names by their value
    Age,   ///< read longest ago first, those never read before them
    Change ///< changed last first, those never changed behind them
};

Order nextOrder(Order order);
/// "", "by name", "by age", "by change"
QString orderName(Order order);

/// -1, 0 or 1: is `left` before `right`? "DM:2" is before "DM:10".
int compareNames(const QString& left, const QString& right);

/// Indices of the tags whose names hold every word of the filter, in any case; `withPlc`: the
/// PLC's name counts too. All tags for an empty filter.
QVector<int> matchingTags(const QVector<TagLabel>& labels, const QString& filter, bool withPlc);

/// Ages count in whole seconds, and equals keep the order in which they were given: rows whose
/// ages differ by less stand still.
void sortTags(QVector<int>* tags, Order order, const QVector<TagLabel>& labels,
              const std::function<TagNow(int tag)>& status, qint64 now);

} // namespace screen
} // namespace panel

#endif
