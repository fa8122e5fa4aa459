#ifndef VELKOR_HOST_DRIVER_REGISTERS_H
#define VELKOR_HOST_DRIVER_REGISTERS_H

#include <velkor/host/endpoint.h>
#include <velkor/host/export.h>
#include <velkor/host/registers.h>

#include <QtCore/QVector>

#include <memory>

namespace velkor_host {

class DriverCopy;

/// The registers as the driver tells them, from a copy of it that this object loads for itself. No
/// PLC is needed. May be used on any one thread.
class VELKOR_HOST_EXPORT DriverRegisters : public Catalogue {
public:
    DriverRegisters();
    ~DriverRegisters() override;

    /// As LineSettings::driverFile. The result is empty or says what is wrong; then there are no
    /// registers.
    QString load(const QString& driverFile);

    /// The address at which the driver expects a PLC: 192.168.250.1, port 9600.
    Endpoint defaultEndpoint() const;

    /// One address of a run that the driver lays out (intf_multiCopy).
    struct Address {
        QString text;
        int address = 0;
    };
    /// `count` addresses from `start`, `step` apart. Addresses beyond the register's last are
    /// replaced by it; `*cut`, if given, says whether one was. Empty for an unknown register.
    QVector<Address> layout(const QString& reg, int start, int count, int step,
                            bool* cut = nullptr) const;

protected:
    int checkAddress(const RegisterInfo& info, const QString& text, int count,
                     int* address) const override;

private:
    std::unique_ptr<DriverCopy> m_driver;
};

} // namespace velkor_host

#endif
