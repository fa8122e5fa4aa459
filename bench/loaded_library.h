#ifndef VELKOR_BENCH_LOADED_LIBRARY_H
#define VELKOR_BENCH_LOADED_LIBRARY_H

/// The driver as a host loads it, for programs that measure it.

#include <velkor/host_interface.h>

#include <vector>

/// The entry points that are measured. One loaded file has one driver.
struct DriverEntries {
    decltype(&intf_initProperty) initProperty;
    decltype(&intf_setAddrValueChangeCallBack) setAddrValueChangeCallBack;
    decltype(&intf_addrMerge) addrMerge;
    decltype(&intf_getSendFrame) getSendFrame;
    decltype(&intf_dealRcvFrame) dealRcvFrame;
    decltype(&intf_getData) getData;
    decltype(&intf_setData) setData;
    decltype(&intf_addConditionRead) addConditionRead;
};

/// Loads the library at `path` for the rest of the program. Ends the program (exit code 1, the
/// reason on standard error) when it cannot be loaded.
DriverEntries loadDriver(const char* path);

/// What a host lends to the driver. Must outlive its use.
struct LentMemory {
    LentMemory();
    std::vector<unsigned char> block;
    std::vector<unsigned char> status;
    std::vector<unsigned short> recipe;
    QMutex mutex;
};

/// Binds the driver to `memory` with a callback that does nothing.
void bindDriver(const DriverEntries& entries, LentMemory& memory, int wordsPerFrame = 64);

/// Swallows the driver's debug lines, as a host does that has no log.
void dropDebugLines();

#endif
