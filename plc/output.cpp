#include "plc/output.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace plc {

QString say(const QString& text) {
    const QByteArray bytes = text.toLocal8Bit();
    const bool written = std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()),
                                     stdout) == static_cast<std::size_t>(bytes.size()) &&
                         std::fflush(stdout) == 0;
    return written ? QString()
                   : QStringLiteral("cannot write to the standard output: %1")
                         .arg(QString::fromLocal8Bit(std::strerror(errno)));
}

void complain(const QStringList& lines) {
    QStringList shown;
    for (const QString& line : lines) {
        shown.append(printable(line));
    }
    std::fprintf(stderr, "velkor-plc: %s\n", qPrintable(shown.join(QLatin1Char('\n'))));
}

QString printable(const QString& text) {
    QString shown;
    for (const char32_t character : text.toUcs4()) {
        shown += QChar::isPrint(character)
                     ? QString::fromUcs4(&character, 1)
                     : QStringLiteral("\\x%1").arg(uint{character}, 2, 16, QLatin1Char('0'));
    }
    return shown;
}

} // namespace plc
