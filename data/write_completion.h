#ifndef VELKOR_DATA_WRITE_COMPLETION_H
#define VELKOR_DATA_WRITE_COMPLETION_H

#include <QtCore/QString>

/// Settles a finished host write: `result` 1 makes the written values the PLC's, anything else
/// drops them. Words: on failure the host is told of monitored changes back. Bits: the host is
/// called once for each bit of the request, always with the request's first bit address, whatever
/// changed. Arguments are those of the request: a bit write has its "_bit" name and bit address.
void _write_FailOrSuc(int station, QString regName, int addr, int count, int result);

#endif
