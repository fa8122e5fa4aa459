// Address texts: the two checks, the laying out of many addresses, and the register queries.

#include "fuzz/driver_host.h"
#include "support/patched_register.h"

#include <QtCore/QStringList>

#include <memory>

namespace {

const int MALFORMED = 2; ///< of the odd entries

/// "123" or "12.5" as the catalogue writes its limits.
qint64 limit(const QString& text, bool bits) {
    const QStringList parts = text.split(QLatin1Char('.'));
    const qint64 word = parts.at(0).toLongLong();
    return bits ? 16 * word + parts.at(1).toLongLong() : word;
}

void checkVerdict(int verdict, int address, int count, const QList<QString>& fields) {
    const bool bits = fields.at(3) == QLatin1String("0");
    const qint64 lowest = limit(fields.at(1), bits);
    const qint64 highest = limit(fields.at(2), bits);
    const bool inside = address >= lowest && qint64(address) + count <= highest + 1;
    if (verdict == ADDRESS_VALID || verdict == ADDRESS_OUT_OF_RANGE) {
        require(inside == (verdict == ADDRESS_VALID), "valid exactly within the register");
    } else {
        require(verdict == ADDRESS_WRONG_KIND || verdict == ADDRESS_SYNTAX, "an address verdict");
    }
}

/// What is laid out is valid, and reads back as the same number.
void checkLayout(const QString& reg, int address, bool bits) {
    QVector<QString> texts;
    QVector<int> values;
    require(intf_multiCopy(reg, address, 1, 0, texts, values) == MULTI_COPY_DONE &&
                values.at(0) == address,
            "a valid address is laid out as it is");
    int again = -1;
    require(intf_checkAddrValidity(reg, texts.at(0), &again, 1, bits ? 0 : 1) == ADDRESS_VALID &&
                again == address,
            "and its text is valid");
}

void check(const QString& reg, const QString& text, int count, int access, bool patched) {
    QList<QString> fields;
    intf_getRegDiscription(reg, fields);
    const bool bits = fields.size() == 5 && fields.at(3) == QLatin1String("0");
    for (const bool wantsBits : {false, true}) {
        int byValidity = -7;
        int byCheck = -7;
        const int verdict =
            intf_checkAddrValidity(reg, text, &byValidity, count, wantsBits ? 0 : 1);
        const int other = intf_checkAddr(reg, text, &byCheck, wantsBits ? -1 : 0, count, access);
        if (patched) {
            continue; // no register as the catalogue has them
        }
        require(verdict == other && byValidity == byCheck, "both checks say the same");
        if (fields.isEmpty()) {
            require(verdict == ADDRESS_VALID && byValidity == -7, "an unknown name is let through");
            continue;
        }
        checkVerdict(verdict, byValidity, count, fields);
        if (verdict == ADDRESS_VALID && count >= 1) {
            checkLayout(reg, byValidity, bits);
        }
    }
}

void layOut(const QString& reg, Input& input) {
    const int start = input.number();
    const int count = std::min(input.number(), 300);
    const int step = input.number();
    QVector<QString> texts(2);
    QVector<int> values(2);
    const int result = intf_multiCopy(reg, start, count, step, texts, values);
    const int added = result == MULTI_COPY_UNKNOWN_REGISTER ? 0 : std::max(count, 0);
    require(texts.size() == 2 + added && values.size() == 2 + added, "as many as were asked for");
}

void list(int type) {
    QList<QString> names;
    const int result = intf_getRegListByType(type, names);
    require(result == (type == 0 || type == 1 ? 1 : 0), "types 0 and 1 are known");
    require(result == 1 || names.isEmpty(), "else the list is unchanged");
}

void describe() {
    QString parameter;
    QString page;
    int type = 0;
    intf_getDriverParameter(parameter);
    intf_getDriverPropertyPage(page);
    intf_getProtocolType(&type);
    require(parameter.count(QLatin1Char(',')) == 21 && type == 1, "the parameter string");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    Input input(bytes, size);
    const DriverHost host;
    const int patch = input.upTo(31);
    std::unique_ptr<PatchedRegister> odd; // rules that no register of the catalogue meets
    if (patch < 4) {
        const char* const entries[] = {"ddd,0,99,2,1", "ddd,0,99,1,0", "ddd,0,99,1",
                                       "dd.DD,0.0,9.15,0,0"};
        odd = std::make_unique<PatchedRegister>(patch, entries[patch]);
        describe();
    }
    list(patch < 4 ? input.upTo(1) : input.number());
    if (patch == MALFORMED) {
        QList<QString> fields;
        require(intf_getRegDiscription(REG_LIST[patch], fields) == 0 && fields.isEmpty(),
                "a register without its five texts is not described");
        return 0; // the checks rely on the five
    }
    const QString reg = registerName(input);
    const int count = input.number();
    const int access = input.upTo(3);
    layOut(reg, input);
    check(reg, QString::fromUtf8(input.rest()), count, access, odd != nullptr);
    return 0;
}
