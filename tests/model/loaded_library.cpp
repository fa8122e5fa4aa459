#include "model/loaded_library.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

namespace model {

namespace {

[[noreturn]] void giveUp(const std::string& why) {
    std::fprintf(stderr, "%s\n", why.c_str());
    std::exit(1);
}

} // namespace

LoadedLibrary::LoadedLibrary(const std::string& file) : handle_(nullptr), intf_() {
    handle_ = dlopen(file.c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (handle_ != nullptr) {
        giveUp(file + " is still loaded: no sequence would start with a fresh driver");
    }
    handle_ = dlopen(file.c_str(), RTLD_NOW);
    if (handle_ == nullptr) {
        giveUp(dlerror());
    }
    resolveAll();
}

LoadedLibrary::~LoadedLibrary() {
    dlclose(handle_);
}

template <typename Function> void LoadedLibrary::resolve(const char* name, Function& to) {
    to = reinterpret_cast<Function>(dlsym(handle_, name));
    if (to == nullptr) {
        giveUp(std::string(name) + " is not exported");
    }
}

void LoadedLibrary::resolveAll() {
    resolve("intf_initProperty", intf_.initProperty);
    resolve("intf_setAddrValueChangeCallBack", intf_.setAddrValueChangeCallBack);
    resolve("intf_getProtocolType", intf_.getProtocolType);
    resolve("intf_getDriverParameter", intf_.getDriverParameter);
    resolve("intf_getDriverPropertyPage", intf_.getDriverPropertyPage);
    resolve("intf_SetDriverPropertyPage", intf_.setDriverPropertyPage);
    resolve("intf_getRegListByType", intf_.getRegListByType);
    resolve("intf_getRegDiscription", intf_.getRegDiscription);
    resolve("intf_checkAddrValidity", intf_.checkAddrValidity);
    resolve("intf_checkAddr", intf_.checkAddr);
    resolve("intf_addConditionRead", intf_.addConditionRead);
    resolve("intf_addrMerge", intf_.addrMerge);
    resolve("intf_setRcpAddress", intf_.setRcpAddress);
    resolve("intf_getSendFrame", intf_.getSendFrame);
    resolve("intf_dealRcvFrame", intf_.dealRcvFrame);
    resolve("intf_getData", intf_.getData);
    resolve("intf_setData", intf_.setData);
    resolve("intf_multiCopy", intf_.multiCopy);
    resolve("_Z15connectToServerv", intf_.connectToServer);
    resolve("_Z15_byteDataChangePhS_i7QStringi", intf_.byteDataChange);
    resolve("driver", object_);
}

void LoadedLibrary::tellObject(Journal& journal) {
    teller_.tellWholeObject(journal, *object_);
}

int LoadedLibrary::initProperty(unsigned char* block, unsigned char* status, unsigned short* recipe,
                                int* out, const char* text, QMutex* mutex) {
    return intf_.initProperty(block, status, recipe, out, text, mutex);
}

void LoadedLibrary::setAddrValueChangeCallBack(host::Callback function) {
    intf_.setAddrValueChangeCallBack(function);
}

void LoadedLibrary::getProtocolType(int* out) {
    intf_.getProtocolType(out);
}

void LoadedLibrary::getDriverParameter(QString& out) {
    intf_.getDriverParameter(out);
}

void LoadedLibrary::getDriverPropertyPage(QString& out) {
    intf_.getDriverPropertyPage(out);
}

void LoadedLibrary::setDriverPropertyPage(const QString& page) {
    intf_.setDriverPropertyPage(page);
}

int LoadedLibrary::getRegListByType(int type, QList<QString>& out) {
    return intf_.getRegListByType(type, out);
}

int LoadedLibrary::getRegDiscription(const QString& name, QList<QString>& out) {
    return intf_.getRegDiscription(name, out);
}

int LoadedLibrary::checkAddrValidity(const QString& name, const QString& text, int* out, int count,
                                     int wordExpected) {
    return intf_.checkAddrValidity(name, text, out, count, wordExpected);
}

int LoadedLibrary::checkAddr(const QString& name, const QString& text, int* out, int countKind,
                             int count, int access) {
    return intf_.checkAddr(name, text, out, countKind, count, access);
}

int LoadedLibrary::addConditionRead(const host::KeyAddress& key, int type) {
    return intf_.addConditionRead(key, type);
}

int LoadedLibrary::addrMerge(QList<host::KeyAddress>& keys) {
    return intf_.addrMerge(keys);
}

int LoadedLibrary::setRcpAddress(const QVector<host::RecipeVariable>& variables) {
    return intf_.setRcpAddress(variables);
}

unsigned int LoadedLibrary::getSendFrame(host::FramePro& out) {
    return intf_.getSendFrame(out);
}

unsigned int LoadedLibrary::dealRcvFrame(QByteArray* reply, QString* message) {
    return intf_.dealRcvFrame(reply, message);
}

int LoadedLibrary::getData(int station, const QString& name, int addr, int count,
                           unsigned char* out) {
    return intf_.getData(station, name, addr, count, out);
}

int LoadedLibrary::setData(int station, const QString& name, int addr, int count,
                           unsigned char* data, int type) {
    return intf_.setData(station, name, addr, count, data, type);
}

int LoadedLibrary::multiCopy(const QString& name, int start, int count, int step,
                             QVector<QString>& texts, QVector<int>& values) {
    return intf_.multiCopy(name, start, count, step, texts, values);
}

void LoadedLibrary::connectToServer() {
    intf_.connectToServer();
}

void LoadedLibrary::byteDataChange(unsigned char* before, unsigned char* after, int station,
                                   const QString& name, int addr) {
    intf_.byteDataChange(before, after, station, name, addr);
}

} // namespace model
