#include "panel/output/outcome_text.h"

#include "panel/text.h"

#include <velkor/host/line.h>

#include <gtest/gtest.h>

using namespace panel;

namespace {

/// A write of DM 100 to 105 in pieces of two words, whose piece from DM `failed` on has failed.
WriteOutcome failedWrite(WriteResult result, int taken, int unknown) {
    WriteOutcome outcome;
    outcome.reg = "DM";
    outcome.address = 100;
    outcome.count = 6;
    outcome.result = result;
    outcome.taken = taken;
    outcome.unknown = unknown;
    outcome.last.reg = "DM";
    outcome.last.address = 100 + taken;
    outcome.last.length = 2;
    outcome.last.tries = 3;
    outcome.last.write = true;
    return outcome;
}

TEST(LeftBehind, refusedPiece_tellsWhatIsWrittenAndWhatIsNot) {
    EXPECT_EQ(
        leftBehind(failedWrite(WriteResult::Refused, 2, 0)),
        QStringList({"written before that: DM 100 (2 words)", "not written: DM 102 (4 words)"}));
}

TEST(LeftBehind, unansweredPiece_isPerhapsWritten) {
    EXPECT_EQ(leftBehind(failedWrite(WriteResult::Unknown, 2, 2)),
              QStringList({"written before that: DM 100 (2 words)",
                           "perhaps written: DM 102 (2 words), though no answer says so",
                           "not written: DM 104 (2 words)"}));
}

TEST(LeftBehind, writeOfOnePieceRefused_saysNothingTwice) {
    WriteOutcome outcome = failedWrite(WriteResult::Refused, 0, 0);
    outcome.count = 2;
    EXPECT_TRUE(leftBehind(outcome).isEmpty());
}

TEST(LeftBehind, takenWrite_saysNothing) {
    EXPECT_TRUE(leftBehind(failedWrite(WriteResult::Taken, 6, 0)).isEmpty());
}

RecipeOutcome failedDownload() {
    RecipeOutcome outcome;
    outcome.result = RecipeResult::Unknown;
    outcome.blocks = {{"DM", 100, 4, RecipeBlock::Moved},
                      {"DM", 200, 2, RecipeBlock::Unknown},
                      {"HR", 5, 1, RecipeBlock::NotMoved}};
    return outcome;
}

/// Every block acknowledged, not read back.
RecipeOutcome downloadNotCompared() {
    RecipeOutcome outcome;
    outcome.result = RecipeResult::NotVerified;
    outcome.blocks = {{"DM", 100, 4, RecipeBlock::Moved}, {"DM", 200, 2, RecipeBlock::Moved}};
    return outcome;
}

TEST(LeftBehind, downloadNotCompared_isNoPartOfARecipe) {
    EXPECT_TRUE(leftBehind(downloadNotCompared()).isEmpty());
}

TEST(InterruptedText, downloadNotCompared_wasDownloaded) {
    EXPECT_EQ(interruptedText(downloadNotCompared()),
              QStringList({"ended by a signal before the download was compared; the PLC has "
                           "acknowledged every block of it"}));
}

TEST(InterruptedText, downloadThatAskedForAMode_saysSo) {
    RecipeOutcome outcome = failedDownload();
    outcome.modeUnknown = true;
    EXPECT_EQ(interruptedText(outcome).last(),
              "the PLC was asked to change to MONITOR mode; whether it has is unknown");
    outcome.modeSwitched = true;
    EXPECT_EQ(interruptedText(outcome).last(), "the PLC was switched to MONITOR mode");
}

TEST(LeftBehind, recipe_tellsEachBlock) {
    EXPECT_EQ(leftBehind(failedDownload()),
              QStringList({"the PLC now holds a part of the recipe: blocks written before that: 1",
                           "perhaps written: DM 200 (2 words), though no answer says so",
                           "block by block: DM 100 to 103 written; DM 200 to 201 not known, it may "
                           "have been written; HR 5 not written"}));
}

TEST(LeftBehind, recipeOfWhichNothingCanBeThere_saysNothing) {
    RecipeOutcome outcome = failedDownload();
    outcome.blocks = {{"DM", 100, 4, RecipeBlock::NotMoved}};
    EXPECT_TRUE(leftBehind(outcome).isEmpty());
    outcome = failedDownload();
    outcome.direction = RecipeDirection::Upload;
    EXPECT_TRUE(leftBehind(outcome).isEmpty());
}

TEST(WriteSummary, ofOneOfSeveralPlcs_namesIt) {
    const LineSettings settings;
    const QString plc = "left";
    EXPECT_EQ(plain(writeSummary(failedWrite(WriteResult::Taken, 6, 0), settings, {}, plc)),
              "written: left/DM 100 (6 words)");
    EXPECT_TRUE(writeSummary(failedWrite(WriteResult::Unknown, 0, 2), settings, {}, plc)
                    .startsWith("writing left/DM 100 (2 words) failed"));
}

TEST(WriteSummary, refusedByTheMode_namesTheOptionThatAllowsItsChange) {
    LineSettings settings;
    WriteOutcome refused = failedWrite(WriteResult::Refused, 0, 0);
    refused.last.refusals = 3;
    refused.last.refused = true;
    refused.last.endCode = 0x2203;
    SettingNames names;
    names.allowModeChange = "--allow-mode-change";
    EXPECT_TRUE(writeSummary(refused, settings, names)
                    .endsWith("; --allow-mode-change allows the change to MONITOR mode"));
    settings.allowModeChange = true;
    EXPECT_FALSE(writeSummary(refused, settings, names).contains("--allow-mode-change"));
    settings.allowModeChange = false;
    refused.last.endCode = 0x2205;
    EXPECT_FALSE(writeSummary(refused, settings, names).contains("--allow-mode-change"));
}

/// As a row of CSV, where each field shows.
std::string row(const WriteOutcome& outcome, const QString& name = QString()) {
    return plain(recordLine(OutputFormat::Csv, writeColumns(),
                            writeRecord(outcome, LineSettings(), "left", name)));
}

TEST(WriteRecord, taken_hasEndCodeAndNoReason) {
    WriteOutcome taken = failedWrite(WriteResult::Taken, 6, 0);
    taken.last.ok = true;
    taken.last.endCode = 0;
    EXPECT_EQ(row(taken, "level"), "left,level,DM,100,6,taken,0000 normal,6,0,");
}

TEST(WriteRecord, refusedPiece_countsWhatWasWrittenBefore) {
    WriteOutcome refused = failedWrite(WriteResult::Refused, 2, 0);
    refused.last.refusals = 3;
    refused.last.refused = true;
    refused.last.endCode = 0x2101;
    EXPECT_EQ(row(refused), "left,,DM,100,6,refused,2101 read-only,2,0,the PLC refused: end code "
                            "2101 read-only (3 tries)");
}

TEST(WriteRecord, unansweredPiece_isUnknownWithoutAnEndCode) {
    WriteOutcome unknown = failedWrite(WriteResult::Unknown, 2, 2);
    unknown.last.silent = 3;
    EXPECT_TRUE(QString::fromStdString(row(unknown))
                    .startsWith("left,,DM,100,6,unknown,,2,2,no usable answer from "))
        << row(unknown);
}

TEST(WriteRecord, closedBeforeItWasSent_isNotReached) {
    WriteOutcome closed = failedWrite(WriteResult::NotReached, 0, 0);
    closed.reg = "CIO_bit";
    closed.address = 53;
    closed.last = RequestEnd();
    closed.last.closed = true;
    EXPECT_EQ(row(closed), "left,,CIO_bit,3.5,6,not reached,,0,0,not sent: the line was closed");
}

TEST(ModeChangeNotes, secondChangeForTheSameWords_isNotToldAsAnotherWrite) {
    RequestEnd end;
    end.write = true;
    end.reg = "DM";
    end.address = 100;
    end.length = 2;
    end.modeChange = true;
    end.modeChangeEnd = 0;
    end.refusalBeforeModeChange = 0x2206;
    ModeChangeNotes notes("writing once more", true);
    EXPECT_EQ(plain(notes.of(end)),
              "DM 100 (2 words) was refused (2206 wrong mode: the PLC is in RUN mode); the driver "
              "has asked for MONITOR mode, writing once more");
    EXPECT_EQ(plain(notes.of(end)), "");
    end.address = 102; // the next piece
    EXPECT_NE(plain(notes.of(end)), "");
    ModeChangeNotes whole("starting once more", false);
    EXPECT_NE(plain(whole.of(end)), "");
    end.address = 104; // nothing starts a third time
    EXPECT_EQ(plain(whole.of(end)), "");
    end.modeChangeEnd = -1;
    EXPECT_EQ(plain(notes.of(end)), "");
}

TEST(WriteSummary, outcomes_oneLineEach) {
    const LineSettings settings;
    WriteOutcome taken = failedWrite(WriteResult::Taken, 6, 0);
    EXPECT_EQ(plain(writeSummary(taken, settings)), "written: DM 100 (6 words)");
    taken.modeSwitched = true;
    EXPECT_EQ(plain(writeSummary(taken, settings)),
              "written: DM 100 (6 words); for it the PLC was switched to MONITOR mode");
    WriteOutcome closed = failedWrite(WriteResult::NotReached, 0, 0);
    closed.last = RequestEnd();
    EXPECT_TRUE(writeSummary(closed, settings).startsWith("not written: DM 100 (6 words)"));
    const QString failed = writeSummary(failedWrite(WriteResult::Unknown, 2, 2), settings);
    EXPECT_TRUE(failed.startsWith("writing DM 102 (2 words) failed; written before that: DM 100 (2 "
                                  "words); perhaps written: DM 102 (2 words)"))
        << plain(failed);
}

} // namespace
