#ifndef VELKOR_TESTS_HOST_PLAIN_TEXT_H
#define VELKOR_TESTS_HOST_PLAIN_TEXT_H

/// What GoogleTest compares and prints.

#include "host/poll/isolation.h"
#include "host/values/word_range.h"

#include <QtCore/QStringList>
#include <QtCore/QVector>

#include <string>

inline std::string plain(const QString& text) {
    return text.toStdString();
}

/// "DM 10+3, HR 5+1"
inline std::string plain(const QVector<velkor_host::WordRange>& ranges) {
    QStringList parts;
    for (const velkor_host::WordRange& range : ranges) {
        parts.append(
            QStringLiteral("%1 %2+%3").arg(range.reg).arg(range.address).arg(range.length));
    }
    return plain(parts.join(QStringLiteral(", ")));
}

inline std::string plain(const QVector<velkor_host::RefusedRange>& refused) {
    QVector<velkor_host::WordRange> ranges;
    for (const velkor_host::RefusedRange& range : refused) {
        ranges.append(range.range);
    }
    return plain(ranges);
}

#endif
