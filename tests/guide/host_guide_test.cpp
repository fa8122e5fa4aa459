/// A host made of the code of docs/host-guide.md, nothing added but the turns of its loop, against
/// the simulated PLC. Chapter by chapter.

#include "host_guide_code.inc"

#include "plc/plc_core.h"

#include <gtest/gtest.h>

#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>

#include <functional>

namespace {

void swallowDebugLines(QtMsgType, const QMessageLogContext&, const QString&) {}

QString text(const char* latin1) {
    return QString::fromLatin1(latin1);
}

class HostGuide : public ::testing::Test {
protected:
    HostGuide() : driver(text(VELKOR_LIBRARY)) {
        qInstallMessageHandler(&swallowDebugLines);
        lastHeard = Heard();
        mayChangeMode = false;
        bindDriver(driver, lent, 1, 10);
    }
    ~HostGuide() override {
        driver.library.unload(); // so that each test has a driver as it is right after loading
        qInstallMessageHandler(nullptr);
    }

    QByteArray plcsAnswer() {
        const std::optional<plc::Bytes> bytes =
            plc.handle(plc::Bytes(flight.frame.frame, flight.frame.frame + flight.frame.sendLen));
        return QByteArray(reinterpret_cast<const char*>(bytes.value().data()),
                          static_cast<int>(bytes.value().size()));
    }

    /// One turn; the result, or 99 when there was nothing to send. `line` stands between.
    unsigned int turn(const std::function<QByteArray(QByteArray)>& line = nullptr) {
        if (!ask(driver, flight)) {
            return 99;
        }
        answer = plcsAnswer();
        answer = line ? line(answer) : answer;
        if (!answer.isEmpty() && !isAnswer(flight, answer)) {
            ADD_FAILURE() << "the PLC's answer is not known for one";
        }
        return settle(driver, flight, answer, message);
    }
    static QByteArray noAnswer(const QByteArray&) { return QByteArray(); }

    void setDm(int addr, int value) {
        plc.memory().setWord(plc::Area::Dm, static_cast<std::uint32_t>(addr),
                             static_cast<std::uint16_t>(value));
    }
    int dm(int addr) const {
        return plc.memory().word(plc::Area::Dm, static_cast<std::uint32_t>(addr));
    }
    int shown(const char* name, int address) { return valueOf(driver, {text(name), address}); }

    plc::Core plc;
    Driver driver;
    Lent lent;
    Flight flight;
    QByteArray answer; ///< the last one, as it came
    QString message;
};

// 1. Load, 2. Bind

TEST_F(HostGuide, load_theLibrary_everyFunctionIsFound) {
    EXPECT_TRUE(driver.complete) << driver.library.errorString().toStdString();
}

TEST_F(HostGuide, load_noLibrary_isSeenBeforeTheFirstCall) {
    const Driver none(text("/nonexistent/libvelkor.so.1"));
    EXPECT_FALSE(none.complete);
    EXPECT_FALSE(none.library.errorString().isEmpty());
}

TEST_F(HostGuide, connectToServer_overUdp_isNotAnsweredAndFailsAsAnyRequest) {
    const QFunctionPointer connectToServer = driver.library.resolve("_Z15connectToServerv");
    ASSERT_NE(nullptr, connectToServer);
    connectToServer();
    for (const unsigned int result : {8U, 8U, 2U}) {
        ASSERT_TRUE(ask(driver, flight));
        const plc::Bytes request(flight.frame.frame, flight.frame.frame + flight.frame.sendLen);
        EXPECT_EQ(plc::Reception::Response, plc.classify(request));
        EXPECT_FALSE(plc.handle(request).has_value());
        EXPECT_EQ(result, settle(driver, flight, QByteArray(), message));
    }
    EXPECT_FALSE(ask(driver, flight));
}

TEST_F(HostGuide, bind_settingsAndNodes_areThoseOfTheGuide) {
    QList<KEY_ADDRESS> lost;
    poll(driver, {range(text("DM"), 100, 1)}, lost);
    ASSERT_TRUE(ask(driver, flight));
    EXPECT_EQ(1, flight.frame.frame[4]);  // the PLC's node
    EXPECT_EQ(10, flight.frame.frame[7]); // the host's
    QString none;
    for (int bad = 1; bad < TRIES; ++bad) {
        EXPECT_EQ(8U, settle(driver, flight, QByteArray(), none));
        ASSERT_TRUE(ask(driver, flight));
    }
    EXPECT_EQ(2U, settle(driver, flight, QByteArray(), none));
}

// 3. Poll

TEST_F(HostGuide, poll_longRange_isCutAndReadWhole) {
    for (int i = 0; i < 1200; ++i) {
        setDm(10000 + i, i);
    }
    QList<KEY_ADDRESS> lost;
    const QList<KEY_ADDRESS> blocks = poll(driver, {range(text("DM"), 10000, 1200)}, lost);
    EXPECT_TRUE(lost.isEmpty());
    ASSERT_EQ(5, blocks.size());
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(1U, turn());
    }
    for (int i = 0; i < 1200; ++i) {
        ASSERT_EQ(i, shown("DM", 10000 + i));
    }
}

TEST_F(HostGuide, poll_longRangeOfBitsFromTheMiddleOfAWord_isReadWhole) {
    const int first = 3 * 16 + 9;
    const int count = 5000;
    for (std::uint32_t word = 0; word < 400; ++word) {
        plc.memory().setWord(plc::Area::Cio, word, static_cast<std::uint16_t>(0x5A00U + word));
    }
    QList<KEY_ADDRESS> lost;
    const QList<KEY_ADDRESS> blocks = poll(driver, {range(text("CIO_bit"), first, count)}, lost);
    EXPECT_TRUE(lost.isEmpty());
    for (int i = 0; i < blocks.size(); ++i) {
        EXPECT_LE(blocks.at(i).len, WORDS_PER_FRAME);
        EXPECT_EQ(1U, turn());
    }
    for (int bit = first; bit < first + count; ++bit) {
        const auto at = static_cast<unsigned int>(bit);
        ASSERT_EQ(plc.memory().bit(plc::Area::Cio, at / 16, at % 16) ? 1 : 0,
                  shown("CIO_bit", bit));
    }
}

TEST_F(HostGuide, poll_rangeInsideAnother_isToldAsLost) {
    QList<KEY_ADDRESS> lost;
    poll(driver, {range(text("CIO"), 0, 10), range(text("CIO_bit"), 35, 1)}, lost);
    ASSERT_EQ(1, lost.size());
    EXPECT_EQ(10, lost.at(0).len);
    lost.clear();
    poll(driver,
         {range(text("CIO"), 0, 2), range(text("CIO_bit"), 35, 1), range(text("CIO"), 3, 7)}, lost);
    EXPECT_TRUE(lost.isEmpty());
}

// 4. Exchange

TEST_F(HostGuide, isAnswer_otherIdOrCommandOrTooShortOrNotWaiting_isNone) {
    QList<KEY_ADDRESS> lost;
    poll(driver, {range(text("DM"), 0, 1)}, lost);
    ASSERT_TRUE(ask(driver, flight));
    const QByteArray right = plcsAnswer();
    EXPECT_TRUE(isAnswer(flight, right));
    QByteArray otherId = right;
    otherId[9] = static_cast<char>(otherId.at(9) + 1);
    EXPECT_FALSE(isAnswer(flight, otherId));
    QByteArray otherCommand = right;
    otherCommand[11] = 2;
    EXPECT_FALSE(isAnswer(flight, otherCommand));
    EXPECT_FALSE(isAnswer(flight, right.left(13)));
    settle(driver, flight, right, message);
    EXPECT_FALSE(isAnswer(flight, right)) << "a duplicate";
}

// 5. Values

TEST_F(HostGuide, values_changedWordAndBit_areNotedAndShownAfterTheCall) {
    QList<KEY_ADDRESS> lost;
    poll(driver, {range(text("DM"), 100, 1), range(text("CIO_bit"), 35, 1)}, lost);
    setDm(100, 0x1234);
    plc.memory().setWord(plc::Area::Cio, 2, 0x0008);
    turn();
    turn();
    ASSERT_EQ(2, lastHeard.changes.size());
    EXPECT_EQ("CIO_bit", lastHeard.changes.at(0).name.toStdString());
    EXPECT_EQ(1, valueOf(driver, lastHeard.changes.at(0)));
    EXPECT_EQ("DM", lastHeard.changes.at(1).name.toStdString());
    EXPECT_EQ(0x1234, valueOf(driver, lastHeard.changes.at(1)));
}

TEST_F(HostGuide, values_blockThatFails_isStaleAfterTwoRoundsAndAFailureAndFreshWhenItIsBack) {
    QList<KEY_ADDRESS> lost;
    const QList<KEY_ADDRESS> blocks = poll(driver, {range(text("DM"), 100, 1)}, lost);
    ReadTimes times;
    const qint64 limit = 2 * 200 + TRIES * 500;
    EXPECT_TRUE(isStale(times, blocks.at(0), 0, 200, 500)) << "never read";
    noteRead(times, flight.frame, turn(), 1000);
    EXPECT_FALSE(isStale(times, blocks.at(0), 1000 + limit, 200, 500));
    noteRead(times, flight.frame, turn(&noAnswer), 1200);
    EXPECT_TRUE(isStale(times, blocks.at(0), 1001 + limit, 200, 500));
    noteRead(times, flight.frame, turn(), 5000);
    EXPECT_FALSE(isStale(times, blocks.at(0), 5001, 200, 500));
}

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

// 9. Failure

TEST_F(HostGuide, failureText_refusedAndUnanswered_saysWhich) {
    QList<KEY_ADDRESS> lost;
    poll(driver, {range(text("DM"), 100, 5)}, lost);
    plc.forceEndCode(0x1103, 1);
    turn();
    EXPECT_EQ("DM 100 (5): end code 1103", failureText(flight.frame, answer).toStdString());
    turn(&noAnswer);
    EXPECT_EQ("DM 100 (5): no answer", failureText(flight.frame, answer).toStdString());
    EXPECT_EQ(2U, turn(&noAnswer));
    EXPECT_EQ(4, lent.status[122022]);
    resetStatus(lent);
    EXPECT_EQ(0, lent.status[122022]);
    turn();
    EXPECT_EQ(0, lent.status[122022]);
}

TEST_F(HostGuide, failureText_modeChange_isNamed) {
    mayChangeMode = true;
    plc.setWritesOnlyIn(plc::Mode::Monitor);
    writeWord(driver, text("DM"), 100, 1);
    EXPECT_EQ(8U, turn());
    EXPECT_EQ(8U, turn(&noAnswer));
    EXPECT_EQ("the change to MONITOR mode: no answer",
              failureText(flight.frame, answer).toStdString());
}

// 10. Several PLCs

TEST_F(HostGuide, severalPlcs_copiesHaveTheirOwnStateAndTheirOwnCallback) {
    const QTemporaryDir folder;
    const QString copies[] = {folder.filePath(text("a.so")), folder.filePath(text("b.so"))};
    for (const QString& copy : copies) {
        ASSERT_TRUE(copyLibrary(text(VELKOR_LIBRARY), copy));
        ASSERT_TRUE(copyLibrary(text(VELKOR_LIBRARY), copy)) << "over an older one";
    }
    Driver first(copies[0]);
    Driver second(copies[1]);
    ASSERT_TRUE(first.complete && second.complete);
    Lent lentToSecond;
    bindDriver(first, lent, 1, 10);
    bindDriver(second, lentToSecond, 2, 10);
    first.setCallBack(heardFromPlc<0>);
    second.setCallBack(heardFromPlc<1>);
    writeWord(second, text("DM"), 5, 1);
    EXPECT_FALSE(ask(first, flight)) << "the other copy's write";
    const Driver sameFile(copies[1]);
    EXPECT_TRUE(ask(sameFile, flight)) << "one file is one driver";
    for (int tries = 0; tries < TRIES; ++tries) {
        ASSERT_TRUE(ask(second, flight));
        EXPECT_EQ(2, flight.frame.frame[4]);
        settle(second, flight, QByteArray(), message);
    }
    EXPECT_FALSE(heardFrom[0].failed);
    EXPECT_TRUE(heardFrom[1].failed);
    first.library.unload();
    second.library.unload();
}

} // namespace
