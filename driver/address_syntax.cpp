#include "driver/address_syntax.h"

#include "driver/bit_address.h"
#include "driver/int_math.h"
#include "driver/register_catalogue.h"
#include "driver/velkor.h"

namespace {

/// What both checks ask for.
struct AddressQuery {
    bool wantsBits;
    int count;
};

/// The check itself; `*out` as the two entry points promise.
int checkAddress(const QStringList& fields, const QString& addrText, const AddressQuery& query,
                 int* out) {
    const bool bitSyntax = hasBitSyntax(fields);
    if (bitSyntax != query.wantsBits) {
        return ADDRESS_WRONG_KIND;
    }
    const bool isAddress = parseAddress(addrText, bitSyntax, *out);
    int lowest = 0;
    int highest = 0;
    parseAddress(fields.at(FIELD_LOWEST), bitSyntax, lowest);
    parseAddress(fields.at(FIELD_HIGHEST), bitSyntax, highest);
    if (!isAddress) {
        return ADDRESS_SYNTAX;
    }
    // In 64 bits: an over-large count is out of range, never valid by overflow.
    const qint64 end = static_cast<qint64>(*out) + query.count;
    const qint64 limit = static_cast<qint64>(highest) + 1;
    return *out < lowest || end > limit ? ADDRESS_OUT_OF_RANGE : ADDRESS_VALID;
}

} // namespace

int a2i_ddd_DD(const QString& text, int& out) {
    const QStringList parts = text.split(QLatin1Char('.'));
    if (parts.size() != 2) {
        return -1;
    }
    bool wordOk = false;
    bool bitOk = false;
    const int word = parts.at(0).toInt(&wordOk);
    const int bit = parts.at(1).toInt(&bitOk);
    if (!wordOk || !bitOk) {
        return -1;
    }
    const int digits = static_cast<int>(parts.at(1).size());
    const bool oneDigit = digits == 1 && bit <= 9;
    const bool twoDigits = digits == 2 && bit >= 10 && bit < BITS_PER_WORD;
    if (!oneDigit && !twoDigits) {
        return -1;
    }
    out = wrapAdd(wrapMultiply(word, BITS_PER_WORD), bit);
    return 1;
}

bool hasBitSyntax(const QStringList& fields) {
    return fields.at(FIELD_KIND) == QLatin1String("0");
}

bool parseAddress(const QString& text, bool bitSyntax, int& out) {
    if (bitSyntax) {
        return a2i_ddd_DD(text, out) == 1;
    }
    bool ok = false;
    out = text.toInt(&ok);
    return ok;
}

int intf_checkAddrValidity(const QString& regName, const QString& addrText, int* out, int count,
                           int wordExpected) {
    const int index = registerIndex(regName);
    if (index < 0) {
        return ADDRESS_VALID;
    }
    const AddressQuery query = {wordExpected == 0, count};
    return checkAddress(registerFields(index), addrText, query, out);
}

int intf_checkAddr(const QString& regName, const QString& addrText, int* out, int countKind,
                   int count, int access) {
    const int index = registerIndex(regName);
    if (index < 0) {
        return ADDRESS_VALID;
    }
    const QStringList fields = registerFields(index);
    // No register of the catalogue has access "0"; the rule stays for one that might.
    if (fields.at(FIELD_ACCESS) == QLatin1String("0") && (access == 1 || access == 2)) {
        return ADDRESS_NO_ACCESS;
    }
    const AddressQuery query = {countKind == -1, count};
    return checkAddress(fields, addrText, query, out);
}
