#include "plc/image_file.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QSaveFile>

#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

#include "plc/image.h"

namespace plc {

namespace {

constexpr qint64 kLargestImage = 8 * 1024 * 1024; // bytes; a full memory takes half of one MiB

QString cannotRead(const QString& file, const QString& why) {
    return QStringLiteral("cannot read the image %1: %2").arg(file, why);
}

QString cannotSave(const QString& file, const QString& why) {
    return QStringLiteral("cannot save the image %1: %2").arg(file, why);
}

bool isOutput(const QString& file) {
    struct stat named = {};
    if (::stat(QFile::encodeName(file).constData(), &named) != 0) {
        return false;
    }
    for (const int descriptor : {STDOUT_FILENO, STDERR_FILENO}) {
        struct stat output = {};
        if (fstat(descriptor, &output) == 0 && S_ISREG(output.st_mode) &&
            output.st_dev == named.st_dev && output.st_ino == named.st_ino) {
            return true;
        }
    }
    return false;
}

// Empty, or why `out` cannot become the new image.
QString openFor(const QString& file, QSaveFile& out) {
    const QFileInfo present(file);
    if (present.exists() && !present.isFile()) {
        return cannotSave(file, QStringLiteral("it is a folder, a device or a FIFO; --image takes "
                                               "the name of a regular file"));
    }
    // Without a buffer, because what is left in one is written by commit(), which replaces the old
    // file even when it finds no room.
    return out.open(QIODevice::WriteOnly | QIODevice::Unbuffered)
               ? QString()
               : cannotSave(file, out.errorString());
}

// Empty, or why not all of the text is on the disk.
QString write(const QByteArray& text, QSaveFile& out) {
    for (qint64 done = 0; done < text.size();) {
        const qint64 written = out.write(text.constData() + done, text.size() - done);
        if (written <= 0) { // a short write is no error yet: the next one says why
            return out.errorString();
        }
        done += written;
    }
    return fsync(out.handle()) == 0 ? QString() : QString::fromLocal8Bit(std::strerror(errno));
}

} // namespace

QString checkImageFile(const QString& file) {
    if (isOutput(file)) {
        return cannotSave(file, QStringLiteral("the standard output or error is directed into it; "
                                               "--image takes a file of its own"));
    }
    QSaveFile trial(file); // without commit() it leaves nothing behind
    return openFor(file, trial);
}

QString loadImage(const QString& file, Memory& memory) {
    QFile in(file);
    if (!in.open(QIODevice::ReadOnly)) {
        return cannotRead(file, in.errorString());
    }
    const QByteArray text = in.read(kLargestImage + 1);
    if (in.error() != QFileDevice::NoError) {
        return cannotRead(file, in.errorString());
    }
    if (text.size() > kLargestImage) {
        return cannotRead(
            file,
            QStringLiteral("it has more than %1 bytes, the most that is read").arg(kLargestImage));
    }
    const auto error = readImage(text.toStdString(), memory);
    return error ? QStringLiteral("%1:%2: %3")
                       .arg(file, QString::number(error->line),
                            QString::fromStdString(error->message))
                 : QString();
}

QString saveImage(const QString& file, const Memory& memory) {
    QSaveFile out(file);
    QString problem = openFor(file, out);
    if (!problem.isEmpty()) {
        return problem;
    }
    const QString why = write(QByteArray::fromStdString(imageText(memory)), out);
    if (!why.isEmpty()) {
        return cannotSave(file, why);
    }
    return out.commit() ? QString() : cannotSave(file, out.errorString());
}

} // namespace plc
