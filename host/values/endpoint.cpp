#include <velkor/host/endpoint.h>

namespace velkor_host {

QString endpointText(const Endpoint& endpoint) {
    return QStringLiteral("%1:%2").arg(endpoint.address.toString()).arg(endpoint.port);
}

} // namespace velkor_host
