#include <gtest/gtest.h>

#include "plc/frames.h"

namespace {

using plc_test::hex;
using plc_test::text;

std::string replyTo(plc::Core& core, const std::string& request) {
    const auto reply = core.handle(hex(request));
    return reply ? text(*reply) : "no reply";
}

plc::Core node10() {
    plc::Options options;
    options.node = 10;
    return plc::Core(options);
}

TEST(PlcHeader, handle_command_swapsAddressesAndEchoesSidAndCommand) {
    plc::Core core = node10();
    core.memory().setWord(plc::Area::Dm, 100, 0x1234);
    EXPECT_EQ(replyTo(core, "80 00 02 03 0A 04 05 06 07 2A 01 01 82 00 64 00 00 01"),
              "C0 00 02 05 06 07 03 0A 04 2A 01 01 00 00 12 34");
}

TEST(PlcHeader, handle_destinationNodeZero_answersWithOwnNode) {
    plc::Core core = node10();
    EXPECT_EQ(replyTo(core, "80 00 02 00 00 00 00 06 00 01 01 01 82 00 00 00 00 01"),
              "C0 00 02 00 06 00 00 0A 00 01 01 01 00 00 00 00");
}

TEST(PlcHeader, handle_otherNode_isNotAnsweredNotExecutedAndCounted) {
    plc::Core core = node10();
    EXPECT_EQ(replyTo(core, "80 00 02 00 0B 00 00 06 00 01 01 02 82 00 00 00 00 01 11 11"),
              "no reply");
    EXPECT_EQ(core.memory().word(plc::Area::Dm, 0), 0);
    EXPECT_EQ(core.counters().ignoredNode, 1U);
    EXPECT_EQ(core.counters().commands, 0U);
}

TEST(PlcHeader, handle_noReplyWanted_executesWithoutReply) {
    plc::Core core = node10();
    EXPECT_EQ(replyTo(core, "81 00 02 00 0A 00 00 06 00 01 01 02 82 00 00 00 00 01 11 22"),
              "no reply");
    EXPECT_EQ(core.memory().word(plc::Area::Dm, 0), 0x1122);
    EXPECT_EQ(core.counters().noReplyWanted, 1U);
    EXPECT_EQ(core.counters().commands, 1U);
    EXPECT_EQ(core.counters().replies, 0U);
}

TEST(PlcHeader, handle_response_isIgnoredAndCounted) {
    plc::Core core = node10();
    EXPECT_EQ(replyTo(core, "C0 00 02 00 0A 00 00 06 00 01 01 02 00 00"), "no reply");
    EXPECT_EQ(core.counters().ignoredReplies, 1U);
}

TEST(PlcHeader, handle_elevenBytes_isIgnoredAndCounted) {
    plc::Core core = node10();
    EXPECT_EQ(replyTo(core, "80 00 02 00 0A 00 00 06 00 01 01"), "no reply");
    EXPECT_EQ(core.counters().ignoredShort, 1U);
}

TEST(PlcHeader, handle_emptyDatagram_isIgnoredAndCounted) {
    plc::Core core = node10();
    EXPECT_FALSE(core.handle({}).has_value());
    EXPECT_EQ(core.counters().ignoredShort, 1U);
}

TEST(PlcHeader, handle_nodeAddressRequestOfTcp_isNoCommandOfThisNode) {
    plc::Core core = node10();
    EXPECT_EQ(replyTo(core, "46 49 4E 53 00 00 00 0C 00 00 00 00 00 00 00 00 00 00 00 00"),
              "no reply");
    EXPECT_EQ(core.counters().commands, 0U);
}

TEST(PlcHeader, handle_undefinedCommand_gets0401) {
    plc::Core core;
    for (const char* code :
         {"01 05", "02 01", "04 03", "05 02", "06 20", "07 02", "00 00", "FF FF"}) {
        EXPECT_EQ(plc_test::ask(core, code), "04 01") << code;
    }
    EXPECT_EQ(core.counters().errorReplies, 8U);
}

TEST(PlcHeader, handle_requestOfLongestMessage_isTaken) {
    plc::Options options;
    options.maxMessage = 24;
    plc::Core core(options);
    EXPECT_EQ(plc_test::ask(core, "01 02 82 00 00 00 00 03 00 01 00 02 00 03"), "00 00");
}

TEST(PlcHeader, handle_requestOverLongestMessage_gets1001) {
    plc::Options options;
    options.maxMessage = 24;
    plc::Core core(options);
    EXPECT_EQ(plc_test::ask(core, "01 02 82 00 00 00 00 04 00 01 00 02 00 03 00 04"), "10 01");
    EXPECT_EQ(core.memory().word(plc::Area::Dm, 0), 0);
}

TEST(PlcHeader, handle_alarm_setsBit6OfTheEndCodeAndAnswersAsUsual) {
    plc::Core core;
    core.memory().setWord(plc::Area::Dm, 0, 0xBEEF);
    core.setAlarm(true);
    EXPECT_EQ(plc_test::ask(core, "01 01 82 00 00 00 00 01"), "00 40 BE EF");
    EXPECT_EQ(plc_test::ask(core, "01 01 83 00 00 00 00 01"), "11 41");
    core.setAlarm(false);
    EXPECT_EQ(plc_test::ask(core, "01 01 82 00 00 00 00 01"), "00 00 BE EF");
}

TEST(PlcHeader, forceEndCode_twice_refusesTwoCommandsWithoutExecutingThem) {
    plc::Core core;
    core.forceEndCode(0x2204, 2);
    EXPECT_EQ(plc_test::ask(core, "01 02 82 00 00 00 00 01 11 11"), "22 04");
    EXPECT_EQ(plc_test::ask(core, "01 01 82 00 00 00 00 01"), "22 04");
    EXPECT_EQ(core.memory().word(plc::Area::Dm, 0), 0);
    EXPECT_EQ(plc_test::ask(core, "01 01 82 00 00 00 00 01"), "00 00 00 00");
}

TEST(PlcHeader, forceEndCode_zeroTimes_endsIt) {
    plc::Core core;
    core.forceEndCode(0x2204, 5);
    core.forceEndCode(0x2204, 0);
    EXPECT_EQ(plc_test::ask(core, "01 01 82 00 00 00 00 01"), "00 00 00 00");
}

} // namespace
