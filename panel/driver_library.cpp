#include "panel/driver_library.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QLibrary>

namespace panel {
namespace {

template <typename Function>
bool resolve(QLibrary* library, const char* name, Function* function, QString* missing) {
    *function = reinterpret_cast<Function>(library->resolve(name));
    if (*function == nullptr && missing->isEmpty()) {
        *missing = QString::fromLatin1(name);
    }
    return *function != nullptr;
}

QString resolveAll(QLibrary* library, DriverApi* api) {
    QString missing;
    resolve(library, "intf_initProperty", &api->initProperty, &missing);
    resolve(library, "intf_setAddrValueChangeCallBack", &api->setAddrValueChangeCallBack, &missing);
    resolve(library, "intf_getDriverParameter", &api->getDriverParameter, &missing);
    resolve(library, "intf_SetDriverPropertyPage", &api->setDriverPropertyPage, &missing);
    resolve(library, "intf_getRegListByType", &api->getRegListByType, &missing);
    resolve(library, "intf_getRegDiscription", &api->getRegDiscription, &missing);
    resolve(library, "intf_checkAddrValidity", &api->checkAddrValidity, &missing);
    resolve(library, "intf_addConditionRead", &api->addConditionRead, &missing);
    resolve(library, "intf_addrMerge", &api->addrMerge, &missing);
    resolve(library, "intf_setRcpAddress", &api->setRcpAddress, &missing);
    resolve(library, "intf_getSendFrame", &api->getSendFrame, &missing);
    resolve(library, "intf_dealRcvFrame", &api->dealRcvFrame, &missing);
    resolve(library, "intf_getData", &api->getData, &missing);
    resolve(library, "intf_setData", &api->setData, &missing);
    resolve(library, "intf_multiCopy", &api->multiCopy, &missing);
    return missing;
}

QString libraryName() {
    return QStringLiteral("libvelkor.so.1");
}

/// Where it lies in a build folder, and where it is installed to, seen from the program.
QStringList foldersOfProgram() {
    const QDir program(QCoreApplication::applicationDirPath());
    const QString installed = program.absoluteFilePath(QStringLiteral(VELKOR_LIBRARY_FROM_PROGRAM));
    return {program.path(), QDir::cleanPath(installed)};
}

/// The first of the program's folders that has the library, else its bare name: the system looks
/// for that one.
QString findLibrary() {
    for (const QString& folder : foldersOfProgram()) {
        QString file = QDir(folder).filePath(libraryName());
        if (QFileInfo(file).isFile()) {
            return file;
        }
    }
    return libraryName();
}

QString unloadableText(const QLibrary& library) {
    if (library.fileName() != libraryName()) {
        return QStringLiteral("cannot load the driver: %1; --library names its file")
            .arg(library.errorString());
    }
    return QStringLiteral("cannot load the driver: there is no %1 in %2, and the system finds none "
                          "(%3); --library names its file")
        .arg(libraryName(), foldersOfProgram().join(QStringLiteral(" or ")), library.errorString());
}

} // namespace

QString loadDriver(const QString& path, DriverApi* api) {
    if (!path.isEmpty() && !QFileInfo(path).isFile()) {
        return QStringLiteral("cannot load the driver: there is no file %1; --library names it")
            .arg(path);
    }
    QLibrary library(path.isEmpty() ? findLibrary() : QFileInfo(path).absoluteFilePath());
    if (!library.load()) {
        return unloadableText(library);
    }
    const QString missing = resolveAll(&library, api);
    if (!missing.isEmpty()) {
        return QStringLiteral("%1 has no function %2; right is libvelkor.so.1")
            .arg(library.fileName(), missing);
    }
    return QString();
}

DriverCatalogue::DriverCatalogue(const DriverApi& api) : m_api(api) {
    for (const int type : {0, 1}) {
        QList<QString> names;
        m_api.getRegListByType(type, names);
        for (const QString& name : names) {
            QList<QString> fields;
            m_api.getRegDiscription(name, fields);
            if (fields.size() == 5) {
                m_registers.append({name, fields.at(0), fields.at(1), fields.at(2),
                                    fields.at(3) == QLatin1String("0"), fields.at(4)});
            }
        }
    }
}

int DriverCatalogue::checkAddress(const RegisterInfo& info, const QString& text, int count,
                                  int* address) const {
    return m_api.checkAddrValidity(info.name, text, address, count, info.bit ? 0 : 1);
}

} // namespace panel
