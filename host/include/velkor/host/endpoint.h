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

} // namespace velkor_host

#endif
