#include "driver/address_syntax.h"
#include "driver/bit_address.h"
#include "driver/int_math.h"
#include "driver/register_catalogue.h"
#include "driver/velkor.h"

namespace {

/// The number as C's "%u" prints it.
QString unsignedText(int value) {
    return QString::number(static_cast<quint32>(value));
}

/// Word number, or word.bit with the bit in plain decimal, which is the form that address checks
/// take (100.5, not 100.05).
QString addressText(int address, bool bitSyntax) {
    if (!bitSyntax) {
        return unsignedText(address);
    }
    const FoldedBit folded = foldBit(address);
    return unsignedText(folded.word) + QLatin1Char('.') + unsignedText(folded.bit);
}

} // namespace

int intf_multiCopy(QString regName, int start, int count, int step, QVector<QString>& texts,
                   QVector<int>& values) {
    const int index = registerIndex(regName);
    if (index < 0) {
        return MULTI_COPY_UNKNOWN_REGISTER;
    }
    const QStringList fields = registerFields(index);
    const bool bitSyntax = hasBitSyntax(fields);
    int maximum = 0;
    parseAddress(fields.at(FIELD_HIGHEST), bitSyntax, maximum);

    int result = MULTI_COPY_DONE;
    for (int k = 0; k < count; ++k) {
        const qint64 address = start + static_cast<qint64>(k) * step;
        if (address > maximum) {
            texts.append(fields.at(FIELD_HIGHEST));
            values.append(maximum);
            result = MULTI_COPY_CUT;
        } else {
            const int value = wrapToInt(address);
            texts.append(addressText(value, bitSyntax));
            values.append(value);
        }
    }
    return result;
}
