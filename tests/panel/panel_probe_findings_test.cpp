#include "panel/output/probe_findings.h"

#include "panel/text.h"

#include <gtest/gtest.h>

using namespace panel;

namespace {

RequestEnd answered(int tries = 1) {
    RequestEnd end;
    end.ok = true;
    end.tries = tries;
    end.silent = tries - 1;
    end.endCode = 0;
    end.roundTrip = tries == 1 ? 2000 : -1;
    end.replyNode[0] = 0;
    end.replyNode[1] = 1;
    end.replyNode[2] = 0;
    return end;
}

QString field(const ProbeFindings& findings, const char* name) {
    const auto index = ProbeFindings::columns().indexOf(QLatin1String(name));
    return findings.record("plc", 0).at(index).text;
}

TEST(ProbeFindings, firstFrameThatCouldNotBeSent_isNoneSentAgain) {
    RequestEnd end = answered(2);
    end.unsent = 1;
    ProbeFindings findings;
    findings.note(end);
    EXPECT_EQ(findings.sentAgain(), 0);
    EXPECT_FALSE(findings.text("plc", 0).contains("retries")) << plain(findings.text("plc", 0));
    EXPECT_TRUE(findings.text("plc", 0).contains(
        "not sent    1: frames that this computer could not send\n"));
}

TEST(ProbeFindings, framesThatCouldNotBeSent_areCountedForProgramsToo) {
    RequestEnd end = answered(4);
    end.unsent = 2;
    ProbeFindings findings;
    findings.note(answered());
    findings.note(end);
    EXPECT_EQ(plain(field(findings, "unsent")), "2");
    EXPECT_EQ(plain(field(findings, "retries")), "1");
    EXPECT_EQ(plain(field(findings, "asked")), "2");
}

TEST(ProbeFindings, noFrameCouldBeSent_isNoAnswerAndNoRetry) {
    RequestEnd end;
    end.tries = 3;
    end.silent = 3;
    end.unsent = 3;
    ProbeFindings findings;
    findings.note(end);
    EXPECT_EQ(findings.answered(), 0);
    EXPECT_EQ(findings.unansweredInARow(), 1);
    EXPECT_EQ(findings.sentAgain(), 0);
    EXPECT_EQ(findings.lastUnanswered().unsent, 3);
}

TEST(ProbeFindings, refusalsAndSilence_areToldApart) {
    RequestEnd refused = answered(3);
    refused.ok = false;
    refused.silent = 0;
    refused.refusals = 3;
    refused.refused = true;
    refused.endCode = 0x2301;
    ProbeFindings findings;
    findings.note(refused);
    EXPECT_EQ(findings.answered(), 1);
    EXPECT_TRUE(findings.text("plc", 0).contains(
        "retries     2: frames sent again because the PLC answered with an error\n"));
    findings.note(answered(2));
    EXPECT_TRUE(findings.text("plc", 0).contains("retries     3: frames sent again: 2 because the "
                                                 "PLC answered with an error, 1 that had no usable "
                                                 "reply\n"));
}

TEST(ProbeFindings, everyRead_isCountedBelowItsHeadline) {
    ProbeFindings findings;
    findings.note(answered());
    EXPECT_EQ(plain(findings.text("10.0.0.1:9600", 4)),
              "10.0.0.1:9600 answers: 1 of 1 requests\n"
              "node        1 (network 0, unit 0)\n"
              "round trip  minimum 2.000 ms, median 2.000 ms, 99th percentile 2.000 ms\n"
              "end code    0000 normal\n"
              "dropped     4: datagrams that were no reply to the frame in flight\n");
}

} // namespace
