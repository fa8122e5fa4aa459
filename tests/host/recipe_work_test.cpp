// One recipe on its way, block by block.

#include "host/jobs/recipe_work.h"
#include "host/plain_text.h"

#include <gtest/gtest.h>

using namespace velkor_host;

namespace {

typedef RecipeWork::Next Next;

RecipeVariable variable(const char* reg, int address, const Items& words) {
    RecipeVariable out;
    out.reg = reg;
    out.address = address;
    out.count = static_cast<int>(words.size());
    out.words = words;
    return out;
}

RequestEnd block(const char* reg, int address, int length) {
    RequestEnd end;
    end.ok = true;
    end.write = true;
    end.reg = reg;
    end.address = address;
    end.length = length;
    end.tries = 1;
    end.endCode = 0;
    return end;
}

RequestEnd refusedBlock(const char* reg, int address, int length) {
    RequestEnd end = block(reg, address, length);
    end.ok = false;
    end.refusals = 1;
    end.refused = true;
    end.endCode = 0x2102;
    return end;
}

RequestEnd silentBlock(const char* reg, int address, int length) {
    RequestEnd end = block(reg, address, length);
    end.ok = false;
    end.tries = 3;
    end.silent = 3;
    end.endCode = -1;
    return end;
}

RequestEnd switchedBlock(const char* reg, int address, int length) {
    RequestEnd end = refusedBlock(reg, address, length);
    end.modeChange = true;
    end.modeChangeEnd = 0;
    return end;
}

/// DM 10 to 13, DM 20 to 21, HR 5: three blocks, given in another order.
QVector<RecipeVariable> threeBlocks() {
    return {variable("HR", 5, {50}), variable("DM", 20, {20, 21}),
            variable("DM", 10, {10, 11, 12, 13})};
}

class HostRecipe : public testing::Test {
protected:
    RecipeWork m_work{7, RecipeDirection::Download, threeBlocks(), false};
    std::vector<unsigned short> m_buffer = std::vector<unsigned short>(100, 0);
    Next ended(const RequestEnd& end, bool requested) {
        return m_work.blockEnded(end, requested, m_buffer);
    }
    std::string blocks() const { return plain(recipeBlocksText(m_work.outcome())); }
};

TEST_F(HostRecipe, layout_isBackToBackByRegisterAndAddress) {
    const QVector<_RCP_VAR_PRO> variables = m_work.driverVariables(3, 1, 64);
    ASSERT_EQ(variables.size(), 3);
    EXPECT_EQ(variables.at(0).addr, 10);
    EXPECT_EQ(variables.at(0).rcpOffset, 0);
    EXPECT_EQ(variables.at(1).addr, 20);
    EXPECT_EQ(variables.at(1).rcpOffset, 4);
    EXPECT_EQ(plain(variables.at(2).regName), "HR");
    EXPECT_EQ(variables.at(2).rcpOffset, 6);
    EXPECT_EQ(variables.at(2).hostTag, 3);
    m_work.fill(&m_buffer);
    EXPECT_EQ(std::vector<unsigned short>(m_buffer.begin(), m_buffer.begin() + 7),
              (std::vector<unsigned short>{10, 11, 12, 13, 20, 21, 50}));
}

TEST_F(HostRecipe, longVariable_isCutAtTheFrame) {
    const RecipeWork work(1, RecipeDirection::Download, {variable("DM", 0, Items(10, 1))}, false);
    const QVector<_RCP_VAR_PRO> variables = work.driverVariables(3, 1, 4);
    ASSERT_EQ(variables.size(), 3);
    EXPECT_EQ(variables.at(1).addr, 4);
    EXPECT_EQ(variables.at(1).rcpOffset, 4);
    EXPECT_EQ(variables.at(2).len, 2);
}

TEST_F(HostRecipe, everyBlockMoved_isDone) {
    EXPECT_EQ(ended(block("DM", 10, 4), true), Next::Block);
    EXPECT_EQ(m_work.progress().words, 4);
    EXPECT_EQ(ended(block("DM", 20, 2), true), Next::Block);
    EXPECT_EQ(ended(block("HR", 5, 1), false), Next::Ended);
    EXPECT_EQ(m_work.outcome().result, RecipeResult::Done);
    EXPECT_EQ(m_work.progress().words, 7);
    EXPECT_EQ(blocks(), "DM 10 to 13 written; DM 20 to 21 written; HR 5 written");
}

TEST_F(HostRecipe, refusedBlock_saysWhatThePlcHolds) {
    ended(block("DM", 10, 4), true);
    EXPECT_EQ(ended(refusedBlock("DM", 20, 2), false), Next::Ended);
    EXPECT_EQ(m_work.outcome().result, RecipeResult::Refused);
    EXPECT_EQ(blocks(), "DM 10 to 13 written; DM 20 to 21 not written; HR 5 not written");
}

TEST_F(HostRecipe, blockAtAClosedPort_isNotReached) {
    ended(block("DM", 10, 4), true);
    RequestEnd unreached = silentBlock("DM", 20, 2);
    unreached.unreached = 3;
    unreached.refusedPort = 3;
    EXPECT_EQ(ended(unreached, false), Next::Ended);
    EXPECT_EQ(m_work.outcome().result, RecipeResult::NotReached);
    EXPECT_EQ(blocks(), "DM 10 to 13 written; DM 20 to 21 not written; HR 5 not written");
}

TEST_F(HostRecipe, blockAtAPortThatClosesAfterOneTry_isUnknown) {
    RequestEnd half = silentBlock("DM", 10, 4);
    half.unreached = 2;
    half.refusedPort = 2;
    EXPECT_EQ(ended(half, false), Next::Ended);
    EXPECT_EQ(m_work.outcome().result, RecipeResult::Unknown);
}

TEST_F(HostRecipe, refusedAndOtherwiseNotReached_isRefused) {
    RequestEnd both = refusedBlock("DM", 10, 4);
    both.tries = 2;
    both.unreached = 1;
    EXPECT_EQ(ended(both, false), Next::Ended);
    EXPECT_EQ(m_work.outcome().result, RecipeResult::Refused);
}

TEST(HostRecipeOrder, registersAsTheDriverListsThem_areMovedAndListedSo) {
    RecipeWork work(7, RecipeDirection::Download, threeBlocks(), false, {"CIO", "HR", "DM"});
    EXPECT_EQ(plain(work.driverVariables(3, 1, 64).at(0).regName), "HR");
    std::vector<unsigned short> buffer(100, 0);
    work.blockEnded(refusedBlock("HR", 5, 1), false, buffer);
    EXPECT_EQ(plain(recipeBlocksText(work.outcome())),
              "HR 5 not written; DM 10 to 13 not written; DM 20 to 21 not written");
}

TEST(HostRecipeOrder, writtenBeforeTheModeWasSwitched_isListedInItsPlace) {
    RecipeWork work(7, RecipeDirection::Download, threeBlocks(), false, {"HR", "DM"});
    std::vector<unsigned short> buffer(100, 0);
    work.blockEnded(block("HR", 5, 1), true, buffer);
    EXPECT_EQ(work.blockEnded(switchedBlock("DM", 10, 4), false, buffer), Next::Start);
    work.giveUp();
    RequestEnd unsent = block("HR", 5, 1);
    unsent.ok = false;
    unsent.tries = 0;
    work.blockEnded(unsent, false, buffer);
    EXPECT_EQ(plain(recipeBlocksText(work.outcome())),
              "HR 5 written; DM 10 to 13 not written; DM 20 to 21 not written");
}

TEST_F(HostRecipe, silentBlock_isUnknown) {
    ended(block("DM", 10, 4), true);
    EXPECT_EQ(ended(silentBlock("DM", 20, 2), false), Next::Ended);
    EXPECT_EQ(m_work.outcome().result, RecipeResult::Unknown);
    EXPECT_EQ(blocks(), "DM 10 to 13 written; DM 20 to 21 not known, it may have been written; "
                        "HR 5 not written");
}

TEST_F(HostRecipe, givenUp_saysWhatThePlcHolds) {
    ended(block("DM", 10, 4), true);
    m_work.giveUp();
    RequestEnd unsent = silentBlock("DM", 20, 2);
    unsent.tries = 0;
    unsent.silent = 0;
    EXPECT_EQ(ended(unsent, false), Next::Ended);
    EXPECT_EQ(m_work.outcome().result, RecipeResult::GivenUp);
    EXPECT_EQ(blocks(), "DM 10 to 13 written; DM 20 to 21 not written; HR 5 not written");
}

TEST_F(HostRecipe, givenUpButTheLastBlockIsMoved_isDone) {
    ended(block("DM", 10, 4), true);
    ended(block("DM", 20, 2), true);
    m_work.giveUp();
    EXPECT_EQ(ended(block("HR", 5, 1), false), Next::Ended);
    EXPECT_EQ(m_work.outcome().result, RecipeResult::Done);
}

TEST_F(HostRecipe, endedEarlyByTheDriver_isNotDoneAndNamesNoBlockOfNothing) {
    ended(block("DM", 10, 4), true);
    EXPECT_EQ(ended(RequestEnd(), false), Next::Ended);
    EXPECT_EQ(m_work.outcome().result, RecipeResult::Unknown);
    EXPECT_EQ(blocks(), "DM 10 to 13 written; DM 20 to 21 not written; HR 5 not written");
}

TEST_F(HostRecipe, modeSwitched_beginsOnceMore) {
    EXPECT_EQ(ended(switchedBlock("DM", 10, 4), false), Next::Start);
    EXPECT_TRUE(m_work.download());
    ended(block("DM", 10, 4), true);
    ended(block("DM", 20, 2), true);
    ended(block("HR", 5, 1), false);
    EXPECT_EQ(m_work.outcome().result, RecipeResult::Done);
    EXPECT_TRUE(m_work.outcome().modeSwitched);
}

TEST_F(HostRecipe, modeSwitchedTwice_isRefused) {
    ended(switchedBlock("DM", 10, 4), false);
    EXPECT_EQ(ended(switchedBlock("DM", 10, 4), false), Next::Ended);
    EXPECT_EQ(m_work.outcome().result, RecipeResult::Refused);
}

TEST_F(HostRecipe, givenUpAfterTheSwitch_stillNamesWhatHadBeenWrittenBefore) {
    ended(block("DM", 10, 4), true);
    EXPECT_EQ(ended(switchedBlock("DM", 20, 2), false), Next::Start);
    m_work.giveUp();
    RequestEnd unsent = block("DM", 10, 4);
    unsent.ok = false;
    unsent.tries = 0;
    EXPECT_EQ(ended(unsent, false), Next::Ended);
    EXPECT_EQ(m_work.outcome().result, RecipeResult::GivenUp);
    EXPECT_EQ(blocks(), "DM 10 to 13 written; DM 20 to 21 not written; HR 5 not written");
}

TEST_F(HostRecipe, refusedAfterTheSwitch_isSaid) {
    EXPECT_EQ(ended(switchedBlock("DM", 10, 4), false), Next::Start);
    EXPECT_FALSE(m_work.outcome().last.refusedAfterModeChange);
    EXPECT_EQ(ended(switchedBlock("DM", 10, 4), false), Next::Ended);
    EXPECT_TRUE(m_work.outcome().last.refusedAfterModeChange);
}

TEST_F(HostRecipe, silentAfterTheSwitch_stillHoldsWhatHadBeenWrittenBefore) {
    // The same words once more: whether they arrived or not, the PLC holds them.
    ended(block("DM", 10, 4), true);
    ended(switchedBlock("DM", 20, 2), false);
    EXPECT_EQ(ended(silentBlock("DM", 10, 4), false), Next::Ended);
    EXPECT_EQ(m_work.outcome().result, RecipeResult::Unknown);
    EXPECT_EQ(blocks(), "DM 10 to 13 written; DM 20 to 21 not written; HR 5 not written");
}

TEST_F(HostRecipe, cancelledBehindAMovedBlock_hasNoEndOfThatBlockForItsLast) {
    ended(block("DM", 10, 4), true);
    m_work.cancel();
    EXPECT_EQ(m_work.outcome().result, RecipeResult::GivenUp);
    EXPECT_FALSE(m_work.outcome().last.ok);
    EXPECT_EQ(m_work.outcome().last.tries, 0);
    EXPECT_FALSE(m_work.outcome().last.closed);
}

TEST_F(HostRecipe, closedBehindAMovedBlock_saysThatTheLineWasClosed) {
    ended(block("DM", 10, 4), true);
    m_work.close(std::nullopt);
    EXPECT_EQ(m_work.outcome().result, RecipeResult::GivenUp);
    EXPECT_FALSE(m_work.outcome().last.ok);
    EXPECT_EQ(m_work.outcome().last.tries, 0);
    EXPECT_TRUE(m_work.outcome().last.closed);
}

TEST_F(HostRecipe, closedWithABlockInFlight_isGivenUpWithThatBlockUnknown) {
    ended(block("DM", 10, 4), true);
    RequestEnd underWay = block("DM", 20, 2);
    underWay.ok = false;
    m_work.close(underWay);
    EXPECT_EQ(m_work.outcome().result, RecipeResult::GivenUp);
    EXPECT_TRUE(m_work.outcome().last.closed);
    EXPECT_EQ(m_work.outcome().last.tries, 1);
    EXPECT_EQ(blocks(), "DM 10 to 13 written; DM 20 to 21 not known, it may have been written; "
                        "HR 5 not written");
}

TEST(HostRecipeReadBack, equal_isDone) {
    RecipeWork work(1, RecipeDirection::Download, {variable("DM", 10, {1, 2})}, true);
    std::vector<unsigned short> buffer(10, 0);
    work.fill(&buffer);
    EXPECT_EQ(work.blockEnded(block("DM", 10, 2), false, buffer), Next::Start);
    EXPECT_FALSE(work.download());
    EXPECT_EQ(work.blockEnded(block("DM", 10, 2), false, buffer), Next::Ended);
    EXPECT_EQ(work.outcome().result, RecipeResult::Done);
    EXPECT_TRUE(work.outcome().differences.isEmpty());
    EXPECT_EQ(plain(recipeBlocksText(work.outcome())), "DM 10 to 11 written");
}

TEST(HostRecipeReadBack, different_namesEachWord) {
    RecipeWork work(1, RecipeDirection::Download,
                    {variable("HR", 3, {9}), variable("DM", 10, {1, 2})}, true);
    std::vector<unsigned short> buffer(10, 0);
    work.fill(&buffer);
    work.blockEnded(block("DM", 10, 2), true, buffer);
    work.blockEnded(block("HR", 3, 1), false, buffer);
    buffer[1] = 77;
    work.blockEnded(block("DM", 10, 2), true, buffer);
    EXPECT_EQ(work.blockEnded(block("HR", 3, 1), false, buffer), Next::Ended);
    EXPECT_EQ(work.outcome().result, RecipeResult::Different);
    ASSERT_EQ(work.outcome().differences.size(), 1);
    EXPECT_EQ(work.outcome().differences.first().address, 11);
    EXPECT_EQ(work.outcome().differences.first().wanted, 2);
    EXPECT_EQ(work.outcome().differences.first().found, 77);
    EXPECT_EQ(work.outcome().variables.at(1).words, (Items{1, 2})); // what the host gave
}

TEST(HostRecipeReadBack, failed_isNotVerifiedAndTheBlocksAreThoseWritten) {
    RecipeWork work(1, RecipeDirection::Download, {variable("DM", 10, {1, 2})}, true);
    std::vector<unsigned short> buffer(10, 0);
    work.blockEnded(block("DM", 10, 2), false, buffer);
    EXPECT_EQ(work.blockEnded(silentBlock("DM", 10, 2), false, buffer), Next::Ended);
    EXPECT_EQ(work.outcome().result, RecipeResult::NotVerified);
    EXPECT_EQ(plain(recipeBlocksText(work.outcome())), "DM 10 to 11 written");
}

TEST(HostRecipeUpload, done_givesTheWordsInTheHostsOrder) {
    QVector<RecipeVariable> wanted = threeBlocks();
    for (RecipeVariable& one : wanted) {
        one.words.clear();
    }
    RecipeWork work(1, RecipeDirection::Upload, wanted, false);
    const std::vector<unsigned short> buffer{1, 2, 3, 4, 5, 6, 7};
    work.blockEnded(block("DM", 10, 4), true, buffer);
    work.blockEnded(block("DM", 20, 2), true, buffer);
    EXPECT_EQ(work.blockEnded(block("HR", 5, 1), false, buffer), Next::Ended);
    EXPECT_EQ(work.outcome().variables.at(0).words, Items{7});
    EXPECT_EQ(work.outcome().variables.at(1).words, (Items{5, 6}));
    EXPECT_EQ(work.outcome().variables.at(2).words, (Items{1, 2, 3, 4}));
}

TEST(ResultNames, everyResult_hasAName) {
    EXPECT_EQ(plain(writeResultName(WriteResult::Taken)), "taken");
    EXPECT_EQ(plain(writeResultName(WriteResult::Refused)), "refused");
    EXPECT_EQ(plain(writeResultName(WriteResult::Unknown)), "unknown");
    EXPECT_EQ(plain(writeResultName(WriteResult::NotReached)), "not reached");
    EXPECT_EQ(plain(recipeResultName(RecipeResult::Done)), "done");
    EXPECT_EQ(plain(recipeResultName(RecipeResult::Refused)), "refused");
    EXPECT_EQ(plain(recipeResultName(RecipeResult::Unknown)), "unknown");
    EXPECT_EQ(plain(recipeResultName(RecipeResult::NotReached)), "not reached");
    EXPECT_EQ(plain(recipeResultName(RecipeResult::Different)), "different");
    EXPECT_EQ(plain(recipeResultName(RecipeResult::NotVerified)), "not verified");
    EXPECT_EQ(plain(recipeResultName(RecipeResult::GivenUp)), "given up");
}

TEST(HostRecipeFault, wrongVariables_areNamed) {
    EXPECT_EQ(plain(RecipeWork::fault({}, RecipeDirection::Upload, 10)),
              "the recipe has no variables");
    RecipeVariable few = variable("DM", 5, {1});
    few.count = 2;
    EXPECT_EQ(plain(RecipeWork::fault({few}, RecipeDirection::Download, 10)),
              "DM 5 has 1 words of values; right is its count, 2");
    EXPECT_EQ(plain(RecipeWork::fault({few}, RecipeDirection::Upload, 10)), "");
    EXPECT_EQ(
        plain(RecipeWork::fault({variable("DM", 5, Items(11, 0))}, RecipeDirection::Download, 10)),
        "the recipe has 11 words; right is at most 10");
    EXPECT_NE(plain(RecipeWork::fault({variable("DM", 5, {1, 2}), variable("DM", 6, {1})},
                                      RecipeDirection::Download, 10)),
              "");
    EXPECT_EQ(plain(RecipeWork::fault({variable("DM", 5, {1, 2}), variable("HR", 6, {1})},
                                      RecipeDirection::Download, 10)),
              "");
}

} // namespace
