// The tests' own reader of velkor-plc's trace, on lines written by hand.

#include "support/plc_trace.h"

#include <gtest/gtest.h>

namespace {

TEST(PlcTraceReader, writeOfWords_isReceivedAndExecutedWithItsValues) {
    const auto events =
        readPlcTrace("#7 from 127.0.0.1:5000: sid 2A node 5 to 1: 0102 write DM 100, 2 words: 00 "
                     "01 FF 02\n#7 to 127.0.0.1:5000: sid 2A: 0102 write end 0000\n");
    ASSERT_EQ(events.size(), 3);
    EXPECT_EQ(events.at(0).kind, TraceEvent::Received);
    EXPECT_EQ(events.at(1).kind, TraceEvent::Executed);
    EXPECT_EQ(events.at(2).kind, TraceEvent::Sent);
    EXPECT_EQ(events.at(1).request, 7);
    EXPECT_EQ(events.at(1).sid, 0x2A);
    EXPECT_TRUE(events.at(1).isWholeWordCommand());
    EXPECT_TRUE(events.at(1).command.write);
    EXPECT_EQ(events.at(1).command.range, (TracedRange{"DM", 100, 2}));
    EXPECT_EQ(events.at(1).command.data, (QVector<quint16>{1, 0xFF02}));
    EXPECT_EQ(events.at(2).at, 84);
}

TEST(PlcTraceReader, writeOfBits_isAddressedByWordAndBit) {
    const auto events = readPlcTrace(
        "#1 from 127.0.0.1:5000: sid 00 node 5 to 1: 0102 write CIO 3.5, 2 bits: 01 00");
    ASSERT_EQ(events.size(), 2);
    EXPECT_TRUE(events.at(1).complete);
    EXPECT_FALSE(events.at(1).isWholeWordCommand());
    EXPECT_EQ(events.at(1).command.range, (TracedRange{"CIO", 53, 2}));
    EXPECT_EQ(events.at(1).command.data, (QVector<quint16>{1, 0}));
}

TEST(PlcTraceReader, longWrite_isCompleteThoughShownInPart) {
    const auto events =
        readPlcTrace("#1 from 127.0.0.1:5000: sid 00 node 5 to 1: 0102 write DM 1, 20 words: 00 01 "
                     "00 02 ...");
    ASSERT_EQ(events.size(), 2);
    EXPECT_TRUE(events.at(1).complete);
    EXPECT_TRUE(events.at(1).command.shortened);
    EXPECT_FALSE(events.at(1).isWholeWordCommand());
}

TEST(PlcTraceReader, requestThatFaultsMeet_isExecutedWhenItArrives) {
    const auto events = readPlcTrace(
        "#4 from 127.0.0.1:5000: sid 01 node 5 to 1: 0102 write DM 1, 2 words: 00 01 00 02 "
        "[truncate-request]\n#4 arrives: sid 01 node 5 to 1: 0102 write DM 1, 2 words: 00 01\n");
    ASSERT_EQ(events.size(), 2);
    EXPECT_EQ(events.at(0).kind, TraceEvent::Received);
    EXPECT_EQ(events.at(0).faults.toStdString(), "truncate-request");
    EXPECT_TRUE(events.at(0).complete);
    EXPECT_EQ(events.at(1).kind, TraceEvent::Executed);
    EXPECT_FALSE(events.at(1).complete);
}

TEST(PlcTraceReader, silentRequest_isNeverExecuted) {
    const auto events =
        readPlcTrace("#4 from 127.0.0.1:5000: sid 01 node 5 to 1: 0101 read DM 1, 1 word [silent]");
    ASSERT_EQ(events.size(), 1);
    EXPECT_EQ(events.at(0).kind, TraceEvent::Received);
}

TEST(PlcTraceReader, otherLines_areNoEvents) {
    EXPECT_TRUE(readPlcTrace("listening on 127.0.0.1:9600\nrequests 4\n").isEmpty());
}

} // namespace
