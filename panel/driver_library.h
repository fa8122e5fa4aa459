#ifndef VELKOR_PANEL_DRIVER_LIBRARY_H
#define VELKOR_PANEL_DRIVER_LIBRARY_H

/// Loads the driver as any host does: by name, at run time, with its types taken from its header.

#include "panel/host_names.h"
#include <velkor/host/registers.h>

#include <velkor/host_interface.h>

namespace panel {

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

/// Loads `path`, or, when it is empty, libvelkor.so.1 from the program's own folder, else from
/// where the installation puts libraries, else from where the system looks. The library stays
/// loaded until the program ends. The result is empty or says what is wrong.
QString loadDriver(const QString& path, DriverApi* api);

/// The registers as the loaded driver tells them.
class DriverCatalogue : public Catalogue {
public:
    explicit DriverCatalogue(const DriverApi& api);

protected:
    int checkAddress(const RegisterInfo& info, const QString& text, int count,
                     int* address) const override;

private:
    DriverApi m_api;
};

} // namespace panel

#endif
