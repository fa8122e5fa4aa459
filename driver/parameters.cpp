#include "driver/register_catalogue.h"
#include "driver/velkor.h"

namespace {

/// The address these PLCs leave the factory with.
const char* const defaultPlcAddress = "192.168.250.1";
const int protocolType = 1;
const int pageItems = 7;

} // namespace

void intf_getProtocolType(int* out) {
    *out = protocolType;
}

void intf_getDriverParameter(QString& out) {
    QStringList names;
    for (int i = 0; i < REGISTER_COUNT; ++i) {
        names.append(REG_LIST[i]);
    }
    out = QLatin1String("0,9600,8,NONE,1,0,1,") + QLatin1String(defaultPlcAddress) +
          QLatin1String(",9600,omron_fins_ethernet,") + names.join(QLatin1String(","));
}

void intf_getDriverPropertyPage(QString& out) {
    out = QLatin1String("6_0,DNA_0,DA1_0,DA2_0,SNA_0,SA1_0,SA2_0");
}

void intf_SetDriverPropertyPage(const QString& page) {
    const QStringList items = page.split(QLatin1Char(','));
    if (items.size() != pageItems) {
        return;
    }
    // Values above 255 are kept: the frame builder takes their low 8 bits.
    driver.DNA = items.at(1).toInt();
    driver.DA1 = items.at(2).toInt();
    driver.DA2 = items.at(3).toInt();
    driver.SNA = items.at(4).toInt();
    driver.SA1 = items.at(5).toInt();
    driver.SA2 = items.at(6).toInt();
}
