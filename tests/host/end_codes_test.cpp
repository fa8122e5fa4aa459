#include <velkor/host/end_codes.h>

#include "host/wire/end_code_kinds.h"
#include "panel/text.h"

#include <gtest/gtest.h>

using namespace velkor_host;

namespace {

struct Case {
    int code;
    bool normal;
    bool mode;
    const char* text;
};

class EndCode : public testing::TestWithParam<Case> {};

TEST_P(EndCode, code_isJudgedWithoutItsFlags) {
    EXPECT_EQ(isNormalEnd(GetParam().code), GetParam().normal);
    EXPECT_EQ(isModeRefusal(GetParam().code), GetParam().mode);
    EXPECT_EQ(plain(endCodeText(GetParam().code)), GetParam().text);
}

const Case CASES[] = {
    {0x0000, true, false, "0000 normal"},
    {0x0040, true, false, "0000 normal; the PLC has a non-fatal alarm"},
    {0x0080, true, false, "0000 normal; the PLC has a fatal error"},
    {0x00C0, true, false, "0000 normal; the PLC has a fatal error; the PLC has a non-fatal alarm"},
    {0x1103, false, false, "1103 address out of range"},
    {0x1143, false, false, "1103 address out of range; the PLC has a non-fatal alarm"},
    {0x2203, false, true, "2203 wrong mode: the PLC is in PROGRAM mode"},
    {0x2243, false, true,
     "2203 wrong mode: the PLC is in PROGRAM mode; the PLC has a non-fatal alarm"},
    {0x2206, false, true, "2206 wrong mode: the PLC is in RUN mode"},
    {0x2205, false, false, "2205 wrong mode: the PLC is in MONITOR mode"},
    {0x2201, false, false, "2201 not possible during execution"},
    // MRES bit 7: relay error; 0x82 without it is 0x02.
    {0x8202, false, false, "0202 no such unit, at a relay"},
    {0x8000, false, false, "0000 normal, at a relay"},
    {0x110C, false, false, "110C parameter error"},
    {0x1234, false, false, "1234 unknown end code"},
};

INSTANTIATE_TEST_SUITE_P(Panel, EndCode, testing::ValuesIn(CASES), [](const auto& row) {
    return plain(QString::number(row.param.code, 16));
});

TEST(IsSurelyNotDone, endCode_refusalsOnly) {
    for (const int refusal : {0x1103, 0x2101, 0x2203, 0x22C3, 0x9103, 0x0401}) {
        EXPECT_TRUE(isSurelyNotDone(refusal)) << refusal;
    }
    // Normal ends, what says only that no answer came back (cancelled, retries failed, timeout),
    // and codes whose meaning is not known.
    for (const int other : {0x0000, 0x0040, 0x0001, 0x0103, 0x0205, 0x8205, 0x0303, 0x1234}) {
        EXPECT_FALSE(isSurelyNotDone(other)) << other;
    }
}

} // namespace
