#ifndef VELKOR_DRIVER_DEBUG_LINE_H
#define VELKOR_DRIVER_DEBUG_LINE_H

#include <QtCore/QString>
#include <QtCore/QVarLengthArray>

/// Hands one line to Qt's message handler as a debug message, as it stands: trailing blanks kept,
/// nothing escaped. (Qt's debug stream drops the last blank and escapes quotes in newer releases.)
/// A NUL character ends the line.
void debugLine(const QString& line);

/// Builds such a line in one buffer. Qt's text stream would do as well, at ten times the cost, and
/// a merge writes a line for each of the host's keys.
class DebugLine {
public:
    DebugLine& operator<<(const QString& text);
    DebugLine& operator<<(const char* latin1);
    DebugLine& operator<<(QChar character);
    /// As C's "%d" prints it, whatever the locale.
    DebugLine& operator<<(int number);
    QString text() const {
        return QString(characters_.constData(), static_cast<int>(characters_.size()));
    }

private:
    enum { usualLength = 96 }; // longer ones need an allocation
    QVarLengthArray<QChar, usualLength> characters_;
};

#endif
