#include "panel/commands/outcome_text.h"

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
