// Writes over the loaded driver: whatever goes wrong once, each has one outcome, and it is true.

#include "host/simulated_line.h"

using namespace velkor_host;

namespace {

TEST(LineWrite, words_areTakenAndStandInThePlc) {
    SimulatedLine line(lineSettings());
    const quint64 id = line.write("DM", 100, {1, 2, 3});
    ASSERT_TRUE(line.settle());
    ASSERT_EQ(line.writes.size(), 1U);
    const WriteOutcome& outcome = line.writes.front();
    EXPECT_EQ(outcome.id, id);
    EXPECT_EQ(outcome.result, WriteResult::Taken);
    EXPECT_EQ(outcome.count, 3);
    EXPECT_EQ(outcome.taken, 3);
    EXPECT_EQ(outcome.unknown, 0);
    EXPECT_EQ(line.machine.dm(102), 3);
    EXPECT_EQ(line.machine.writes.size(), 1U);
}

TEST(LineWrite, bits_areTakenAndLeaveTheirNeighbours) {
    SimulatedLine line(lineSettings());
    line.machine.core.memory().setWord(plc::Area::Cio, 3, 0x8001);
    line.write("CIO_bit", 3 * 16 + 4, {1, 0, 1});
    ASSERT_TRUE(line.settle());
    EXPECT_EQ(line.writes.at(0).result, WriteResult::Taken);
    EXPECT_EQ(line.machine.core.memory().word(plc::Area::Cio, 3), 0x8051);
}

TEST(LineWrite, longerThanAFrame_goesInEvenPiecesInOrder) {
    LineSettings settings = lineSettings();
    settings.wordsPerFrame = 5;
    SimulatedLine line(settings);
    line.write("DM", 10, counting(10, 1000));
    ASSERT_TRUE(line.settle());
    ASSERT_EQ(line.machine.writes.size(), 3U);
    EXPECT_EQ(line.machine.writes.at(0).word, 10);
    EXPECT_EQ(line.machine.writes.at(1).word, 14);
    EXPECT_EQ(line.machine.writes.at(2).word, 18);
    EXPECT_EQ(line.machine.writes.at(2).values, (std::vector<int>{1008, 1009}));
    EXPECT_EQ(line.writes.at(0).taken, 10);
}

TEST(LineWrite, bitsLongerThanAFrame_goInPieces) {
    LineSettings settings = lineSettings();
    settings.wordsPerFrame = 8;
    SimulatedLine line(settings);
    line.write("WR_bit", 5, Items(20, 1));
    ASSERT_TRUE(line.settle());
    EXPECT_EQ(line.writes.at(0).result, WriteResult::Taken);
    EXPECT_EQ(line.machine.core.memory().word(plc::Area::Work, 0), 0xFFE0);
    EXPECT_EQ(line.machine.core.memory().word(plc::Area::Work, 1), 0x01FF);
}

// --- Each datagram going wrong once -------------------------------------------------------------

TEST(LineWrite, requestLostOnce_isSentAgainAndTakenOnce) {
    SimulatedLine line(lineSettings());
    line.fate = [](const QByteArray&, int number) {
        Fate fate;
        fate.loseRequest = number == 1;
        return fate;
    };
    line.write("DM", 100, {7});
    ASSERT_TRUE(line.settle());
    EXPECT_EQ(line.writes.at(0).result, WriteResult::Taken);
    EXPECT_EQ(line.machine.writes.size(), 1U);
}

TEST(LineWrite, replyLostOnce_isTaken) {
    SimulatedLine line(lineSettings());
    line.fate = [](const QByteArray&, int number) {
        Fate fate;
        fate.loseReply = number == 1;
        return fate;
    };
    line.write("DM", 100, {7});
    ASSERT_TRUE(line.settle());
    EXPECT_EQ(line.writes.at(0).result, WriteResult::Taken);
    EXPECT_EQ(line.machine.dm(100), 7);
}

TEST(LineWrite, replyDoubled_settlesOneWriteOnly) {
    SimulatedLine line(lineSettings());
    line.fate = [](const QByteArray&, int number) {
        Fate fate;
        fate.replies = number == 1 ? 3 : 1;
        return fate;
    };
    line.write("DM", 100, {7});
    line.write("DM", 101, {8});
    ASSERT_TRUE(line.settle());
    line.run(1000000);
    ASSERT_EQ(line.writes.size(), 2U);
    EXPECT_EQ(line.machine.writes.size(), 2U);
    EXPECT_EQ(line.core->statistics().dropped(), 2);
}

TEST(LineWrite, replyLate_countsForTheResend) {
    SimulatedLine line(lineSettings());
    line.fate = [](const QByteArray&, int number) {
        Fate fate;
        fate.replyDelay = number == 1 ? 60000 : 0;
        fate.loseRequest = number == 2;
        return fate;
    };
    line.write("DM", 100, {7});
    ASSERT_TRUE(line.settle());
    EXPECT_EQ(line.writes.at(0).result, WriteResult::Taken);
    EXPECT_EQ(line.machine.writes.size(), 1U);
}

TEST(LineWrite, replyCut_isNoAnswer) {
    for (const int length : {0, 5, 10, 13}) {
        SimulatedLine line(lineSettings());
        line.fate = [length](const QByteArray&, int number) {
            Fate fate;
            fate.cutReplyTo = number == 1 ? length : -1;
            return fate;
        };
        line.write("DM", 100, {7});
        ASSERT_TRUE(line.settle());
        EXPECT_EQ(line.writes.at(0).result, WriteResult::Taken) << length;
        EXPECT_EQ(line.writes.at(0).last.silent, 1) << length;
    }
}

TEST(LineWrite, noAnswerAtAll_isUnknownAndThePlcMayHaveIt) {
    SimulatedLine line(lineSettings());
    line.fate = [](const QByteArray&, int) {
        Fate fate;
        fate.loseReply = true;
        return fate;
    };
    line.write("DM", 100, {7, 8});
    ASSERT_TRUE(line.settle());
    ASSERT_EQ(line.writes.size(), 1U);
    EXPECT_EQ(line.writes.at(0).result, WriteResult::Unknown);
    EXPECT_EQ(line.writes.at(0).taken, 0);
    EXPECT_EQ(line.writes.at(0).unknown, 2);
    EXPECT_EQ(line.machine.dm(100), 7);
}

TEST(LineWrite, noAnswerToTheSecondPiece_saysWhatIsKnownAndSendsNothingBehindIt) {
    LineSettings settings = lineSettings();
    settings.wordsPerFrame = 4;
    SimulatedLine line(settings);
    line.fate = [](const QByteArray&, int number) {
        Fate fate;
        fate.loseReply = number > 1;
        return fate;
    };
    line.write("DM", 0, counting(10, 1));
    ASSERT_TRUE(line.settle());
    EXPECT_EQ(line.writes.at(0).result, WriteResult::Unknown);
    EXPECT_EQ(line.writes.at(0).taken, 4);
    EXPECT_EQ(line.writes.at(0).unknown, 4);
    EXPECT_EQ(line.machine.dm(8), 0);
}

TEST(LineWrite, noAnswerToTheSecondPiece_leavesTheTagsOfThatPieceAloneStale) {
    for (const bool refused : {false, true}) {
        LineSettings settings = lineSettings();
        settings.wordsPerFrame = 256;
        settings.scanMs = 5000;
        SimulatedLine line(settings);
        line.setTags({tagAt("DM", 0), tagAt("DM", 300), tagAt("DM", 550), tagAt("DM", 255, 2)});
        ASSERT_TRUE(line.runUntil([&] { return line.core->board().allFresh(); }));
        int writes = 0;
        line.fate = [&](const QByteArray& frame, int) {
            Fate fate;
            const bool second = isWriteFrame(frame) && ++writes > 1;
            fate.loseReply = second && !refused;
            fate.endCode = second && refused ? 0x2101 : 0;
            return fate;
        };
        line.write("DM", 0, counting(600, 1));
        ASSERT_TRUE(line.settle());
        EXPECT_EQ(line.writes.at(0).taken, 256);
        EXPECT_EQ(line.writes.at(0).unknown, refused ? 0 : 256);
        EXPECT_EQ(line.shown(0), "0"); // written, and not read since
        EXPECT_TRUE(line.status(0).pending);
        EXPECT_EQ(line.shown(1), refused ? "0" : "stale");
        EXPECT_EQ(line.status(1).reason.startsWith("perhaps written"), !refused);
        EXPECT_FALSE(line.status(1).pending);
        EXPECT_EQ(line.shown(2), "0"); // never sent
        EXPECT_FALSE(line.status(2).pending);
        EXPECT_EQ(line.shown(3), refused ? "0 0" : "stale"); // half of each
        EXPECT_EQ(line.status(3).pending, refused);
    }
}

// --- Refusals ------------------------------------------------------------------------------------

TEST(LineWrite, refused_isToldWithItsEndCodeAndNothingIsExecuted) {
    SimulatedLine line(lineSettings());
    line.machine.refusals.push_back({0x82, 100, 100, 0x2102});
    line.write("DM", 99, {1, 2});
    ASSERT_TRUE(line.settle());
    EXPECT_EQ(line.writes.at(0).result, WriteResult::Refused);
    EXPECT_EQ(line.writes.at(0).last.endCode, 0x2102);
    EXPECT_EQ(line.writes.at(0).taken, 0);
    EXPECT_TRUE(line.machine.writes.empty());
}

TEST(LineWrite, refusedOnce_isTriedAgainAndTaken) {
    SimulatedLine line(lineSettings());
    line.fate = [](const QByteArray&, int number) {
        Fate fate;
        fate.endCode = number == 1 ? 0x1003 : 0;
        return fate;
    };
    line.write("DM", 100, {7});
    ASSERT_TRUE(line.settle());
    EXPECT_EQ(line.writes.at(0).result, WriteResult::Taken);
    EXPECT_EQ(line.machine.writes.size(), 1U);
}

TEST(LineWrite, refusalsDoubledBeforeItIsExecuted_isNotToldAsRefused) {
    // The copy of a refusal is no answer to the next try: that one is executed, and its own reply
    // is still under way.
    SimulatedLine line(lineSettings());
    line.fate = [](const QByteArray&, int number) {
        Fate fate;
        fate.endCode = number <= 2 ? 0x1003 : 0;
        fate.replies = 2;
        return fate;
    };
    line.write("DM", 100, {7});
    ASSERT_TRUE(line.settle());
    line.run(1000000);
    ASSERT_EQ(line.writes.size(), 1U);
    EXPECT_EQ(line.writes.at(0).result == WriteResult::Refused, line.machine.writes.empty());
    EXPECT_EQ(line.writes.at(0).result == WriteResult::Taken, line.machine.dm(100) == 7);
}

TEST(LineWrite, refusedByARelayForWantOfAnAnswer_isUnknown) {
    // Between a relay and the PLC the command or its reply may have been lost.
    for (const int endCode : {0x0205, 0x8205, 0x0103}) {
        SimulatedLine line(lineSettings());
        line.fate = [endCode](const QByteArray&, int) {
            Fate fate;
            fate.endCode = endCode;
            return fate;
        };
        line.write("DM", 100, {7});
        ASSERT_TRUE(line.settle());
        EXPECT_EQ(line.writes.at(0).result, WriteResult::Unknown) << endCode;
        EXPECT_EQ(line.writes.at(0).last.endCode, endCode);
    }
}

TEST(LineWrite, silenceThenRefusal_isUnknown) {
    // The try that was not answered may have been executed before the PLC began to refuse.
    SimulatedLine line(lineSettings());
    line.fate = [](const QByteArray&, int number) {
        Fate fate;
        fate.loseReply = number == 1;
        fate.endCode = number == 1 ? 0 : 0x2102;
        return fate;
    };
    line.write("DM", 100, {7});
    ASSERT_TRUE(line.settle());
    EXPECT_EQ(line.writes.at(0).result, WriteResult::Unknown);
    EXPECT_EQ(line.machine.dm(100), 7);
}

TEST(LineWrite, closedPortAtEveryTry_isSurelyNotExecuted) {
    SimulatedLine line(lineSettings());
    line.fate = [](const QByteArray&, int) {
        Fate fate;
        fate.closedPort = true;
        return fate;
    };
    line.write("DM", 100, {7});
    ASSERT_TRUE(line.settle());
    EXPECT_EQ(line.writes.at(0).result, WriteResult::NotReached);
    EXPECT_EQ(line.writes.at(0).last.endCode, -1);
    EXPECT_EQ(line.writes.at(0).last.refusedPort, 3);
}

TEST(LineWrite, closedPortAtOneTryOnly_isUnknown) {
    SimulatedLine line(lineSettings());
    line.fate = [](const QByteArray&, int number) {
        Fate fate;
        fate.closedPort = number == 1;
        fate.loseReply = number > 1;
        return fate;
    };
    line.write("DM", 100, {7});
    ASSERT_TRUE(line.settle());
    EXPECT_EQ(line.writes.at(0).result, WriteResult::Unknown);
    EXPECT_EQ(line.machine.dm(100), 7);
}

TEST(LineWrite, secondWriteToAWord_isNotHiddenByTheFailureOfTheFirst) {
    SimulatedLine line(lineSettings());
    line.setTags({tagAt("DM", 100)});
    ASSERT_TRUE(line.runUntil([&] { return line.core->board().allFresh(); }));
    line.fate = [](const QByteArray& frame, int) {
        Fate fate;
        fate.endCode =
            isWriteFrame(frame) && frame.endsWith(QByteArray("\x00\x01", 2)) ? 0x2101 : 0;
        return fate;
    };
    line.write("DM", 100, {1});
    line.write("DM", 100, {2});
    ASSERT_TRUE(line.settle());
    ASSERT_EQ(line.writes.size(), 2U);
    EXPECT_EQ(line.writes.at(0).result, WriteResult::Refused);
    EXPECT_EQ(line.writes.at(1).result, WriteResult::Taken);
    EXPECT_EQ(line.machine.dm(100), 2);
    const int scans = line.scans;
    ASSERT_TRUE(line.runUntil([&] { return line.scans > scans + 1; }));
    EXPECT_EQ(line.shown(0), "2");
}

TEST(LineWrite, many_keepTheirOrder) {
    SimulatedLine line(lineSettings());
    line.setTags({tagAt("DM", 100, 4), tagAt("HR", 5)});
    for (int number = 0; number < 700; ++number) {
        line.write("DM", 100 + number % 3, {static_cast<quint16>(number)});
    }
    ASSERT_TRUE(line.settle());
    ASSERT_EQ(line.writes.size(), 700U);
    ASSERT_EQ(line.machine.writes.size(), 700U);
    for (int number = 0; number < 700; ++number) {
        ASSERT_EQ(line.machine.writes.at(static_cast<std::size_t>(number)).values.at(0), number);
        ASSERT_EQ(line.writes.at(static_cast<std::size_t>(number)).id,
                  static_cast<quint64>(number + 1));
    }
}

} // namespace
