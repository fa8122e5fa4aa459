#ifndef VELKOR_HOST_DRIVER_API_CATALOGUE_H
#define VELKOR_HOST_DRIVER_API_CATALOGUE_H

/// The registers as a loaded driver tells them.

#include "host/driver/driver_api.h"

#include <velkor/host/registers.h>

namespace velkor_host {

QVector<RegisterInfo> registersOf(const DriverApi& api);

/// An AddressCheckResult; `*address` as the driver leaves it.
int checkAddressWith(const DriverApi& api, const RegisterInfo& info, const QString& text, int count,
                     int* address);

/// Of a driver that somebody else keeps loaded.
class ApiCatalogue : public Catalogue {
public:
    void take(const DriverApi& api) {
        m_api = api;
        m_registers = registersOf(api);
    }

protected:
    int checkAddress(const RegisterInfo& info, const QString& text, int count,
                     int* address) const override {
        return checkAddressWith(m_api, info, text, count, address);
    }

private:
    DriverApi m_api;
};

} // namespace velkor_host

#endif
