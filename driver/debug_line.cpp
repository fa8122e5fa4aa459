#include "driver/debug_line.h"

#include <QtCore/QtGlobal>

void debugLine(const QString& line) {
#if QT_VERSION < 0x050000
    // Qt 4 hands the bytes to the handler as they are, and its default encoding is the local one.
    qDebug("%s", line.toLocal8Bit().constData());
#else
    qDebug("%s", line.toUtf8().constData());
#endif
}
