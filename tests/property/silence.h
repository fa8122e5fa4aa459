#ifndef VELKOR_TESTS_PROPERTY_SILENCE_H
#define VELKOR_TESTS_PROPERTY_SILENCE_H

#include <QtCore/QtGlobal>

/// Keeps the driver's debug lines off the screen while it lives.
class Silence {
public:
    Silence() {
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    }
    ~Silence() { qInstallMessageHandler(nullptr); }
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;
};

#endif
