#include "panel/files/file_access.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QSaveFile>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace panel {
namespace {

QString systemError() {
    return QString::fromLocal8Bit(std::strerror(errno));
}

/// False: errno says why.
bool writeAll(int descriptor, const QByteArray& bytes) {
    const char* at = bytes.constData();
    auto left = static_cast<std::size_t>(bytes.size());
    while (left > 0) {
        const ssize_t written = ::write(descriptor, at, left);
        if (written < 0 && errno != EINTR) {
            return false;
        }
        if (written > 0) {
            at += written;
            left -= static_cast<std::size_t>(written);
        }
    }
    return true;
}

/// On its way to the disk; some find out only now that there is no room. False: errno says why.
bool synchronise(int descriptor) {
    // A file system that cannot do this has nothing to tell by it.
    return ::fsync(descriptor) == 0 || errno == EINVAL || errno == ENOTSUP;
}

/// The result is empty or says what is wrong.
QString replaceFile(const QString& path, const QByteArray& bytes) {
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        return file.errorString();
    }
    // Past QSaveFile's buffer: that is flushed inside commit(), which takes no notice of a failure
    // and puts a short file in the old one's place.
    if (!writeAll(file.handle(), bytes) || !synchronise(file.handle())) {
        return systemError();
    }
    return file.commit() ? QString() : file.errorString();
}

/// The result is empty or says what is wrong.
QString writeInto(const QString& path, const QByteArray& bytes) {
    const int descriptor =
        ::open(QFile::encodeName(path).constData(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
    if (descriptor < 0) {
        return systemError();
    }
    const QString fault = writeAll(descriptor, bytes) ? QString() : systemError();
    return ::close(descriptor) == 0 || !fault.isEmpty() ? fault : systemError();
}

/// Where the file is, or would be made: links are followed, one that leads nowhere yet too.
QString placeOf(QString path) {
    const int MOST_LINKS = 40; // as the system
    for (int link = 0; link < MOST_LINKS && QFileInfo(path).isSymLink(); ++link) {
        path = QFileInfo(path).symLinkTarget();
    }
    const QFileInfo info(path);
    return QDir(info.absoluteDir().canonicalPath()).filePath(info.fileName());
}

QString cannotRead(const QString& path, const QString& fault) {
    return QStringLiteral("cannot read %1: %2").arg(path, fault);
}

bool isOpenAs(const QString& path, const struct stat& open) {
    struct stat named = {};
    return ::stat(QFile::encodeName(path).constData(), &named) == 0 &&
           named.st_dev == open.st_dev && named.st_ino == open.st_ino;
}

} // namespace

QString readFile(const QString& path, QByteArray* bytes) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return cannotRead(path, file.errorString());
    }
    bytes->clear();
    QByteArray piece;
    do {
        piece = file.read(LONGEST_FILE + 1 - bytes->size());
        *bytes += piece;
    } while (!piece.isEmpty() && bytes->size() <= LONGEST_FILE);
    if (file.error() != QFileDevice::NoError) {
        return cannotRead(path, file.errorString());
    }
    return bytes->size() <= LONGEST_FILE
               ? QString()
               : cannotRead(path, QStringLiteral("it is longer than %1 MiB (%2 bytes), the most "
                                                 "that is read")
                                      .arg(LONGEST_FILE / (1024 * 1024))
                                      .arg(LONGEST_FILE));
}

QString saveFile(const QString& path, const QByteArray& bytes) {
    struct stat found = {};
    const bool exists = ::stat(QFile::encodeName(path).constData(), &found) == 0;
    const QString fault =
        exists && !S_ISREG(found.st_mode) ? writeInto(path, bytes) : replaceFile(path, bytes);
    return fault.isEmpty() ? QString() : QStringLiteral("cannot write %1: %2").arg(path, fault);
}

QString synchroniseFile(const QString& path) {
    const QByteArray name = QFile::encodeName(path);
    struct stat found = {};
    if (::stat(name.constData(), &found) != 0 || !S_ISREG(found.st_mode)) {
        return QString();
    }
    const int descriptor = ::open(name.constData(), O_WRONLY | O_CLOEXEC);
    const bool done = descriptor >= 0 && synchronise(descriptor);
    QString fault =
        done ? QString() : QStringLiteral("%1 may not be whole: %2").arg(path, systemError());
    if (descriptor >= 0) {
        ::close(descriptor);
    }
    return fault;
}

bool isSameFile(const QString& one, const QString& other) {
    struct stat first = {};
    struct stat second = {};
    const bool firstThere = ::stat(QFile::encodeName(one).constData(), &first) == 0;
    const bool secondThere = ::stat(QFile::encodeName(other).constData(), &second) == 0;
    if (firstThere && secondThere) { // hard links too
        return S_ISREG(first.st_mode) && first.st_dev == second.st_dev &&
               first.st_ino == second.st_ino;
    }
    return firstThere == secondThere && placeOf(one) == placeOf(other);
}

bool isOpenFile(const QString& path, int descriptor) {
    struct stat open = {};
    return ::fstat(descriptor, &open) == 0 && S_ISREG(open.st_mode) && isOpenAs(path, open);
}

bool isStandardOutput(const QString& path) {
    struct stat output = {};
    return ::fstat(STDOUT_FILENO, &output) == 0 && isOpenAs(path, output);
}

} // namespace panel
