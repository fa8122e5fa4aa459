#include <gtest/gtest.h>

#include "plc/fault_script.h"

namespace {

using plc::FaultVerb;

struct VerbCase {
    const char* script;
    FaultVerb verb;
    unsigned long first;
    unsigned long last;
    unsigned percent;
    int amount;
};

const VerbCase kVerbs[] = {
    {"drop 3", FaultVerb::Drop, 3, 3, 0, 0},
    {"duplicate 5-6", FaultVerb::Duplicate, 5, 6, 0, 0},
    {"truncate 8 to 13", FaultVerb::Truncate, 8, 8, 0, 13},
    {"truncate 8 to 0", FaultVerb::Truncate, 8, 8, 0, 0},
    {"delay 9 by 300ms", FaultVerb::Delay, 9, 9, 0, 300},
    {"delay 9 by 300 ms", FaultVerb::Delay, 9, 9, 0, 300},
    {"late 12", FaultVerb::Late, 12, 12, 0, 0},
    {"sid+1 10", FaultVerb::Sid, 10, 10, 0, 1},
    {"sid-2 10-11", FaultVerb::Sid, 10, 11, 0, -2},
    {"corrupt 11", FaultVerb::Corrupt, 11, 11, 0, 0},
    {"silent 20-40", FaultVerb::Silent, 20, 40, 0, 0},
    {"duplicate-request 2", FaultVerb::DuplicateRequest, 2, 2, 0, 0},
    {"truncate-request 8 to 13", FaultVerb::TruncateRequest, 8, 8, 0, 13},
    {"delay-request 9 by 300ms", FaultVerb::DelayRequest, 9, 9, 0, 300},
    {"late-request 12-13", FaultVerb::LateRequest, 12, 13, 0, 0},
    {"drop 10%", FaultVerb::Drop, 10, 0, 10, 0},
    {"  drop   7 - 9  ", FaultVerb::Drop, 7, 9, 0, 0},
    {"\n drop\r\n\t7\n-\n9\n", FaultVerb::Drop, 7, 9, 0, 0},
};

TEST(PlcFaultScript, parse_eachVerb_isRead) {
    for (const VerbCase& expected : kVerbs) {
        SCOPED_TRACE(expected.script);
        const plc::ParsedFaults parsed = plc::parseFaultScript(expected.script);
        ASSERT_FALSE(parsed.error.has_value()) << parsed.error->message;
        ASSERT_EQ(parsed.rules.size(), 1U);
        const plc::FaultRule& rule = parsed.rules[0];
        EXPECT_EQ(rule.verb, expected.verb);
        EXPECT_EQ(rule.amount, expected.amount);
        ASSERT_EQ(rule.which.size(), 1U);
        EXPECT_EQ(rule.which[0].percent, expected.percent);
        if (expected.percent == 0) {
            EXPECT_EQ(rule.which[0].first, expected.first);
            EXPECT_EQ(rule.which[0].last, expected.last);
        }
    }
}

TEST(PlcFaultScript, parse_severalRules_keepTheirOrder) {
    const auto parsed = plc::parseFaultScript("drop 3; duplicate 5-6;sid+1 10");
    ASSERT_FALSE(parsed.error.has_value());
    ASSERT_EQ(parsed.rules.size(), 3U);
    EXPECT_EQ(parsed.rules[0].verb, FaultVerb::Drop);
    EXPECT_EQ(parsed.rules[1].verb, FaultVerb::Duplicate);
    EXPECT_EQ(parsed.rules[2].verb, FaultVerb::Sid);
}

TEST(PlcFaultScript, parse_listOfRequests_isOneRule) {
    const auto parsed = plc::parseFaultScript("truncate 1, 3-4, 2% to 9");
    ASSERT_FALSE(parsed.error.has_value());
    ASSERT_EQ(parsed.rules.size(), 1U);
    ASSERT_EQ(parsed.rules[0].which.size(), 3U);
    EXPECT_EQ(parsed.rules[0].which[1].first, 3U);
    EXPECT_EQ(parsed.rules[0].which[1].last, 4U);
    EXPECT_EQ(parsed.rules[0].which[2].percent, 2U);
    EXPECT_EQ(parsed.rules[0].amount, 9);
}

struct ErrorCase {
    const char* script;
    std::size_t column;
    const char* says; // part of the message
};

const ErrorCase kErrors[] = {
    {"", 1, "expected a fault: drop,"},
    {"lose 3", 1, "expected a fault: drop,"},
    {"drop 3; lose 4", 9, "expected a fault: drop,"},
    {"drop 3;", 8, "expected a fault: drop,"},
    {"drop 3;\n lose 4", 10, "expected a fault: drop,"},
    {"drop", 5, "expected a request number"},
    {"drop x", 6, "expected a request number"},
    {"drop 0", 6, "a request number from 1 to"},
    {"drop 6-5", 8, "the last request number of the range from 6 to"},
    {"drop 3-", 8, "expected the last request number"},
    {"drop 0%", 6, "a share in percent from 1 to 100"},
    {"drop 101%", 6, "a share in percent from 1 to 100"},
    {"drop 99999999999999999999", 6, "from 0 to 999999999"},
    {"drop 3 4", 8, "expected ';'"},
    {"drop 3 to 4", 8, "expected ';'"},
    {"truncate 8", 11, "expected 'to' and the bytes"},
    {"truncate 8 by 3", 12, "expected 'to' and the bytes"},
    {"truncate 8 to", 14, "expected a number of bytes"},
    {"truncate 8 to 65508", 15, "a number of bytes from 0 to 65507"},
    {"delay 9", 8, "expected 'by' and a time"},
    {"delay 9 by 300", 15, "expected 'ms' after the time"},
    {"delay 9 by 0ms", 12, "milliseconds from 1 to"},
    {"truncate-request 8", 19, "expected 'to' and the bytes"},
    {"delay-request 9 to 5", 17, "expected 'by' and a time"},
    {"late- 9", 5, "expected a request number"},
    {"late-requests 9", 1, "expected a fault: drop,"},
    {"sid-request 9", 1, "expected a fault: drop,"},
    {"sid 10", 4, "expected '+' or '-'"},
    {"sid+ 10x", 8, "expected a request number"},
    {"sid+300 10", 5, "a number to add to the SID from 1 to 255"},
};

TEST(PlcFaultScript, parse_wrong_saysWhereAndWhatWouldBeRight) {
    for (const ErrorCase& expected : kErrors) {
        SCOPED_TRACE(expected.script);
        const plc::ParsedFaults parsed = plc::parseFaultScript(expected.script);
        ASSERT_TRUE(parsed.error.has_value());
        EXPECT_EQ(parsed.error->column, expected.column) << parsed.error->message;
        EXPECT_NE(parsed.error->message.find(expected.says), std::string::npos)
            << parsed.error->message;
        EXPECT_TRUE(parsed.rules.empty());
    }
}

} // namespace
