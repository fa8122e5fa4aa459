#ifndef VELKOR_HOST_DRIVER_DRIVER_API_H
#define VELKOR_HOST_DRIVER_DRIVER_API_H

/// The driver's functions, found by name as any host finds them, with their types taken from its
/// header. What it writes to Qt's message handler meanwhile is dropped.

#include "host/driver/quiet_call.h"

#include <velkor/host_interface.h>

class QLibrary;

namespace velkor_host {

struct DriverApi {
    QuietCall<decltype(intf_initProperty)> initProperty;
    QuietCall<decltype(intf_setAddrValueChangeCallBack)> setAddrValueChangeCallBack;
    QuietCall<decltype(intf_getDriverParameter)> getDriverParameter;
    QuietCall<decltype(intf_SetDriverPropertyPage)> setDriverPropertyPage;
    QuietCall<decltype(intf_getRegListByType)> getRegListByType;
    QuietCall<decltype(intf_getRegDiscription)> getRegDiscription;
    QuietCall<decltype(intf_checkAddrValidity)> checkAddrValidity;
    QuietCall<decltype(intf_addConditionRead)> addConditionRead;
    QuietCall<decltype(intf_addrMerge)> addrMerge;
    QuietCall<decltype(intf_setRcpAddress)> setRcpAddress;
    QuietCall<decltype(intf_getSendFrame)> getSendFrame;
    QuietCall<decltype(intf_dealRcvFrame)> dealRcvFrame;
    QuietCall<decltype(intf_getData)> getData;
    QuietCall<decltype(intf_setData)> setData;
    QuietCall<decltype(intf_multiCopy)> multiCopy;
};

/// Fills `api` from a loaded library. The result is empty or the name of a function it lacks.
QString resolveDriver(QLibrary* library, DriverApi* api);

} // namespace velkor_host

#endif
