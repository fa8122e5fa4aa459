/// The host of docs/host-guide.md, chapter by chapter: loading, binding, polling, the exchange,
/// values, failure, several PLCs.

#include "guide/host_guide_fixture.h"

#include <QtCore/QTemporaryDir>

namespace {

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
