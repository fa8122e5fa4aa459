#ifndef VELKOR_HOST_LINE_LINE_CHECKS_H
#define VELKOR_HOST_LINE_LINE_CHECKS_H

/// What a host hands to a line, checked before anything is done with it. Each result is empty, or
/// says what is wrong and what would be right.

#include <velkor/host/line.h>
#include <velkor/host/registers.h>

namespace velkor_host {

/// Of what needs an open line.
QString lineClosedText();

QString settingsFault(const LineSettings& settings);

/// Of `count` items from `address` on.
QString wrongItems(const Catalogue& registers, const QString& reg, int address, qint64 count);
QString wrongWrite(const Catalogue& registers, const QString& reg, int address, const Items& items);
QString wrongTag(const Catalogue& registers, const Tag& tag);
/// Of a write to a tag, besides what wrongWrite() says.
QString wrongTagItems(const Tag& tag, const Items& items);

} // namespace velkor_host

#endif
