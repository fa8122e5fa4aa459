#include "plc/image_file.h"

#include <QtCore/QFile>
#include <QtCore/QSaveFile>

#include "plc/image.h"

namespace plc {

QString loadImage(const QString& file, Memory& memory) {
    QFile in(file);
    if (!in.open(QIODevice::ReadOnly)) {
        return QStringLiteral("cannot read the image %1: %2").arg(file, in.errorString());
    }
    const auto error = readImage(in.readAll().toStdString(), memory);
    return error ? QStringLiteral("%1:%2: %3")
                       .arg(file)
                       .arg(error->line)
                       .arg(QString::fromStdString(error->message))
                 : QString();
}

QString saveImage(const QString& file, const Memory& memory) {
    QSaveFile out(file);
    const QByteArray text = QByteArray::fromStdString(imageText(memory));
    if (!out.open(QIODevice::WriteOnly) || out.write(text) != text.size() || !out.commit()) {
        return QStringLiteral("cannot save the image %1: %2").arg(file, out.errorString());
    }
    return QString();
}

} // namespace plc
