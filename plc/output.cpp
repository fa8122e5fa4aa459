#include "plc/output.h"

#include <cerrno>
#include <cstring>
#include <unistd.h>

#include "plc/output_wait.h"

namespace plc {

namespace {

// Empty, or why not all of it could be written.
QString writeAll(const QByteArray& bytes, int descriptor) {
    const OutputWait wait;
    const char* at = bytes.constData();
    auto left = static_cast<std::size_t>(bytes.size());
    while (left > 0) {
        const ssize_t written = ::write(descriptor, at, left);
        if (written >= 0) {
            at += written;
            left -= static_cast<std::size_t>(written);
        } else if (errno == EINTR || errno == EAGAIN) {
            if (OutputWait::isGivenUp()) {
                return QStringLiteral("its reader has stopped reading");
            }
            if (errno == EAGAIN) { // who shares the descriptor wants it so
                OutputWait::untilWritable(descriptor);
            }
        } else {
            return QString::fromLocal8Bit(std::strerror(errno));
        }
    }
    return QString();
}

} // namespace

QString say(const QString& text) {
    const QString why = writeAll(text.toLocal8Bit(), STDOUT_FILENO);
    return why.isEmpty() ? QString()
                         : QStringLiteral("cannot write to the standard output: %1").arg(why);
}

void complain(const QStringList& lines) {
    QStringList shown;
    for (const QString& line : lines) {
        shown.append(printable(line));
    }
    const QString text = QStringLiteral("velkor-plc: ") + shown.join(QLatin1Char('\n'));
    writeAll(text.toLocal8Bit() + '\n', STDERR_FILENO); // nobody is left to be told that it failed
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
