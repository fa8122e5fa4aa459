#ifndef VELKOR_TESTS_FUZZ_OWN_CATALOGUE_H
#define VELKOR_TESTS_FUZZ_OWN_CATALOGUE_H

/// The driver that is linked into a target, as the host layer sees a loaded one.

#include "host/driver/api_catalogue.h"

inline velkor_host::DriverApi linkedDriver() {
    velkor_host::DriverApi api;
    api.initProperty = &intf_initProperty;
    api.setAddrValueChangeCallBack = &intf_setAddrValueChangeCallBack;
    api.getDriverParameter = &intf_getDriverParameter;
    api.setDriverPropertyPage = &intf_SetDriverPropertyPage;
    api.getRegListByType = &intf_getRegListByType;
    api.getRegDiscription = &intf_getRegDiscription;
    api.checkAddrValidity = &intf_checkAddrValidity;
    api.addConditionRead = &intf_addConditionRead;
    api.addrMerge = &intf_addrMerge;
    api.setRcpAddress = &intf_setRcpAddress;
    api.getSendFrame = &intf_getSendFrame;
    api.dealRcvFrame = &intf_dealRcvFrame;
    api.getData = &intf_getData;
    api.setData = &intf_setData;
    api.multiCopy = &intf_multiCopy;
    return api;
}

/// Its registers; the same for every input.
inline const velkor_host::Catalogue& ownCatalogue() {
    static velkor_host::ApiCatalogue* const catalogue = [] {
        auto* made = new velkor_host::ApiCatalogue;
        made->take(linkedDriver());
        return made;
    }();
    return *catalogue;
}

#endif
