#include <gtest/gtest.h>

#include <algorithm>

#include "plc/fault_plan.h"

namespace {

plc::FaultPlan plan(const std::string& script, std::uint64_t seed = 1) {
    const plc::ParsedFaults parsed = plc::parseFaultScript(script);
    EXPECT_FALSE(parsed.error.has_value()) << script;
    return plc::FaultPlan(parsed.rules, seed);
}

// 'x' for each request from 1 to count that loses its reply.
std::string dropped(const plc::FaultPlan& faults, unsigned long count) {
    std::string pattern;
    for (unsigned long request = 1; request <= count; ++request) {
        pattern += faults.decide(request).drop ? 'x' : '.';
    }
    return pattern;
}

TEST(PlcFaultPlan, decide_noRules_nothingGoesWrong) {
    EXPECT_TRUE(plc::FaultPlan().decide(1).verbs().empty());
}

TEST(PlcFaultPlan, decide_numbersAndRanges_meetThoseRequestsAlone) {
    EXPECT_EQ(dropped(plan("drop 3, 5-7, 9"), 10), "..x.xxx.x.");
}

TEST(PlcFaultPlan, decide_severalRulesForOneRequest_actTogether) {
    const plc::FaultDecision decision =
        plan("duplicate 2; sid+1 2; sid+3 2; delay 2 by 10ms; truncate 2 to 13; late 2").decide(2);
    EXPECT_TRUE(decision.duplicate);
    EXPECT_TRUE(decision.late);
    EXPECT_EQ(decision.sidOffset, 4);
    EXPECT_EQ(decision.delayMs, 10U);
    EXPECT_EQ(decision.truncateTo, 13U);
    EXPECT_FALSE(decision.drop);
    EXPECT_FALSE(decision.silent);
    EXPECT_FALSE(decision.corrupt);
}

TEST(PlcFaultPlan, decide_hundredPercent_meetsEveryRequest) {
    EXPECT_EQ(dropped(plan("drop 100%"), 20), std::string(20, 'x'));
}

TEST(PlcFaultPlan, decide_tenPercentOfTenThousand_isNearAThousand) {
    const std::string pattern = dropped(plan("drop 10%"), 10000);
    const auto hits = std::count(pattern.begin(), pattern.end(), 'x');
    EXPECT_GT(hits, 850); // five standard deviations of 30
    EXPECT_LT(hits, 1150);
}

TEST(PlcFaultPlan, decide_sameSeed_isTheSame) {
    EXPECT_EQ(dropped(plan("drop 30%", 7), 200), dropped(plan("drop 30%", 7), 200));
}

TEST(PlcFaultPlan, decide_otherSeed_isDifferent) {
    EXPECT_NE(dropped(plan("drop 30%", 7), 200), dropped(plan("drop 30%", 8), 200));
}

TEST(PlcFaultPlan, decide_anyOrderOfAsking_isTheSame) {
    const plc::FaultPlan faults = plan("drop 50%");
    const bool second = faults.decide(2).drop;
    faults.decide(1);
    EXPECT_EQ(faults.decide(2).drop, second);
}

TEST(PlcFaultPlan, verbs_silent_hidesTheOthers) {
    EXPECT_EQ(plan("silent 1; drop 1; duplicate 1").decide(1).verbs(),
              std::vector<plc::FaultVerb>{plc::FaultVerb::Silent});
}

TEST(PlcFaultPlan, decide_requestVerbs_actOnTheRequestAlone) {
    const plc::FaultDecision decision =
        plan("duplicate-request 2; truncate-request 2 to 13; delay-request 2 by 10ms; "
             "delay-request 2 by 5ms; late-request 2")
            .decide(2);
    EXPECT_TRUE(decision.duplicateRequest);
    EXPECT_EQ(decision.truncateRequestTo, 13U);
    EXPECT_EQ(decision.delayRequestMs, 15U);
    EXPECT_TRUE(decision.lateRequest);
    EXPECT_TRUE(decision.requestMeetsFaults());
    EXPECT_FALSE(decision.duplicate || decision.late || decision.truncateTo);
    EXPECT_EQ(decision.delayMs, 0U);
}

TEST(PlcFaultPlan, requestMeetsFaults_replyFaultsAlone_isFalse) {
    EXPECT_FALSE(plan("drop 1").decide(1).requestMeetsFaults());
    EXPECT_FALSE(plan("duplicate 1; truncate 1 to 1; delay 1 by 1ms; late 1; sid+1 1; corrupt 1")
                     .decide(1)
                     .requestMeetsFaults());
    for (const char* script : {"silent 1", "duplicate-request 1", "truncate-request 1 to 1",
                               "delay-request 1 by 1ms", "late-request 1"}) {
        EXPECT_TRUE(plan(script).decide(1).requestMeetsFaults()) << script;
    }
}

TEST(PlcFaultPlan, verbs_dropWithRequestFaults_tellsBoth) {
    EXPECT_EQ(
        plan("drop 1; late 1; duplicate-request 1; truncate-request 1 to 1; "
             "delay-request 1 by 1ms; late-request 1")
            .decide(1)
            .verbs(),
        (std::vector<plc::FaultVerb>{plc::FaultVerb::Drop, plc::FaultVerb::DuplicateRequest,
                                     plc::FaultVerb::TruncateRequest, plc::FaultVerb::DelayRequest,
                                     plc::FaultVerb::LateRequest}));
}

TEST(PlcFaultPlan, verbs_drop_hidesWhatWouldHaveBeenSent) {
    EXPECT_EQ(plan("drop 1; duplicate 1; delay 1 by 5ms").decide(1).verbs(),
              std::vector<plc::FaultVerb>{plc::FaultVerb::Drop});
}

} // namespace
