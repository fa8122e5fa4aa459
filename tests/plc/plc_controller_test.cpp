#include <gtest/gtest.h>

#include "plc/frames.h"

namespace {

using plc::Area;
using plc::Mode;
using plc_test::ask;
using plc_test::zeros;

plc::Core writableInMonitorOnly(Mode mode) {
    plc::Options options;
    options.mode = mode;
    options.writesOnlyIn = Mode::Monitor;
    return plc::Core(options);
}

TEST(PlcMode, run_monitorAndRun_changeTheMode) {
    plc::Core core;
    EXPECT_EQ(ask(core, "04 01 FF FF 02"), "00 00");
    EXPECT_EQ(core.mode(), Mode::Monitor);
    EXPECT_EQ(ask(core, "04 01 FF FF 04"), "00 00");
    EXPECT_EQ(core.mode(), Mode::Run);
}

TEST(PlcMode, runAndStop_programNumber0000_isTheOnlyProgramToo) {
    plc::Core core;
    EXPECT_EQ(ask(core, "04 01 00 00 02"), "00 00");
    EXPECT_EQ(core.mode(), Mode::Monitor);
    EXPECT_EQ(ask(core, "04 01 00 00 04"), "00 00");
    EXPECT_EQ(core.mode(), Mode::Run);
    EXPECT_EQ(ask(core, "04 02 00 00"), "00 00");
    EXPECT_EQ(core.mode(), Mode::Program);
    EXPECT_EQ(ask(core, "04 01 00 00"), "00 00");
    EXPECT_EQ(core.mode(), Mode::Monitor);
}

TEST(PlcMode, run_withoutMode_meansMonitor) {
    plc::Core core;
    EXPECT_EQ(ask(core, "04 01"), "00 00");
    EXPECT_EQ(core.mode(), Mode::Monitor);
    core.setMode(Mode::Run);
    EXPECT_EQ(ask(core, "04 01 FF FF"), "00 00");
    EXPECT_EQ(core.mode(), Mode::Monitor);
}

TEST(PlcMode, stop_withAndWithoutProgramNumber_goesToProgram) {
    plc::Core core;
    EXPECT_EQ(ask(core, "04 02"), "00 00");
    EXPECT_EQ(core.mode(), Mode::Program);
    core.setMode(Mode::Run);
    EXPECT_EQ(ask(core, "04 02 FF FF"), "00 00");
    EXPECT_EQ(core.mode(), Mode::Program);
}

TEST(PlcMode, run_wrong_getsItsEndCodeAndKeepsTheMode) {
    plc::Core core;
    core.setMode(Mode::Program);
    EXPECT_EQ(ask(core, "04 01 FF"), "10 02");
    EXPECT_EQ(ask(core, "04 01 00 01"), "11 0C");
    EXPECT_EQ(ask(core, "04 01 FF FF 02 00"), "10 01");
    EXPECT_EQ(ask(core, "04 01 FF FF 03"), "11 0C");
    EXPECT_EQ(ask(core, "04 01 00 01 02"), "11 0C");
    EXPECT_EQ(core.mode(), Mode::Program);
}

TEST(PlcMode, stop_wrong_getsItsEndCodeAndKeepsTheMode) {
    plc::Core core;
    EXPECT_EQ(ask(core, "04 02 FF"), "10 02");
    EXPECT_EQ(ask(core, "04 02 FF FF FF"), "10 01");
    EXPECT_EQ(ask(core, "04 02 00 01"), "11 0C");
    EXPECT_EQ(core.mode(), Mode::Run);
}

TEST(PlcMode, write_everyMode_isTakenWithoutProtection) {
    for (const Mode mode : {Mode::Program, Mode::Monitor, Mode::Run}) {
        plc::Options options;
        options.mode = mode;
        plc::Core core(options);
        EXPECT_EQ(ask(core, "01 02 82 00 00 00 00 01 00 01"), "00 00");
    }
}

struct Refusal {
    Mode mode;
    const char* endCode;
};

TEST(PlcMode, write_outsideMonitor_isRefusedByTheMode) {
    for (const Refusal& refusal : {Refusal{Mode::Program, "22 03"}, Refusal{Mode::Debug, "22 04"},
                                   Refusal{Mode::Run, "22 06"}}) {
        plc::Core core = writableInMonitorOnly(refusal.mode);
        EXPECT_EQ(ask(core, "01 02 82 00 00 00 00 01 00 01"), refusal.endCode);
        EXPECT_EQ(ask(core, "01 02 30 00 00 00 00 01 01"), refusal.endCode);
        EXPECT_EQ(ask(core, "01 03 82 00 00 00 00 01 00 01"), refusal.endCode);
        EXPECT_EQ(core.memory().word(Area::Dm, 0), 0);
    }
}

TEST(PlcMode, write_inMonitorWhenWritableInProgramOnly_gets2205) {
    plc::Options options;
    options.mode = Mode::Monitor;
    options.writesOnlyIn = Mode::Program;
    plc::Core core(options);
    EXPECT_EQ(ask(core, "01 02 82 00 00 00 00 01 00 01"), "22 05");
}

TEST(PlcMode, write_afterTheSwitchToMonitor_isTaken) {
    plc::Core core = writableInMonitorOnly(Mode::Run);
    EXPECT_EQ(ask(core, "01 02 82 00 00 00 00 01 00 01"), "22 06");
    EXPECT_EQ(ask(core, "04 01 FF FF 02"), "00 00");
    EXPECT_EQ(ask(core, "01 02 82 00 00 00 00 01 00 01"), "00 00");
    EXPECT_EQ(core.memory().word(Area::Dm, 0), 1);
}

TEST(PlcMode, read_outsideMonitor_isTaken) {
    plc::Core core = writableInMonitorOnly(Mode::Program);
    EXPECT_EQ(ask(core, "01 01 82 00 00 00 00 01"), "00 00 00 00");
}

// 20 + 20 bytes of text, 40 for system use, 12 of area data; then 64 + 1 + 1.
TEST(PlcIdentity, controllerData_whole_has158Bytes) {
    plc::Core core;
    const auto reply = core.handle(plc_test::command("05 01"));
    ASSERT_TRUE(reply.has_value());
    ASSERT_EQ(reply->size(), 14U + 158U);
    EXPECT_EQ(std::string(reply->begin() + 14, reply->begin() + 34), "CJ2M-CPU31          ");
    EXPECT_EQ(std::string(reply->begin() + 34, reply->begin() + 54),
              "02.01" + std::string(15, '\0'));
    EXPECT_EQ(plc_test::text(plc::Bytes(reply->begin() + 94, reply->begin() + 106)),
              "00 14 17 80 00 08 01 00 00 00 00 00");
}

TEST(PlcIdentity, controllerData_parts_have92And66Bytes) {
    plc::Core core;
    EXPECT_EQ(core.handle(plc_test::command("05 01 00"))->size(), 14U + 92U);
    EXPECT_EQ(core.handle(plc_test::command("05 01 01"))->size(), 14U + 66U);
}

TEST(PlcIdentity, controllerData_replyOverLongestMessage_gets110B) {
    plc::Options options;
    options.maxMessage = 105; // 14 and 92 bytes are 106
    plc::Core core(options);
    EXPECT_EQ(ask(core, "05 01 00"), "11 0B");
    options.maxMessage = 106;
    plc::Core larger(options);
    EXPECT_EQ(ask(larger, "05 01 00").substr(0, 5), "00 00");
}

TEST(PlcIdentity, controllerData_wrong_getsItsEndCode) {
    plc::Core core;
    EXPECT_EQ(ask(core, "05 01 02"), "11 0C");
    EXPECT_EQ(ask(core, "05 01 00 00"), "10 01");
}

const char* const kSixteenBlanks = " 20 20 20 20 20 20 20 20 20 20 20 20 20 20 20 20";

TEST(PlcStatus, status_eachMode_isTold) {
    plc::Core core;
    core.setMode(Mode::Program);
    EXPECT_EQ(ask(core, "06 01"), "00 00 00 00" + zeros(8) + kSixteenBlanks);
    core.setMode(Mode::Monitor);
    EXPECT_EQ(ask(core, "06 01"), "00 00 01 02" + zeros(8) + kSixteenBlanks);
    core.setMode(Mode::Run);
    EXPECT_EQ(ask(core, "06 01"), "00 00 01 04" + zeros(8) + kSixteenBlanks);
}

TEST(PlcStatus, status_withAlarm_tellsANonFatalError) {
    plc::Core core;
    core.setMode(Mode::Monitor);
    core.setAlarm(true);
    EXPECT_EQ(ask(core, "06 01"), "00 40 01 02 00 00 80 00 00 01 41 01 "
                                  "41 4C 41 52 4D 20 31 20 20 20 20 20 20 20 20 20");
}

TEST(PlcStatus, status_withParameter_gets1001) {
    plc::Core core;
    EXPECT_EQ(ask(core, "06 01 00"), "10 01");
}

TEST(PlcClock, clock_set_isToldInBcd) {
    plc::Core core;
    plc::ClockTime now;
    now.year = 26;
    now.month = 12;
    now.day = 31;
    now.hour = 23;
    now.minute = 59;
    now.second = 8;
    now.weekday = 4;
    core.setClock([now] { return now; });
    EXPECT_EQ(ask(core, "07 01"), "00 00 26 12 31 23 59 08 04");
}

TEST(PlcClock, clock_isAskedByTheCommandThatNeedsItAlone) {
    plc::Core core;
    int asked = 0;
    core.setClock([&asked] {
        ++asked;
        return plc::ClockTime();
    });
    for (const char* other : {"01 01 82 00 00 00 00 01", "01 02 82 00 00 00 00 01 00 01", "04 01",
                              "05 01", "06 01", "07 01 00", "20 01"}) {
        ask(core, other);
        EXPECT_EQ(asked, 0) << other;
    }
    EXPECT_EQ(ask(core, "07 01"), "00 00 00 01 01 00 00 00 06");
    EXPECT_EQ(asked, 1);
    ask(core, "07 01");
    EXPECT_EQ(asked, 2);
}

TEST(PlcClock, clock_withParameter_gets1001) {
    plc::Core core;
    EXPECT_EQ(ask(core, "07 01 00"), "10 01");
}

} // namespace
