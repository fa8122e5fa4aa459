/// The host of docs/host-guide.md: what becomes of its writes, one-shot reads and recipes.

#include "guide/host_guide_fixture.h"

namespace {

// 6. Writes

class HostGuideWrites : public HostGuide {
protected:
    /// Turns until the write has its result; what became of it.
    std::string fate(const std::function<QByteArray(QByteArray)>& line = nullptr) {
        WriteFate fate;
        for (;;) {
            const unsigned int result = turn(line);
            if (isWrite(flight.frame)) {
                fate.note(answer);
            }
            if (result == 99) {
                ADD_FAILURE() << "the write never went out";
                return std::string();
            }
            if (result == REPLY_REQUEST_FAILED ||
                (result == REPLY_ACCEPTED && isWrite(flight.frame))) {
                return fate.text().toStdString();
            }
        }
    }
};

TEST_F(HostGuideWrites, wordAddress_texts_addressOrMinus1) {
    EXPECT_EQ(100, wordAddress(driver, text("DM"), text("100"), 1));
    EXPECT_EQ(-1, wordAddress(driver, text("DM"), text("32767"), 2));
    EXPECT_EQ(-1, wordAddress(driver, text("DM"), text("32768"), 0)) << "a count that goes past";
    EXPECT_EQ(-1, wordAddress(driver, text("XX"), text("100"), 1)) << "a name that is none";
    EXPECT_EQ(-1, wordAddress(driver, text("CIO_bit"), text("1.5"), 1));
}

TEST_F(HostGuideWrites, taken_plcHasIt) {
    writeWord(driver, text("DM"), 100, 0x1234);
    EXPECT_EQ("taken", fate());
    EXPECT_EQ(0x1234, dm(100));
    EXPECT_EQ(0x1234, shown("DM", 100));
}

TEST_F(HostGuideWrites, refused_isSeenAsRefusedAndTheOldValueComesBack) {
    plc.forceEndCode(0x2101, TRIES);
    writeWord(driver, text("DM"), 100, 0x1234);
    EXPECT_EQ("refused", fate());
    EXPECT_EQ(0, dm(100));
    EXPECT_EQ(0, shown("DM", 100));
    EXPECT_TRUE(lastHeard.failed);
}

TEST_F(HostGuideWrites, plcWithAnAlarm_isWrittenAsUsual) {
    plc.setAlarm(true);
    writeWord(driver, text("DM"), 100, 0x1234);
    EXPECT_EQ("taken", fate());
    EXPECT_EQ(0x1234, shown("DM", 100));
}

TEST_F(HostGuideWrites, noAnswer_plcMayHaveIt) {
    writeWord(driver, text("DM"), 100, 0x1234);
    EXPECT_EQ("unknown: the PLC may have it", fate(&noAnswer));
    EXPECT_EQ(0x1234, dm(100));
    EXPECT_EQ(0, shown("DM", 100));
}

TEST_F(HostGuideWrites, modeMustNotChange_refusedWriteFailsAndThePlcStaysStopped) {
    plc.setMode(plc::Mode::Program);
    plc.setWritesOnlyIn(plc::Mode::Monitor);
    writeWord(driver, text("DM"), 100, 0x1234);
    EXPECT_EQ("refused", fate());
    EXPECT_EQ(plc::Mode::Program, plc.mode());
    EXPECT_EQ(99U, turn());
    EXPECT_EQ(plc::Mode::Program, plc.mode());
}

TEST_F(HostGuideWrites, modeMayChange_writeIsTakenThoughTheDriverSaysFailed) {
    mayChangeMode = true;
    for (const bool alarm : {false, true}) {
        plc.setAlarm(alarm);
        plc.setMode(plc::Mode::Program);
        plc.setWritesOnlyIn(plc::Mode::Monitor);
        writeWord(driver, text("DM"), 100, alarm ? 2 : 1);
        EXPECT_EQ("taken", fate());
        EXPECT_EQ(plc::Mode::Monitor, plc.mode());
        EXPECT_EQ(alarm ? 2 : 1, dm(100));
    }
}

// 7. One-shot reads

class HostGuideReads : public HostGuide {
protected:
    /// Runs until nothing waits; the statuses in order.
    std::vector<int> run(OneShotReads& reads,
                         const std::function<QByteArray(QByteArray)>& line = nullptr) {
        std::vector<int> statuses;
        nextRead(driver, reads, lastHeard);
        while (reads.underWay && statuses.size() < 10) {
            turn(line);
            const int status = nextRead(driver, reads, lastHeard);
            if (status != 1) {
                statuses.push_back(status);
            }
        }
        return statuses;
    }
};

TEST_F(HostGuideReads, severalAndEqualOnes_eachHasItsEnd) {
    OneShotReads reads;
    for (const int addr : {100, 200, 200}) {
        setDm(addr, addr + 1);
        reads.waiting.append(range(text("DM"), addr, 1));
    }
    EXPECT_EQ((std::vector<int>{0, 0, 0}), run(reads));
    EXPECT_EQ(101, shown("DM", 100));
    EXPECT_EQ(201, shown("DM", 200));
}

TEST_F(HostGuideReads, firstFails_othersAreReadAllTheSame) {
    OneShotReads reads;
    for (const int addr : {40000, 200}) { // the first is no address of this PLC
        reads.waiting.append(range(text("DM"), addr, 1));
    }
    EXPECT_EQ((std::vector<int>{-1, 0}), run(reads));
}

// 8. Recipes

class HostGuideRecipes : public HostGuide {
protected:
    HostGuideRecipes() {
        for (int i = 0; i < 5; ++i) {
            variables.append(recipeVariable(text("DM"), 100 * i, 2, 2 * i));
        }
        for (std::size_t i = 0; i < 10; ++i) {
            lent.recipe[i] = static_cast<unsigned short>(0x0A01 + i);
        }
    }

    /// One turn of a transfer.
    void step(Transfer& transfer, const std::function<QByteArray(QByteArray)>& line = nullptr) {
        const unsigned int result = turn(line);
        if (result != 99) {
            follow(transfer, flight.frame, result);
        }
    }

    void run(Transfer& transfer, const std::function<QByteArray(QByteArray)>& line = nullptr) {
        for (int turns = 0; isRunning(lent, transfer); ++turns) {
            ASSERT_LT(turns, 50) << "the transfer does not end";
            step(transfer, line);
        }
    }

    QVector<_RCP_VAR_PRO> variables;
    Transfer download = {HOST_RECIPE_DOWNLOAD_REQUEST, 0, 0, false};
};

TEST_F(HostGuideRecipes, downloadAndUpload_areThereAndBackAndSucceed) {
    ASSERT_TRUE(start(driver, lent, variables, download, lastHeard));
    run(download);
    EXPECT_TRUE(succeeded(download, lastHeard));
    EXPECT_EQ(10, download.words);
    EXPECT_EQ(0x0A0A, dm(401));
    setDm(401, 0x7777);
    Transfer upload = {HOST_RECIPE_UPLOAD_REQUEST, 0, 0, false};
    ASSERT_TRUE(start(driver, lent, variables, upload, lastHeard));
    run(upload);
    EXPECT_TRUE(succeeded(upload, lastHeard));
    EXPECT_EQ(0x7777, lent.recipe[9]);
}

TEST_F(HostGuideRecipes, whilePolling_framesOfThePollsAreNotCounted) {
    QList<KEY_ADDRESS> lost;
    poll(driver, {range(text("DM"), 1000, 20)}, lost);
    turn();
    ASSERT_TRUE(start(driver, lent, variables, download, lastHeard));
    run(download);
    EXPECT_TRUE(succeeded(download, lastHeard));
    EXPECT_EQ(10, download.moved);
}

TEST_F(HostGuideRecipes, blockRefused_isNoSuccess) {
    ASSERT_TRUE(start(driver, lent, variables, download, lastHeard));
    step(download);
    plc.forceEndCode(0x2101, TRIES);
    run(download);
    EXPECT_FALSE(succeeded(download, lastHeard));
    EXPECT_EQ(2, download.moved);
}

TEST_F(HostGuideRecipes, blockTooLong_isNoSuccess) {
    int out = 0; // words per frame for blocks that cannot be downloaded
    driver.initProperty(lent.shared.data(), lent.status.data(), lent.recipe.data(), &out,
                        "1#0#0#3#900", &lent.mutex);
    variables = {recipeVariable(text("DM"), 0, 504, 0)};
    ASSERT_TRUE(start(driver, lent, variables, download, lastHeard));
    run(download);
    EXPECT_FALSE(succeeded(download, lastHeard));
}

TEST_F(HostGuideRecipes, boundAgainInMidTransfer_countOfTheWordsTellsThePart) {
    ASSERT_TRUE(start(driver, lent, variables, download, lastHeard));
    step(download);
    step(download);
    bindDriver(driver, lent, 1, 10); // what the guide forbids
    ASSERT_TRUE(start(driver, lent, variables, download, lastHeard));
    run(download);
    EXPECT_FALSE(download.failed);
    EXPECT_EQ(6, download.moved) << "of 10 words";
    EXPECT_FALSE(succeeded(download, lastHeard));
}

TEST_F(HostGuideRecipes, givenUp_endsAtOnceAndTheNextOneIsWhole) {
    ASSERT_TRUE(start(driver, lent, variables, download, lastHeard));
    step(download);
    step(download);
    giveUp(driver, lent, flight, download);
    EXPECT_FALSE(isRunning(lent, download));
    EXPECT_FALSE(succeeded(download, lastHeard));
    EXPECT_EQ(0, dm(200)) << "no block went out while it was given up";
    EXPECT_TRUE(lastHeard.failed);
    ASSERT_TRUE(start(driver, lent, variables, download, lastHeard));
    run(download);
    EXPECT_TRUE(succeeded(download, lastHeard)) << "whatever was heard before";
}

TEST_F(HostGuideRecipes, givenUpWithAPollInFlight_endsTheTransferToo) {
    QList<KEY_ADDRESS> lost;
    poll(driver, {range(text("DM"), 1000, 20)}, lost);
    ASSERT_TRUE(ask(driver, flight));
    ASSERT_TRUE(start(driver, lent, variables, download, lastHeard));
    giveUp(driver, lent, flight, download);
    EXPECT_FALSE(isRunning(lent, download));
    EXPECT_FALSE(succeeded(download, lastHeard));
    EXPECT_EQ(0U, plc.counters().commands);
}

TEST_F(HostGuideRecipes, noVariables_startNothing) {
    EXPECT_FALSE(start(driver, lent, QVector<_RCP_VAR_PRO>(), download, lastHeard));
    EXPECT_FALSE(isRunning(lent, download));
    variables[0].hostTag = TAG + 1;
    EXPECT_FALSE(start(driver, lent, variables, download, lastHeard));
    EXPECT_FALSE(isRunning(lent, download));
}

} // namespace
