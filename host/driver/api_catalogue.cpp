#include "host/driver/api_catalogue.h"

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

} // namespace velkor_host
