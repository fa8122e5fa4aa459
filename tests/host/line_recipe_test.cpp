// Recipes over the loaded driver: each datagram goes wrong once, and the next recipe is whole.

#include "host/simulated_line.h"

#include <algorithm>
#include <random>

using namespace velkor_host;

namespace {

/// Four blocks of 64 words a frame: DM 100 to 163, DM 164 to 199, DM 300 to 301, HR 20 to 22.
QVector<RecipeVariable> fourBlocks(int first = 1000) {
    return {variable("HR", 20, counting(3, first + 500)), variable("DM", 100, counting(100, first)),
            variable("DM", 300, counting(2, first + 400))};
}

bool plcHolds(const SimulatedLine& line, const QVector<RecipeVariable>& recipe) {
    for (const RecipeVariable& one : recipe) {
        const plc::Area area = one.reg == QLatin1String("DM") ? plc::Area::Dm : plc::Area::Holding;
        for (int word = 0; word < one.count; ++word) {
            if (line.machine.core.memory().word(
                    area, static_cast<std::uint32_t>(one.address + word)) != one.words.at(word)) {
                return false;
            }
        }
    }
    return true;
}

/// Words that the outcome says the PLC holds must be held by it; words "not written" must not.
void expectBlocksAreTrue(const SimulatedLine& line, const RecipeOutcome& outcome) {
    int words = 0;
    for (const RecipeBlock& block : outcome.blocks) {
        words += block.length;
        const plc::Area area =
            block.reg == QLatin1String("DM") ? plc::Area::Dm : plc::Area::Holding;
        for (int word = block.address; word < block.address + block.length; ++word) {
            const bool held =
                line.machine.core.memory().word(area, static_cast<std::uint32_t>(word)) != 0;
            if (block.state != RecipeBlock::Unknown) {
                EXPECT_EQ(held, block.state == RecipeBlock::Moved)
                    << block.reg.toStdString() << word;
            }
        }
    }
    int wanted = 0;
    for (const RecipeVariable& one : outcome.variables) {
        wanted += one.count;
    }
    EXPECT_EQ(words, wanted);
}

void expectTheNextRecipeIsWhole(SimulatedLine* line) {
    line->fate = nullptr;
    line->machine.refusals.clear();
    const QVector<RecipeVariable> next = fourBlocks(5000);
    line->recipes.clear();
    line->download(next);
    ASSERT_TRUE(line->settle());
    ASSERT_EQ(line->recipes.size(), 1U);
    EXPECT_EQ(line->recipes.at(0).result, RecipeResult::Done);
    EXPECT_EQ(line->recipes.at(0).blocks.size(), 4);
    EXPECT_TRUE(plcHolds(*line, next));
}

TEST(LineRecipe, download_standsInThePlcWithItsProgress) {
    SimulatedLine line(lineSettings());
    const quint64 id = line.download(fourBlocks());
    ASSERT_TRUE(line.settle());
    ASSERT_EQ(line.recipes.size(), 1U);
    EXPECT_EQ(line.recipes.at(0).id, id);
    EXPECT_EQ(line.recipes.at(0).result, RecipeResult::Done);
    EXPECT_TRUE(plcHolds(line, fourBlocks()));
    ASSERT_EQ(line.progress.size(), 4U);
    EXPECT_EQ(line.progress.back().words, 105);
    EXPECT_EQ(line.progress.back().ofWords, 105);
    EXPECT_EQ(recipeBlocksText(line.recipes.at(0)).toStdString(),
              "HR 20 to 22 written; DM 100 to 163 written; DM 164 to 199 written; "
              "DM 300 to 301 written");
}

TEST(LineRecipe, progressOfADownloadThatIsReadBack_risesOnceInEachPhase) {
    SimulatedLine line(lineSettings());
    line.download(fourBlocks(), true);
    ASSERT_TRUE(line.settle());
    std::vector<int> written;
    std::vector<int> compared;
    for (const RecipeProgress& progress : line.progress) {
        EXPECT_EQ(progress.id, line.recipes.at(0).id);
        EXPECT_EQ(progress.ofWords, 105);
        EXPECT_TRUE(progress.phase == RecipePhase::Compare || compared.empty());
        (progress.phase == RecipePhase::Transfer ? written : compared).push_back(progress.words);
    }
    EXPECT_EQ(written, (std::vector<int>{3, 67, 103, 105}));
    ASSERT_FALSE(compared.empty());
    EXPECT_TRUE(std::is_sorted(compared.begin(), compared.end()));
    EXPECT_EQ(compared.back(), 105);
}

TEST(LineRecipe, blockThatIsRefused_isNoProgress) {
    SimulatedLine line(lineSettings());
    line.machine.refusals.push_back({0x82, 300, 301, 0x1103});
    line.download(fourBlocks());
    ASSERT_TRUE(line.settle());
    ASSERT_EQ(line.progress.size(), 3U);
    EXPECT_EQ(line.progress.back().words, 103);
}

TEST(LineRecipe, upload_givesWhatThePlcHolds) {
    SimulatedLine line(lineSettings());
    line.download(fourBlocks());
    ASSERT_TRUE(line.settle());
    QVector<RecipeVariable> wanted = fourBlocks();
    for (RecipeVariable& one : wanted) {
        one.words.clear();
    }
    line.upload(wanted);
    ASSERT_TRUE(line.settle());
    ASSERT_EQ(line.recipes.size(), 2U);
    EXPECT_EQ(line.recipes.at(1).result, RecipeResult::Done);
    for (int index = 0; index < 3; ++index) {
        EXPECT_EQ(line.recipes.at(1).variables.at(index).words, fourBlocks().at(index).words);
    }
}

TEST(LineRecipe, neighboursOfAnyShape_arriveInTheirPlaces) {
    std::mt19937 random(3);
    for (int round = 0; round < 30; ++round) {
        LineSettings settings = lineSettings();
        settings.wordsPerFrame = 1 + static_cast<int>(random() % 20);
        SimulatedLine line(settings);
        QVector<RecipeVariable> recipe;
        int address = 0;
        for (int index = 0; index < 8; ++index) {
            address += static_cast<int>(random() % 3);
            const int count = 1 + static_cast<int>(random() % 30);
            recipe.append(variable("DM", address, counting(count, 100 * (index + 1))));
            address += count;
        }
        std::shuffle(recipe.begin(), recipe.end(), random);
        line.download(recipe, true);
        ASSERT_TRUE(line.settle());
        EXPECT_EQ(line.recipes.at(0).result, RecipeResult::Done) << round;
        EXPECT_TRUE(plcHolds(line, recipe)) << round;
        int words = 0;
        for (const RecipeVariable& one : recipe) {
            words += one.count;
        }
        int written = 0;
        for (const Machine::Write& write : line.machine.writes) {
            written += static_cast<int>(write.values.size());
        }
        EXPECT_EQ(written, words) << round; // nothing between the variables
    }
}

TEST(LineRecipe, oneAfterTheOther_areDoneInOrder) {
    SimulatedLine line(lineSettings());
    line.setTags({tagAt("DM", 100)});
    line.download({variable("DM", 0, {1, 2})});
    line.write("DM", 0, {9});
    line.upload({variable("DM", 0, {0, 0})});
    ASSERT_TRUE(line.settle());
    ASSERT_EQ(line.recipes.size(), 2U);
    EXPECT_EQ(line.recipes.at(1).variables.at(0).words, (Items{9, 2}));
}

/// The frame that goes wrong, of a recipe of four blocks; and the first one behind it.
class FrameOfARecipe : public testing::TestWithParam<int> {
protected:
    void once(const Fate& fate) {
        m_line.fate = [fate](const QByteArray&, int number) {
            return number == GetParam() ? fate : Fate();
        };
    }
    SimulatedLine m_line{lineSettings()};
};

TEST_P(FrameOfARecipe, lostDoubledLateOrCutOnce_theRecipeIsDone) {
    for (int kind = 0; kind < 5; ++kind) {
        SimulatedLine line(lineSettings());
        Fate wrong;
        wrong.loseRequest = kind == 0;
        wrong.loseReply = kind == 1;
        wrong.replies = kind == 2 ? 2 : 1;
        wrong.replyDelay = kind == 3 ? 70000 : 0;
        wrong.cutReplyTo = kind == 4 ? 12 : -1;
        line.fate = [wrong](const QByteArray&, int number) {
            return number == GetParam() ? wrong : Fate();
        };
        line.download(fourBlocks(), true);
        ASSERT_TRUE(line.settle());
        ASSERT_EQ(line.recipes.size(), 1U);
        EXPECT_EQ(line.recipes.at(0).result, RecipeResult::Done) << kind;
        EXPECT_TRUE(plcHolds(line, fourBlocks())) << kind;
        expectTheNextRecipeIsWhole(&line);
    }
}

TEST_P(FrameOfARecipe, noAnswerFromThereOn_isToldTruly) {
    m_line.fate = [](const QByteArray&, int number) {
        Fate fate;
        fate.loseReply = number >= GetParam();
        return fate;
    };
    m_line.download(fourBlocks());
    ASSERT_TRUE(m_line.settle());
    const RecipeOutcome outcome = m_line.recipes.at(0);
    EXPECT_EQ(outcome.result, GetParam() <= 4 ? RecipeResult::Unknown : RecipeResult::Done);
    expectBlocksAreTrue(m_line, outcome);
    expectTheNextRecipeIsWhole(&m_line);
}

TEST_P(FrameOfARecipe, refusedFromThereOn_isToldTruly) {
    m_line.fate = [](const QByteArray&, int number) {
        Fate fate;
        fate.endCode = number >= GetParam() ? 0x2102 : 0;
        return fate;
    };
    m_line.download(fourBlocks());
    ASSERT_TRUE(m_line.settle());
    const RecipeOutcome outcome = m_line.recipes.at(0);
    EXPECT_EQ(outcome.result, GetParam() <= 4 ? RecipeResult::Refused : RecipeResult::Done);
    expectBlocksAreTrue(m_line, outcome);
    expectTheNextRecipeIsWhole(&m_line);
}

TEST_P(FrameOfARecipe, uploadRefusedOrSilentFromThereOn_isNotDone) {
    for (const bool refused : {true, false}) {
        SimulatedLine line(lineSettings());
        line.fate = [refused](const QByteArray&, int number) {
            Fate fate;
            fate.endCode = refused && number >= GetParam() ? 0x1103 : 0;
            fate.loseReply = !refused && number >= GetParam();
            return fate;
        };
        line.upload(fourBlocks());
        ASSERT_TRUE(line.settle());
        if (GetParam() <= 4) {
            EXPECT_EQ(line.recipes.at(0).result,
                      refused ? RecipeResult::Refused : RecipeResult::Unknown);
        }
        expectTheNextRecipeIsWhole(&line);
    }
}

TEST_P(FrameOfARecipe, givenUpWithThatFrameInFlight_waitsForItAndNoMore) {
    const quint64 id = m_line.download(fourBlocks());
    ASSERT_TRUE(m_line.runUntil([&] {
        return static_cast<int>(m_line.frames.size()) >= GetParam() || m_line.core->pending() == 0;
    }));
    m_line.core->giveUpRecipe(id);
    ASSERT_TRUE(m_line.settle());
    ASSERT_EQ(m_line.recipes.size(), 1U);
    const RecipeOutcome outcome = m_line.recipes.at(0);
    EXPECT_EQ(outcome.result, GetParam() < 4 ? RecipeResult::GivenUp : RecipeResult::Done);
    EXPECT_EQ(m_line.frames.size(), static_cast<std::size_t>(std::min(GetParam(), 4)));
    expectBlocksAreTrue(m_line, outcome);
    expectTheNextRecipeIsWhole(&m_line);
}

TEST_P(FrameOfARecipe, givenUpWithThatFrameUnanswered_saysThatItIsNotKnown) {
    m_line.fate = [](const QByteArray&, int number) {
        Fate fate;
        fate.loseReply = number >= GetParam();
        return fate;
    };
    const quint64 id = m_line.download(fourBlocks());
    ASSERT_TRUE(m_line.runUntil([&] {
        return static_cast<int>(m_line.frames.size()) >= GetParam() || m_line.core->pending() == 0;
    }));
    m_line.core->giveUpRecipe(id);
    ASSERT_TRUE(m_line.settle());
    const RecipeOutcome outcome = m_line.recipes.at(0);
    EXPECT_EQ(outcome.result, GetParam() <= 4 ? RecipeResult::GivenUp : RecipeResult::Done);
    EXPECT_LE(m_line.frames.size(), static_cast<std::size_t>(std::min(GetParam(), 4)));
    expectBlocksAreTrue(m_line, outcome);
    expectTheNextRecipeIsWhole(&m_line);
}

TEST_P(FrameOfARecipe, wrongModeFromThereOn_allowed_isDoneAndForbidden_isRefused) {
    for (const bool allowed : {true, false}) {
        LineSettings settings = lineSettings();
        settings.allowModeChange = allowed;
        SimulatedLine line(settings);
        line.machine.core.setWritesOnlyIn(plc::Mode::Monitor);
        line.machine.core.setMode(plc::Mode::Monitor);
        line.fate = [&line](const QByteArray&, int number) {
            if (number == GetParam()) {
                line.machine.core.setMode(plc::Mode::Run);
            }
            return Fate();
        };
        line.download(fourBlocks());
        ASSERT_TRUE(line.settle());
        const RecipeOutcome outcome = line.recipes.at(0);
        const bool met = GetParam() <= 4;
        EXPECT_EQ(outcome.result, allowed || !met ? RecipeResult::Done : RecipeResult::Refused);
        EXPECT_EQ(outcome.modeSwitched, allowed && met);
        EXPECT_EQ(line.machine.modeChanges.size(), allowed && met ? 1U : 0U);
        expectBlocksAreTrue(line, outcome);
    }
}

INSTANTIATE_TEST_SUITE_P(Frames, FrameOfARecipe, testing::Range(1, 6));

TEST(LineRecipe, firstBlockRefused_listsTheBlocksInTheOrderOfSending) {
    SimulatedLine line(lineSettings());
    line.download(fourBlocks());
    ASSERT_TRUE(line.settle());
    QStringList sent;
    for (const RecipeBlock& block : line.recipes.at(0).blocks) {
        sent.append(block.reg + QString::number(block.address));
    }
    line.fate = [](const QByteArray&, int) {
        Fate fate;
        fate.endCode = 0x2102;
        return fate;
    };
    line.download(fourBlocks());
    ASSERT_TRUE(line.settle());
    EXPECT_EQ(recipeBlocksText(line.recipes.at(1)).toStdString(),
              "HR 20 to 22 not written; DM 100 to 199 not written; DM 300 to 301 not written");
    EXPECT_EQ(sent.join(' ').toStdString(), "HR20 DM100 DM164 DM300");
}

TEST(LineRecipe, portThatIsClosed_isNotReached) {
    for (const bool download : {true, false}) {
        SimulatedLine line(lineSettings());
        line.fate = [](const QByteArray&, int number) {
            Fate fate;
            fate.closedPort = number >= 2;
            return fate;
        };
        download ? line.download(fourBlocks()) : line.upload(fourBlocks());
        ASSERT_TRUE(line.settle());
        EXPECT_EQ(line.recipes.at(0).result, RecipeResult::NotReached);
        if (download) {
            expectBlocksAreTrue(line, line.recipes.at(0));
        }
        expectTheNextRecipeIsWhole(&line);
    }
}

TEST(LineRecipe, downloadOverPolledWords_makesThemPendingAndThenFresh) {
    SimulatedLine line(lineSettings());
    line.setTags({tagAt("DM", 100), tagAt("DM", 500)});
    ASSERT_TRUE(line.runUntil([&] { return line.core->board().allFresh(); }));
    line.download({variable("DM", 100, counting(100, 1000))});
    EXPECT_TRUE(line.status(0).pending);
    EXPECT_FALSE(line.status(1).pending);
    line.setTags({tagAt("DM", 101), tagAt("DM", 500)}); // another page meanwhile
    EXPECT_TRUE(line.status(0).pending);
    EXPECT_FALSE(line.status(1).pending);
    ASSERT_TRUE(line.settle());
    ASSERT_TRUE(line.runUntil([&] { return line.shown(0) == "1001"; }, 1000000));
    EXPECT_FALSE(line.status(0).pending);
}

TEST(LineRecipe, downloadTakenSinceTheValueWasRead_staysPendingUntilItIsReadAgain) {
    LineSettings settings = lineSettings();
    settings.scanMs = 1000;
    SimulatedLine line(settings);
    line.setTags({tagAt("DM", 100)});
    ASSERT_TRUE(line.runUntil([&] { return line.core->board().allFresh(); }));
    line.download({variable("DM", 100, {1000})});
    ASSERT_TRUE(line.settle());
    EXPECT_EQ(line.shown(0), "0");
    EXPECT_TRUE(line.status(0).pending);
    ASSERT_TRUE(line.runUntil([&] { return line.shown(0) == "1000"; }, 2000000));
    EXPECT_FALSE(line.status(0).pending);
}

TEST(LineRecipe, downloadNotAnswered_leavesItsWordsStaleAndTheRestFresh) {
    LineSettings settings = lineSettings();
    settings.scanMs = 1000;
    SimulatedLine line(settings);
    line.setTags({tagAt("DM", 100), tagAt("DM", 500), tagAt("DM", 190)});
    ASSERT_TRUE(line.runUntil([&] { return line.core->board().allFresh(); }));
    line.fate = [](const QByteArray& frame, int) {
        Fate fate;
        fate.loseReply = isWriteFrame(frame);
        return fate;
    };
    line.download({variable("DM", 100, counting(100, 1000))});
    ASSERT_TRUE(line.settle());
    EXPECT_EQ(line.recipes.at(0).result, RecipeResult::Unknown);
    EXPECT_EQ(line.shown(0), "stale");
    EXPECT_EQ(line.status(0).reason.left(15).toStdString(), "perhaps written");
    EXPECT_EQ(line.shown(1), "0");
    EXPECT_EQ(line.shown(2), "0"); // of the second block, which was not sent
    EXPECT_FALSE(line.status(2).pending);
}

TEST(LineRecipe, downloadGivenUpBeforeItsTurn_leavesNothingPending) {
    SimulatedLine line(lineSettings());
    line.setTags({tagAt("DM", 100)});
    line.write("DM", 300, {1});
    const quint64 id = line.download({variable("DM", 100, {1000})});
    EXPECT_TRUE(line.status(0).pending);
    line.core->giveUpRecipe(id);
    EXPECT_FALSE(line.status(0).pending);
}

TEST(LineRecipe, readBackDifferent_namesTheWords) {
    SimulatedLine line(lineSettings());
    line.fate = [&line](const QByteArray& frame, int) {
        if (isReadFrame(frame)) {
            line.machine.setDm(150, 4);
        }
        return Fate();
    };
    line.download(fourBlocks(), true);
    ASSERT_TRUE(line.settle());
    EXPECT_EQ(line.recipes.at(0).result, RecipeResult::Different);
    ASSERT_EQ(line.recipes.at(0).differences.size(), 1);
    EXPECT_EQ(line.recipes.at(0).differences.first().address, 150);
    EXPECT_EQ(line.recipes.at(0).differences.first().wanted, 1050);
    EXPECT_EQ(line.recipes.at(0).differences.first().found, 4);
}

TEST(LineRecipe, readBackNotAnswered_isNotVerified) {
    SimulatedLine line(lineSettings());
    line.fate = [](const QByteArray& frame, int) {
        Fate fate;
        fate.loseReply = isReadFrame(frame);
        return fate;
    };
    line.download(fourBlocks(), true);
    ASSERT_TRUE(line.settle());
    EXPECT_EQ(line.recipes.at(0).result, RecipeResult::NotVerified);
    EXPECT_TRUE(plcHolds(line, fourBlocks()));
    expectTheNextRecipeIsWhole(&line);
}

TEST(LineRecipe, givenUpWhileItWaits_isTakenOutOfTheQueue) {
    SimulatedLine line(lineSettings());
    line.write("DM", 0, {1});
    const quint64 first = line.download(fourBlocks());
    const quint64 second = line.download(fourBlocks(2000));
    line.core->giveUpRecipe(second);
    line.core->giveUpRecipe(second);
    line.core->giveUpRecipe(999);
    ASSERT_TRUE(line.settle());
    ASSERT_EQ(line.recipes.size(), 2U);
    EXPECT_EQ(line.recipes.at(0).id, second);
    EXPECT_EQ(line.recipes.at(0).result, RecipeResult::GivenUp);
    EXPECT_EQ(line.recipes.at(1).id, first);
    EXPECT_TRUE(plcHolds(line, fourBlocks()));
}

TEST(LineRecipe, givenUpBeforeItsFirstFrame_sendsNothingOfIt) {
    SimulatedLine line(lineSettings());
    line.setTags({tagAt("DM", 5)});
    const std::size_t sent = line.frames.size(); // a poll is in flight
    const quint64 id = line.download(fourBlocks());
    line.core->giveUpRecipe(id);
    line.collect();
    ASSERT_EQ(line.recipes.size(), 1U);
    EXPECT_EQ(line.recipes.at(0).result, RecipeResult::GivenUp);
    EXPECT_EQ(line.frames.size(), sent);
    line.run(1000000);
    EXPECT_TRUE(line.machine.writes.empty());
    expectTheNextRecipeIsWhole(&line);
}

TEST(LineRecipe, polling_restsWhileItMovesAndGoesOnAfterwards) {
    SimulatedLine line(lineSettings());
    line.setTags({tagAt("DM", 5)});
    ASSERT_TRUE(line.runUntil([&] { return line.core->board().allFresh(); }));
    line.download(fourBlocks());
    ASSERT_TRUE(line.settle());
    const int scans = line.scans;
    ASSERT_TRUE(line.runUntil([&] { return line.scans > scans + 3; }, 2000000));
    EXPECT_EQ(line.shown(0), "0");
}

} // namespace
