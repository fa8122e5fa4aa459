#include <velkor/host/witness.h>

#include "panel/text.h"

#include <gtest/gtest.h>

#include <cerrno>

using namespace velkor_host;

namespace {

TEST(TraceSent, read_namesRegisterAddressAndCount) {
    EXPECT_EQ(plain(traceSent(bytes("800002 000500 000A00 07 0101 820064 00 0003"), 1)),
              "send sid=7 0101 read DM 100 count=3, 18 bytes");
}

TEST(TraceSent, resend_tellsTheTry) {
    EXPECT_EQ(plain(traceSent(bytes("800002 000500 000A00 07 0102 300002 0B 0001 01"), 2)),
              "send sid=7 0102 write CIO_bit 2.11 count=1, 19 bytes, try 2");
}

TEST(TraceSent, modeChange_isNamed) {
    EXPECT_EQ(plain(traceSent(bytes("800002 000500 000A00 08 0401 FFFF02"), 1)),
              "send sid=8 0401 set mode MONITOR, 15 bytes");
}

TEST(TraceNotSent, frame_tellsTheSystemsReason) {
    EXPECT_EQ(
        plain(traceNotSent(bytes("800002 000500 000A00 07 0101 820064 00 0003"), 2, ENETUNREACH)),
        "fail sid=7 0101 read DM 100 count=3, 18 bytes, try 2: cannot send: Network is "
        "unreachable");
}

TEST(TraceReceived, reply_tellsTheEndCodeAsItStandsAndInWords) {
    EXPECT_EQ(plain(traceReceived(bytes("C00002 000A00 000500 07 0101 0040 1234"), Verdict::Reply)),
              "recv sid=7 0101 read end=0040 normal; the PLC has a non-fatal alarm, 16 bytes");
}

TEST(TraceReceived, droppedReply_tellsWhy) {
    EXPECT_EQ(
        plain(traceReceived(bytes("C00002 000A00 000500 07 0101 0000"), Verdict::WrongServiceId)),
        "drop sid=7 0101 read end=0000 normal, 14 bytes: not the service ID in flight");
}

TEST(TraceReceived, garbage_isNoReply) {
    EXPECT_EQ(plain(traceReceived("hello", Verdict::NoReply)),
              "drop no FINS reply, 5 bytes: no reply to the frame in flight");
}

TEST(TraceTimedOut, names_theServiceId) {
    EXPECT_EQ(plain(traceTimedOut(bytes("800002 000500 000A00 07 0101 820064 00 0003"))),
              "none sid=7 0101 read: no reply in time");
}

} // namespace
