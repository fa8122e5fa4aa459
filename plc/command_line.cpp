#include "plc/command_line.h"

#include "velkor-plc_manual.h"

#include <QtCore/QCommandLineParser>

#include <algorithm>

namespace plc {

namespace {

QString text(const char* latin1) {
    return QString::fromLatin1(latin1);
}

void addOptions(QCommandLineParser& parser) {
    for (const manual::Option& row : manual::OPTIONS) {
        parser.addOption(QCommandLineOption(text(row.names).split(QLatin1Char(',')), text(row.text),
                                            text(row.value), text(row.standard)));
    }
}

// Takes the options one by one; the first one that is wrong stays in error().
class Checker {
public:
    explicit Checker(const QCommandLineParser& parser) : parser_(parser) {}

    Settings settings() {
        Settings settings;
        listen(settings);
        settings.options.node = static_cast<std::uint8_t>(number("node", 1, 254));
        settings.options.maxMessage = number("max-message", 64, 65507);
        settings.seed = number("seed", 0, 0xFFFFFFFFU);
        settings.options.mode = mode("mode", {"program", "debug", "monitor", "run"});
        if (value("writes-in") != text("any")) {
            settings.options.writesOnlyIn = mode("writes-in", {"any", "program", "monitor", "run"});
        }
        settings.options.alarm = parser_.isSet(text("alarm"));
        settings.trace = parser_.isSet(text("trace"));
        settings.tank = oneOf("process", {"none", "tank"}) == text("tank");
        endCode(settings);
        refusedWords(settings);
        image(settings);
        faults(settings);
        return settings;
    }

    const QStringList& error() const { return error_; }

private:
    QString value(const char* name) const { return parser_.value(text(name)); }

    void fail(const char* name, const QString& expected) {
        if (error_.isEmpty()) {
            error_ = QStringList{
                text("--%1 \"%2\": expected %3").arg(text(name), value(name), expected)};
        }
    }

    void listen(Settings& settings) {
        const QString given = value("listen");
        const auto colon = given.lastIndexOf(QLatin1Char(':'));
        bool portOk = false;
        const uint port = given.mid(colon + 1).toUInt(&portOk);
        // QHostAddress would take "1" for an address, too.
        const QString address = given.left(colon);
        const bool addressOk = address.count(QLatin1Char('.')) == 3 &&
                               settings.address.setAddress(address) &&
                               settings.address.protocol() == QAbstractSocket::IPv4Protocol;
        if (colon < 0 || !portOk || port > 65535 || !addressOk) {
            fail("listen",
                 text("an IPv4 address and a port from 0 to 65535, as in 127.0.0.1:9600"));
        }
        settings.port = static_cast<quint16>(port);
    }

    uint number(const char* name, uint lowest, uint highest) {
        bool ok = false;
        const uint given = value(name).toUInt(&ok);
        if (!ok || given < lowest || given > highest) {
            fail(name, text("a number from %1 to %2").arg(lowest).arg(highest));
        }
        return given;
    }

    QString oneOf(const char* name, const QStringList& possible) {
        if (!possible.contains(value(name))) {
            fail(name, possible.mid(0, possible.size() - 1).join(text(", ")) + text(" or ") +
                           possible.last());
        }
        return value(name);
    }

    Mode mode(const char* name, const QStringList& possible) {
        const QString given = oneOf(name, possible);
        if (given == text("program")) {
            return Mode::Program;
        }
        if (given == text("debug")) {
            return Mode::Debug;
        }
        return given == text("monitor") ? Mode::Monitor : Mode::Run;
    }

    void endCode(Settings& settings) {
        if (!parser_.isSet(text("end-code"))) {
            return;
        }
        bool ok = false;
        const QString given = value("end-code");
        const ushort code = given.toUShort(&ok, 16);
        if (!ok || given.size() != 4) {
            fail("end-code", text("four hex digits, as in 2503"));
        }
        settings.endCode = code;
    }

    void refusedWords(Settings& settings) {
        for (const QString& given : parser_.values(text("refuse"))) {
            const auto range = parseRefusedWords(given.toStdString());
            if (range) {
                settings.options.refused.push_back(*range);
            } else if (error_.isEmpty()) {
                error_ =
                    QStringList{text("--refuse \"%1\": expected an area (CIO, WR, HR, AR, T, C, "
                                     "DM or EM0) and words of it, as in \"DM 100-110\" or "
                                     "\"DM 100\"")
                                    .arg(given)};
            }
        }
    }

    void image(Settings& settings) {
        settings.imageFile = value("image");
        if (parser_.isSet(text("image")) && settings.imageFile.isEmpty()) {
            fail("image", text("the name of a file"));
        }
    }

    void faults(Settings& settings) {
        if (!parser_.isSet(text("faults"))) {
            return;
        }
        // In one line whose characters all have a width, so that the mark below it stands under its
        // column.
        QString script = value("faults");
        for (QChar& c : script) {
            c = c.isSpace() ? QLatin1Char(' ') : c.isPrint() ? c : QLatin1Char('?');
        }
        // Latin-1 has one byte for each character, so that columns are characters.
        ParsedFaults parsed = parseFaultScript(script.toLatin1().toStdString());
        if (parsed.error && error_.isEmpty()) {
            const int column = static_cast<int>(parsed.error->column);
            const QString message = QString::fromStdString(parsed.error->message);
            error_ =
                QStringList{text("--faults, column %1: %2").arg(QString::number(column), message),
                            text("  ") + script,
                            text("  ") + QString(column - 1, QLatin1Char(' ')) + text("^")};
        }
        settings.faults = std::move(parsed.rules);
    }

    const QCommandLineParser& parser_;
    QStringList error_;
};

} // namespace

CommandLine readCommandLine(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(text(manual::DESCRIPTION));
    addOptions(parser);

    CommandLine line;
    if (!parser.parse(arguments)) {
        line.error = QStringList{parser.errorText() + text(" Try --help.")};
    } else if (parser.isSet(text("help"))) {
        line.information = parser.helpText();
    } else if (parser.isSet(text("version"))) {
        line.information = text("velkor-plc " VELKOR_VERSION "\n");
    } else if (!parser.positionalArguments().isEmpty()) {
        line.error = QStringList{text("\"%1\": expected options only; try --help")
                                     .arg(parser.positionalArguments().constFirst())};
    } else {
        Checker checker(parser);
        line.settings = checker.settings();
        line.error = checker.error();
    }
    return line;
}

} // namespace plc
