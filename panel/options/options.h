#ifndef VELKOR_PANEL_OPTIONS_OPTIONS_H
#define VELKOR_PANEL_OPTIONS_OPTIONS_H

/// The command line.

#include "panel/host_names.h"
#include "panel/output/output.h"

#include <velkor/host/line.h>

namespace panel {

/// One --plc.
struct PlcOption {
    QString name;       ///< of NAME=HOST[:PORT]; empty without
    QString host;       ///< HOST[:PORT]; empty: the driver's default
    QVector<int> nodes; ///< of --nodes; empty: from the two addresses
};

struct Options {
    QString command;
    QStringList arguments;
    QVector<PlcOption> plcs; ///< never empty; with several, each has a name of its own
    LineSettings link;       ///< but for `plc` and `nodes`
    bool force = false;      ///< write: also outside a tag's limits
    bool verify = false;     ///< recipe download: read back and compare
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
