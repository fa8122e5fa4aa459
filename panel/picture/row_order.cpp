#include "panel/picture/row_order.h"

#include <QtCore/QStringList>

#include <algorithm>
#include <limits>

namespace panel {
namespace screen {
namespace {

const qint64 SECOND = 1000000;

struct Keyed {
    qint64 key;
    int tag;
};

/// The digits that start at `*at`, leading zeros left out; moves behind them.
QString takeNumber(const QString& text, int* at) {
    while (*at < text.size() && text.at(*at) == QLatin1Char('0')) {
        ++*at;
    }
    const int first = *at;
    while (*at < text.size() && text.at(*at).isDigit()) {
        ++*at;
    }
    return text.mid(first, *at - first);
}

int sign(qint64 difference) {
    return difference < 0 ? -1 : difference > 0 ? 1 : 0;
}

/// Small keys first.
qint64 sortKey(Order order, const TagNow& status, qint64 now) {
    if (order == Order::Age) {
        return status.readAt < 0 ? std::numeric_limits<qint64>::min()
                                 : -((now - status.readAt) / SECOND);
    }
    return status.changedAt < 0 ? std::numeric_limits<qint64>::max()
                                : (now - status.changedAt) / SECOND;
}

} // namespace

Order nextOrder(Order order) {
    switch (order) {
    case Order::AsGiven:
        return Order::Name;
    case Order::Name:
        return Order::Age;
    case Order::Age:
        return Order::Change;
    case Order::Change:
        break;
    }
    return Order::AsGiven;
}

QString orderName(Order order) {
    switch (order) {
    case Order::AsGiven:
        return QString();
    case Order::Name:
        return QStringLiteral("by name");
    case Order::Age:
        return QStringLiteral("by age");
    case Order::Change:
        break;
    }
    return QStringLiteral("by change");
}

int compareNames(const QString& left, const QString& right) {
    int l = 0;
    int r = 0;
    while (l < left.size() && r < right.size()) {
        if (left.at(l).isDigit() && right.at(r).isDigit()) {
            const QString first = takeNumber(left, &l);
            const QString second = takeNumber(right, &r);
            const int longer = sign(first.size() - second.size());
            const int order = longer != 0 ? longer : sign(first.compare(second));
            if (order != 0) {
                return order;
            }
        } else {
            const int order = sign(qint64(left.at(l).toCaseFolded().unicode()) -
                                   right.at(r).toCaseFolded().unicode());
            if (order != 0) {
                return order;
            }
            ++l;
            ++r;
        }
    }
    const int rest = sign((left.size() - l) - (right.size() - r));
    return rest != 0 ? rest : sign(left.compare(right));
}

QVector<int> matchingTags(const QVector<TagLabel>& labels, const QString& filter, bool withPlc) {
    const QStringList words = filter.simplified().split(QLatin1Char(' '));
    QVector<int> result;
    for (int tag = 0; tag < labels.size(); ++tag) {
        const TagLabel& label = labels.at(tag);
        const QString text = withPlc ? label.plc + QLatin1Char(' ') + label.name : label.name;
        const bool all = std::all_of(words.begin(), words.end(), [&text](const QString& word) {
            return text.contains(word, Qt::CaseInsensitive);
        });
        if (all) {
            result.append(tag);
        }
    }
    return result;
}

void sortTags(QVector<int>* tags, Order order, const QVector<TagLabel>& labels,
              const std::function<TagNow(int)>& status, qint64 now) {
    std::sort(tags->begin(), tags->end());
    if (order == Order::AsGiven) {
        return;
    }
    if (order == Order::Name) {
        std::stable_sort(tags->begin(), tags->end(), [&labels](int left, int right) {
            const int names = compareNames(labels.at(left).name, labels.at(right).name);
            return names != 0 ? names < 0
                              : compareNames(labels.at(left).plc, labels.at(right).plc) < 0;
        });
        return;
    }
    QVector<Keyed> keyed;
    keyed.reserve(tags->size());
    for (const int tag : *tags) {
        keyed.append({sortKey(order, status(tag), now), tag});
    }
    std::stable_sort(keyed.begin(), keyed.end(),
                     [](const Keyed& left, const Keyed& right) { return left.key < right.key; });
    std::transform(keyed.begin(), keyed.end(), tags->begin(),
                   [](const Keyed& entry) { return entry.tag; });
}

} // namespace screen
} // namespace panel
