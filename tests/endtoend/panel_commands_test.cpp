// Each command of velkor-panel against velkor-plc.

#include "endtoend/programs.h"

#include <QtCore/QFile>

#include <csignal>

namespace {

class PanelCommands : public Programs {};

TEST_F(PanelCommands, registers_listsTheDriversTwelve) {
    const Ended ended = bare({"registers", "--format", "csv"});
    EXPECT_EQ(ended.exitCode, 0);
    const QStringList lines = ended.out.split('\n');
    ASSERT_EQ(lines.size(), 14) << plain(ended.out); // header, twelve, the end
    EXPECT_EQ(plain(lines.at(1)), "CIO_bit,bit,ddddd.DD (DD:0~15),0.0,6143.15");
    EXPECT_EQ(plain(lines.at(12)), "DM,word,ddddd,0,32767");
}

TEST_F(PanelCommands, check_goodAddress_givesItsNumber) {
    const Ended ended = bare({"check", "HR_bit", "10.5", "--format", "csv"});
    EXPECT_EQ(ended.exitCode, 0);
    EXPECT_TRUE(ended.out.contains("HR_bit,10.5,1,165,valid")) << plain(ended.out);
}

TEST_F(PanelCommands, check_badAddress_saysTheRange) {
    const Ended ended = bare({"check", "AR_bit", "447.15"});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_TRUE(ended.err.contains("from 448.0 to 959.15")) << plain(ended.err);
}

TEST_F(PanelCommands, check_unknownRegister_isWrongUsage) {
    const Ended ended = bare({"check", "XX", "1"});
    EXPECT_EQ(ended.exitCode, 2);
    EXPECT_TRUE(ended.err.contains("the registers are CIO_bit")) << plain(ended.err);
}

TEST_F(PanelCommands, layout_bits_goesOnIntoTheNextWord) {
    const Ended ended = bare({"layout", "CIO_bit", "100.14", "3", "1", "--format", "csv"});
    EXPECT_EQ(ended.exitCode, 0);
    EXPECT_EQ(plain(ended.out), "register,address,number\nCIO_bit,100.14,1614\n"
                                "CIO_bit,100.15,1615\nCIO_bit,101.0,1616\n");
}

TEST_F(PanelCommands, layout_beyondTheEnd_isCutAndSaid) {
    const Ended ended = bare({"layout", "DM", "32760", "3", "5", "--format", "csv"});
    EXPECT_EQ(ended.exitCode, 0);
    EXPECT_TRUE(ended.out.endsWith("DM,32765,32765\nDM,32767,32767\n")) << plain(ended.out);
    EXPECT_TRUE(ended.err.contains("32767")) << plain(ended.err);
}

TEST_F(PanelCommands, layout_belowTheStart_fails) {
    const Ended ended = bare({"layout", "DM", "10", "3", "-10"});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_TRUE(ended.err.contains("below the register")) << plain(ended.err);
}

TEST_F(PanelCommands, writeAndRead_words_comeBack) {
    startPlc();
    const Ended written = panel({"write", "DM", "100", "1", "0xABCD", "65535"});
    EXPECT_EQ(written.exitCode, 0) << plain(written.err);
    EXPECT_EQ(plain(written.out), "written: DM 100 (3 words)\n");
    const Ended read = panel({"read", "DM", "99", "5", "--format", "csv"});
    EXPECT_EQ(read.exitCode, 0) << plain(read.err);
    EXPECT_EQ(plain(read.out),
              "register,address,value\nDM,99,0\nDM,100,1\nDM,101,43981\nDM,102,65535\nDM,103,0\n");
}

/// One address in all registers, a value of its own in each, and all are written before one is
/// read: so a register that stands for another is seen.
TEST_F(PanelCommands, writeAndRead_everyWordRegister_keepsAValueOfItsOwn) {
    startPlc();
    const QStringList registers = {"CIO", "WR", "HR", "AR", "T", "C", "DM"};
    for (int i = 0; i < registers.size(); ++i) {
        EXPECT_EQ(panel({"write", registers[i], "500", QString::number(4660 + i)}).exitCode, 0);
    }
    for (int i = 0; i < registers.size(); ++i) {
        EXPECT_EQ(plain(panel({"read", registers[i], "500", "--format", "csv"}).out),
                  plain(QStringLiteral("register,address,value\n%1,500,%2\n")
                            .arg(registers[i])
                            .arg(4660 + i)));
    }
}

/// The same for bits, another bit of the word in each; the words then hold these bits alone.
TEST_F(PanelCommands, writeAndRead_everyBitRegister_setsItsBitOfItsWord) {
    startPlc();
    const QStringList registers = {"CIO", "WR", "HR", "AR", "DM"};
    for (int i = 0; i < registers.size(); ++i) {
        const QString bit = QStringLiteral("460.%1").arg(i + 7);
        EXPECT_EQ(panel({"write", registers[i] + "_bit", bit, "1"}).exitCode, 0) << plain(bit);
    }
    for (int i = 0; i < registers.size(); ++i) {
        const QString reg = registers[i] + "_bit";
        const QString bit = QStringLiteral("460.%1").arg(i + 7);
        EXPECT_EQ(plain(panel({"read", reg, bit, "--format", "csv"}).out),
                  plain(QStringLiteral("register,address,value\n%1,%2,1\n").arg(reg, bit)));
        EXPECT_EQ(plain(panel({"read", registers[i], "460", "--format", "csv"}).out),
                  plain(QStringLiteral("register,address,value\n%1,460,%2\n")
                            .arg(registers[i])
                            .arg(1 << (i + 7))));
    }
}

TEST_F(PanelCommands, writeAndRead_types_areKeptLowWordFirst) {
    startPlc();
    EXPECT_EQ(panel({"write", "DM", "10", "-21.5", "--type", "float32"}).exitCode, 0);
    // -21.5 is 0xC1AC0000.
    EXPECT_EQ(plain(panel({"read", "DM", "10", "2", "--type", "hex", "--format", "csv"}).out),
              "register,address,value\nDM,10,0x0000\nDM,11,0xC1AC\n");
    EXPECT_EQ(plain(panel({"read", "DM", "10", "--type", "float32", "--format", "json"}).out),
              "{\"register\": \"DM\", \"address\": \"10\", \"value\": -21.5}\n");
    EXPECT_EQ(panel({"write", "DM", "20", "HELLO", "--type", "string"}).exitCode, 0);
    EXPECT_TRUE(panel({"read", "DM", "20", "3", "--type", "string"}).out.contains("HELLO"));
}

TEST_F(PanelCommands, read_moreThanAFrame_isReadPieceByPiece) {
    startPlc();
    EXPECT_EQ(panel({"write", "DM", "999", "7"}).exitCode, 0);
    const Ended ended =
        panel({"read", "DM", "0", "1000", "--words-per-frame", "300", "--format", "csv"});
    EXPECT_EQ(ended.exitCode, 0) << plain(ended.err);
    EXPECT_EQ(ended.out.count('\n'), 1001);
    EXPECT_TRUE(ended.out.endsWith("DM,999,7\n"));
    EXPECT_EQ(plcRequests(), 5); // the write, then 300 + 300 + 300 + 100 words
}

TEST_F(PanelCommands, write_moreThanAFrame_isWrittenPieceByPiece) {
    startPlc();
    QStringList arguments{"--words-per-frame", "10", "write", "DM", "0"};
    for (int value = 0; value < 25; ++value) {
        arguments.append(QString::number(value));
    }
    EXPECT_EQ(panel(arguments).exitCode, 0);
    EXPECT_TRUE(panel({"read", "DM", "24", "--format", "csv"}).out.endsWith("DM,24,24\n"));
    EXPECT_EQ(plcRequests(), 4);
}

TEST_F(PanelCommands, write_moreThanFiveFramesInARow_isWrittenToItsEnd) {
    startPlc();
    EXPECT_EQ(panel({"--words-per-frame", "1", "write", "DM", "0", "1", "2", "3", "4", "5", "6",
                     "7", "8"})
                  .exitCode,
              0);
    EXPECT_TRUE(panel({"read", "DM", "7", "--format", "csv"}).out.endsWith("DM,7,8\n"));
}

TEST_F(PanelCommands, read_badArguments_areWrongUsageAndSendNothing) {
    startPlc();
    for (const QStringList& arguments :
         {QStringList{"read", "DM", "32768"}, QStringList{"read", "DM", "1", "0"},
          QStringList{"read", "DM", "x"}, QStringList{"read", "DM"},
          QStringList{"write", "DM", "1", "70000"}, QStringList{"write", "CIO_bit", "1.0", "2"},
          QStringList{"write", "DM", "32767", "1", "2"},
          QStringList{"read", "CIO_bit", "1.0", "--type", "int16"}}) {
        const Ended ended = panel(arguments);
        EXPECT_EQ(ended.exitCode, 2) << plain(arguments.join(' '));
        EXPECT_FALSE(ended.err.isEmpty());
    }
    EXPECT_EQ(plcRequests(), 0);
}

TEST_F(PanelCommands, probe_tellsNodeAndRoundTrip) {
    startPlc({"--node", "42"});
    const Ended ended = panel({"--nodes", "0,42,0,0,9,0", "probe", "--format", "csv"});
    EXPECT_EQ(ended.exitCode, 0) << plain(ended.err);
    const QStringList fields = ended.out.section('\n', 1, 1).split(',');
    ASSERT_EQ(fields.size(), 13) << plain(ended.out);
    EXPECT_EQ(plain(fields.at(1)), plain(fields.at(2))); // asked, answered
    EXPECT_EQ(plain(fields.at(4)), "42");
    EXPECT_GT(fields.at(6).toDouble(), 0);
    EXPECT_LE(fields.at(6).toDouble(), fields.at(7).toDouble());
    EXPECT_LE(fields.at(7).toDouble(), fields.at(8).toDouble());
}

TEST_F(PanelCommands, nodes_default_areTheLastOctets) {
    startPlc({"--trace"});
    EXPECT_EQ(panel({"read", "DM", "0"}).exitCode, 0);
    const QString trace = m_plc.stop(SIGTERM).out;
    // 127.0.0.1 on both ends.
    EXPECT_TRUE(trace.contains("node 1 to 1")) << plain(trace);
}

TEST_F(PanelCommands, recipe_downloadThenUpload_givesTheSameValues) {
    startPlc();
    const QString recipe = file("recipe.csv", "name,register,address,count,offset,comment\n"
                                              "b,DM,200,1,5,\n"
                                              "a,DM,100,2,0,\n"
                                              "a2,DM,102,3,2,\n"
                                              "h,HR,7,1,6,\n");
    const QByteArray values = "name,values\nb,6\na,1,2\na2,3,4,5\nh,65535\n";
    const Ended down = panel({"recipe", "download", recipe, "--values", file("in.csv", values)});
    EXPECT_EQ(down.exitCode, 0) << plain(down.err);
    EXPECT_EQ(plain(down.out), "downloaded: 4 variables\n");
    EXPECT_TRUE(panel({"read", "DM", "104", "--format", "csv"}).out.endsWith("DM,104,5\n"));
    const Ended up = panel({"recipe", "upload", recipe, "--values", path("out.csv")});
    EXPECT_EQ(up.exitCode, 0) << plain(up.err);
    EXPECT_EQ(plain(up.out), "uploaded: 4 variables to " + plain(path("out.csv")) + "\n");
    QFile out(path("out.csv"));
    ASSERT_TRUE(out.open(QIODevice::ReadOnly));
    EXPECT_EQ(out.readAll(), values);
    for (const char* format : {"csv", "json"}) { // whose output is for programs
        EXPECT_EQ(plain(panel({"recipe", "upload", recipe, "--values", path("out.csv"), "--format",
                               format})
                            .out),
                  "");
    }
    EXPECT_EQ(plain(panel({"recipe", "upload", recipe, "--format", "csv"}).out),
              values.toStdString());
}

TEST_F(PanelCommands, recipe_longVariable_isTransferredInPieces) {
    startPlc();
    QByteArray values = "long";
    for (int value = 0; value < 700; ++value) {
        values += ',' + QByteArray::number(value);
    }
    const QString recipe = file("recipe.csv", "name,register,address,count\nlong,DM,0,700\n");
    EXPECT_EQ(
        panel({"recipe", "download", recipe, "--values", file("in.csv", values + '\n')}).exitCode,
        0);
    const Ended up = panel({"recipe", "upload", recipe, "--format", "csv"});
    EXPECT_EQ(plain(up.out), "name,values\n" + values.toStdString() + "\n");
}

TEST_F(PanelCommands, recipe_badRow_isNamedAndNothingIsSent) {
    startPlc();
    const QString recipe = file("recipe.csv", "name,register,address\na,DM,1\nb,CIO_bit,1.0\n");
    const Ended ended = panel({"recipe", "upload", recipe});
    EXPECT_EQ(ended.exitCode, 2);
    EXPECT_TRUE(ended.err.contains("recipe.csv:3:3: register: CIO_bit is a bit register"))
        << plain(ended.err);
    EXPECT_EQ(plcRequests(), 0);
}

TEST_F(PanelCommands, recipe_downloadWithoutValues_isWrongUsage) {
    const QString recipe = file("recipe.csv", "name,register,address\na,DM,1\n");
    EXPECT_EQ(bare({"recipe", "download", recipe}).exitCode, 2);
}

TEST_F(PanelCommands, watch_untilStable_printsEveryTagOnceAndEnds) {
    startPlc();
    EXPECT_EQ(panel({"write", "DM", "1", "17"}).exitCode, 0);
    const QString tags = file("tags.csv", "name,register,address,type,count,unit,comment\n"
                                          "level,DM,1,uint16,1,mm,\n"
                                          "flag,CIO_bit,3.5,bool,1,,\n");
    const Ended ended = panel({"watch", tags, "--until-stable", "--scan-interval", "20",
                               "--seconds", "15", "--format", "csv"});
    EXPECT_EQ(ended.exitCode, 0) << plain(ended.err);
    const QStringList lines = ended.out.split('\n');
    ASSERT_EQ(lines.size(), 4) << plain(ended.out);
    EXPECT_EQ(plain(lines.at(0)), "time,name,address,value,unit,state,reason,limit");
    // As they are read: CIO comes before DM.
    EXPECT_EQ(plain(lines.at(1).section(',', 1)), "flag,CIO_bit 3.5,0,,read,,");
    EXPECT_EQ(plain(lines.at(2).section(',', 1)), "level,DM 1,17,mm,read,,");
}

TEST_F(PanelCommands, watch_changedValue_printsALine) {
    startPlc();
    Running watch;
    startPanel(&watch, {"watch", "DM:5", "--scan-interval", "20"});
    ASSERT_TRUE(watch.waitFor("DM 5  0")) << plain(watch.output());
    EXPECT_EQ(panel({"write", "DM", "5", "99"}).exitCode, 0);
    EXPECT_TRUE(watch.waitFor("DM 5  99")) << plain(watch.output());
    EXPECT_EQ(watch.stop(SIGTERM).exitCode, 0);
}

/// However many file descriptors there are, it ends when it is told to, or says why it cannot run.
TEST_F(PanelCommands, watch_fewFileDescriptors_isNeverDeafToSignals) {
#ifdef VELKOR_SANITIZED
    GTEST_SKIP() << "the sanitizer needs descriptors of its own";
#endif
    startPlc();
    int refused = 0;
    int watched = 0;
    for (int most = 4; most <= 10; ++most) {
        Running watch;
        watch.start("/bin/sh", {"-c", QString("ulimit -n %1; exec \"$@\"").arg(most), "sh",
                                VELKOR_PANEL_PROGRAM, "--plc", plcAddress(), "watch", "DM:5",
                                "--scan-interval", "20"});
        if (watch.waitFor("DM 5  0")) {
            ++watched;
            EXPECT_EQ(watch.stop(SIGTERM).exitCode, 0) << most;
        } else {
            ++refused;
            const int exitCode = watch.waitForEnd().exitCode;
            if (exitCode == 127 && watch.output().contains("loading shared libraries")) {
                continue; // the system could not even start it
            }
            EXPECT_EQ(exitCode, 1) << most << plain(watch.output());
            EXPECT_TRUE(watch.output().contains("Too many open files")) << plain(watch.output());
        }
    }
    EXPECT_GT(refused, 0);
    EXPECT_GT(watched, 0);
}

TEST_F(PanelCommands, watch_json_isOneObjectALine) {
    startPlc();
    const Ended ended =
        panel({"watch", "DM:5", "--until-stable", "--scan-interval", "20", "--format", "json"});
    EXPECT_EQ(ended.exitCode, 0);
    EXPECT_TRUE(ended.out.contains("\"name\": \"DM:5\", \"address\": \"DM 5\", \"value\": \"0\""))
        << plain(ended.out);
}

TEST_F(PanelCommands, watch_neitherFileNorTag_saysBothForms) {
    const Ended ended = bare({"watch", "DM"});
    EXPECT_EQ(ended.exitCode, 2);
    EXPECT_TRUE(ended.err.contains("cannot read DM")) << plain(ended.err);
    EXPECT_TRUE(ended.err.contains("REGISTER:ADDRESS[:COUNT]")) << plain(ended.err);
}

TEST_F(PanelCommands, watch_badRow_isNamedByLineAndColumnAndNothingIsPolled) {
    startPlc();
    const QString tags = file("tags.csv", "name,register,address,type\n"
                                          "good,DM,1,uint16\n"
                                          "bad,DM,40000,uint16\n");
    const Ended ended = panel({"watch", tags, "--seconds", "5"});
    EXPECT_EQ(ended.exitCode, 2);
    EXPECT_TRUE(ended.err.contains("tags.csv:3:8: address: DM 40000 lies outside the register; DM "
                                   "takes a word number from 0 to 32767 (ddddd)"))
        << plain(ended.err);
    EXPECT_EQ(plcRequests(), 0);
}

TEST_F(PanelCommands, watch_tagsOfTheTank_areAllRead) {
    startPlc({"--process", "tank"});
    const Ended ended = panel({"watch", QString(VELKOR_EXAMPLES) + "/tank/tags.csv", "--seconds",
                               "1", "--scan-interval", "50", "--format", "csv"});
    EXPECT_EQ(ended.exitCode, 0) << plain(ended.err);
    EXPECT_TRUE(ended.out.contains("temperature,DM 4,")) << plain(ended.out);
}

TEST_F(PanelCommands, helpAndVersion_areDone) {
    EXPECT_EQ(bare({"--help"}).exitCode, 0);
    const Ended version = bare({"--version"});
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_EQ(plain(version.out), "velkor-panel " VELKOR_VERSION "\n");
}

TEST_F(PanelCommands, outputThatCannotBeWritten_isNoSuccess) {
    QProcess process;
    process.setStandardOutputFile("/dev/full");
    process.start(VELKOR_PANEL_PROGRAM, {"registers"});
    ASSERT_TRUE(process.waitForFinished(PATIENCE_MS));
    EXPECT_EQ(process.exitCode(), 1);
    EXPECT_TRUE(process.readAllStandardError().contains("could not be written"));
}

TEST_F(PanelCommands, library_missing_saysSo) {
    const Ended ended = bare({"--library", "/nowhere/libvelkor.so.1", "registers"});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_TRUE(ended.err.contains("there is no file /nowhere/libvelkor.so.1; --library names it"))
        << plain(ended.err);
}

TEST_F(PanelCommands, library_notADriver_saysWhatIsMissing) {
    const Ended ended = bare({"--library", VELKOR_NO_DRIVER, "registers"});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_TRUE(ended.err.contains("has no function intf_")) << plain(ended.err);
}

} // namespace
