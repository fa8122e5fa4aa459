#ifndef VELKOR_HOST_REGISTERS_H
#define VELKOR_HOST_REGISTERS_H

/// The PLC's registers as the driver describes them.

#include <velkor/host/endpoint.h>
#include <velkor/host/export.h>

#include <QtCore/QString>
#include <QtCore/QVector>

#include <memory>

namespace velkor_host {

class DriverCopy;

struct RegisterInfo {
    QString name;
    QString format;  ///< of its addresses, e.g. "ddddd.DD (DD:0~15)"
    QString lowest;  ///< address text
    QString highest; ///< address text
    bool bit = false;
    QString access; ///< "0": may not be accessed; "1", as in every register of this driver: it may
};

/// Where an address was found wanting; `text` says what would be right.
struct AddressVerdict {
    bool valid = false;
    bool syntaxFault = false; ///< `text` is no address in the register's syntax; false with `valid`
                              ///< false: an address outside it, or too many items from it on
    int address = 0;          ///< as the driver counts: word, or word * 16 + bit
    QString text;
};

class VELKOR_HOST_EXPORT Catalogue {
public:
    Catalogue() = default;
    Catalogue(const Catalogue&) = delete;
    Catalogue& operator=(const Catalogue&) = delete;
    virtual ~Catalogue() = default;

    const QVector<RegisterInfo>& registers() const { return m_registers; }

    /// Null for a name that is no register.
    const RegisterInfo* find(const QString& name) const;

    /// "CIO_bit, WR_bit, ..."
    QString names() const;

    /// Is `text` an address of `info` from which `count` items fit?
    AddressVerdict check(const RegisterInfo& info, const QString& text, int count) const;

    /// What addresses the register takes, in words.
    static QString rangeText(const RegisterInfo& info);

protected:
    /// The driver's check: an AddressCheckResult; `*address` as the driver leaves it.
    virtual int checkAddress(const RegisterInfo& info, const QString& text, int count,
                             int* address) const = 0;

    QVector<RegisterInfo> m_registers;
};

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
    /// `count` addresses from `start`, `step` apart: both count words, or bits (word * 16 + bit) in
    /// a bit register; the step may be 0 or negative. Addresses beyond the register's last are
    /// replaced by it; `*cut`, if given, says whether one was. Addresses below 0 are not looked
    /// for: `start` and the run's last address have to be 0 or more. Empty for an unknown register,
    /// and for a `count` below 1.
    QVector<Address> layout(const QString& reg, int start, int count, int step,
                            bool* cut = nullptr) const;

protected:
    int checkAddress(const RegisterInfo& info, const QString& text, int count,
                     int* address) const override;

private:
    std::unique_ptr<DriverCopy> m_driver;
};

/// The address in the register's syntax: "100", or "100.5" for a bit register.
VELKOR_HOST_EXPORT QString addressText(int address, bool bitRegister);

/// Registers whose names end in "_bit" address single bits.
VELKOR_HOST_EXPORT bool isBitRegister(const QString& name);

/// "CIO" for "CIO_bit"; word registers keep their name.
VELKOR_HOST_EXPORT QString wordRegisterName(const QString& name);

} // namespace velkor_host

#endif
