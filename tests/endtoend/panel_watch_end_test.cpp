// What `watch` says when its time is up, and what several PLCs change in what the panel says.

#include "endtoend/programs.h"

namespace {

class PanelWatchEnd : public Programs {
protected:
    /// Another PLC than startPlc()'s.
    void startOther(const QStringList& arguments = {}) {
        m_other.start(VELKOR_PLC_PROGRAM, QStringList{"--listen", "127.0.0.1:0"} + arguments);
        ASSERT_TRUE(m_other.waitFor("\n"));
        m_otherAddress = m_other.output().section('\n', 0, 0).section(' ', 2, 2);
    }
    /// The panel on both of them, left and right.
    Ended both(const QStringList& arguments) {
        return bare(
            QStringList{"--plc", "left=" + plcAddress(), "--plc", "right=" + m_otherAddress} +
            arguments);
    }
    QString levelOfBoth() {
        return file("two.csv", "name,register,address,type,plc\n"
                               "level,DM,100,uint16,left\n"
                               "level,DM,200,uint16,right\n"
                               "speed,DM,300,uint16,right\n");
    }

    Running m_other;
    QString m_otherAddress;
};

TEST_F(PanelWatchEnd, failureOfAnotherPlcThatIsOver_isNotTheReason) {
    startPlc({"--faults", "silent 12-13"});
    startOther({"--end-code", "1103"});
    const Ended ended = both({"--timeout", "200", "--retries", "1", "watch", "left/DM:1",
                              "right/DM:2", "--scan-interval", "50", "--seconds", "3"});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_TRUE(
        ended.err.contains("without a fresh value when the time was up: right/DM:2 (refused)"))
        << plain(ended.err);
    EXPECT_TRUE(ended.err.contains("right: reading DM 2 (1 word) failed: the PLC refused: end code "
                                   "1103 address out of range"))
        << plain(ended.err);
    EXPECT_FALSE(ended.err.contains("no usable answer")) << plain(ended.err);
}

/// Most words of the block that failed first have been read since, one side of it whole.
TEST_F(PanelWatchEnd, someWordsOfABlockAreRefused_reasonNamesTheseAlone) {
    startPlc({"--refuse", "DM 105"});
    const Ended ended = panel(
        {"watch", "DM:100:4", "DM:104:2", "DM:106:4", "--scan-interval", "50", "--seconds", "2"});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_TRUE(
        ended.err.contains("without a fresh value when the time was up: DM:104:2 (refused)"))
        << plain(ended.err);
    EXPECT_TRUE(ended.err.contains("reading DM 104 (2 words) failed: the PLC refused: end code"))
        << plain(ended.err);
    EXPECT_FALSE(ended.err.contains("DM 100")) << plain(ended.err);
    EXPECT_FALSE(ended.err.contains("wrong node numbers")) << plain(ended.err);
}

TEST_F(PanelWatchEnd, plcThatFallsSilentBehindARefusal_isTheReasonOfTheTagsThatWereRead) {
    startPlc({"--refuse", "DM 105", "--faults", "silent 60-100000"});
    const Ended ended = panel({"--timeout", "50", "--retries", "1", "watch", "DM:100:4", "DM:104:2",
                               "--scan-interval", "20", "--seconds", "4"});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_TRUE(ended.err.contains("DM:100:4 (stale), DM:104:2 (refused)")) << plain(ended.err);
    EXPECT_TRUE(ended.err.contains("reading DM 100 (4 words) failed: no usable answer"))
        << plain(ended.err);
}

TEST_F(PanelWatchEnd, tagsOfOneName_areToldApartByTheirPlcs) {
    startPlc();
    startOther({"--end-code", "1103"});
    const Ended ended = both({"watch", levelOfBoth(), "--seconds", "1"});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_TRUE(ended.err.contains(": right/level (refused), right/speed (refused)"))
        << plain(ended.err);
}

TEST_F(PanelWatchEnd, constantThatHadNoThreeScans_isNotSaidToChange) {
    startPlc();
    const Ended ended =
        panel({"watch", "DM:1", "--scan-interval", "60000", "--until-stable", "--seconds", "1"});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_TRUE(
        ended.err.contains("fewer than three scans without a change had ended when the time "
                           "was up"))
        << plain(ended.err);
}

TEST_F(PanelWatchEnd, valueThatChanges_isSaidTo) {
    startPlc({"--process", "tank"});
    const Ended ended =
        panel({"watch", "DM:0:20", "--scan-interval", "100", "--until-stable", "--seconds", "2"});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_TRUE(ended.err.contains("values were still changing when the time was up"))
        << plain(ended.err);
}

TEST_F(PanelWatchEnd, plcWithoutTags_doesNotKeepTheOthersFromBeingStable) {
    startPlc();
    startOther();
    EXPECT_EQ(both({"watch", "left/DM:1", "--scan-interval", "20", "--until-stable"}).exitCode, 0);
}

TEST_F(PanelWatchEnd, write_nameThatTwoPlcsHave_isWrongUsage) {
    startPlc();
    startOther();
    const Ended ended = both({"write", levelOfBoth(), "level", "5"});
    EXPECT_EQ(ended.exitCode, 2);
    EXPECT_TRUE(ended.err.contains("right is left/level or right/level")) << plain(ended.err);
    EXPECT_EQ(plain(panel({"read", "DM", "100", "--format", "csv"}).out),
              "register,address,value\nDM,100,0\n");
}

TEST_F(PanelWatchEnd, write_toOneOfTwoPlcs_namesIt) {
    startPlc();
    startOther();
    const Ended full = both({"write", levelOfBoth(), "right/level", "5"});
    EXPECT_EQ(full.exitCode, 0) << plain(full.err);
    EXPECT_EQ(plain(full.out), "written: right/DM 200 (1 word)\n");
    const Ended alone = both({"write", levelOfBoth(), "speed", "6"});
    EXPECT_EQ(plain(alone.out), "written: right/DM 300 (1 word)\n");
    EXPECT_EQ(plain(bare({"--plc", m_otherAddress, "read", "DM", "200", "--format", "csv"}).out),
              "register,address,value\nDM,200,5\n");
}

} // namespace
