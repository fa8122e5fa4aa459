#include <gtest/gtest.h>

#include "plc/faulty_line.h"
#include "plc/frames.h"

namespace {

constexpr plc::Peer kPeer{0x7F000001, 5000};

// A PLC of node 1 behind a line with this fault script; request number n reads DM 0 with SID n.
struct BadLine {
    explicit BadLine(const std::string& script)
        : line(core, plc::FaultPlan(plc::parseFaultScript(script).rules, 1)) {
        core.memory().setWord(plc::Area::Dm, 0, 0x1234);
    }

    plc::FaultyLine::Result read(const plc::Peer& from = kPeer) {
        plc::Bytes request = plc_test::command("01 01 82 00 00 00 00 01");
        request[9] = ++sid;
        return line.receive(request, from);
    }

    plc::Core core;
    plc::FaultyLine line;
    std::uint8_t sid = 0;
};

// What a read of DM 0 gets, with this SID.
std::string goodReply(const std::string& sid) {
    return "C0 00 02 00 05 00 00 01 00 " + sid + " 01 01 00 00 12 34";
}

std::vector<std::string> sent(const plc::FaultyLine::Result& result) {
    std::vector<std::string> frames;
    for (const plc::Outgoing& outgoing : result.outgoing) {
        frames.push_back(plc_test::text(outgoing.bytes));
    }
    return frames;
}

using Frames = std::vector<std::string>;

TEST(PlcFaultyLine, receive_noFault_sendsTheReplyAtOnceToItsPeer) {
    BadLine bad("drop 9");
    const auto result = bad.read();
    EXPECT_EQ(sent(result), Frames{goodReply("01")});
    EXPECT_EQ(result.outgoing[0].delayMs, 0U);
    EXPECT_EQ(result.outgoing[0].peer.port, 5000);
    EXPECT_EQ(result.request, 1U);
}

TEST(PlcFaultyLine, receive_drop_executesWithoutReply) {
    BadLine bad("drop 1");
    const auto result = bad.line.receive(plc_test::command("01 02 82 00 00 00 00 01 55 55"), kPeer);
    EXPECT_TRUE(result.outgoing.empty());
    EXPECT_EQ(bad.core.memory().word(plc::Area::Dm, 0), 0x5555);
    EXPECT_EQ(bad.line.faultCount(plc::FaultVerb::Drop), 1U);
}

TEST(PlcFaultyLine, receive_silent_neitherExecutesNorAnswers) {
    BadLine bad("silent 1");
    const auto result = bad.line.receive(plc_test::command("01 02 82 00 00 00 00 01 55 55"), kPeer);
    EXPECT_TRUE(result.outgoing.empty());
    EXPECT_EQ(bad.core.memory().word(plc::Area::Dm, 0), 0x1234);
    EXPECT_EQ(bad.core.counters().commands, 0U);
}

TEST(PlcFaultyLine, receive_duplicate_sendsTwice) {
    BadLine bad("duplicate 1");
    EXPECT_EQ(sent(bad.read()), (Frames{goodReply("01"), goodReply("01")}));
}

TEST(PlcFaultyLine, receive_truncate_sendsTheFirstBytes) {
    BadLine bad("truncate 1 to 13");
    EXPECT_EQ(sent(bad.read()), Frames{"C0 00 02 00 05 00 00 01 00 01 01 01 00"});
}

TEST(PlcFaultyLine, receive_truncateBeyondTheEnd_changesNothing) {
    BadLine bad("truncate 1 to 100");
    EXPECT_EQ(sent(bad.read()), Frames{goodReply("01")});
}

TEST(PlcFaultyLine, receive_delay_isPassedOn) {
    BadLine bad("delay 1 by 300ms");
    const auto result = bad.read();
    EXPECT_EQ(sent(result), Frames{goodReply("01")});
    EXPECT_EQ(result.outgoing[0].delayMs, 300U);
}

TEST(PlcFaultyLine, receive_sidPlusOne_answersWithTheNextSid) {
    BadLine bad("sid+1 1");
    EXPECT_EQ(sent(bad.read()), Frames{goodReply("02")});
}

TEST(PlcFaultyLine, receive_sidMinusTwo_wrapsAtZero) {
    BadLine bad("sid-2 1");
    EXPECT_EQ(sent(bad.read()), Frames{goodReply("FF")});
}

TEST(PlcFaultyLine, receive_corrupt_changesExactlyOneByte) {
    BadLine bad("corrupt 1-3000");
    for (int i = 0; i < 3000; ++i) {
        const auto result = bad.read();
        ASSERT_EQ(result.outgoing.size(), 1U);
        plc::Bytes good = plc_test::hex(goodReply("00"));
        good[9] = bad.sid;
        const plc::Bytes& got = result.outgoing[0].bytes;
        ASSERT_EQ(got.size(), good.size());
        int different = 0;
        for (std::size_t at = 0; at < good.size(); ++at) {
            different += good[at] != got[at] ? 1 : 0;
        }
        EXPECT_EQ(different, 1);
    }
}

TEST(PlcFaultyLine, receive_late_answersBeforeTheNextReplyWithTheOldSid) {
    BadLine bad("late 1");
    EXPECT_TRUE(bad.read().outgoing.empty());
    EXPECT_EQ(sent(bad.read()), (Frames{goodReply("01"), goodReply("02")}));
    EXPECT_EQ(sent(bad.read()), Frames{goodReply("03")});
}

TEST(PlcFaultyLine, receive_late_goesToWhomItBelongs) {
    BadLine bad("late 1");
    bad.read();
    const auto result = bad.read(plc::Peer{0x7F000001, 6000});
    ASSERT_EQ(result.outgoing.size(), 2U);
    EXPECT_EQ(result.outgoing[0].peer.port, 5000);
    EXPECT_EQ(result.outgoing[0].request, 1U);
    EXPECT_EQ(result.outgoing[1].peer.port, 6000);
}

TEST(PlcFaultyLine, receive_lateTwice_eachFollowsItsSuccessor) {
    BadLine bad("late 1-2");
    EXPECT_TRUE(bad.read().outgoing.empty());
    EXPECT_EQ(sent(bad.read()), Frames{goodReply("01")});
    EXPECT_EQ(sent(bad.read()), (Frames{goodReply("02"), goodReply("03")}));
}

// Request n writes n to DM 0.
plc::Bytes writeOf(std::uint8_t value) {
    plc::Bytes request = plc_test::command("01 02 82 00 00 00 00 01 00 00");
    request[9] = value;
    request.back() = value;
    return request;
}

// The numbers of the requests that were executed, in order.
std::vector<unsigned long> executed(const plc::FaultyLine::Result& result) {
    std::vector<unsigned long> numbers;
    for (const plc::Arrival& arrival : result.executed) {
        numbers.push_back(arrival.request);
    }
    return numbers;
}

using Numbers = std::vector<unsigned long>;

std::string goodWriteReply(const std::string& sid) {
    return "C0 00 02 00 05 00 00 01 00 " + sid + " 01 02 00 00";
}

TEST(PlcFaultyLine, receive_noFault_isExecutedOnce) {
    BadLine bad("drop 9");
    EXPECT_EQ(executed(bad.read()), Numbers{1});
    EXPECT_EQ(bad.core.counters().commands, 1U);
}

TEST(PlcFaultyLine, receive_duplicateRequest_isExecutedAndAnsweredTwice) {
    BadLine bad("duplicate-request 1");
    const auto result = bad.read();
    EXPECT_EQ(executed(result), (Numbers{1, 1}));
    EXPECT_EQ(sent(result), (Frames{goodReply("01"), goodReply("01")}));
    EXPECT_EQ(bad.core.counters().commands, 2U);
    EXPECT_EQ(bad.line.faultCount(plc::FaultVerb::DuplicateRequest), 1U);
}

TEST(PlcFaultyLine, receive_duplicateRequestAndReply_isSentFourTimes) {
    BadLine bad("duplicate-request 1; duplicate 1");
    EXPECT_EQ(sent(bad.read()), Frames(4, goodReply("01")));
}

TEST(PlcFaultyLine, receive_truncateRequest_getsWhatAShortCommandGets) {
    BadLine bad("truncate-request 1 to 17; truncate-request 2 to 11; truncate-request 3 to 100");
    const auto result = bad.read();
    EXPECT_EQ(sent(result), Frames{"C0 00 02 00 05 00 00 01 00 01 01 01 10 02"});
    ASSERT_EQ(result.executed.size(), 1U);
    EXPECT_EQ(result.executed[0].bytes.size(), 17U);
    EXPECT_TRUE(bad.read().outgoing.empty());
    EXPECT_EQ(bad.core.counters().ignoredShort, 1U);
    EXPECT_EQ(sent(bad.read()), Frames{goodReply("03")});
}

TEST(PlcFaultyLine, receive_truncatedWrite_writesNothing) {
    BadLine bad("truncate-request 1 to 19");
    const auto result = bad.line.receive(writeOf(1), kPeer);
    EXPECT_EQ(sent(result), Frames{"C0 00 02 00 05 00 00 01 00 01 01 02 10 03"});
    EXPECT_EQ(bad.core.memory().word(plc::Area::Dm, 0), 0x1234);
}

TEST(PlcFaultyLine, receive_delayRequest_isExecutedWhenItArrives) {
    BadLine bad("delay-request 1 by 40ms");
    const auto first = bad.line.receive(writeOf(1), kPeer);
    EXPECT_TRUE(first.outgoing.empty());
    EXPECT_TRUE(first.executed.empty());
    ASSERT_EQ(first.delayed.size(), 1U);
    EXPECT_EQ(first.delayed[0].faults.delayRequestMs, 40U);
    EXPECT_EQ(bad.core.memory().word(plc::Area::Dm, 0), 0x1234);
    EXPECT_EQ(sent(bad.line.receive(writeOf(2), kPeer)), Frames{goodWriteReply("02")});
    const auto arrived = bad.line.arrive(first.delayed[0]);
    EXPECT_EQ(executed(arrived), Numbers{1});
    EXPECT_EQ(sent(arrived), Frames{goodWriteReply("01")});
    ASSERT_EQ(arrived.outgoing.size(), 1U);
    EXPECT_EQ(arrived.outgoing[0].request, 1U);
    EXPECT_EQ(arrived.outgoing[0].peer.port, 5000);
    EXPECT_EQ(bad.core.memory().word(plc::Area::Dm, 0), 1); // the older write, executed last
}

TEST(PlcFaultyLine, receive_delayedRequestWithReplyFaults_meetsThemWhenItArrives) {
    BadLine bad("delay-request 1-2 by 40ms; drop 1; duplicate 2");
    const auto first = bad.read();
    const auto second = bad.read();
    EXPECT_TRUE(bad.line.arrive(first.delayed.at(0)).outgoing.empty());
    EXPECT_EQ(sent(bad.line.arrive(second.delayed.at(0))), Frames(2, goodReply("02")));
}

TEST(PlcFaultyLine, receive_lateRequest_isOvertakenByTheNextOne) {
    BadLine bad("late-request 1");
    const auto first = bad.line.receive(writeOf(1), kPeer);
    EXPECT_TRUE(first.executed.empty());
    EXPECT_TRUE(first.outgoing.empty());
    const auto second = bad.line.receive(writeOf(2), plc::Peer{0x7F000001, 6000});
    EXPECT_EQ(executed(second), (Numbers{2, 1}));
    EXPECT_EQ(sent(second), (Frames{goodWriteReply("02"), goodWriteReply("01")}));
    EXPECT_EQ(second.outgoing.at(0).peer.port, 6000);
    EXPECT_EQ(second.outgoing.at(1).peer.port, 5000);
    EXPECT_EQ(bad.core.memory().word(plc::Area::Dm, 0), 1);
    EXPECT_EQ(executed(bad.line.receive(writeOf(3), kPeer)), Numbers{3});
}

TEST(PlcFaultyLine, receive_lateRequestsInARow_eachFollowsItsSuccessor) {
    BadLine bad("late-request 1-2; duplicate-request 1");
    EXPECT_TRUE(executed(bad.read()).empty());
    EXPECT_EQ(executed(bad.read()), (Numbers{1, 1}));
    EXPECT_EQ(executed(bad.read()), (Numbers{3, 2}));
}

TEST(PlcFaultyLine, receive_noCommandForThisPlc_hasNoNumber) {
    BadLine bad("drop 1");
    EXPECT_FALSE(bad.line.receive(plc_test::hex("80 00"), kPeer).request.has_value());
    EXPECT_EQ(bad.core.counters().ignoredShort, 1U);
    EXPECT_TRUE(bad.read().outgoing.empty()); // this one is number 1
    EXPECT_EQ(bad.line.requests(), 1U);
}

} // namespace
