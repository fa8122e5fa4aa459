#ifndef VELKOR_DRIVER_ADDRESS_SYNTAX_H
#define VELKOR_DRIVER_ADDRESS_SYNTAX_H

/// The text form of addresses. The checks that the host calls are declared in host_interface.h.

#include <QtCore/QString>
#include <QtCore/QStringList>

/// Parses word.bit into word * 16 + bit. The bit has one digit (0 to 9) or two (10 to 15): 100.05
/// is refused on purpose. The word is not range-tested and may be negative. Returns 1, or -1 with
/// `out` unchanged.
int a2i_ddd_DD(const QString& text, int& out);

/// True when a register's fields (see RegisterField) say that its addresses are word.bit.
bool hasBitSyntax(const QStringList& fields);

/// Reads `text` in the register's own syntax: a decimal number, or word.bit. For a word register a
/// text that is no number stores 0; for a bit register it leaves `out` unchanged. Returns whether
/// the text is an address.
bool parseAddress(const QString& text, bool bitSyntax, int& out);

#endif
