#ifndef VELKOR_HOST_ENDPOINT_H
#define VELKOR_HOST_ENDPOINT_H

#include <QtCore/QString>
#include <QtNetwork/QHostAddress>
#include <velkor/host/export.h>

namespace velkor_host {

/// An IPv4 address and a UDP port.
struct Endpoint {
    QHostAddress address;
    quint16 port = 0;
};

/// "127.0.0.1:9600"
VELKOR_HOST_EXPORT QString endpointText(const Endpoint& endpoint);

/// The inverse of endpointText(). Takes ADDRESS:PORT, ADDRESS or :PORT, without blanks: four
/// numbers from 0 to 255, a port from 0 to 65535. A part that is missing stays in `*endpoint` as it
/// was. Names of computers are not looked up. The result is empty, or says what would be right;
/// then
/// `*endpoint` is as it was.
VELKOR_HOST_EXPORT QString endpointFromText(const QString& text, Endpoint* endpoint);

} // namespace velkor_host

#endif
