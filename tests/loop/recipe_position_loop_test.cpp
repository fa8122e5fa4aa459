/// The position of a recipe transfer: what it survives, what that does to a machine, and the one
/// way of giving a transfer up.

#include "loop/loop_fixture.h"

namespace {

using Blocks = std::vector<std::string>;

class RecipePositionLoop : public LoopFixture {
protected:
    /// Five blocks of one word: DM 0, 100, 200, 300 and 400.
    RecipePositionLoop() {
        fiveBlocks();
        for (std::size_t i = 0; i < 5; ++i) {
            recipeBuffer[i] = static_cast<unsigned short>(0x0A01 + i);
        }
    }

    void fiveBlocks() {
        recipe({recipeVariable("DM", 0, 1, 0), recipeVariable("DM", 100, 1, 1),
                recipeVariable("DM", 200, 1, 2), recipeVariable("DM", 300, 1, 3),
                recipeVariable("DM", 400, 1, 4)});
    }

    /// Turns until the request byte is 0 again; each block as "write 200" or "read 200".
    Blocks transfer(std::size_t requestByte) {
        Blocks blocks;
        while (hostBlock[requestByte] == 1 && blocks.size() < 20) {
            EXPECT_EQ(1, turn());
            blocks.push_back((out.frame[11] == 2 ? "write " : "read ") +
                             std::to_string(out.var.addr));
        }
        return blocks;
    }

    Blocks download() {
        hostBlock[60115] = 1;
        return transfer(60115);
    }

    /// A download of which two of the five blocks have been sent and answered.
    void twoBlocksSent() {
        hostBlock[60115] = 1;
        goodTurns(2);
        takeNotices();
    }

    const Blocks all = {"write 0", "write 100", "write 200", "write 300", "write 400"};
    const Blocks lastThree = {"write 200", "write 300", "write 400"};
};

TEST_F(RecipePositionLoop, boundAgainInMidTransfer_nextDownloadMovesTheLastThreeAndSaysNothing) {
    twoBlocksSent();
    hostBlock[60115] = 0;
    init(3, 64);
    for (std::size_t i = 0; i < 5; ++i) {
        recipeBuffer[i] = static_cast<unsigned short>(0x0B01 + i); // another recipe
    }
    EXPECT_EQ(lastThree, download());
    EXPECT_EQ(0, hostBlock[60115]);
    EXPECT_TRUE(takeNotices().empty());
    EXPECT_EQ(0xEE, statusBlock[122022]) << "no failure was reported";
    EXPECT_EQ(0x0A01, plcWord(plc::Area::Dm, 0)) << "half of the one recipe";
    EXPECT_EQ(0x0B03, plcWord(plc::Area::Dm, 200)) << "and half of the other";
    EXPECT_EQ(all, download()) << "only a transfer that has ended puts the position back";
}

TEST_F(RecipePositionLoop, byteClearedByTheHost_nextDownloadGoesOnWhereTheFirstStood) {
    twoBlocksSent();
    hostBlock[60115] = 0;
    EXPECT_EQ(-1, turn());
    EXPECT_EQ(lastThree, download());
}

TEST_F(RecipePositionLoop, downloadChangedToAnUpload_uploadBeginsAtTheThirdBlock) {
    twoBlocksSent();
    hostBlock[60115] = 0;
    hostBlock[60116] = 1;
    EXPECT_EQ((Blocks{"read 200", "read 300", "read 400"}), transfer(60116));
    EXPECT_EQ(0x0A01, recipeBuffer[0]) << "never uploaded";
}

TEST_F(RecipePositionLoop, variablesReplacedInMidTransfer_newOnesAreMovedFromTheThirdBlockOn) {
    twoBlocksSent();
    recipe({recipeVariable("HR", 0, 1, 0), recipeVariable("HR", 100, 1, 1),
            recipeVariable("HR", 200, 1, 2)});
    EXPECT_EQ((Blocks{"write 200"}), transfer(60115));
    EXPECT_EQ(0, plcWord(plc::Area::Holding, 0));
    EXPECT_EQ(0x0A03, plcWord(plc::Area::Holding, 200));
}

TEST_F(RecipePositionLoop, replacedByFewerBlocksThanWereMoved_lastFrameGoesOutAgainAndThatIsAll) {
    twoBlocksSent();
    recipe({recipeVariable("HR", 0, 1, 0)});
    EXPECT_EQ((Blocks{"write 100"}), transfer(60115)) << "a block of the recipe before";
    EXPECT_EQ(0, plcWord(plc::Area::Holding, 0));
    EXPECT_TRUE(takeNotices().empty());
}

TEST_F(RecipePositionLoop,
       emptyRepliesUntilTheRequestFails_transferEndsAndTheNextBeginsAtTheFirst) {
    twoBlocksSent();
    EXPECT_EQ(8, silentTurn());
    EXPECT_EQ(8, silentTurn());
    EXPECT_EQ(2, silentTurn());
    EXPECT_EQ("0,1,200,DM", message);
    EXPECT_EQ(0, hostBlock[60115]);
    EXPECT_EQ(all, download());
}

TEST_F(RecipePositionLoop, blockRefused_byteIsClearedAsAfterASuccess) {
    twoBlocksSent();
    plc.forceEndCode(0x2101, 1);
    EXPECT_EQ(lastThree, transfer(60115));
    EXPECT_EQ(0, hostBlock[60115]);
    EXPECT_TRUE(takeNotices().empty());
    EXPECT_EQ(0, plcWord(plc::Area::Dm, 200)) << "refused, and told by nobody but its end code";
    EXPECT_EQ(0x0A04, plcWord(plc::Area::Dm, 300));
}

TEST_F(RecipePositionLoop, byteSetWhileAReadIsOnItsWay_readIsAnsweredFirst) {
    poll({{"CIO", 5, 1}});
    ASSERT_TRUE(ask());
    hostBlock[60115] = 1;
    EXPECT_EQ(1, reply(askPlc()));
    EXPECT_EQ("CIO", out.var.regName.toStdString());
    EXPECT_EQ(all, transfer(60115));
}

TEST_F(RecipePositionLoop, frameOfARecipe_carriesTheTypeOfTheRequestBefore) {
    poll({{"CIO", 5, 1}});
    goodTurns(1);
    EXPECT_EQ(4, out.var.type) << "of cyclic reads";
    hostBlock[60115] = 1;
    goodTurns(1);
    EXPECT_EQ(2, out.frame[11]);
    EXPECT_EQ(4, out.var.type) << "a recipe block that looks like a cyclic read";
}

/// A download is asked for, and there are no blocks.
class NoRecipeLoop : public LoopFixture {};

TEST_F(NoRecipeLoop, nothingSentBefore_byteStays1AndNothingGoesOutAnyMore) {
    poll({{"DM", 0, 1}});
    writeWords("DM", 0, {1});
    hostBlock[60115] = 1;
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(-1, turn());
    }
    EXPECT_EQ(1, hostBlock[60115]);
    hostBlock[60115] = 0;
    goodTurns(2);
}

TEST_F(NoRecipeLoop, variablesOfAnotherHostTag_areNone) {
    _RCP_VAR_PRO other = recipeVariable("DM", 0, 1, 0);
    other.hostTag = 8;
    recipe({other});
    hostBlock[60115] = 1;
    EXPECT_EQ(-1, turn());
    EXPECT_EQ(1, hostBlock[60115]);
}

TEST_F(NoRecipeLoop, afterAWrite_thatWriteIsRepeatedAndWaitingOnesAreLostAsIfTheyWereDone) {
    writeWords("DM", 0, {1});
    goodTurns(1);
    writeWords("DM", 10, {2});
    hostBlock[60115] = 1;
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(1, turn());
        ASSERT_EQ(0, out.var.addr);
    }
    EXPECT_EQ(101U, plc.counters().commands);
    EXPECT_EQ(1, hostBlock[60115]);
    hostBlock[60115] = 0;
    EXPECT_EQ(-1, turn()) << "the second write no longer waits";
    EXPECT_EQ(2, hostWord("DM", 10));
    EXPECT_EQ(0, plcWord(plc::Area::Dm, 10));
}

} // namespace
