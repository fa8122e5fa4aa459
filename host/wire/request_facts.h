#ifndef VELKOR_HOST_WIRE_REQUEST_FACTS_H
#define VELKOR_HOST_WIRE_REQUEST_FACTS_H

/// What the counts of a request amount to: one answer, for what is said of it and for what is
/// advised.

#include <velkor/host/request_end.h>

namespace velkor_host {

/// The change to MONITOR mode was refused.
bool modeChangeRefused(const RequestEnd& end);

/// The error that decides: the last try's, or that of the change of mode that was to help it. -1:
/// the last try had no answer, whatever came before.
int decidingEndCode(const RequestEnd& end);

/// Tries that left this computer and had no answer, though nobody has said that none was to come.
int unansweredTries(const RequestEnd& end);

/// No frame left this computer.
bool nothingCouldBeSent(const RequestEnd& end);

/// Each frame surely met a closed port.
bool portIsClosed(const RequestEnd& end);
/// "Port unreachable" came as often as frames were sent, but one of them may have been said of an
/// earlier request's frame: then one of this one's got through.
bool portSeemsClosed(const RequestEnd& end);

/// Who answers at the PLC's address answers something else.
bool answersStrangely(const RequestEnd& end);

/// The error was made by something on the way to the PLC. Whoever looks at the command itself was
/// asked at the right address and by the right node numbers: a PLC answers no others.
bool isErrorOnTheWay(int endCode);

/// How long before its end the PLC answered last, this request or an earlier one of the same line,
/// in microseconds; -1: it never has.
qint64 sinceAnswer(const RequestEnd& end);

/// Closed in the first try: that there was no answer yet says nothing of the PLC.
bool hadNoChance(const RequestEnd& end);

} // namespace velkor_host

#endif
