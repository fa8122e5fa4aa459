#include "host/wire/request_facts.h"

#include "host/wire/end_code_kinds.h"

#include <velkor/host/end_codes.h>

#include <algorithm>

namespace velkor_host {
namespace {

/// The try that was in flight when the line was closed.
int triesInFlight(const RequestEnd& end) {
    const int ended = end.refusals + end.silent + end.wrongLength;
    return end.closed ? std::max(0, end.tries - ended) : 0;
}

} // namespace

bool modeChangeRefused(const RequestEnd& end) {
    return end.modeChangeEnd >= 0 && !isNormalEnd(end.modeChangeEnd);
}

int decidingEndCode(const RequestEnd& end) {
    if (!end.refused || triesInFlight(end) > 0) {
        return -1;
    }
    return modeChangeRefused(end) && isModeRefusal(end.endCode) ? end.modeChangeEnd : end.endCode;
}

int unansweredTries(const RequestEnd& end) {
    return std::max(0, end.silent + triesInFlight(end) - end.unreached - end.unsent);
}

bool nothingCouldBeSent(const RequestEnd& end) {
    return end.tries > 0 && end.unsent >= end.tries;
}

bool portIsClosed(const RequestEnd& end) {
    return end.tries > 0 && end.unreached >= end.tries;
}

bool portSeemsClosed(const RequestEnd& end) {
    const bool answered = end.refusals + end.wrongLength > 0 || end.endCode >= 0;
    return end.tries > 0 && !portIsClosed(end) && !answered && end.refusedPort >= end.tries;
}

bool answersStrangely(const RequestEnd& end) {
    return end.wrongLength > 0 && end.silent < end.tries;
}

bool isErrorOnTheWay(int endCode) {
    const int kind = plainEndCode(endCode) >> 8;
    return !isNormalEnd(endCode) && (kind < 0x04 || kind == 0x05);
}

qint64 sinceAnswer(const RequestEnd& end) {
    const bool ownIsOfThePlc = end.endCode < 0 || !isErrorOnTheWay(end.endCode);
    if (end.answeredAt >= 0 && ownIsOfThePlc) {
        return end.waited - end.answeredAt;
    }
    return end.answeredBefore >= 0 ? end.waited + end.answeredBefore : -1;
}

bool hadNoChance(const RequestEnd& end) {
    return end.tries == 0 || (end.closed && end.silent + end.refusedPort + end.wrongLength == 0);
}

} // namespace velkor_host
