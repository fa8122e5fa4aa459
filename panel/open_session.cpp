#include "panel/capture_file.h"
#include "panel/commands.h"
#include "panel/printable.h"
#include "panel/trace.h"

#include <QtNetwork/QHostInfo>

namespace panel {
namespace {

const int MOST_ERRORS_SHOWN = 20;

/// Fields 7 and 8 of the driver's parameter string are the PLC's address and port.
void driverEndpoint(const DriverApi& api, QString* host, quint16* port) {
    QString parameter;
    api.getDriverParameter(parameter);
    const QStringList fields = parameter.split(QLatin1Char(','));
    *host = fields.value(7);
    *port = fields.value(8).toUShort();
}

QString findPlc(const Context& context, Endpoint* plc) {
    QString host;
    driverEndpoint(context.api, &host, &plc->port);
    if (!splitHostPort(context.options.plc, &host, &plc->port) || plc->port == 0) {
        return QStringLiteral("--plc \"%1\": right is HOST or HOST:PORT, the port from 1 to 65535")
            .arg(context.options.plc);
    }
    if (host.contains(QLatin1Char(':')) || host.contains(QLatin1Char('['))) {
        return QStringLiteral("--plc \"%1\": right is HOST or HOST:PORT with an IPv4 address or a "
                              "name, not an IPv6 address")
            .arg(context.options.plc);
    }
    if (plc->address.setAddress(host)) {
        return plc->address.protocol() == QAbstractSocket::IPv4Protocol
                   ? QString()
                   : QStringLiteral("--plc \"%1\": right is an IPv4 address").arg(host);
    }
    return QString();
}

/// Looks a host's name up; the result is empty or says what is wrong.
QString lookUp(const Context& context, Endpoint* plc) {
    QString host;
    quint16 port = 0;
    splitHostPort(context.options.plc, &host, &port);
    const QHostInfo info = QHostInfo::fromName(host);
    for (const QHostAddress& address : info.addresses()) {
        if (address.protocol() == QAbstractSocket::IPv4Protocol) {
            plc->address = address;
            return QString();
        }
    }
    return QStringLiteral("no computer of the name \"%1\" is known (%2).\n"
                          "Check in this order:\n"
                          "  1. the name in --plc; an IPv4 address such as 192.168.250.1 needs no "
                          "look-up\n"
                          "  2. this computer's name server or /etc/hosts")
        .arg(host, info.addresses().isEmpty() ? info.errorString()
                                              : QStringLiteral("it has no IPv4 address"));
}

} // namespace

int Context::fail(ExitCode code, const QString& text) const {
    err << "velkor-panel: " << printableLines(text) << '\n';
    err.flush();
    return code;
}

OpenSession::OpenSession(const Context& context) {
    m_exitCode = open(context);
}

OpenSession::~OpenSession() = default;

int OpenSession::open(const Context& context) {
    LinkSettings settings = context.options.link;
    const QString wrong = findPlc(context, &settings.plc);
    if (!wrong.isEmpty()) {
        return context.fail(EXIT_WRONG_USAGE, wrong);
    }
    if (settings.plc.address.isNull()) {
        const QString fault = lookUp(context, &settings.plc);
        if (!fault.isEmpty()) {
            return context.fail(EXIT_WORK_FAILED, fault);
        }
    }
    m_session = std::make_unique<Session>(context.api, settings);
    const QString fault = m_session->open();
    if (!fault.isEmpty()) {
        return context.fail(EXIT_WORK_FAILED, fault);
    }
    if (context.options.trace) {
        m_trace = std::make_unique<Trace>(context.err);
        m_session->addWitness(m_trace.get());
    }
    if (!context.options.capture.isEmpty()) {
        auto capture = std::make_unique<CaptureFile>();
        const QString unwritable =
            capture->open(context.options.capture, m_session->local(), settings.plc);
        if (!unwritable.isEmpty()) {
            return context.fail(EXIT_WORK_FAILED, unwritable);
        }
        m_session->addWitness(capture.get());
        m_capture = std::move(capture);
    }
    return EXIT_DONE;
}

int failWithErrors(const Context& context, const QString& file, const CsvErrors& errors) {
    for (int index = 0; index < errors.size() && index < MOST_ERRORS_SHOWN; ++index) {
        context.err << errorText(file, errors.at(index)) << '\n';
    }
    if (errors.size() > MOST_ERRORS_SHOWN) {
        context.err << "... and " << errors.size() - MOST_ERRORS_SHOWN
                    << (errors.full() ? " or more\n" : " more\n");
    }
    context.err.flush();
    return EXIT_WRONG_USAGE;
}

} // namespace panel
