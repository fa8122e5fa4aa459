#include "host/driver/api_catalogue.h"

#include "host/driver/driver_copy.h"

#include <QtCore/QStringList>

namespace velkor_host {

QVector<RegisterInfo> registersOf(const DriverApi& api) {
    QVector<RegisterInfo> registers;
    for (const int type : {0, 1}) {
        QList<QString> names;
        api.getRegListByType(type, names);
        for (const QString& name : names) {
            QList<QString> fields;
            api.getRegDiscription(name, fields);
            if (fields.size() == 5) {
                registers.append({name, fields.at(0), fields.at(1), fields.at(2),
                                  fields.at(3) == QLatin1String("0"), fields.at(4)});
            }
        }
    }
    return registers;
}

int checkAddressWith(const DriverApi& api, const RegisterInfo& info, const QString& text, int count,
                     int* address) {
    return api.checkAddrValidity(info.name, text, address, count, info.bit ? 0 : 1);
}

// --- Of a copy of its own ------------------------------------------------------------------------

DriverRegisters::DriverRegisters() : m_driver(std::make_unique<DriverCopy>()) {}

DriverRegisters::~DriverRegisters() = default;

QString DriverRegisters::load(const QString& driverFile) {
    m_registers.clear();
    QString fault = m_driver->load(driverFile);
    if (!fault.isEmpty()) {
        return fault;
    }
    m_registers = registersOf(m_driver->api());
    return QString();
}

int DriverRegisters::checkAddress(const RegisterInfo& info, const QString& text, int count,
                                  int* address) const {
    return checkAddressWith(m_driver->api(), info, text, count, address);
}

/// Fields 7 and 8 of the driver's parameter string are the PLC's address and port.
Endpoint DriverRegisters::defaultEndpoint() const {
    QString parameter;
    m_driver->api().getDriverParameter(parameter);
    const QStringList fields = parameter.split(QLatin1Char(','));
    return {QHostAddress(fields.value(7)), fields.value(8).toUShort()};
}

QVector<DriverRegisters::Address> DriverRegisters::layout(const QString& reg, int start, int count,
                                                          int step, bool* cut) const {
    QVector<QString> texts;
    QVector<int> values;
    const int result = m_driver->api().multiCopy(reg, start, count, step, texts, values);
    if (cut != nullptr) {
        *cut = result == MULTI_COPY_CUT;
    }
    QVector<Address> addresses;
    for (int index = 0; index < texts.size(); ++index) {
        addresses.append({texts.at(index), values.at(index)});
    }
    return addresses;
}

} // namespace velkor_host
