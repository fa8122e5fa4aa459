#ifndef VELKOR_DRIVER_DEBUG_LINE_H
#define VELKOR_DRIVER_DEBUG_LINE_H

#include <QtCore/QString>

/// Hands one line to Qt's message handler as a debug message, as it stands: trailing blanks kept,
/// nothing escaped. (Qt's debug stream drops the last blank and escapes quotes in newer releases.)
/// A NUL character ends the line.
void debugLine(const QString& line);

#endif
