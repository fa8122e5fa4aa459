/// Recipes of three blocks, there and back.

#include "loop/loop_fixture.h"

#include <algorithm>

namespace {

class RecipeLoop : public LoopFixture {
protected:
    RecipeLoop() {
        recipe({recipeVariable("DM", 100, 40, 0), recipeVariable("DM", 140, 10, 40),
                recipeVariable("DM", 150, 40, 50), recipeVariable("HR", 20, 3, 90)});
        for (std::size_t i = 0; i < 93; ++i) {
            recipeBuffer[i] = static_cast<unsigned short>(0x2000 + i);
        }
    }

    void expectPlcHasTheRecipe() {
        for (int i = 0; i < 90; ++i) {
            ASSERT_EQ(0x2000 + i, plcWord(plc::Area::Dm, 100 + i)) << i;
        }
        for (int i = 0; i < 3; ++i) {
            ASSERT_EQ(0x2000 + 90 + i, plcWord(plc::Area::Holding, 20 + i)) << i;
        }
    }
};

TEST_F(RecipeLoop, download_threeBlocks_arriveAndTheByteIsCleared) {
    hostBlock[60115] = 1;
    goodTurns(3);
    EXPECT_EQ(0, hostBlock[60115]);
    EXPECT_EQ(-1, turn());
    expectPlcHasTheRecipe();
}

TEST_F(RecipeLoop, upload_threeBlocks_fillTheBufferAndTheByteIsCleared) {
    for (int i = 0; i < 90; ++i) {
        setPlcWord(plc::Area::Dm, 100 + i, 0x7000 + i);
    }
    setPlcWord(plc::Area::Holding, 22, 0x1234);
    hostBlock[60116] = 1;
    goodTurns(3);
    EXPECT_EQ(0, hostBlock[60116]);
    for (std::size_t i = 0; i < 90; ++i) {
        ASSERT_EQ(0x7000 + i, recipeBuffer[i]);
    }
    EXPECT_EQ(0, recipeBuffer[90]);
    EXPECT_EQ(0x1234, recipeBuffer[92]);
    EXPECT_EQ(93U, takeNotices().size());
}

TEST_F(RecipeLoop, downloadThenUpload_giveBackWhatWasSent) {
    const std::vector<unsigned short> sent = recipeBuffer;
    hostBlock[60115] = 1;
    goodTurns(3);
    std::fill(recipeBuffer.begin(), recipeBuffer.end(), static_cast<unsigned short>(0));
    hostBlock[60116] = 1;
    goodTurns(3);
    EXPECT_EQ(sent, recipeBuffer);
}

TEST_F(RecipeLoop, bothAskedFor_downloadGoesFirst) {
    hostBlock[60115] = 1;
    hostBlock[60116] = 1;
    goodTurns(6);
    EXPECT_EQ(-1, turn());
    expectPlcHasTheRecipe();
    EXPECT_EQ(0x2000, recipeBuffer[0]);
}

TEST_F(RecipeLoop, transferDuringPolling_goesFirstAndPollingGoesOn) {
    setPlcWord(plc::Area::Cio, 5, 0x0505);
    poll({{"CIO", 5, 1}});
    writeWords("WR", 1, {0x0101});
    hostBlock[60115] = 1;
    goodTurns(3);
    expectPlcHasTheRecipe();
    EXPECT_EQ(0, hostWord("CIO", 5));
    goodTurns(2);
    EXPECT_EQ(0x0101, plcWord(plc::Area::Work, 1));
    EXPECT_EQ(0x0505, hostWord("CIO", 5));
}

TEST_F(RecipeLoop, plcFallsSilentInTheMiddle_transferEndsAndCanBeAskedForAgain) {
    hostBlock[60115] = 1;
    goodTurns(1);
    EXPECT_EQ(8, silentTurn());
    EXPECT_EQ(8, silentTurn());
    EXPECT_EQ(2, silentTurn());
    EXPECT_EQ(0, hostBlock[60115]);
    EXPECT_EQ(4, statusBlock[122022]);
    EXPECT_EQ(-1, turn());
    hostBlock[60115] = 1;
    goodTurns(3);
    EXPECT_EQ(0, hostBlock[60115]);
    expectPlcHasTheRecipe();
}

TEST_F(RecipeLoop, oneReplyLost_blockIsSentAgainAndTheTransferGoesOn) {
    hostBlock[60115] = 1;
    goodTurns(1);
    EXPECT_EQ(8, silentTurn());
    goodTurns(2);
    EXPECT_EQ(0, hostBlock[60115]);
    expectPlcHasTheRecipe();
}

} // namespace
