#ifndef VELKOR_HOST_REGISTERS_H
#define VELKOR_HOST_REGISTERS_H

/// The PLC's registers as the driver describes them.

#include <QtCore/QString>
#include <QtCore/QVector>
#include <velkor/host/export.h>

namespace velkor_host {

struct RegisterInfo {
    QString name;
    QString format;  ///< of its addresses, e.g. "ddddd.DD (DD:0~15)"
    QString lowest;  ///< address text
    QString highest; ///< address text
    bool bit = false;
    QString access;
};

/// Where an address was found wanting; `text` says what would be right.
struct AddressVerdict {
    bool valid = false;
    bool syntaxFault = false;
    int address = 0; ///< as the driver counts: word, or word * 16 + bit
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

/// The address in the register's syntax: "100", or "100.5" for a bit register.
VELKOR_HOST_EXPORT QString addressText(int address, bool bitRegister);

/// Registers whose names end in "_bit" address single bits.
VELKOR_HOST_EXPORT bool isBitRegister(const QString& name);

/// "CIO" for "CIO_bit"; word registers keep their name.
VELKOR_HOST_EXPORT QString wordRegisterName(const QString& name);

} // namespace velkor_host

#endif
