#ifndef VELKOR_HOST_DRIVER_DRIVER_API_H
#define VELKOR_HOST_DRIVER_DRIVER_API_H

/// The driver's functions, found by name as any host finds them, with their types taken from its
/// header.

#include <velkor/host_interface.h>

class QLibrary;

namespace velkor_host {

struct DriverApi {
    decltype(&intf_initProperty) initProperty = nullptr;
    decltype(&intf_setAddrValueChangeCallBack) setAddrValueChangeCallBack = nullptr;
    decltype(&intf_getDriverParameter) getDriverParameter = nullptr;
    decltype(&intf_SetDriverPropertyPage) setDriverPropertyPage = nullptr;
    decltype(&intf_getRegListByType) getRegListByType = nullptr;
    decltype(&intf_getRegDiscription) getRegDiscription = nullptr;
    decltype(&intf_checkAddrValidity) checkAddrValidity = nullptr;
    decltype(&intf_addConditionRead) addConditionRead = nullptr;
    decltype(&intf_addrMerge) addrMerge = nullptr;
    decltype(&intf_setRcpAddress) setRcpAddress = nullptr;
    decltype(&intf_getSendFrame) getSendFrame = nullptr;
    decltype(&intf_dealRcvFrame) dealRcvFrame = nullptr;
    decltype(&intf_getData) getData = nullptr;
    decltype(&intf_setData) setData = nullptr;
    decltype(&intf_multiCopy) multiCopy = nullptr;
};

/// Fills `api` from a loaded library. The result is empty or the name of a function it lacks.
QString resolveDriver(QLibrary* library, DriverApi* api);

} // namespace velkor_host

#endif
