#ifndef VELKOR_TESTS_HOST_REQUEST_ENDS_H
#define VELKOR_TESTS_HOST_REQUEST_ENDS_H

/// Requests that have ended in one way or another.

#include "host/plain_text.h"

#include <velkor/host/line.h>

#include <gtest/gtest.h>

#include <cerrno>

namespace request_ends {

using namespace velkor_host;

inline LineSettings settings() {
    LineSettings result;
    result.plc = {QHostAddress("192.168.250.1"), 9600};
    result.retries = 3;
    result.timeoutMs = 500;
    return result;
}

const QVector<int> NODES{0, 1, 0, 0, 10, 0};

/// Three tries without an answer.
inline RequestEnd failedRead() {
    RequestEnd end;
    end.reg = "DM";
    end.address = 100;
    end.length = 2;
    end.tries = 3;
    end.silent = 3;
    end.waited = 1500000;
    return end;
}

/// Three tries, each of them refused.
inline RequestEnd refusedRead(int endCode) {
    RequestEnd end = failedRead();
    end.silent = 0;
    end.refusals = 3;
    end.endCode = endCode;
    end.refused = true;
    end.answeredAt = end.waited;
    return end;
}

inline RequestEnd refusedWrite(int endCode) {
    RequestEnd end = refusedRead(endCode);
    end.write = true;
    return end;
}

/// Of three tries no frame has left.
inline RequestEnd unsentRead(int sendError) {
    RequestEnd end = failedRead();
    end.unsent = 3;
    end.sendError = sendError;
    return end;
}

} // namespace request_ends

#endif
