#include "panel/context/open_lines.h"

#include "panel/files/file_access.h"
#include "panel/process/end_signals.h"
#include "panel/process/output_wait.h"

#include <QtNetwork/QHostInfo>

namespace panel {
namespace {

/// No name of a computer ends in a number, in decimal or after 0x.
bool isNumeric(const QString& host) {
    const QString last = host.section(QLatin1Char('.'), -1);
    bool decimal = false;
    last.toULongLong(&decimal, 10);
    return decimal || last.startsWith(QLatin1String("0x"), Qt::CaseInsensitive);
}

/// HOST or HOST:PORT of a --plc as an endpoint; the address stays null where a name is to be looked
/// up. The result is empty or says what would be right.
QString parseEndpoint(const QString& text, Endpoint* plc, QString* host) {
    if (!splitHostPort(text, host, &plc->port) || plc->port == 0) {
        return QStringLiteral("--plc \"%1\": right is HOST or HOST:PORT, the port from 1 to 65535")
            .arg(text);
    }
    if (host->contains(QLatin1Char(':')) || host->contains(QLatin1Char('['))) {
        return QStringLiteral("--plc \"%1\": right is HOST or HOST:PORT with an IPv4 address or a "
                              "name, not an IPv6 address")
            .arg(text);
    }
    Endpoint known;
    if (endpointFromText(*host, &known).isEmpty()) {
        plc->address = known.address;
        return QString();
    }
    if (isNumeric(*host)) {
        return QStringLiteral(
                   "--plc \"%1\": right is an IPv4 address of four numbers from 0 to 255, "
                   "such as 192.168.250.1, or a name")
            .arg(*host);
    }
    plc->address = QHostAddress();
    return QString();
}

/// Looks a host's name up; the result is empty or says what is wrong.
QString lookUp(const QString& host, Endpoint* plc) {
    const EndSignalsReleased released; // a name server may take its time
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

/// A capture that may have to wait for the reader of a pipe.
class WaitingCapture : public FrameWitness {
public:
    explicit WaitingCapture(std::unique_ptr<FrameWitness> capture)
        : m_capture(std::move(capture)) {}
    void leaving() override { m_capture->leaving(); }
    void sent(const QByteArray& frame, int attempt) override {
        const OutputWait wait;
        m_capture->sent(frame, attempt);
    }
    void received(const QByteArray& datagram, Verdict verdict) override {
        const OutputWait wait;
        m_capture->received(datagram, verdict);
    }
    void timedOut(const QByteArray& /*frame*/) override {} // of these a capture holds nothing
    void portRefused() override {}
    void moved(const Endpoint& local) override { m_capture->moved(local); }

private:
    std::unique_ptr<FrameWitness> m_capture;
};

} // namespace

const SettingNames& optionNames() {
    static const SettingNames names = [] {
        SettingNames options;
        options.plc = QStringLiteral("--plc HOST:PORT");
        options.nodes = QStringLiteral("--nodes DNA,DA1,DA2,SNA,SA1,SA2");
        options.timeout = QStringLiteral("--timeout");
        options.wordsPerFrame = QStringLiteral("--words-per-frame");
        options.retries = QStringLiteral("--retries");
        options.allowModeChange = QStringLiteral("--allow-mode-change");
        return options;
    }();
    return names;
}

OpenLines::OpenLines(const Context& context) : m_context(context) {
    m_exitCode = open();
}

/// The capture last: its file may hold an older one, which nothing may empty that then does no
/// work.
int OpenLines::open() {
    for (const PlcOption& plc : m_context.options.plcs) {
        const int exitCode = openLine(plc);
        if (exitCode != EXIT_DONE) {
            return exitCode;
        }
    }
    if (m_context.options.capture.isEmpty()) {
        return EXIT_DONE;
    }
    const EndSignalsReleased released; // a pipe waits for its reader
    const QString unwritable = m_capture->open(m_context.options.capture);
    if (!unwritable.isEmpty()) {
        return m_context.fail(EXIT_WORK_FAILED, unwritable);
    }
    for (PlcLine& opened : m_lines) {
        const Line& line = *opened.line;
        opened.capture = std::make_unique<WaitingCapture>(
            m_capture->witness(line.localEndpoint(), line.settings().plc));
        opened.line->addWitness(opened.capture.get());
    }
    return EXIT_DONE;
}

int OpenLines::openLine(const PlcOption& plc) {
    LineSettings settings = m_context.options.link;
    settings.nodes = plc.nodes;
    settings.plc = m_context.registers.defaultEndpoint();
    QString host = settings.plc.address.toString();
    const QString wrong = parseEndpoint(plc.host, &settings.plc, &host);
    if (!wrong.isEmpty()) {
        return m_context.fail(EXIT_WRONG_USAGE, wrong);
    }
    QString fault = settings.plc.address.isNull() ? lookUp(host, &settings.plc) : QString();
    if (!fault.isEmpty()) {
        return m_context.fail(EXIT_WORK_FAILED, fault);
    }
    PlcLine opened;
    opened.name = plc.name;
    opened.line = std::make_unique<Line>(settings);
    fault = opened.line->open();
    if (!fault.isEmpty()) {
        return m_context.fail(EXIT_WORK_FAILED, fault);
    }
    if (m_context.options.trace) {
        opened.trace = std::make_unique<Trace>(m_context.err, plc.name);
        opened.line->addWitness(opened.trace.get());
    }
    m_lines.push_back(std::move(opened));
    return EXIT_DONE;
}

OpenLines::~OpenLines() {
    const OutputWait wait; // closing writes what of the capture is left
    m_lines.clear();
    m_capture.reset();
}

int OpenLines::close(int exitCode) {
    m_lines.clear();
    const QString& capture = m_context.options.capture;
    QString notWhole = m_capture->fault();
    if (notWhole.isEmpty() && !capture.isEmpty()) {
        notWhole = synchroniseFile(capture);
    }
    if (!notWhole.isEmpty()) {
        m_context.fail(EXIT_WORK_FAILED, notWhole);
        return exitCode == EXIT_DONE ? int(EXIT_WORK_FAILED) : exitCode;
    }
    return exitCode;
}

} // namespace panel
