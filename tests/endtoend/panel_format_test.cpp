// What the panel prints for programs: --format csv and json.

#include "endtoend/fake_plc.h"

#include <csignal>

namespace {

class PanelFormat : public Programs {
protected:
    QString limitedTags() {
        return file("tags.csv", "name,register,address,type,scale,low,high\n"
                                "inside,DM,1,uint16,0.1,1,2\n"
                                "below,DM,2,uint16,0.1,1,2\n"
                                "above,DM,3,uint16,0.1,1,2\n"
                                "free,DM,4,uint16,,,\n");
    }
    /// The words that the tags above have.
    void writeValues() {
        ASSERT_EQ(panel({"write", "DM", "1", "20", "9", "21", "9999"}).exitCode, 0);
    }
};

const char* const WRITE_HEADER = "plc,name,register,address,count,outcome,end_code,written,"
                                 "perhaps_written,reason\n";

TEST_F(PanelFormat, watchCsv_marksValuesOutsideTheirLimitsInTheLastField) {
    startPlc();
    writeValues();
    const Ended ended = panel({"watch", limitedTags(), "--until-stable", "--scan-interval", "20",
                               "--seconds", "15", "--format", "csv"});
    EXPECT_EQ(ended.exitCode, 0) << plain(ended.err);
    const QString out = ended.out;
    EXPECT_TRUE(out.startsWith("time,name,address,value,unit,state,reason,limit\n")) << plain(out);
    EXPECT_TRUE(out.contains(",inside,DM 1,2,,read,,\n")) << plain(out);
    EXPECT_TRUE(out.contains(",below,DM 2,0.9,,read,,low\n")) << plain(out);
    EXPECT_TRUE(out.contains(",above,DM 3,2.1,,read,,high\n")) << plain(out);
    EXPECT_TRUE(out.contains(",free,DM 4,9999,,read,,\n")) << plain(out);
}

TEST_F(PanelFormat, watchJson_marksValuesOutsideTheirLimitsInTheLastMember) {
    startPlc();
    writeValues();
    const Ended ended = panel({"watch", limitedTags(), "--until-stable", "--scan-interval", "20",
                               "--seconds", "15", "--format", "json"});
    EXPECT_EQ(ended.exitCode, 0) << plain(ended.err);
    EXPECT_TRUE(ended.out.contains("\"value\": \"2.1\", \"unit\": \"\", \"state\": \"read\", "
                                   "\"reason\": \"\", \"limit\": \"high\"}\n"))
        << plain(ended.out);
    EXPECT_TRUE(ended.out.contains("\"value\": \"9999\", \"unit\": \"\", \"state\": \"read\", "
                                   "\"reason\": \"\", \"limit\": \"\"}\n"))
        << plain(ended.out);
}

TEST_F(PanelFormat, watch_valueThatIsNotFreshAnyMore_isNotMarked) {
    startPlc();
    ASSERT_EQ(panel({"write", "DM", "3", "21"}).exitCode, 0);
    Running watch;
    startPanel(&watch, {"watch", limitedTags(), "--scan-interval", "20", "--timeout", "50",
                        "--format", "csv"});
    ASSERT_TRUE(watch.waitFor(",above,DM 3,2.1,,read,,high\n")) << plain(watch.output());
    m_plc.stop(SIGTERM);
    ASSERT_TRUE(watch.waitFor(",above,DM 3,2.1,,stale,")) << plain(watch.output());
    const Ended ended = watch.stop(SIGTERM);
    const QString stale = ended.out.mid(ended.out.indexOf("DM 3,2.1,,stale,")).section('\n', 0, 0);
    EXPECT_TRUE(stale.endsWith(",")) << plain(stale);
}

TEST_F(PanelFormat, write_taken_isOneRecord) {
    startPlc();
    const Ended ended = panel({"write", "DM", "100", "5", "6", "--format", "csv"});
    EXPECT_EQ(ended.exitCode, 0);
    EXPECT_EQ(plain(ended.out),
              WRITE_HEADER + plain(plcAddress()) + ",,DM,100,2,taken,0000 normal,2,0,\n");
    EXPECT_EQ(plain(ended.err), "");
}

TEST_F(PanelFormat, write_byTag_namesTagAndPlc) {
    startPlc();
    const QString tags = file("tags.csv", "name,register,address,type,plc\n"
                                          "level,DM,7,uint16,left\n"
                                          "level,DM,8,uint16,right\n");
    const Ended ended = bare({"--plc", "left=" + plcAddress(), "--plc", "right=" + plcAddress(),
                              "write", tags, "right/level", "706", "--format", "json"});
    EXPECT_EQ(ended.exitCode, 0) << plain(ended.err);
    EXPECT_EQ(plain(ended.out),
              "{\"plc\": \"right\", \"name\": \"level\", \"register\": \"DM\", \"address\": \"8\", "
              "\"count\": 1, \"outcome\": \"taken\", \"end_code\": \"0000 normal\", "
              "\"written\": 1, \"perhaps_written\": 0, \"reason\": \"\"}\n");
}

TEST_F(PanelFormat, write_refusedPiece_isOneRecordAndTheAdviceStaysOnStandardError) {
    startPlc();
    const Ended ended = panel({"--words-per-frame", "2", "write", "AR", "445", "1", "2", "3", "4",
                               "--format", "csv"}); // read-only up to AR 447
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_EQ(plain(ended.out), WRITE_HEADER + plain(plcAddress()) +
                                    ",,AR,445,4,refused,2101 read-only,0,0,the PLC refused: end "
                                    "code 2101 read-only (3 tries)\n");
    EXPECT_TRUE(ended.err.contains("Check in this order:")) << plain(ended.err);
}

TEST_F(PanelFormat, write_closedPort_isNotReached) {
    m_port = freePort();
    const Ended ended = panel({"--timeout", "50", "write", "DM", "1", "5", "--format", "csv"});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_TRUE(ended.out.contains(",,DM,1,1,not reached,,0,0,")) << plain(ended.out);
    EXPECT_TRUE(ended.out.contains("nothing listens")) << plain(ended.out);
}

TEST_F(PanelFormat, write_interrupted_isUnknownAndStillOneRecord) {
    startPlc({"--faults", "drop 2-1000000"});
    Running write;
    startPanel(&write, {"--timeout", "60000", "--words-per-frame", "2", "--format", "csv",
                        "--trace", "write", "DM", "7", "1", "2", "3", "4", "5", "6"});
    ASSERT_TRUE(write.waitFor("0102 write DM 9"));
    const Ended ended = write.stop(SIGTERM);
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_TRUE(ended.out.contains(",,DM,7,6,unknown,,2,2,the line was closed before"))
        << plain(ended.out);
    EXPECT_EQ(ended.out.count("plc,name,"), 1) << plain(ended.out);
}

TEST_F(PanelFormat, write_wrongUsage_isNoRecord) {
    const Ended ended = bare({"write", "DM", "40000", "1", "--format", "csv"});
    EXPECT_EQ(ended.exitCode, 2);
    EXPECT_EQ(plain(ended.out), "");
}

} // namespace
