#include "host/driver/driver_api.h"

#include <QtCore/QLibrary>

namespace velkor_host {
namespace {

template <typename Call>
void resolve(QLibrary* library, const char* name, Call* call, QString* missing) {
    *call = Call(reinterpret_cast<typename Call::Pointer>(library->resolve(name)));
    if (call->pointer() == nullptr && missing->isEmpty()) {
        *missing = QString::fromLatin1(name);
    }
}

} // namespace

QString resolveDriver(QLibrary* library, DriverApi* api) {
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

} // namespace velkor_host
