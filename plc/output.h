// What the program says to its user.
#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

namespace plc {

// Writes the text to the standard output at once. Empty, or why it could not be written.
QString say(const QString& text);

// Writes a complaint, which may have several lines, to the standard error, its control characters
// made visible.
void complain(const QStringList& lines);

// The text with everything that does not print, control characters above all, as \x and its code
// in hex: foreign text is to be read, not to steer the terminal.
QString printable(const QString& text);

} // namespace plc
