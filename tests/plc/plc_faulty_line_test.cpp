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

TEST(PlcFaultyLine, receive_noCommandForThisPlc_hasNoNumber) {
    BadLine bad("drop 1");
    EXPECT_FALSE(bad.line.receive(plc_test::hex("80 00"), kPeer).request.has_value());
    EXPECT_EQ(bad.core.counters().ignoredShort, 1U);
    EXPECT_TRUE(bad.read().outgoing.empty()); // this one is number 1
    EXPECT_EQ(bad.line.requests(), 1U);
}

} // namespace
