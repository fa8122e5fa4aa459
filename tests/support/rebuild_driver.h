#ifndef VELKOR_TESTS_SUPPORT_REBUILD_DRIVER_H
#define VELKOR_TESTS_SUPPORT_REBUILD_DRIVER_H

/// For programs that are linked with the driver's object files: the driver as right after load.

#include "driver/velkor.h"

#include <cstring>
#include <new>

/// Destroys `driver`, zeroes its bytes and constructs it in place: the driver as static
/// initialisation leaves it, bound to no host. The object relies on zeroed static storage, so its
/// bytes are zeroed first, through a pointer that the compiler cannot follow into the constructor.
inline void rebuildDriver() {
    driver.~velkor();
    void* volatile storage = &driver;
    std::memset(storage, 0, sizeof(velkor));
    new (storage) velkor();
}

#endif
