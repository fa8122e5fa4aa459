#ifndef VELKOR_DRIVER_DEBUG_LINE_H
#define VELKOR_DRIVER_DEBUG_LINE_H

#include <QtCore/QString>

/// Hands one line to Qt's message handler as a debug message, as it stands: trailing blanks kept,
/// nothing escaped. (Qt's debug stream drops the last blank and escapes quotes in newer releases.)
/// A NUL character ends the line.
void debugLine(const QString& line);

/// Builds such a line in one buffer. Qt's text stream would do as well, at ten times the cost, and
/// a merge writes a line for each of the host's keys.
class DebugLine {
public:
    DebugLine() { text_.reserve(usualLength); }
    DebugLine& operator<<(const QString& text);
    DebugLine& operator<<(const char* latin1);
    DebugLine& operator<<(QChar character);
    /// As C's "%d" prints it, whatever the locale.
    DebugLine& operator<<(int number);
    const QString& text() const { return text_; }

private:
    enum { usualLength = 64 };
    QString text_;
};

#endif
