// The options of velkor-plc, checked.
#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtNetwork/QHostAddress>

#include <cstdint>
#include <optional>
#include <vector>

#include "plc/fault_script.h"
#include "plc/plc_core.h"

namespace plc {

struct Settings {
    QHostAddress address{QHostAddress::LocalHost};
    quint16 port = 9600;
    Options options;
    std::optional<std::uint16_t> endCode; // what every command is answered with, unexecuted
    bool tank = false;
    bool trace = false;
    QString imageFile; // empty: none
    std::vector<FaultRule> faults;
    std::uint64_t seed = 1;
};

struct CommandLine {
    Settings settings;
    // Something to print on the standard output instead of running: help or version.
    std::optional<QString> information;
    // What is wrong, in lines; the program is not to run. Quotes the arguments as they are.
    QStringList error;
};

CommandLine readCommandLine(const QStringList& arguments);

} // namespace plc
