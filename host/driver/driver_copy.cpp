#include "host/driver/driver_copy.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QLibrary>
#include <QtCore/QStringList>
#include <QtCore/QTemporaryFile>

#include <dlfcn.h>
#include <link.h>

#include <vector>

namespace velkor_host {
namespace {

QString libraryName() {
    return QStringLiteral("libvelkor.so.1");
}

/// The folder of the shared library that this code is in; empty when it is in the program itself. A
/// relative path is none: it was relative to the folder in which the program was started.
QString ownFolder() {
    Dl_info info = Dl_info();
    link_map* map = nullptr;
    const bool known = dladdr1(reinterpret_cast<const void*>(&ownFolder), &info,
                               reinterpret_cast<void**>(&map), RTLD_DL_LINKMAP) != 0;
    const QString file = known && map != nullptr ? QFile::decodeName(map->l_name) : QString();
    return QDir::isAbsolutePath(file) ? QDir::cleanPath(QFileInfo(file).path()) : QString();
}

/// The folders that the system's loader goes through: LD_LIBRARY_PATH as it was when the program
/// was started, the program's run path, and the system's own, which on Debian bear the
/// architecture's name. What only /etc/ld.so.conf names is not told. Asked for by folders, not by
/// loading the library under its name: the loader takes any copy of the driver for that, once one
/// is loaded.
QStringList loadersFolders() {
    QStringList folders;
    void* program = dlopen(nullptr, RTLD_LAZY);
    Dl_serinfo size = Dl_serinfo();
    if (program != nullptr && dlinfo(program, RTLD_DI_SERINFOSIZE, &size) == 0) {
        // Room of the size that it asks for, aligned as the structure wants it.
        std::vector<Dl_serinfo> room(size.dls_size / sizeof(Dl_serinfo) + 1);
        room.front().dls_size = size.dls_size;
        room.front().dls_cnt = size.dls_cnt;
        if (dlinfo(program, RTLD_DI_SERINFO, room.data()) == 0) {
            const Dl_serpath* paths = room.front().dls_serpath;
            for (unsigned int index = 0; index < room.front().dls_cnt; ++index) {
                folders.append(QFile::decodeName(paths[index].dls_name));
            }
        }
    }
    if (program != nullptr) {
        dlclose(program);
    }
    return folders;
}

/// Where it lies in a build folder; where it is installed to, seen from this layer and from the
/// program; then where the system's loader looks first, where this layer was to be installed, and
/// the loader's other folders.
QStringList libraryFolders() {
    const QDir program(QCoreApplication::applicationDirPath());
    const QString installed = program.absoluteFilePath(QStringLiteral(VELKOR_LIBRARY_FROM_PROGRAM));
    QStringList folders{program.path(), ownFolder(), QDir::cleanPath(installed)};
    const QString path = QString::fromLocal8Bit(qgetenv("LD_LIBRARY_PATH"));
    for (const QString& folder : path.split(QLatin1Char(':'))) {
        if (!folder.isEmpty()) {
            folders.append(folder);
        }
    }
    folders << QStringLiteral(VELKOR_INSTALLED_LIBRARIES) << QStringLiteral("/usr/local/lib")
            << loadersFolders();
    folders.removeAll(QString());
    folders.removeDuplicates();
    return folders;
}

/// Empty when there is none.
QString findLibrary() {
    for (const QString& folder : libraryFolders()) {
        QString file = QDir(folder).filePath(libraryName());
        if (QFileInfo(file).isFile()) {
            return file;
        }
    }
    return QString();
}

/// Temporary files may lie where nothing may be executed; shared memory seldom does.
QStringList foldersForCopies() {
    QStringList folders{QDir::tempPath(), QString::fromLocal8Bit(qgetenv("XDG_RUNTIME_DIR")),
                        QStringLiteral("/dev/shm")};
    folders.removeAll(QString());
    folders.removeDuplicates();
    return folders;
}

QString readLibrary(const QString& path, QByteArray* bytes) {
    const QString found = path.isEmpty() ? findLibrary() : path;
    if (found.isEmpty()) {
        return QStringLiteral("cannot load the driver: there is no %1 in %2")
            .arg(libraryName(), libraryFolders().join(QStringLiteral(", ")));
    }
    if (!QFileInfo(found).isFile()) {
        return QStringLiteral("cannot load the driver: there is no file %1").arg(found);
    }
    QFile file(found);
    if (!file.open(QIODevice::ReadOnly)) {
        return QStringLiteral("cannot load the driver: cannot read %1: %2")
            .arg(found, file.errorString());
    }
    *bytes = file.readAll();
    if (file.error() != QFileDevice::NoError || bytes->isEmpty()) {
        return QStringLiteral("cannot load the driver: cannot read %1: %2")
            .arg(found, bytes->isEmpty() ? QStringLiteral("it is empty") : file.errorString());
    }
    return QString();
}

} // namespace

DriverCopy::DriverCopy() = default;

DriverCopy::~DriverCopy() {
    unload();
}

void DriverCopy::unload() {
    m_api = DriverApi();
    if (m_library) {
        m_library->unload();
        m_library.reset();
    }
}

QString DriverCopy::load(const QString& file) {
    unload();
    QByteArray bytes;
    QString unreadable = readLibrary(file, &bytes);
    if (!unreadable.isEmpty()) {
        return unreadable;
    }
    QString fault;
    for (const QString& folder : foldersForCopies()) {
        fault = loadCopyIn(folder, bytes);
        if (fault.isEmpty()) {
            break;
        }
    }
    if (!fault.isEmpty()) {
        // What the loader says names the copy, which is gone.
        return QStringLiteral("cannot load the driver: %1: %2")
            .arg(file.isEmpty() ? findLibrary() : file, fault);
    }
    const QString missing = resolveDriver(m_library.get(), &m_api);
    if (!missing.isEmpty()) {
        unload();
        return QStringLiteral("%1 has no function %2; right is %3")
            .arg(file.isEmpty() ? findLibrary() : file, missing, libraryName());
    }
    return QString();
}

QString DriverCopy::loadCopyIn(const QString& folder, const QByteArray& bytes) {
    // The file goes with this object, loaded or not.
    QTemporaryFile copy(QDir(folder).filePath(QStringLiteral("velkor-XXXXXX.so")));
    if (!copy.open() || copy.write(bytes) != bytes.size() || !copy.flush()) {
        return QStringLiteral("cannot write a copy of it in %1: %2")
            .arg(folder, copy.errorString());
    }
    auto library = std::make_unique<QLibrary>(copy.fileName());
    if (!library->load()) {
        return library->errorString();
    }
    m_library = std::move(library);
    return QString();
}

} // namespace velkor_host
