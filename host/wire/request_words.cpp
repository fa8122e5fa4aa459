#include "host/wire/request_words.h"

namespace velkor_host {

QString counted(int number, const char* one, const char* many) {
    return QStringLiteral("%1 %2").arg(number).arg(QLatin1String(number == 1 ? one : many));
}

QString secondsText(qint64 microseconds) {
    return QStringLiteral("%1 s").arg(static_cast<double>(microseconds) / 1e6, 0, 'f', 2);
}

} // namespace velkor_host
