#include <velkor/host/registers.h>

#include <velkor/host_interface.h>

#include <QtCore/QStringList>

namespace velkor_host {

const RegisterInfo* Catalogue::find(const QString& name) const {
    for (const RegisterInfo& info : m_registers) {
        if (info.name == name) {
            return &info;
        }
    }
    return nullptr;
}

QString Catalogue::names() const {
    QStringList names;
    for (const RegisterInfo& info : m_registers) {
        names.append(info.name);
    }
    return names.join(QStringLiteral(", "));
}

QString Catalogue::rangeText(const RegisterInfo& info) {
    return QStringLiteral("%1 takes %2 from %3 to %4 (%5)")
        .arg(info.name,
             info.bit ? QStringLiteral("word.bit, a bit below 10 with one digit,")
                      : QStringLiteral("a word number"),
             info.lowest, info.highest, info.format);
}

AddressVerdict Catalogue::check(const RegisterInfo& info, const QString& text, int count) const {
    AddressVerdict verdict;
    if (count < 1) {
        verdict.text = QStringLiteral("the count is %1; right is 1 or more").arg(count);
        return verdict;
    }
    const int result = checkAddress(info, text, count, &verdict.address);
    verdict.valid = result == ADDRESS_VALID;
    verdict.syntaxFault = result == ADDRESS_SYNTAX;
    if (verdict.valid) {
        return verdict;
    }
    switch (result) {
    case ADDRESS_SYNTAX:
        verdict.text = QStringLiteral("\"%1\" is no address of %2").arg(text, info.name);
        break;
    case ADDRESS_NO_ACCESS:
        verdict.text = QStringLiteral("%1 may not be accessed").arg(info.name);
        break;
    default:
        verdict.text = QStringLiteral("%1 %2%3 lies outside the register")
                           .arg(info.name, text,
                                count == 1 ? QString()
                                           : QStringLiteral(" with %1 %2")
                                                 .arg(count)
                                                 .arg(info.bit ? QStringLiteral("bits")
                                                               : QStringLiteral("words")));
    }
    verdict.text += QStringLiteral("; ") + rangeText(info);
    return verdict;
}

QString addressText(int address, bool bitRegister) {
    return bitRegister ? QStringLiteral("%1.%2").arg(address / 16).arg(address % 16)
                       : QString::number(address);
}

bool isBitRegister(const QString& name) {
    return name.endsWith(QLatin1String("_bit"));
}

QString wordRegisterName(const QString& name) {
    return isBitRegister(name) ? name.left(name.size() - 4) : name;
}

} // namespace velkor_host
