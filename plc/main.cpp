// velkor-plc: a simulated PLC that answers FINS commands on UDP.

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>

#include <cstdio>

#include "plc/command_line.h"
#include "plc/image_file.h"
#include "plc/stop_signals.h"
#include "plc/udp_server.h"

namespace {

constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

int complain(const QString& what, int exitCode) {
    std::fprintf(stderr, "velkor-plc: %s\n", qPrintable(what));
    return exitCode;
}

void say(const QString& line) {
    std::printf("%s\n", qPrintable(line));
    std::fflush(stdout);
}

// Empty, or why the image cannot be used.
QString restore(const QString& imageFile, plc::UdpServer& server) {
    if (imageFile.isEmpty()) {
        return QString();
    }
    if (!QFile::exists(imageFile)) {
        std::fprintf(stderr, "velkor-plc: %s does not exist yet; it will be saved at the end\n",
                     qPrintable(imageFile));
        return QString();
    }
    plc::Memory memory;
    QString error = plc::loadImage(imageFile, memory);
    if (error.isEmpty()) {
        server.restore(memory);
    }
    return error;
}

int serve(const plc::Settings& settings) {
    plc::UdpServer server(settings);
    QString error = restore(settings.imageFile, server);
    if (!error.isEmpty()) {
        return complain(error, kFailed);
    }
    const plc::StopSignals stopSignals([] { QCoreApplication::quit(); });
    if (stopSignals.failed()) {
        return complain(QStringLiteral("cannot receive SIGTERM and SIGINT"), kFailed);
    }
    error = server.listen();
    if (!error.isEmpty()) {
        return complain(error, kFailed);
    }
    say(QStringLiteral("listening on %1:%2").arg(server.address().toString()).arg(server.port()));
    QCoreApplication::exec();
    say(server.counts());
    if (!settings.imageFile.isEmpty()) {
        error = plc::saveImage(settings.imageFile, server.memory());
    }
    return error.isEmpty() ? kDone : complain(error, kFailed);
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("velkor-plc"));
    const plc::CommandLine line = plc::readCommandLine(QCoreApplication::arguments());
    if (line.error) {
        return complain(*line.error, kWrongUsage);
    }
    if (line.information) {
        std::printf("%s", qPrintable(*line.information));
        return kDone;
    }
    return serve(line.settings);
}
