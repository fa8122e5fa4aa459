#ifndef VELKOR_SCAN_WEIGHT_SORT_H
#define VELKOR_SCAN_WEIGHT_SORT_H

#include "driver/register_catalogue.h"

#include <QtCore/QPair>
#include <QtCore/QVector>

#include <algorithm>

/// Sorts records that have a regName and an addr by ascending weight (see getRegAddressWeight),
/// compared unsigned; equal weights keep their order. Works on weights and indices, because the
/// records are large.
template <typename Records> void sortByWeight(Records& records) {
    typedef QPair<quint32, int> Weighed; // weight, index: unique, so any sort is a stable one
    QVector<Weighed> order;
    order.reserve(records.size());
    for (int i = 0; i < records.size(); ++i) {
        const int weight = getRegAddressWeight(records.at(i).regName, records.at(i).addr, 1);
        order.append(Weighed(static_cast<quint32>(weight), i));
    }
    std::sort(order.begin(), order.end());
    Records sorted;
    sorted.reserve(records.size());
    for (int i = 0; i < order.size(); ++i) {
        sorted.append(records.at(order.at(i).second));
    }
    records = sorted;
}

#endif
