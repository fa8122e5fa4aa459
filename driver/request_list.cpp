#include "driver/request_list.h"

#include "driver/record_copy.h"

namespace {

/// The newest request after element 0 that is the same as `request`, or -1.
int indexOfSame(const QList<VARIABLE>& list, const VARIABLE& request) {
    for (int i = static_cast<int>(list.size()) - 1; i >= 1; --i) {
        if (isSameRequest(list.at(i), request)) {
            return i;
        }
    }
    return -1;
}

} // namespace

bool isSameRequest(const VARIABLE& a, const VARIABLE& b) {
    return a.station == b.station && a.addr == b.addr && a.len == b.len && a.regName == b.regName;
}

void putRequest(QList<VARIABLE>& list, const VARIABLE& request) {
    const int same = indexOfSame(list, request);
    if (same >= 0) {
        copyRecord(request, list[same]);
    } else if (list.size() > LAST_REQUEST_INDEX) {
        copyRecord(request, list[LAST_REQUEST_INDEX]);
    } else {
        list.append(request);
    }
}

int RangePieces::count() const {
    if (length_ <= limit_) {
        return 1;
    }
    return length_ / limit_ + (length_ % limit_ == 0 ? 0 : 1);
}

int RangePieces::offset(int piece) const {
    return piece * limit_;
}

int RangePieces::size(int piece) const {
    const bool isLast = piece == count() - 1;
    return isLast ? length_ - offset(piece) : limit_;
}
