#include "loaded_library.h"

#include <QtCore/QtGlobal>

#include <cstdio>
#include <cstdlib>
#include <string>

#include <dlfcn.h>

namespace {

template <typename Function> void resolve(void* library, const char* name, Function& entry) {
    void* address = dlsym(library, name);
    if (address == nullptr) {
        std::fprintf(stderr, "the library has no %s\n", name);
        std::exit(1);
    }
    entry = reinterpret_cast<Function>(address);
}

int ignoreChange(int /*tag*/, int /*station*/, QString /*regName*/, int /*address*/) {
    return 0;
}

void ignoreMessage(QtMsgType /*type*/, const QMessageLogContext& /*context*/,
                   const QString& /*text*/) {}

} // namespace

DriverEntries loadDriver(const char* path) {
    void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        std::fprintf(stderr, "%s\n", dlerror());
        std::exit(1);
    }
    DriverEntries entries = DriverEntries();
    resolve(library, "intf_initProperty", entries.initProperty);
    resolve(library, "intf_setAddrValueChangeCallBack", entries.setAddrValueChangeCallBack);
    resolve(library, "intf_addrMerge", entries.addrMerge);
    resolve(library, "intf_getSendFrame", entries.getSendFrame);
    resolve(library, "intf_dealRcvFrame", entries.dealRcvFrame);
    resolve(library, "intf_getData", entries.getData);
    resolve(library, "intf_setData", entries.setData);
    resolve(library, "intf_addConditionRead", entries.addConditionRead);
    return entries;
}

LentMemory::LentMemory()
    : block(HOST_RECIPE_UPLOAD_REQUEST + 1), status(HOST_COMMUNICATION_STATUS_DETAIL + 1),
      recipe(1024) {}

void bindDriver(const DriverEntries& entries, LentMemory& memory, int wordsPerFrame) {
    int ignored = 0;
    entries.setAddrValueChangeCallBack(ignoreChange);
    entries.initProperty(memory.block.data(), memory.status.data(), memory.recipe.data(), &ignored,
                         ("7#0#0#3#" + std::to_string(wordsPerFrame)).c_str(), &memory.mutex);
}

void dropDebugLines() {
    qInstallMessageHandler(ignoreMessage);
}
