#ifndef VELKOR_TESTS_PANEL_TEXT_H
#define VELKOR_TESTS_PANEL_TEXT_H

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <ostream>
#include <string>

/// As a std::string, which GoogleTest compares and prints.
inline std::string plain(const QString& text) {
    return text.toStdString();
}

/// Bytes from hexadecimal digits with blanks between.
inline QByteArray bytes(const char* hex) {
    return QByteArray::fromHex(hex);
}

#endif
