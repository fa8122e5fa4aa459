#include <gtest/gtest.h>

#include "plc/frames.h"
#include "plc/trace.h"

namespace {

struct Line {
    const char* frame;
    const char* text;
};

TEST(PlcTrace, describeRequest_eachCommand_isDecoded) {
    for (const Line& line : {
             Line{"01 01 82 00 64 00 00 0A", "0101 read DM 100, 10 words"},
             Line{"01 01 89 80 05 00 00 01", "0101 read C 5, 1 word"},
             Line{"01 01 09 00 05 00 00 01", "0101 read T 5 flag, 1 flag"},
             Line{"01 02 30 00 02 03 00 01 01", "0102 write CIO 2.03, 1 bit: 01"},
             Line{"01 02 31 00 02 0F 00 02 01 00", "0102 write WR 2.15, 2 bits: 01 00"},
             Line{"01 03 B2 00 0A 00 00 03 5A 5A", "0103 fill HR 10, 3 words: 5A 5A"},
             Line{"01 04 82 00 65 00 30 00 02 03", "0104 multiple read DM 101, CIO 2.03"},
             Line{"04 01 FF FF 02", "0401 run FF FF 02"},
             Line{"04 02", "0402 stop"},
             Line{"05 01", "0501 controller data"},
             Line{"06 01", "0601 status"},
             Line{"07 01", "0701 clock"},
             Line{"20 01 AA", "2001 unknown AA"},
             Line{"01 01 83 00 64 00 00 01", "0101 read area 83 address 0064.00, 1 word"},
             Line{"01 01 82 00 64", "0101 read 82 00 64 (short)"},
         }) {
        EXPECT_EQ(plc::describeRequest(plc_test::command(line.frame)),
                  std::string("sid 07 node 5 to 1: ") + line.text);
    }
}

TEST(PlcTrace, describeRequest_noCommand_isShownAsHex) {
    EXPECT_EQ(plc::describeRequest(plc_test::hex("80 00 02")), "no command, 3 bytes: 80 00 02");
    EXPECT_EQ(plc::describeRequest({}), "no command, 0 bytes: ");
}

TEST(PlcTrace, describeReply_eachKind_isDecoded) {
    const std::string head = "C0 00 02 00 05 00 00 01 00 2A 01 01 ";
    for (const Line& line : {
             Line{"00 00", "sid 2A: 0000 normal"},
             Line{"00 00 12 34", "sid 2A: 0000 normal, 2 bytes: 12 34"},
             Line{"00 40", "sid 2A: 0040 normal with alarm"},
             Line{"11 03", "sid 2A: 1103 address out of range"},
             Line{"22 06", "sid 2A: 2206 wrong mode: RUN"},
             Line{"25 02", "sid 2A: 2502 unknown"},
         }) {
        EXPECT_EQ(plc::describeReply(plc_test::hex(head + line.frame)), line.text);
    }
    EXPECT_EQ(plc::describeReply(plc_test::hex("C0 00")), "cut short, 2 bytes: C0 00");
}

TEST(PlcTrace, describeReply_manyBytes_showsTheFirstSixteen) {
    EXPECT_EQ(plc::describeReply(
                  plc_test::hex("C0 00 02 00 05 00 00 01 00 2A 01 01 00 00" + plc_test::zeros(17))),
              "sid 2A: 0000 normal, 17 bytes:" + plc_test::zeros(16) + " ...");
}

TEST(PlcTrace, describeFaults_several_namesEach) {
    const auto parsed = plc::parseFaultScript("truncate 1 to 13; delay 1 by 20ms; sid+1 1; late 1");
    const plc::FaultPlan plan(parsed.rules, 1);
    EXPECT_EQ(plc::describeFaults(plan.decide(1)), "truncate to 13, delay by 20ms, late, sid+1");
    EXPECT_EQ(plc::describeFaults(plan.decide(2)), "none");
}

TEST(PlcTrace, describeFaults_ofTheRequest_areNamedBehindThoseOfTheReply) {
    const auto parsed = plc::parseFaultScript(
        "late-request 1; delay-request 1 by 20ms; truncate-request 1 to 13; drop 1; "
        "duplicate-request 1");
    EXPECT_EQ(plc::describeFaults(plc::FaultPlan(parsed.rules, 1).decide(1)),
              "drop, duplicate-request, truncate-request to 13, delay-request by 20ms, "
              "late-request");
}

} // namespace
