#include <velkor/host/tag.h>

namespace velkor_host {

QString tagAddressText(const Tag& tag) {
    return tag.reg + QLatin1Char(' ') + addressText(tag.address, tag.bitRegister());
}

QString tagStateName(TagState state) {
    switch (state) {
    case TagState::NotRead:
        return QStringLiteral("not read");
    case TagState::Fresh:
        return QStringLiteral("read");
    case TagState::Stale:
        return QStringLiteral("stale");
    case TagState::Refused:
        break;
    }
    return QStringLiteral("refused");
}

} // namespace velkor_host
