#include "contract/loaded_driver.h"

#include <dlfcn.h>

namespace {

Host* listener = nullptr;

template <typename Function> void resolve(const Library& library, const char* name, Function& to) {
    to = reinterpret_cast<Function>(library.symbol(name));
}

} // namespace

Library::Library(const std::string& path, int flags)
    : handle_(dlopen(path.c_str(), RTLD_NOW | flags)) {
    if (handle_ == nullptr) {
        ADD_FAILURE() << dlerror();
        std::abort();
    }
}

Library::~Library() {
    close();
}

void Library::close() {
    if (handle_ != nullptr) {
        EXPECT_EQ(dlclose(handle_), 0);
        handle_ = nullptr;
    }
}

void* Library::symbol(const char* name) const {
    void* address = dlsym(handle_, name);
    EXPECT_NE(address, nullptr) << name << " is not exported";
    return address;
}

host::Entries Library::entries() const {
    host::Entries entries = host::Entries();
    resolve(*this, "intf_initProperty", entries.initProperty);
    resolve(*this, "intf_setAddrValueChangeCallBack", entries.setAddrValueChangeCallBack);
    resolve(*this, "intf_getProtocolType", entries.getProtocolType);
    resolve(*this, "intf_getDriverParameter", entries.getDriverParameter);
    resolve(*this, "intf_getDriverPropertyPage", entries.getDriverPropertyPage);
    resolve(*this, "intf_SetDriverPropertyPage", entries.setDriverPropertyPage);
    resolve(*this, "intf_getRegListByType", entries.getRegListByType);
    resolve(*this, "intf_getRegDiscription", entries.getRegDiscription);
    resolve(*this, "intf_checkAddrValidity", entries.checkAddrValidity);
    resolve(*this, "intf_checkAddr", entries.checkAddr);
    resolve(*this, "intf_addConditionRead", entries.addConditionRead);
    resolve(*this, "intf_addrMerge", entries.addrMerge);
    resolve(*this, "intf_setRcpAddress", entries.setRcpAddress);
    resolve(*this, "intf_getSendFrame", entries.getSendFrame);
    resolve(*this, "intf_dealRcvFrame", entries.dealRcvFrame);
    resolve(*this, "intf_getData", entries.getData);
    resolve(*this, "intf_setData", entries.setData);
    resolve(*this, "intf_multiCopy", entries.multiCopy);
    resolve(*this, "_Z15connectToServerv", entries.connectToServer);
    resolve(*this, "_Z15_byteDataChangePhS_i7QStringi", entries.byteDataChange);
    return entries;
}

host::DriverObject& Library::driverObject() const {
    return *static_cast<host::DriverObject*>(symbol("driver"));
}

std::string Library::path() {
    return VELKOR_LIBRARY;
}

bool Library::isMapped(const std::string& path) {
    void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (handle == nullptr) {
        return false;
    }
    dlclose(handle);
    return true;
}

bool Notice::operator==(const Notice& other) const {
    return tag == other.tag && station == other.station && regName == other.regName &&
           address == other.address;
}

std::ostream& operator<<(std::ostream& out, const Notice& notice) {
    return out << '(' << notice.tag << ", " << notice.station << ", \"" << notice.regName << "\", "
               << notice.address << ')';
}

Host::Host() : block(60117, 0), status(122024, 0xEE), recipe(4096, 0), initOut(0) {}

Host::~Host() {
    if (listener == this) {
        listener = nullptr;
    }
}

int Host::bind(const host::Entries& entries, const char* properties) {
    listener = this;
    entries.setAddrValueChangeCallBack(&Host::hear);
    return entries.initProperty(block.data(), status.data(), recipe.data(), &initOut, properties,
                                &mutex);
}

std::vector<Notice> Host::takeNotices() {
    std::vector<Notice> taken;
    taken.swap(notices_);
    return taken;
}

int Host::hear(int tag, int station, QString regName, int address) {
    const Notice notice = {tag, station, regName.toStdString(), address};
    listener->notices_.push_back(notice);
    if (listener->onNotice) {
        listener->onNotice(notice);
    }
    return -1; // the driver ignores it
}

LoadedDriver::LoadedDriver()
    : library(Library::path(), 0), intf(library.entries()), object(library.driverObject()) {
    host.bind(intf);
}

host::FramePro LoadedDriver::nextFrame() {
    host::FramePro frame = host::FramePro();
    EXPECT_EQ(intf.getSendFrame(frame), 1U);
    return frame;
}

std::vector<int> LoadedDriver::sentBytes(const host::FramePro& frame) {
    return std::vector<int>(frame.frame, frame.frame + frame.sendLen);
}

unsigned int LoadedDriver::answer(const host::FramePro& frame, const std::vector<int>& words) {
    QByteArray reply(14, '\0');
    reply[0] = static_cast<char>(0xC0);
    reply[2] = 2;
    for (int i = 9; i < 12; ++i) {
        reply[i] = static_cast<char>(frame.frame[i]);
    }
    for (int word : words) {
        reply.append(static_cast<char>(word >> 8));
        reply.append(static_cast<char>(word & 0xFF));
    }
    return answerBytes(reply);
}

unsigned int LoadedDriver::answerBytes(const QByteArray& reply) {
    QByteArray bytes = reply;
    return intf.dealRcvFrame(&bytes, &message);
}

host::KeyAddress makeKey(const char* regName, int addr, int len) {
    host::KeyAddress key = host::KeyAddress();
    key.station = 1;
    key.regName = QString::fromLatin1(regName);
    key.addr = addr;
    key.len = len;
    return key;
}

host::RecipeVariable makeRecipeVariable(int hostTag, const char* regName, int addr, int len,
                                        int rcpOffset) {
    host::RecipeVariable variable = host::RecipeVariable();
    variable.hostTag = hostTag;
    variable.station = 1;
    variable.regName = QString::fromLatin1(regName);
    variable.addr = addr;
    variable.len = len;
    variable.rcpOffset = rcpOffset;
    return variable;
}
