#include "panel/options/options.h"

#include "panel/output/printable.h"

#include "velkor-panel_manual.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QSet>

#include <algorithm>

namespace panel {
namespace {

void addOptions(QCommandLineParser* parser) {
    for (const manual::Option& row : manual::OPTIONS) {
        parser->addOption(QCommandLineOption(QString::fromLatin1(row.names).split(QLatin1Char(',')),
                                             QString::fromLatin1(row.text),
                                             QString::fromLatin1(row.value)));
    }
}

/// A negative number is a value, not an option: it goes past the parser behind this character.
const QChar NUMBER_MARK(0x01);

QString markNegativeNumber(const QString& argument) {
    const bool negative = argument.size() > 1 && argument.at(0) == QLatin1Char('-') &&
                          (argument.at(1).isDigit() || argument.at(1) == QLatin1Char('.'));
    return negative ? NUMBER_MARK + argument : argument;
}

QString unmark(QString argument) {
    return argument.startsWith(NUMBER_MARK) ? argument.remove(0, 1) : argument;
}

/// Reads the values of the options; keeps the first fault.
class Reader {
public:
    Reader(const QCommandLineParser& parser, Options* options)
        : m_parser(parser), m_options(*options) {}

    QString read() {
        refuseEmptyValues();
        m_options.library = text("library");
        m_options.capture = text("pcap");
        m_options.values = text("values");
        m_options.type = text("type");
        m_options.trace = m_parser.isSet(QStringLiteral("trace"));
        m_options.untilStable = m_parser.isSet(QStringLiteral("until-stable"));
        m_options.verify = m_parser.isSet(QStringLiteral("verify"));
        m_options.force = m_parser.isSet(QStringLiteral("force"));
        m_options.link.allowModeChange = m_parser.isSet(QStringLiteral("allow-mode-change"));
        m_options.link.driverFile = m_options.library;
        LineSettings& link = m_options.link;
        whole("words-per-frame", LineSettings::WORDS_PER_FRAME, &link.wordsPerFrame);
        whole("retries", LineSettings::RETRIES, &link.retries);
        whole("timeout", LineSettings::TIMEOUT_MS, &link.timeoutMs);
        whole("scan-interval", LineSettings::SCAN_MS, &link.scanMs);
        readPlcs();
        readNodes();
        readBind();
        readSeconds();
        readFormat();
        readType();
        return m_fault;
    }

private:
    QString text(const char* name) const {
        return unmark(m_parser.value(QString::fromLatin1(name)));
    }

    /// As from an unset variable of a script: the default would be another PLC than the one meant.
    void refuseEmptyValues() {
        for (const char* name :
             {"plc", "nodes", "words-per-frame", "retries", "timeout", "scan-interval", "bind",
              "library", "type", "values", "seconds", "pcap", "format"}) {
            if (m_parser.isSet(QString::fromLatin1(name)) && text(name).isEmpty()) {
                fault(name, QString(),
                      QStringLiteral("a value; without the option its default holds"));
            }
        }
    }

    void fault(const char* name, const QString& value, const QString& right) {
        if (m_fault.isEmpty()) {
            m_fault = QStringLiteral("--%1 \"%2\": right is %3")
                          .arg(QString::fromLatin1(name), printable(value), right);
        }
    }

    void whole(const char* name, const SettingRange& range, int* value) {
        const QString given = text(name);
        if (given.isEmpty() && !m_parser.isSet(QString::fromLatin1(name))) {
            return;
        }
        bool ok = false;
        *value = given.toInt(&ok);
        if (!ok || *value < range.lowest || *value > range.highest) {
            fault(name, given,
                  QStringLiteral("a whole number from %1 to %2")
                      .arg(range.lowest)
                      .arg(range.highest));
        }
    }

    QStringList texts(const char* name) const {
        QStringList values;
        for (const QString& value : m_parser.values(QString::fromLatin1(name))) {
            values.append(unmark(value));
        }
        return values;
    }

    void readPlcs() {
        QSet<QString> known;
        for (const QString& given : texts("plc")) {
            const auto equals = given.indexOf(QLatin1Char('='));
            PlcOption plc;
            plc.name = given.left(std::max<decltype(equals)>(equals, 0)).trimmed();
            plc.host = given.mid(equals + 1);
            const bool named = equals >= 0;
            if ((named && plc.name.isEmpty()) || plc.host.isEmpty()) {
                fault("plc", given, QStringLiteral("HOST[:PORT], or NAME=HOST[:PORT]"));
            } else if (!isPlcName(plc.name)) {
                fault("plc", given,
                      QStringLiteral("a NAME on one line, without tabs and without \"/\", which "
                                     "stands between it and its tag: left/DM:0"));
            } else if (known.contains(plc.name)) {
                fault("plc", given,
                      QStringLiteral("a name of its own for each PLC: --plc left=10.0.0.1 --plc "
                                     "right=10.0.0.2"));
            }
            known.insert(plc.name);
            m_options.plcs.append(plc);
        }
        if (m_options.plcs.isEmpty()) {
            m_options.plcs.append(PlcOption());
        }
        if (known.size() > 1 && known.contains(QString())) {
            fault("plc", m_options.plcs.first().host,
                  QStringLiteral("a name for each PLC when there are several: NAME=HOST[:PORT]"));
        }
    }

    /// It is printed with what its PLC says, and stands before "/" in a tag's name.
    static bool isPlcName(const QString& name) {
        return name == printable(name) && !name.contains(QLatin1Char('/'));
    }

    PlcOption* plcOf(const QString& name) {
        for (PlcOption& plc : m_options.plcs) {
            if (plc.name == name || (name.isEmpty() && m_options.plcs.size() == 1)) {
                return &plc;
            }
        }
        return nullptr;
    }

    void readNodes() {
        for (const QString& given : texts("nodes")) {
            const auto equals = given.indexOf(QLatin1Char('='));
            PlcOption* plc = plcOf(given.left(std::max<decltype(equals)>(equals, 0)).trimmed());
            const QVector<int> nodes = parseNodes(given.mid(equals + 1));
            if (plc == nullptr) {
                fault("nodes", given,
                      QStringLiteral("NAME= and numbers, with the name of a --plc"));
            } else if (nodes.isEmpty()) {
                const auto parts = given.mid(equals + 1).split(QLatin1Char(',')).size();
                fault("nodes", given,
                      QStringLiteral("six numbers from 0 to 255: DNA,DA1,DA2,SNA,SA1,SA2") +
                          (parts == 6 ? QString() : QStringLiteral("; given are %1").arg(parts)));
            } else {
                plc->nodes = nodes;
            }
        }
    }

    /// Empty when they are not six numbers.
    static QVector<int> parseNodes(const QString& text) {
        QVector<int> nodes;
        for (const QString& part : text.split(QLatin1Char(','))) {
            bool ok = false;
            nodes.append(part.toInt(&ok));
            if (!ok || nodes.last() < 0 || nodes.last() > 255) {
                return {};
            }
        }
        return nodes.size() == 6 ? nodes : QVector<int>();
    }

    void readBind() {
        m_options.link.local.address = QHostAddress(QHostAddress::AnyIPv4);
        const QString given = text("bind");
        if (given.isEmpty()) {
            return;
        }
        if (!endpointFromText(given, &m_options.link.local).isEmpty()) {
            fault("bind", given,
                  QStringLiteral("an IPv4 address of this computer and a port, for example "
                                 "192.168.250.10:9600"));
        } else if (m_options.plcs.size() > 1 && m_options.link.local.port != 0) {
            fault("bind", given,
                  QStringLiteral("port 0 with several PLCs: each has a socket of its own"));
        }
    }

    void readSeconds() {
        const QString given = text("seconds");
        if (given.isEmpty()) {
            return;
        }
        bool ok = false;
        m_options.seconds = given.toDouble(&ok);
        if (!ok || !(m_options.seconds > 0) || m_options.seconds > 1e6) {
            fault("seconds", given, QStringLiteral("a number above 0, up to 1000000"));
        }
    }

    void readFormat() {
        const QString given = text("format");
        if (given == QLatin1String("csv")) {
            m_options.format = OutputFormat::Csv;
        } else if (given == QLatin1String("json")) {
            m_options.format = OutputFormat::Json;
        } else if (!given.isEmpty() && given != QLatin1String("table")) {
            fault("format", given, QStringLiteral("table, csv or json"));
        }
    }

    void readType() {
        if (!m_options.type.isEmpty() && !valueTypeFromName(m_options.type)) {
            fault("type", m_options.type, QStringLiteral("one of ") + valueTypeNames());
        }
    }

    const QCommandLineParser& m_parser;
    Options& m_options;
    QString m_fault;
};

/// How many arguments each command takes.
QString argumentFault(const Options& options) {
    struct Command {
        const char* name;
        int least;
        int most;
        const char* usage;
    };
    static const Command commands[] = {
        {"registers", 0, 0, "registers"},
        {"check", 2, 3, "check REGISTER ADDRESS [COUNT]"},
        {"layout", 4, 4, "layout REGISTER START COUNT STEP"},
        {"read", 2, 3, "read REGISTER ADDRESS [COUNT]"},
        {"write", 3, 100000, "write REGISTER ADDRESS VALUE..., or write TAGS.csv NAME VALUE..."},
        {"watch", 1, 100000, "watch TAGS.csv, or watch REGISTER:ADDRESS[:COUNT]..."},
        {"recipe", 2, 2, "recipe download|upload RECIPE.csv [--values FILE]"},
        {"probe", 0, 0, "probe"},
    };
    if (options.link.allowModeChange && options.link.retries < LineSettings::MODE_CHANGE_RETRIES) {
        return QStringLiteral(
                   "--allow-mode-change and --retries %1: the change takes one try; right "
                   "is --retries %2 or more")
            .arg(options.link.retries)
            .arg(LineSettings::MODE_CHANGE_RETRIES);
    }
    const auto count = options.arguments.size();
    for (const Command& command : commands) {
        if (options.command == QLatin1String(command.name)) {
            if (options.plcs.size() > 1 && options.command != QLatin1String("watch") &&
                options.command != QLatin1String("write")) {
                return QStringLiteral("--plc is given %1 times; %2 takes one PLC; watch and write "
                                      "TAGS.csv take several")
                    .arg(options.plcs.size())
                    .arg(options.command);
            }
            return count >= command.least && count <= command.most
                       ? QString()
                       : QStringLiteral("right is: velkor-panel [OPTIONS] %1")
                             .arg(QString::fromLatin1(command.usage));
        }
    }
    return options.command.isEmpty()
               ? QStringLiteral("no command given; velkor-panel --help lists them")
               : QStringLiteral("\"%1\" is no command; velkor-panel --help lists them")
                     .arg(options.command);
}

} // namespace

bool splitHostPort(const QString& text, QString* host, quint16* port) {
    const auto colon = text.lastIndexOf(QLatin1Char(':'));
    const QString hostPart = colon < 0 ? text : text.left(colon);
    if (!hostPart.isEmpty()) {
        *host = hostPart;
    }
    if (colon < 0) {
        return true;
    }
    bool ok = false;
    *port = text.mid(colon + 1).toUShort(&ok);
    return ok;
}

ParsedCommandLine parseCommandLine(const QStringList& arguments) {
    ParsedCommandLine parsed;
    QCommandLineParser parser;
    parser.setApplicationDescription(QString::fromLatin1(manual::DESCRIPTION));
    addOptions(&parser);
    parser.addPositionalArgument(QStringLiteral("COMMAND"),
                                 QStringLiteral("what to do, see above"));
    QStringList marked;
    for (const QString& argument : arguments) {
        marked.append(markNegativeNumber(argument));
    }
    if (!parser.parse(marked)) {
        parsed.error = parser.errorText();
        return parsed;
    }
    if (parser.isSet(QStringLiteral("help"))) {
        parsed.text = parser.helpText();
        return parsed;
    }
    if (parser.isSet(QStringLiteral("version"))) {
        parsed.text = QStringLiteral("velkor-panel " VELKOR_VERSION "\n");
        return parsed;
    }
    for (const QString& argument : parser.positionalArguments()) {
        parsed.options.arguments.append(unmark(argument));
    }
    if (!parsed.options.arguments.isEmpty()) {
        parsed.options.command = parsed.options.arguments.takeFirst();
    }
    parsed.error = Reader(parser, &parsed.options).read();
    if (parsed.error.isEmpty()) {
        parsed.error = argumentFault(parsed.options);
    }
    return parsed;
}

} // namespace panel
