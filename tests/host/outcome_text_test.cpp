#include "host/failed_outcomes.h"
#include "host/plain_text.h"

#include <velkor/host/line.h>

#include <gtest/gtest.h>

using namespace failed_outcomes;

namespace {

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

TEST(LeftBehind, downloadNotCompared_isNoPartOfARecipe) {
    EXPECT_TRUE(leftBehind(downloadNotCompared()).isEmpty());
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

TEST(OutcomeText, ofOneOfSeveralPlcs_namesIt) {
    const LineSettings settings;
    const QString plc = "left";
    EXPECT_EQ(plain(outcomeText(failedWrite(WriteResult::Taken, 6, 0), settings, {}, plc)),
              "written: left/DM 100 (6 words)");
    EXPECT_TRUE(outcomeText(failedWrite(WriteResult::Unknown, 0, 2), settings, {}, plc)
                    .startsWith("writing left/DM 100 (2 words) failed"));
}

TEST(OutcomeText, refusedByTheMode_namesTheOptionThatAllowsItsChange) {
    LineSettings settings;
    WriteOutcome refused = failedWrite(WriteResult::Refused, 0, 0);
    refused.last.refusals = 3;
    refused.last.refused = true;
    refused.last.endCode = 0x2203;
    SettingNames names;
    names.allowModeChange = "--allow-mode-change";
    EXPECT_TRUE(outcomeText(refused, settings, names)
                    .endsWith("; --allow-mode-change allows the change to MONITOR mode"));
    settings.allowModeChange = true;
    EXPECT_FALSE(outcomeText(refused, settings, names).contains("--allow-mode-change"));
    settings.allowModeChange = false;
    refused.last.endCode = 0x2205;
    EXPECT_FALSE(outcomeText(refused, settings, names).contains("--allow-mode-change"));
}

TEST(OutcomeText, outcomes_oneLineEach) {
    const LineSettings settings;
    WriteOutcome taken = failedWrite(WriteResult::Taken, 6, 0);
    EXPECT_EQ(plain(outcomeText(taken, settings)), "written: DM 100 (6 words)");
    taken.modeSwitched = true;
    EXPECT_EQ(plain(outcomeText(taken, settings)),
              "written: DM 100 (6 words); for it the PLC was switched to MONITOR mode");
    WriteOutcome closed = failedWrite(WriteResult::NotReached, 0, 0);
    closed.last = RequestEnd();
    EXPECT_EQ(plain(outcomeText(closed, settings)), "not written: DM 100 (6 words)");
    closed.last.closed = true;
    EXPECT_EQ(plain(outcomeText(closed, settings)),
              "not written: DM 100 (6 words): not sent: the line was closed");
    closed.last = RequestEnd();
    closed.last.takenBack = true;
    EXPECT_EQ(plain(outcomeText(closed, settings)),
              "not written: DM 100 (6 words): not sent: the host has taken it back");
    const QString failed = outcomeText(failedWrite(WriteResult::Unknown, 2, 2), settings);
    EXPECT_TRUE(failed.startsWith("writing DM 102 (2 words) failed; written before that: DM 100 (2 "
                                  "words); perhaps written: DM 102 (2 words)"))
        << plain(failed);
}

TEST(OutcomeText, read_saysWhatOrWhyNot) {
    const LineSettings settings;
    ReadOutcome read;
    read.reg = "DM";
    read.address = 100;
    read.count = 600;
    read.ok = true;
    read.last.ok = true;
    EXPECT_EQ(plain(outcomeText(read, settings)), "read: DM 100 (600 words)");
    EXPECT_EQ(plain(outcomeText(read, settings, {}, "left")), "read: left/DM 100 (600 words)");
    read.ok = false;
    read.last = RequestEnd();
    read.last.closed = true;
    EXPECT_EQ(plain(outcomeText(read, settings)),
              "not read: DM 100 (600 words): not sent: the line was closed");
    read.last.closed = false;
    read.last.reg = "DM";
    read.last.address = 356;
    read.last.length = 256;
    read.last.tries = 3;
    read.last.refusals = 3;
    read.last.refused = true;
    read.last.endCode = 0x1103;
    EXPECT_EQ(plain(outcomeText(read, settings)),
              "reading DM 356 (256 words) failed: the PLC refused: end code 1103 address out of "
              "range (3 tries)");
}

/// Two named variables, of which the second did not come to lie in the PLC as it was sent.
RecipeOutcome download(RecipeResult result) {
    RecipeOutcome outcome;
    outcome.result = result;
    outcome.readBack = true;
    outcome.variables = {{"DM", 100, 1, {7}, "speed"}, {"DM", 101, 1, {8}, "level"}};
    outcome.blocks = {{"DM", 100, 2, RecipeBlock::Moved}};
    outcome.last.ok = true;
    return outcome;
}

TEST(OutcomeText, recipeThatIsDone_saysHowItEnded) {
    const LineSettings settings;
    RecipeOutcome outcome = download(RecipeResult::Done);
    EXPECT_EQ(plain(outcomeText(outcome, settings)),
              "downloaded: 2 variables, read back and equal");
    outcome.readBack = false;
    EXPECT_EQ(plain(outcomeText(outcome, settings, {}, "left")), "downloaded: left/2 variables");
    outcome.direction = RecipeDirection::Upload;
    outcome.variables.removeLast();
    outcome.modeSwitched = true;
    EXPECT_EQ(plain(outcomeText(outcome, settings)),
              "uploaded: 1 variable; for it the PLC was switched to MONITOR mode");
}

TEST(OutcomeText, recipeThatDiffers_namesTheVariables) {
    RecipeOutcome outcome = download(RecipeResult::Different);
    outcome.differences = {{"DM", 101, 8, 5, "level"}};
    EXPECT_EQ(plain(outcomeText(outcome, LineSettings())),
              "downloaded, but the PLC does not hold what was written: level (DM 101) holds 5 "
              "instead of 8; its program or another panel may write there too");
}

TEST(OutcomeText, moreThanFiveDifferences_areCounted) {
    RecipeOutcome outcome = download(RecipeResult::Different);
    for (int word = 0; word < 7; ++word) {
        outcome.differences.append({"DM", word, 1, 0, QString()});
    }
    const QString text = outcomeText(outcome, LineSettings());
    EXPECT_TRUE(
        text.contains(": DM 0 holds 0 instead of 1, DM 1 holds 0 instead of 1, DM 2 holds 0 "
                      "instead of 1, DM 3 holds 0 instead of 1, DM 4 holds 0 instead of 1 "
                      "and 2 more; "))
        << plain(text);
}

TEST(OutcomeText, downloadNotCompared_wasAcknowledged) {
    RecipeOutcome outcome = download(RecipeResult::NotVerified);
    outcome.last = RequestEnd();
    EXPECT_EQ(plain(outcomeText(outcome, LineSettings())),
              "the PLC has acknowledged every block of the download; what it holds was not "
              "compared");
}

TEST(OutcomeText, downloadRefusedInTheMiddle_saysWhatThePlcHolds) {
    RecipeOutcome outcome = download(RecipeResult::Refused);
    outcome.blocks = {{"DM", 100, 1, RecipeBlock::Moved}, {"DM", 101, 1, RecipeBlock::NotMoved}};
    outcome.last = RequestEnd();
    outcome.last.write = true;
    outcome.last.reg = "DM";
    outcome.last.address = 101;
    outcome.last.length = 1;
    outcome.last.tries = 1;
    outcome.last.refusals = 1;
    outcome.last.refused = true;
    outcome.last.endCode = 0x2203;
    const QString text = outcomeText(outcome, LineSettings());
    EXPECT_TRUE(text.startsWith("downloading DM 101 (1 word) failed; the PLC now holds a part of "
                                "the recipe: blocks written before that: 1; block by block: DM 100 "
                                "(speed) written; DM 101 (level) not written: the PLC refused: "))
        << plain(text);
    EXPECT_TRUE(text.endsWith("LineSettings::allowModeChange allows the change to MONITOR mode"))
        << plain(text);
}

TEST(OutcomeText, recipeGivenUpBeforeItBegan_saysNothingOfWords) {
    RecipeOutcome outcome = download(RecipeResult::GivenUp);
    outcome.blocks = {{"DM", 100, 2, RecipeBlock::NotMoved}};
    outcome.last = RequestEnd();
    EXPECT_EQ(plain(outcomeText(outcome, LineSettings())), "download of 2 variables given up");
    outcome.direction = RecipeDirection::Upload;
    EXPECT_EQ(plain(outcomeText(outcome, LineSettings(), {}, "left")),
              "upload of left/2 variables given up");
    outcome.last.closed = true;
    EXPECT_EQ(plain(outcomeText(outcome, LineSettings())),
              "upload of 2 variables given up: the line was closed");
}

TEST(RecipeBlocksText, manyNames_areCounted) {
    RecipeOutcome outcome;
    for (int word = 0; word < 7; ++word) {
        outcome.variables.append({"DM", word, 1, {}, QString("v%1").arg(word)});
    }
    outcome.variables.append({"HR", 3, 1, {}, "another register"});
    outcome.blocks = {{"DM", 0, 7, RecipeBlock::Moved}};
    EXPECT_EQ(plain(recipeBlocksText(outcome)),
              "DM 0 to 6 (v0, v1, v2, v3, v4 and 2 more) written");
}

TEST(RecipeVariable, ofATag_hasItsWordsAndItsName) {
    Tag tag{"speed", "DM", 101, ValueType::Float32, 2};
    const RecipeVariable variable = recipeVariable(tag, {1, 2, 3, 4});
    EXPECT_EQ(plain(variable.reg), "DM");
    EXPECT_EQ(variable.address, 101);
    EXPECT_EQ(variable.count, 4);
    EXPECT_EQ(variable.words, (Items{1, 2, 3, 4}));
    EXPECT_EQ(plain(variable.name), "speed");
}

} // namespace
