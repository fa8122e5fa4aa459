#include "driver/register_catalogue.h"

#include "driver/int_math.h"
#include "driver/velkor.h"

const int AREA_CODE_CS_CJ[REGISTER_COUNT] = {0x30, 0x31, 0x32, 0x33, 0x02, 0xB0,
                                             0xB1, 0xB2, 0xB3, 0x89, 0x89, 0x82};

namespace {

enum RegisterKind { KIND_BIT_REGISTER = 0, KIND_WORD_REGISTER = 1, KIND_THIRD = 2 };

const int weightOfOneRegister = 65535;

/// Whether a register of kind `kind` belongs to the list of type `type`. A third kind, of which the
/// catalogue has none, counts among the word registers.
bool isListed(int kind, int type) {
    return kind == type || (type == KIND_WORD_REGISTER && kind == KIND_THIRD);
}

} // namespace

int registerIndex(const QString& regName) {
    for (int i = 0; i < REGISTER_COUNT; ++i) {
        if (isSameName(REG_LIST[i], regName)) {
            return i;
        }
    }
    return -1;
}

QStringList registerFields(int index) {
    return ADDRESS_RANGE_FINS[index].split(QLatin1Char(','));
}

int getRegAddressWeight(const QString& regName, int addr, int /*ignored*/) {
    const int index = registerIndex(regName);
    return index < 0 ? addr : wrapAdd((index + 1) * weightOfOneRegister, addr);
}

int intf_getRegListByType(int type, QList<QString>& out) {
    for (int i = 0; i < REGISTER_COUNT; ++i) {
        const QStringList fields = registerFields(i);
        if (fields.size() == FIELD_COUNT && isListed(fields.at(FIELD_KIND).toInt(), type)) {
            out.append(REG_LIST[i]);
        }
    }
    return type == KIND_BIT_REGISTER || type == KIND_WORD_REGISTER ? 1 : 0;
}

int intf_getRegDiscription(const QString& regName, QList<QString>& out) {
    const int index = registerIndex(regName);
    if (index >= 0) {
        const QStringList fields = registerFields(index);
        if (fields.size() == FIELD_COUNT) {
            out += fields;
        }
    }
    return 0;
}
