#include "driver/debug_line.h"

#include <QtCore/QtGlobal>

void debugLine(const QString& line) {
    qDebug("%s", line.toUtf8().constData()); // every Qt reads %s as UTF-8
}
