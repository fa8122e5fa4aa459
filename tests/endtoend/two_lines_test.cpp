// The example of the host layer, as a user starts it.

#include "endtoend/programs.h"

namespace {

class TwoLines : public Programs {
protected:
    void SetUp() override {
        startPlc();
        m_right.start(VELKOR_PLC_PROGRAM, {"--listen", "127.0.0.1:0"});
        ASSERT_TRUE(m_right.waitFor([](const QString& output) {
            return output.startsWith("listening on ") && output.endsWith('\n');
        }));
        m_rightAddress = m_right.output().section(' ', 2, 2).trimmed();
    }

    Running m_right;
    QString m_rightAddress;
};

TEST_F(TwoLines, bothPlcs_recipeGoesFromTheLeftToTheRight) {
    EXPECT_EQ(panel({"write", "DM", "101", "12", "13", "14", "15"}).exitCode, 0);
    EXPECT_EQ(panel({"write", "HR", "100", "77"}).exitCode, 0);
    Running host;
    host.start(VELKOR_TWO_LINES, {plcAddress(), m_rightAddress});
    const Ended ended = host.waitForEnd();
    EXPECT_EQ(ended.exitCode, 0) << plain(ended.out) << plain(ended.err);
    for (const char* line :
         {"left set point: 64.0 l", "right set point: 64.0 l", "left times: 13 14 15 s",
          "written: left/DM 101 (1 word)", "uploaded: left/3 variables",
          "downloaded: right/3 variables, read back and equal"}) {
        EXPECT_TRUE(ended.out.contains(QString(line) + '\n')) << line << '\n' << plain(ended.out);
    }
    const QStringList lines = ended.out.split('\n');
    for (int line = 1; line < lines.size(); ++line) {
        const QString name = lines.at(line).section(':', 0, 0);
        const auto before = lines.mid(0, line).filter(name + ':');
        EXPECT_TRUE(before.isEmpty() || before.last() != lines.at(line)) << plain(ended.out);
    }
    const QStringList read{"--plc", m_rightAddress, "--format", "csv", "read"};
    EXPECT_EQ(plain(bare(read + QStringList{"DM", "101", "4"}).out),
              "register,address,value\nDM,101,640\nDM,102,13\nDM,103,14\nDM,104,15\n");
    EXPECT_TRUE(bare(read + QStringList{"HR", "100"}).out.endsWith("HR,100,77\n"));
}

TEST_F(TwoLines, wrongAddress_isWrongUsageAndSaysWhatWouldBeRight) {
    for (const QString wrong : {"nowhere:9600", "127.0.0.1:96000", "127.0.0.1:96oo"}) {
        Running host;
        host.start(VELKOR_TWO_LINES, {plcAddress(), wrong});
        const Ended ended = host.waitForEnd();
        EXPECT_EQ(ended.exitCode, 2) << plain(ended.out);
        EXPECT_TRUE(ended.out.contains('"' + wrong + "\" is no address and port; right is"))
            << plain(ended.out);
    }
}

TEST_F(TwoLines, plcThatDoesNotAnswer_isTold) {
    m_plc.kill();
    Running host;
    host.start(VELKOR_TWO_LINES, {plcAddress(), m_rightAddress});
    const Ended ended = host.waitForEnd();
    EXPECT_EQ(ended.exitCode, 1) << plain(ended.out);
    EXPECT_TRUE(ended.out.contains("writing left/DM 101 (1 word) failed")) << plain(ended.out);
}

} // namespace
