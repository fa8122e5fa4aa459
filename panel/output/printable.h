#ifndef VELKOR_PANEL_OUTPUT_PRINTABLE_H
#define VELKOR_PANEL_OUTPUT_PRINTABLE_H

/// Text from outside (files, arguments) on its way to a terminal, to which a control character is a
/// command.

#include <QtCore/QString>

namespace panel {

/// `text` with what cannot be printed written out: "\x1B", "\u202E". Line ends too.
QString printable(const QString& text);

/// The same for a text of several lines: line ends stay.
QString printableLines(const QString& text);

/// `text`, or its beginning and its end with dots between: `length` characters at most, 10 or more.
QString shortened(const QString& text, int length);

} // namespace panel

#endif
