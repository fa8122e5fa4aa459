#include "host/line/line_checks.h"

#include "host/values/raw_number.h"

#include <velkor/host/registers.h>

#include <algorithm>
#include <cmath>

namespace velkor_host {
namespace {

QString outOfRange(const char* name, int value, const SettingRange& range) {
    return value >= range.lowest && value <= range.highest
               ? QString()
               : QStringLiteral("%1 is %2; right is %3 to %4")
                     .arg(QLatin1String(name))
                     .arg(value)
                     .arg(range.lowest)
                     .arg(range.highest);
}

bool isNoNumber(const std::optional<double>& limit) {
    return limit && std::isnan(*limit);
}

} // namespace

QString lineClosedText() {
    return QStringLiteral("the line is closed; open() it first");
}

QString settingsFault(const LineSettings& settings) {
    for (const QString& fault :
         {outOfRange("wordsPerFrame", settings.wordsPerFrame, LineSettings::WORDS_PER_FRAME),
          outOfRange("retries", settings.retries, LineSettings::RETRIES),
          outOfRange("timeoutMs", settings.timeoutMs, LineSettings::TIMEOUT_MS),
          outOfRange("scanMs", settings.scanMs, LineSettings::SCAN_MS),
          outOfRange("refusedRetryMs", settings.refusedRetryMs, LineSettings::REFUSED_RETRY_MS),
          outOfRange("plc.port", settings.plc.port, {1, 65535})}) {
        if (!fault.isEmpty()) {
            return fault;
        }
    }
    if (settings.plc.address.protocol() != QAbstractSocket::IPv4Protocol) {
        return QStringLiteral("plc.address is \"%1\"; right is an IPv4 address")
            .arg(settings.plc.address.toString());
    }
    const QHostAddress& local = settings.local.address;
    if (!local.isNull() && local != QHostAddress::Any &&
        local.protocol() != QAbstractSocket::IPv4Protocol) {
        return QStringLiteral("local.address is \"%1\"; right is an IPv4 address, or none")
            .arg(local.toString());
    }
    if (settings.allowModeChange && settings.retries < LineSettings::MODE_CHANGE_RETRIES) {
        return QStringLiteral("retries is %1 and allowModeChange is set; right are retries of %2 "
                              "or more, because the change takes one")
            .arg(settings.retries)
            .arg(LineSettings::MODE_CHANGE_RETRIES);
    }
    const auto wrong = [](int node) { return node < 0 || node > 255; };
    if (!settings.nodes.isEmpty() &&
        (settings.nodes.size() != 6 ||
         std::any_of(settings.nodes.begin(), settings.nodes.end(), wrong))) {
        QStringList given;
        for (const int node : settings.nodes) {
            given.append(QString::number(node));
        }
        return QStringLiteral("nodes are %1; right are none or six numbers from 0 to 255")
            .arg(given.join(QLatin1Char(',')));
    }
    return QString();
}

QString wrongItems(const Catalogue& registers, const QString& reg, int address, qint64 count) {
    const RegisterInfo* info = registers.find(reg);
    if (info == nullptr) {
        return QStringLiteral("\"%1\" is no register; right is one of %2")
            .arg(reg, registers.names());
    }
    if (address < 0 || count > 0x7FFFFFFF) {
        return QStringLiteral("%1 %2: %3").arg(reg).arg(address).arg(Catalogue::rangeText(*info));
    }
    return registers.check(*info, addressText(address, info->bit), static_cast<int>(count)).text;
}

QString wrongWrite(const Catalogue& registers, const QString& reg, int address,
                   const Items& items) {
    QString wrong = wrongItems(registers, reg, address, items.size());
    if (!wrong.isEmpty() || !isBitRegister(reg)) {
        return wrong;
    }
    const auto noBit = std::find_if(items.begin(), items.end(), [](int item) { return item > 1; });
    return noBit == items.end() ? QString()
                                : QStringLiteral("%1 is no bit; right are 0 and 1").arg(*noBit);
}

QString wrongTag(const Catalogue& registers, const Tag& tag) {
    if (!typeFitsRegister(tag.type, tag.bitRegister())) {
        return QStringLiteral("%1 does not fit %2; bool stands in bit registers, every other type "
                              "in word registers")
            .arg(valueTypeName(tag.type), tag.reg);
    }
    if (tag.scaling.scale == 0) {
        return QStringLiteral("its scale is 0; right is any other number");
    }
    if (!std::isfinite(tag.scaling.scale) || !std::isfinite(tag.scaling.offset)) {
        return QStringLiteral("its scale is %1 and its offset %2; right are finite numbers")
            .arg(exactNumberText(tag.scaling.scale), exactNumberText(tag.scaling.offset));
    }
    if (isNoNumber(tag.limits.low) || isNoNumber(tag.limits.high)) {
        return QStringLiteral("its %1 limit is no number; right is a number, or none")
            .arg(isNoNumber(tag.limits.low) ? QStringLiteral("low") : QStringLiteral("high"));
    }
    if (tag.limits.low && tag.limits.high && *tag.limits.low > *tag.limits.high) {
        return QStringLiteral("its low limit, %1, lies above the high one, %2")
            .arg(exactNumberText(*tag.limits.low), exactNumberText(*tag.limits.high));
    }
    return wrongItems(registers, tag.reg, tag.address, tag.itemCount());
}

QString wrongTagItems(const Tag& tag, const Items& items) {
    return items.size() <= tag.itemCount()
               ? QString()
               : QStringLiteral("%1 has %2 words or bits; more are given: %3")
                     .arg(tag.name)
                     .arg(tag.itemCount())
                     .arg(items.size());
}

} // namespace velkor_host
