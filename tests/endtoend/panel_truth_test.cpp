// What the driver leaves to its host on purpose, and how the panel keeps its user from being told
// what is not so.

#include "endtoend/programs.h"

#include <QtCore/QFile>

#include <csignal>

namespace {

class PanelTruth : public Programs {
protected:
    /// Runs the panel over a driver that notes what it is handed; gives the notes.
    QStringList notes(const QStringList& arguments) {
        const QString file = path("notes.txt");
        qputenv("VELKOR_SPY_NOTES", file.toLocal8Bit());
        m_ended = panel(QStringList{"--library", VELKOR_SPY_DRIVER} + arguments);
        QFile notes(file);
        EXPECT_TRUE(notes.open(QIODevice::ReadOnly)) << plain(m_ended.err);
        return QString::fromUtf8(notes.readAll()).split('\n', Qt::SkipEmptyParts);
    }

    Ended m_ended;
};

TEST_F(PanelTruth, tagInsideAnother_doesNotKeepTheOthersWordsFromBeingRead) {
    startPlc();
    EXPECT_EQ(panel({"write", "DM", "109", "77"}).exitCode, 0);
    // Handed over as they are, DM 105 would cut the block back and DM 107 to 109 were never read.
    const Ended ended = panel({"watch", "DM:100:10", "DM:105:2", "--scan-interval", "20",
                               "--until-stable", "--seconds", "10"});
    EXPECT_EQ(ended.exitCode, 0) << plain(ended.err);
    EXPECT_TRUE(ended.out.contains("DM 100  0 0 0 0 0 0 0 0 0 77")) << plain(ended.out);
}

TEST_F(PanelTruth, overlappingTags_areHandedOverWithoutOverlap) {
    startPlc();
    const QStringList handed =
        notes({"watch", "DM:100:10", "DM:105:2", "CIO_bit:100.14:3", "CIO:100", "--scan-interval",
               "20", "--until-stable", "--seconds", "10"});
    EXPECT_EQ(m_ended.exitCode, 0) << plain(m_ended.err);
    // CIO 100.14 to 101.0 lies in words 100 and 101.
    EXPECT_EQ(plain(handed.join(", ")), "poll station 1 CIO 100 2, poll station 1 DM 100 10");
}

TEST_F(PanelTruth, everythingHandedOver_hasOneStation) {
    startPlc();
    const QString recipe = file("recipe.csv", "name,register,address\na,DM,1\nb,HR,1\n");
    QStringList handed = notes({"watch", "DM:1", "HR:5", "C:7", "--until-stable"});
    handed += notes({"recipe", "upload", recipe});
    handed += notes({"read", "T", "5"});
    handed += notes({"write", "WR_bit", "1.5", "1"});
    ASSERT_GE(handed.size(), 7) << plain(handed.join('\n'));
    for (const QString& note : handed) {
        EXPECT_TRUE(note.contains(" station 1 ")) << plain(note);
    }
}

TEST_F(PanelTruth, bitsAcrossAWord_areReadAsTheWordsThatHoldThem) {
    startPlc();
    EXPECT_EQ(panel({"write", "CIO_bit", "1.15", "1", "1"}).exitCode, 0); // 1.15 and 2.0
    const QStringList handed = notes({"read", "CIO_bit", "1.15", "2", "--format", "csv"});
    EXPECT_EQ(plain(handed.join(", ")), "read station 1 CIO 1 2");
    EXPECT_EQ(plain(m_ended.out), "register,address,value\nCIO_bit,1.15,1\nCIO_bit,2.0,1\n");
}

class PanelMode : public PanelTruth, public testing::WithParamInterface<QStringList> {};

TEST_P(PanelMode, writeThatNeedsMonitorMode_isWrittenOnceMoreAndSaid) {
    startPlc(QStringList{"--writes-in", "monitor"} + GetParam());
    const Ended written = panel({"--allow-mode-change", "--trace", "write", "DM", "100", "5"});
    EXPECT_EQ(written.exitCode, 0) << plain(written.err);
    // Refused once, executed once: no resend in between.
    EXPECT_EQ(written.err.count("0102 write DM 100 count=1"), 2) << plain(written.err);
    EXPECT_EQ(written.err.count("set mode MONITOR"), 1) << plain(written.err);
    EXPECT_TRUE(written.err.contains("the driver has asked for MONITOR mode, writing once more"))
        << plain(written.err);
    EXPECT_TRUE(panel({"read", "DM", "100", "--format", "csv"}).out.endsWith("DM,100,5\n"));
}

INSTANTIATE_TEST_SUITE_P(StartedIn, PanelMode,
                         testing::Values(QStringList{"--mode", "program"},
                                         QStringList{"--mode", "debug"},
                                         QStringList{"--mode", "run"},
                                         QStringList{"--mode", "program", "--alarm"}),
                         [](const auto& row) { return plain(row.param.join('_').remove('-')); });

TEST_F(PanelTruth, modeChangeNotAllowed_isNotAskedForAndTheOptionIsNamed) {
    startPlc({"--writes-in", "monitor", "--mode", "program"});
    const Ended ended = panel({"--trace", "write", "DM", "100", "5"});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_EQ(ended.err.count("set mode"), 0) << plain(ended.err);
    EXPECT_TRUE(ended.err.contains("--allow-mode-change allows it")) << plain(ended.err);
    EXPECT_TRUE(panel({"read", "DM", "100", "--format", "csv"}).out.endsWith("DM,100,0\n"));
}

TEST_F(PanelTruth, recipeThatNeedsMonitorMode_isDownloadedOnceMore) {
    startPlc({"--writes-in", "monitor", "--mode", "program"});
    const QString recipe = file("recipe.csv", "name,register,address\na,DM,1\nb,HR,1\n");
    const QString values = file("values.csv", "a,11\nb,12\n");
    const Ended ended =
        panel({"--allow-mode-change", "recipe", "download", recipe, "--values", values});
    EXPECT_EQ(ended.exitCode, 0) << plain(ended.err);
    EXPECT_TRUE(panel({"read", "HR", "1", "--format", "csv"}).out.endsWith("HR,1,12\n"));
    EXPECT_TRUE(panel({"read", "DM", "1", "--format", "csv"}).out.endsWith("DM,1,11\n"));
}

TEST_F(PanelTruth, writeThatStaysRefused_failsWithTheModeInWords) {
    startPlc({"--end-code", "2206"});
    const Ended ended = panel({"write", "DM", "100", "5"});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_TRUE(ended.err.contains("wrong mode: the PLC is in RUN mode")) << plain(ended.err);
    EXPECT_TRUE(ended.err.contains("1. the PLC's operating mode")) << plain(ended.err);
}

TEST_F(PanelTruth, refusedWrite_isNoSuccess) {
    startPlc();
    const Ended ended = panel({"write", "AR", "5", "1"}); // read-only up to AR 447
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_TRUE(ended.err.contains("writing AR 5 (1 word) failed: the PLC refused: end code 2101 "
                                   "read-only"))
        << plain(ended.err);
    EXPECT_EQ(plain(ended.out), "");
}

TEST_F(PanelTruth, refusedRecipeDownload_isNoSuccess) {
    startPlc();
    const QString recipe = file("recipe.csv", "name,register,address\na,AR,5\n");
    const Ended ended =
        panel({"recipe", "download", recipe, "--values", file("values.csv", "a,1\n")});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_TRUE(ended.err.contains("end code 2101 read-only")) << plain(ended.err);
}

TEST_F(PanelTruth, recipeRefusedInTheMiddle_saysThatAPartIsWritten) {
    startPlc();
    const QString recipe = file("recipe.csv", "name,register,address\na,HR,1\nb,AR,5\n");
    const Ended ended =
        panel({"recipe", "download", recipe, "--values", file("values.csv", "a,11\nb,12\n")});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_TRUE(ended.err.contains("writing AR 5 (1 word) failed")) << plain(ended.err);
    EXPECT_TRUE(ended.err.contains("a part of the recipe: blocks written before that: 1"))
        << plain(ended.err);
    EXPECT_TRUE(panel({"read", "HR", "1", "--format", "csv"}).out.endsWith("HR,1,11\n"));
}

TEST_F(PanelTruth, longWriteThatFailsInTheMiddle_saysWhatIsWritten) {
    startPlc({"--faults", "silent 3-100"});
    const Ended ended = panel({"--words-per-frame", "2", "--timeout", "50", "write", "DM", "10",
                               "1", "2", "3", "4", "5", "6"});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_TRUE(ended.err.contains("writing DM 14 (2 words) failed")) << plain(ended.err);
    EXPECT_TRUE(ended.err.contains("written before that: DM 10 (4 words)")) << plain(ended.err);
}

/// More than once: what ends the program must win over what comes after it.
TEST_F(PanelTruth, longWriteWhoseFirstPieceIsRefused_isNeverWrittenAndSendsNothingMore) {
    QStringList write{"write", "AR", "300"}; // read-only up to AR 447
    for (int value = 0; value < 400; ++value) {
        write.append(QString::number(value));
    }
    for (int run = 0; run < 5; ++run) {
        startPlc();
        const Ended ended = panel(write);
        EXPECT_EQ(ended.exitCode, 1);
        EXPECT_EQ(plain(ended.out), "");
        EXPECT_TRUE(ended.err.contains("writing AR 300 (256 words) failed")) << plain(ended.err);
        EXPECT_TRUE(ended.err.contains("not written: AR 300 (400 words)")) << plain(ended.err);
        EXPECT_EQ(plcRequests(), 3); // the tries of the first piece
    }
}

TEST_F(PanelTruth, longReadWhoseFirstPieceIsRefused_printsNothingAndSendsNothingMore) {
    for (int run = 0; run < 5; ++run) {
        startPlc({"--max-message", "500"}); // too little for 256 words, enough for 44
        const Ended ended = panel({"read", "DM", "0", "300"});
        EXPECT_EQ(ended.exitCode, 1);
        EXPECT_EQ(plain(ended.out), "");
        EXPECT_TRUE(ended.err.contains("reading DM 0 (256 words) failed")) << plain(ended.err);
        EXPECT_EQ(plcRequests(), 3);
    }
}

class PanelUnanswered : public PanelTruth, public testing::WithParamInterface<const char*> {};

/// Whether the PLC has got it or only its answer was lost, nobody can know.
TEST_P(PanelUnanswered, piece_isToldAsPerhapsWrittenAndTheRestAsNotWritten) {
    startPlc({"--faults", GetParam()});
    const Ended ended = panel({"--words-per-frame", "2", "--timeout", "20", "write", "DM", "100",
                               "1", "2", "3", "4", "5", "6"});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_TRUE(ended.err.contains("perhaps written: DM 100 (2 words), though no answer says so\n"))
        << plain(ended.err);
    EXPECT_TRUE(ended.err.contains("not written: DM 102 (4 words)\n")) << plain(ended.err);
    EXPECT_TRUE(panel({"read", "DM", "102", "4", "--format", "csv"})
                    .out.endsWith("DM,102,0\nDM,103,0\nDM,104,0\nDM,105,0\n"));
}

INSTANTIATE_TEST_SUITE_P(Request, PanelUnanswered, testing::Values("silent 1-3", "drop 1-3"));

TEST_F(PanelTruth, writeToAClosedPort_isNotPerhapsWritten) {
    startPlc();
    m_plc.kill(); // its port is free now
    const Ended ended = panel({"--timeout", "50", "write", "DM", "100", "1"});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_TRUE(ended.err.contains("nothing listens")) << plain(ended.err);
    EXPECT_FALSE(ended.err.contains("perhaps")) << plain(ended.err);
}

TEST_F(PanelTruth, recipeWithoutAnswer_saysThatItsFirstBlockIsPerhapsWritten) {
    startPlc({"--faults", "drop 1-3"});
    const QString recipe = file("recipe.csv", "name,register,address\na,HR,1\nb,DM,5\n");
    const Ended ended = panel({"--timeout", "20", "recipe", "download", recipe, "--values",
                               file("values.csv", "a,11\nb,12\n")});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_TRUE(ended.err.contains("perhaps written: HR 1 (1 word), though no answer says so"))
        << plain(ended.err);
    EXPECT_TRUE(panel({"read", "HR", "1", "--format", "csv"}).out.endsWith("HR,1,11\n"));
}

TEST_F(PanelTruth, refusedRead_isToldWithItsEndCode) {
    startPlc({"--end-code", "1103"});
    const Ended ended = panel({"read", "DM", "100", "2"});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_TRUE(ended.err.contains("reading DM 100 (2 words) failed: the PLC refused: end code "
                                   "1103 address out of range"))
        << plain(ended.err);
    EXPECT_TRUE(ended.err.contains("1. the address lies beyond this PLC's range"))
        << plain(ended.err);
}

TEST_F(PanelTruth, blockTooLongForThePlc_namesTheRemedy) {
    startPlc({"--max-message", "64"});
    const Ended ended = panel({"read", "DM", "100", "50"});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_TRUE(ended.err.contains("end code 110B response too long")) << plain(ended.err);
    EXPECT_TRUE(ended.err.contains("--words-per-frame")) << plain(ended.err);
}

TEST_F(PanelTruth, alarmInThePlc_isNoFailure) {
    startPlc({"--alarm"});
    EXPECT_EQ(panel({"write", "DM", "1", "5"}).exitCode, 0);
    EXPECT_EQ(panel({"read", "DM", "1"}).exitCode, 0);
    EXPECT_TRUE(panel({"probe"}).out.contains("0000 normal; the PLC has a non-fatal alarm"));
}

TEST_F(PanelTruth, refusedTag_isShownAsRefusedWithTheReason) {
    startPlc({"--end-code", "1103"});
    const Ended ended = panel({"watch", "DM:100", "--seconds", "0.5", "--format", "csv"});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_TRUE(ended.out.contains(
        "DM:100,DM 100,,,refused,refused: end code 1103 address out of range when reading "
        "DM 100 (1 word)"))
        << plain(ended.out);
    EXPECT_TRUE(ended.err.contains("without a fresh value when the time was up: DM:100 (refused)"))
        << plain(ended.err);
}

/// What the PLC refuses is looked for by halving the block: each tag is told with its own words.
TEST_F(PanelTruth, refusedBlock_isToldOfEachOfItsTagsWithItsOwnWords) {
    startPlc({"--end-code", "1104"});
    const Ended ended =
        panel({"watch", "DM:100", "DM:102:3", "--seconds", "0.5", "--format", "csv"});
    const QString reason = "refused: end code 1104 address range exceeded when reading ";
    EXPECT_TRUE(ended.out.contains("DM:100,DM 100,,,refused," + reason + "DM 100 (1 word)"))
        << plain(ended.out);
    EXPECT_TRUE(ended.out.contains("DM:102:3,DM 102,,,refused," + reason + "DM 102 (3 words)"))
        << plain(ended.out);
}

TEST_F(PanelTruth, valuesOfTwoWords_areNotCutByAnOddFrameLength) {
    startPlc();
    const QStringList odd{"--words-per-frame", "3", "--type", "int32", "--trace"};
    const Ended written = panel(odd + QStringList{"write", "DM", "600", "-1", "2", "-3"});
    EXPECT_EQ(written.exitCode, 0) << plain(written.err);
    const Ended read = panel(odd + QStringList{"read", "DM", "600", "3", "--format", "csv"});
    EXPECT_EQ(plain(read.out), "register,address,value\nDM,600,-1\nDM,602,2\nDM,604,-3\n");
    for (const char* piece : {"DM 600 count=2", "DM 602 count=2", "DM 604 count=2"}) {
        EXPECT_TRUE(written.err.contains(piece)) << plain(written.err);
        EXPECT_TRUE(read.err.contains(piece)) << plain(read.err);
    }
}

TEST_F(PanelTruth, tagOfASilentPlc_isNotReadAndNeverZero) {
    startPlc({"--faults", "silent 1-100000"});
    const Ended ended =
        panel({"watch", "DM:100", "--seconds", "0.6", "--timeout", "50", "--format", "csv"});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_TRUE(ended.out.contains(",DM:100,DM 100,,,not read,")) << plain(ended.out);
    EXPECT_FALSE(ended.out.contains(",0,")) << plain(ended.out);
}

TEST_F(PanelTruth, tagNoLongerRefreshed_isStaleAndThenFreshAgain) {
    startPlc({"--faults", "silent 5-12"});
    Running watch;
    startPanel(&watch, {"watch", "DM:100", "--timeout", "50", "--scan-interval", "20"});
    ASSERT_TRUE(watch.waitFor("DM 100  stale: 0")) << plain(watch.output());
    ASSERT_TRUE(watch.waitFor([](const QString& output) {
        return output.count("DM 100  0\n") == 2;
    })) << plain(watch.output());
    EXPECT_EQ(watch.stop(SIGTERM).exitCode, 0);
}

/// How long a try may take says nothing of how old a value may be.
TEST_F(PanelTruth, tagOfADeadPlc_isStaleLongBeforeALongTryEnds) {
    startPlc({"--faults", "silent 5-100000"});
    Running watch;
    startPanel(&watch, {"watch", "DM:100", "--timeout", "60000", "--scan-interval", "50"});
    QElapsedTimer timer;
    timer.start();
    ASSERT_TRUE(watch.waitFor("DM 100  stale: 0  (no answer: still waiting in the first try of "
                              "60000 ms"))
        << plain(watch.output());
    EXPECT_LT(timer.elapsed(), 10000);
    EXPECT_EQ(watch.stop(SIGTERM).exitCode, 0);
}

/// The scan interval is long as well: no scan is missed, but the try is overdue.
TEST_F(PanelTruth, tagUnderAnOverdueTry_isStaleBeforeScansAreMissed) {
    startPlc({"--faults", "silent 2-100000"});
    Running watch;
    startPanel(&watch, {"watch", "DM:100", "--timeout", "60000", "--scan-interval", "3000"});
    EXPECT_TRUE(watch.waitFor("DM 100  stale: 0  (no answer: still waiting in the first try"))
        << plain(watch.output());
    EXPECT_EQ(watch.stop(SIGTERM).exitCode, 0);
}

/// Ten blocks: a bad spell in which each first try is lost makes a scan of three seconds; when it
/// is over, dead tags are not believed for three times as long.
TEST_F(PanelTruth, badSpell_doesNotMakeDeadTagsFreshForLong) {
    QStringList lost;
    for (int request = 101; request < 121; request += 2) {
        lost.append(QString::number(request));
    }
    startPlc({"--faults", "silent " + lost.join(", ") + "; silent 200-100000"});
    QStringList arguments{"watch", "--timeout",         "300", "--retries", "20", "--scan-interval",
                          "20",    "--words-per-frame", "1"};
    for (int block = 0; block < 10; ++block) {
        arguments.append(QString("DM:%1").arg(100 * block));
    }
    Running watch;
    startPanel(&watch, arguments);
    const auto each = [](const char* state, int times) {
        return [state, times](const QString& output) {
            for (int block = 0; block < 10; ++block) {
                if (output.count(QString("DM %1  %2").arg(100 * block).arg(state)) < times) {
                    return false;
                }
            }
            return true;
        };
    };
    ASSERT_TRUE(watch.waitFor(each("stale: 0", 1))) << plain(watch.output()); // the bad spell
    ASSERT_TRUE(watch.waitFor(each("0\n", 2))) << plain(watch.output());
    QElapsedTimer timer;
    timer.start();
    ASSERT_TRUE(watch.waitFor(each("stale: 0", 2))) << plain(watch.output());
    EXPECT_LT(timer.elapsed(), 5000);
    EXPECT_EQ(watch.stop(SIGTERM).exitCode, 0);
}

TEST_F(PanelTruth, writtenValueThatThePlcRefused_isNotKeptOnTheScreen) {
    startPlc({"--mode", "run"});
    EXPECT_EQ(panel({"write", "AR", "5", "9"}).exitCode, 1);
    EXPECT_TRUE(panel({"read", "AR", "5", "--format", "csv"}).out.endsWith("AR,5,0\n"));
}

class PanelInterrupted : public PanelTruth, public testing::WithParamInterface<int> {};

/// The PLC may have the value: the end of the program is no end of the write.
TEST_P(PanelInterrupted, write_saysThatItsOutcomeIsUnknown) {
    startPlc({"--faults", "drop 1-1000000"}); // it executes, and answers nothing
    Running write;
    startPanel(&write, {"--timeout", "60000", "--trace", "write", "DM", "7", "5"});
    ASSERT_TRUE(write.waitFor("0102 write DM 7"));
    const Ended ended = write.stop(GetParam());
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_TRUE(ended.out.contains("ended by a signal while writing DM 7 (1 word): a frame was "
                                   "sent, and its outcome is unknown"))
        << plain(ended.out);
    EXPECT_TRUE(ended.out.contains("perhaps written: DM 7 (1 word)")) << plain(ended.out);
}

TEST_P(PanelInterrupted, longWrite_saysWhatWasAcknowledged) {
    startPlc({"--faults", "drop 2-1000000"});
    Running write;
    startPanel(&write, {"--timeout", "60000", "--words-per-frame", "2", "--trace", "write", "DM",
                        "7", "1", "2", "3", "4", "5", "6"});
    ASSERT_TRUE(write.waitFor("0102 write DM 9"));
    const Ended ended = write.stop(GetParam());
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_TRUE(ended.out.contains("written before that: DM 7 (2 words)")) << plain(ended.out);
    EXPECT_TRUE(ended.out.contains("perhaps written: DM 9 (2 words)")) << plain(ended.out);
    EXPECT_TRUE(ended.out.contains("not written: DM 11 (2 words)")) << plain(ended.out);
}

TEST_P(PanelInterrupted, download_saysWhatMayBeInThePlc) {
    startPlc({"--faults", "drop 1-1000000"});
    const QString recipe = file("recipe.csv", "name,register,address\na,DM,1\n");
    const QString values = file("values.csv", "a,1\n");
    Running download;
    startPanel(&download,
               {"--timeout", "60000", "--trace", "--values", values, "recipe", "download", recipe});
    ASSERT_TRUE(download.waitFor("0102 write DM 1"));
    const Ended ended = download.stop(GetParam());
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_TRUE(ended.out.contains("ended by a signal before the recipe was downloaded"))
        << plain(ended.out);
    EXPECT_TRUE(ended.out.contains("perhaps written: DM 1 (1 word)")) << plain(ended.out);
}

INSTANTIATE_TEST_SUITE_P(Signals, PanelInterrupted, testing::Values(SIGINT, SIGTERM, SIGHUP),
                         [](const auto& row) { return "signal" + std::to_string(row.param); });

} // namespace
