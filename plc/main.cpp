// velkor-plc: a simulated PLC that answers FINS commands on UDP.

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>

#include "plc/command_line.h"
#include "plc/image_file.h"
#include "plc/output.h"
#include "plc/process_setup.h"
#include "plc/stop_signals.h"
#include "plc/udp_server.h"

namespace {

constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

// 0 when there is nothing to complain about, else 1.
int outcome(const QString& error) {
    if (error.isEmpty()) {
        return kDone;
    }
    plc::complain({error});
    return kFailed;
}

// Empty, or why the image cannot be used: what cannot be saved at the end is told at the start.
QString restore(const QString& imageFile, plc::UdpServer& server) {
    if (imageFile.isEmpty()) {
        return QString();
    }
    QString error = plc::checkImageFile(imageFile);
    if (!error.isEmpty()) {
        return error;
    }
    if (!QFile::exists(imageFile)) {
        plc::complain({imageFile + QStringLiteral(" does not exist yet; it will be saved at the "
                                                  "end")});
        return QString();
    }
    plc::Memory memory;
    error = plc::loadImage(imageFile, memory);
    if (error.isEmpty()) {
        server.restore(memory);
    }
    return error;
}

// The last line and the image. One that fails does not keep the other from being done.
int finish(const plc::Settings& settings, const plc::UdpServer& server) {
    const int said =
        outcome(server.traceError().isEmpty() ? plc::say(server.counts() + QLatin1Char('\n'))
                                              : server.traceError());
    const int saved = settings.imageFile.isEmpty()
                          ? kDone
                          : outcome(plc::saveImage(settings.imageFile, server.memory()));
    return said != kDone ? said : saved;
}

int serve(const plc::Settings& settings) {
    plc::UdpServer server(settings);
    QString error = restore(settings.imageFile, server);
    if (!error.isEmpty()) {
        return outcome(error);
    }
    const plc::StopSignals stopSignals([] { QCoreApplication::quit(); });
    if (stopSignals.failed()) {
        return outcome(QStringLiteral("cannot receive SIGTERM, SIGINT and SIGHUP"));
    }
    error = server.listen();
    if (error.isEmpty()) {
        error = plc::say(QStringLiteral("listening on %1:%2\n")
                             .arg(server.address().toString(), QString::number(server.port())));
    }
    if (!error.isEmpty()) {
        return outcome(error);
    }
    server.onTraceLost = [] { QCoreApplication::quit(); };
    QCoreApplication::exec();
    return finish(settings, server);
}

} // namespace

int main(int argc, char** argv) {
    const QString obstacle = plc::prepareProcess();
    if (!obstacle.isEmpty()) {
        return outcome(obstacle);
    }
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("velkor-plc"));
    const plc::CommandLine line = plc::readCommandLine(QCoreApplication::arguments());
    if (!line.error.isEmpty()) {
        plc::complain(line.error);
        return kWrongUsage;
    }
    return line.information ? outcome(plc::say(*line.information)) : serve(line.settings);
}
