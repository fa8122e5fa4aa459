#ifndef VELKOR_PANEL_OPTIONS_H
#define VELKOR_PANEL_OPTIONS_H

/// The command line.

#include "panel/output.h"
#include "panel/session.h"

namespace panel {

struct Options {
    QString command;
    QStringList arguments;
    QString plc; ///< HOST[:PORT]; empty: the driver's default
    LinkSettings link;
    QString library;
    QString capture;
    QString values; ///< recipe: the file of values
    QString type;   ///< of read, write and of watch's arguments
    OutputFormat format = OutputFormat::Table;
    bool trace = false;
    double seconds = 0; ///< watch: 0 for no end
    bool untilStable = false;
};

struct ParsedCommandLine {
    Options options;
    QString error; ///< not empty: wrong usage
    QString text;  ///< not empty: print this and be done (--help, --version)
};

ParsedCommandLine parseCommandLine(const QStringList& arguments);

/// HOST, HOST:PORT or :PORT; an empty part keeps what `host` and `port` hold. False: wrong port.
bool splitHostPort(const QString& text, QString* host, quint16* port);

} // namespace panel

#endif
