#ifndef VELKOR_HOST_WIRE_REQUEST_WORDS_H
#define VELKOR_HOST_WIRE_REQUEST_WORDS_H

#include <QtCore/QString>

namespace velkor_host {

/// "1 try", "3 tries"
QString counted(int number, const char* one, const char* many);

/// "1.50 s"
QString secondsText(qint64 microseconds);

} // namespace velkor_host

#endif
