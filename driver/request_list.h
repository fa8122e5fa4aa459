#ifndef VELKOR_DRIVER_REQUEST_LIST_H
#define VELKOR_DRIVER_REQUEST_LIST_H

/// What the lists of requests share: when two requests are the same, how a full list takes a new
/// one, and how a range is cut into pieces.

#include "driver/records.h"

#include <QtCore/QList>

/// Largest index of a capped request list: writes and condition reads keep at most 513 requests, so
/// that a burst to a silent PLC cannot grow a list without bound.
enum { LAST_REQUEST_INDEX = 512 };

/// What one write frame can carry; fins/fins_wire.h asserts that it follows from the frame's size.
/// Host writes are cut to it because the frame builder builds nothing that is longer.
enum { MAX_WRITE_WORDS = 503, MAX_WRITE_BITS = 1006 };

/// Same station, register, address and length. Tag and data are not compared.
bool isSameRequest(const VARIABLE& a, const VARIABLE& b);

/// Puts a request on a capped list. Element 0 may be in flight: it is neither compared nor
/// overwritten. The newest same request behind it is overwritten whole in its place; without one
/// the request is appended, or, when the list is full, overwrites the element at
/// LAST_REQUEST_INDEX.
void putRequest(QList<VARIABLE>& list, const VARIABLE& request);

/// A range cut into consecutive pieces of `limit` items, the last one shorter where it does not
/// divide. A range of no more than `limit` items, also one of zero or negative length, is one
/// piece.
class RangePieces {
public:
    /// `limit` must be at least 1, or no less than `length`.
    RangePieces(int length, int limit) : length_(length), limit_(limit) {}
    int count() const;
    int offset(int piece) const; ///< in items, from the start of the range
    int size(int piece) const;   ///< in items

private:
    int length_;
    int limit_;
};

#endif
