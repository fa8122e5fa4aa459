#include <velkor/host/endpoint.h>

#include <QtCore/QStringList>

#include <algorithm>

namespace velkor_host {
namespace {

/// As a number is written: no blank, no sign, no leading zero, which some take for octal.
bool isNumber(const QString& text, uint highest) {
    bool ok = false;
    const uint number = text.toUInt(&ok);
    return ok && number <= highest && text == QString::number(number);
}

/// As everybody writes an address. What else the system takes for one, "127.1" or "010.0.0.1", is
/// hardly what was meant.
bool isFourParts(const QString& text) {
    const QStringList parts = text.split(QLatin1Char('.'));
    return parts.size() == 4 && std::all_of(parts.begin(), parts.end(), [](const QString& part) {
               return isNumber(part, 255);
           });
}

} // namespace

QString endpointText(const Endpoint& endpoint) {
    return QStringLiteral("%1:%2").arg(endpoint.address.toString()).arg(endpoint.port);
}

QString endpointFromText(const QString& text, Endpoint* endpoint) {
    const QString address = text.section(QLatin1Char(':'), 0, 0);
    const QString port = text.section(QLatin1Char(':'), 1);
    const bool hasPort = text.contains(QLatin1Char(':'));
    if ((address.isEmpty() && !hasPort) || (!address.isEmpty() && !isFourParts(address)) ||
        (hasPort && !isNumber(port, 65535))) {
        return QStringLiteral("\"%1\" is no address and port; right is an IPv4 address of four "
                              "numbers from 0 to 255 and a port up to 65535, such as "
                              "192.168.250.1:9600")
            .arg(text);
    }
    if (!address.isEmpty()) {
        endpoint->address = QHostAddress(address);
    }
    if (hasPort) {
        endpoint->port = static_cast<quint16>(port.toUInt());
    }
    return QString();
}

} // namespace velkor_host
