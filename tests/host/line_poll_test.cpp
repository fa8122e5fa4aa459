// Polling over the loaded driver: every tag, its age, fairness, statistics, witnesses.

#include "host/poll/poll_plan.h"
#include "host/simulated_line.h"

#include <random>

using namespace velkor_host;

namespace {

const qint64 SECOND = 1000000;

TEST(LinePoll, tagsOfEveryShape_areAllFreshAndRight) {
    SimulatedLine line(lineSettings());
    for (int word = 0; word < 300; ++word) {
        line.machine.setDm(word, 1000 + word);
    }
    line.machine.core.memory().setWord(plc::Area::Cio, 7, 0x8421);
    line.machine.core.memory().setWord(plc::Area::Counter, 3, 33);
    line.machine.core.memory().setWord(plc::Area::Timer, 4, 44);
    line.setTags({tagAt("DM", 10, 20), tagAt("DM", 15, 2), tagAt("DM", 15), tagAt("DM", 25, 200),
                  tagAt("DM", 20, 2, ValueType::Uint32),
                  tagAt("CIO_bit", 7 * 16 + 5, 1, ValueType::Bool), tagAt("CIO", 7),
                  tagAt("CIO_bit", 6 * 16 + 15, 3, ValueType::Bool), tagAt("C", 3), tagAt("T", 4),
                  tagAt("DM_bit", 3 * 16, 16, ValueType::Bool)});
    ASSERT_TRUE(line.runUntil([&] { return line.core->board().allFresh(); }, SECOND));
    EXPECT_EQ(*line.status(0).value(), counting(20, 1010));
    EXPECT_EQ(*line.status(1).value(), counting(2, 1015));
    EXPECT_EQ(*line.status(3).value(), counting(200, 1025));
    EXPECT_EQ(line.shown(5), "1");
    EXPECT_EQ(line.shown(6), std::to_string(0x8421));
    EXPECT_EQ(line.shown(7), "0 1 0");
    EXPECT_EQ(line.shown(8), "33");
    EXPECT_EQ(line.shown(9), "44");
    line.run(3 * SECOND);
    EXPECT_TRUE(line.core->board().allFresh());
}

TEST(LinePoll, value_canBeWalkedThroughWithoutACopyOfItsOwn) {
    SimulatedLine line(lineSettings());
    line.machine.setDm(10, 4711);
    line.machine.setDm(11, 4712);
    line.setTags({tagAt("DM", 10, 2)});
    ASSERT_TRUE(line.runUntil([&] { return line.core->board().allFresh(); }));
    Items seen;
    for (const quint16 word : *line.status(0).value()) {
        seen.append(word);
    }
    EXPECT_EQ(seen, (Items{4711, 4712}));
    EXPECT_EQ(line.status(0).value()->constData(), line.status(0).lastRead().constData());
}

TEST(LinePoll, changes_areToldWithTheNextScan) {
    SimulatedLine line(lineSettings());
    line.setTags({tagAt("DM", 10), tagAt("DM", 11)});
    ASSERT_TRUE(line.runUntil([&] { return line.core->board().allFresh(); }));
    line.run(SECOND);
    line.changedTags.clear();
    line.machine.setDm(11, 5);
    const int scans = line.scans;
    ASSERT_TRUE(line.runUntil([&] { return line.scans >= scans + 2; }));
    EXPECT_EQ(line.changedTags, std::vector<int>{1});
    EXPECT_EQ(line.shown(1), "5");
    EXPECT_EQ(line.status(1).changes, 1);
}

TEST(LinePoll, scans_keepTheirInterval) {
    SimulatedLine line(lineSettings());
    line.setTags({tagAt("DM", 10), tagAt("HR", 11)});
    line.run(10 * SECOND);
    EXPECT_NEAR(line.scans, 100, 2);
    EXPECT_NEAR(static_cast<double>(line.frames.size()), 200, 4);
}

TEST(LinePoll, randomTags_areAllReadInTheLoadedDriversBlocks) {
    std::mt19937 random(8);
    for (int round = 0; round < 40; ++round) {
        LineSettings settings = lineSettings();
        settings.wordsPerFrame = 2 + static_cast<int>(random() % 60);
        SimulatedLine line(settings);
        for (int word = 0; word < 400; ++word) {
            line.machine.setDm(word, 3 * word + 1);
        }
        QVector<Tag> tags;
        for (unsigned index = 0; index < 1 + random() % 40; ++index) {
            if (random() % 4 == 0) {
                tags.append(tagAt("DM_bit", static_cast<int>(random() % 3200),
                                  1 + static_cast<int>(random() % 40), ValueType::Bool));
            } else {
                tags.append(tagAt("DM", static_cast<int>(random() % 200),
                                  1 + static_cast<int>(random() % 90)));
            }
        }
        // A word or two that the PLC refuses: none of the reads that go on may touch them.
        for (unsigned index = 0; index < random() % 3; ++index) {
            const int bad = static_cast<int>(random() % 300);
            line.machine.refusals.push_back({0x82, bad, bad, 0x1103});
        }
        line.setTags(tags);
        line.run(8 * SECOND);
        for (int index = 0; index < tags.size(); ++index) {
            const Tag& tag = tags.at(index);
            const WordRange words =
                wordsHolding(tag.reg, tag.bitRegister(), tag.address, tag.itemCount());
            bool bad = false;
            for (const Machine::Refusal& refusal : line.machine.refusals) {
                bad = bad || overlap(words, {words.reg, refusal.first, 1});
            }
            ASSERT_EQ(line.status(index).state, bad ? TagState::Refused : TagState::Fresh)
                << round << ": " << tagAddressText(tag).toStdString() << "+" << tag.count;
            if (!bad && !tag.bitRegister()) {
                for (int word = 0; word < tag.count; ++word) {
                    ASSERT_EQ(line.status(index).value()->at(word), 3 * (tag.address + word) + 1);
                }
            }
        }
        for (const QByteArray& frame : line.frames) {
            EXPECT_LE(static_cast<unsigned char>(frame.at(16)) * 256 +
                          static_cast<unsigned char>(frame.at(17)),
                      settings.wordsPerFrame);
        }
    }
}

// --- Age -----------------------------------------------------------------------------------------

TEST(LinePoll, oneDeadBlockOfTen_isStaleAndTheOthersFresh) {
    SimulatedLine line(lineSettings());
    QVector<Tag> tags;
    for (int index = 0; index < 10; ++index) {
        tags.append(tagAt("DM", index * 1000, 10));
    }
    line.setTags(tags);
    ASSERT_TRUE(line.runUntil([&] { return line.core->board().allFresh(); }));
    line.fate = [](const QByteArray& frame, int) {
        Fate fate; // DM 3000
        fate.loseReply = frame.mid(13, 2) == QByteArray::fromHex("0BB8");
        return fate;
    };
    ASSERT_TRUE(line.runUntil([&] { return line.shown(3) == "stale"; }, 2 * SECOND));
    EXPECT_NE(line.status(3).reason.indexOf(QStringLiteral("no answer")), -1);
    bool another = false;
    line.onTags = [&](const QVector<int>& changed) {
        for (const int index : changed) {
            another = another || index != 3;
        }
    };
    line.run(10 * SECOND);
    EXPECT_FALSE(another);
    EXPECT_EQ(line.shown(3), "stale");
    EXPECT_EQ(line.freshTags(), 9);
}

TEST(LinePoll, deadPlc_makesEverythingStaleWithinAboutASecond) {
    SimulatedLine line(lineSettings());
    QVector<Tag> tags;
    for (int index = 0; index < 10; ++index) {
        tags.append(tagAt("DM", index * 1000, 10));
    }
    line.setTags(tags);
    ASSERT_TRUE(line.runUntil([&] { return line.core->board().allFresh(); }));
    line.fate = [](const QByteArray&, int) {
        Fate fate;
        fate.loseRequest = true;
        return fate;
    };
    ASSERT_TRUE(line.runUntil([&] { return line.freshTags() == 0; }, 1500000));
    for (int index = 0; index < 10; ++index) {
        EXPECT_EQ(line.status(index).reason.left(9).toStdString(), "no answer");
        EXPECT_FALSE(line.status(index).value().has_value());
    }
    line.fate = nullptr;
    EXPECT_TRUE(line.runUntil([&] { return line.core->board().allFresh(); }, SECOND));
}

TEST(LinePoll, longTimeout_theOverdueTryTells) {
    LineSettings settings = lineSettings();
    settings.timeoutMs = 60000;
    SimulatedLine line(settings);
    line.setTags({tagAt("DM", 1)});
    ASSERT_TRUE(line.runUntil([&] { return line.core->board().allFresh(); }));
    line.fate = [](const QByteArray&, int) {
        Fate fate;
        fate.loseRequest = true;
        return fate;
    };
    ASSERT_TRUE(line.runUntil([&] { return line.shown(0) == "stale"; }, 2 * SECOND));
    line.run(SECOND / 2);
    EXPECT_EQ(line.status(0).reason.left(13).toStdString(), "no answer: st");
    EXPECT_TRUE(line.core->requestInTrouble().has_value());
}

TEST(LinePoll, slowReply_isAsOldAsItsQuestion) {
    LineSettings settings = lineSettings();
    settings.timeoutMs = 5000;
    SimulatedLine line(settings);
    line.setTags({tagAt("DM", 1)});
    line.run(2 * SECOND);
    line.fate = [](const QByteArray&, int) {
        Fate fate;
        fate.replyDelay = 4 * SECOND;
        return fate;
    };
    line.run(2 * SECOND);
    EXPECT_EQ(line.shown(0), "stale"); // overdue
    ASSERT_TRUE(line.runUntil([&] { return line.shown(0) != "stale"; }, 4 * SECOND));
    EXPECT_EQ(line.shown(0), "0");
    EXPECT_GE(line.clock.time - line.status(0).readAt, 4 * SECOND);
}

/// Scans that wait for a silent PLC take long, and what they take counts for the limit.
TEST(LinePoll, plcFallsSilent_whatGrewOldStaysStale) {
    LineSettings settings = lineSettings();
    settings.timeoutMs = 500;
    SimulatedLine line(settings);
    QVector<Tag> tags;
    for (int i = 0; i < 10; ++i) {
        tags.append(tagAt("DM", 1000 * i));
    }
    line.setTags(tags);
    ASSERT_TRUE(line.runUntil([&] { return line.core->board().allFresh(); }));
    line.run(SECOND);
    int frames = 0;
    line.fate = [&frames](const QByteArray&, int) {
        Fate fate;
        fate.loseRequest = ++frames > 4; // in the middle of a scan
        return fate;
    };
    QVector<bool> stale(tags.size(), false);
    for (int step = 0; step < 600; ++step) {
        line.run(SECOND / 10);
        for (int i = 0; i < tags.size(); ++i) {
            const bool now = line.shown(i) == "stale";
            ASSERT_TRUE(now || !stale.at(i)) << "tag " << i << " after " << step << " steps";
            stale[i] = now;
        }
    }
    EXPECT_EQ(stale.count(true), tags.size());
}

// --- Fairness ------------------------------------------------------------------------------------

TEST(LinePoll, writesWithoutEnd_doNotStarveIt) {
    SimulatedLine line(lineSettings());
    line.setTags({tagAt("DM", 10), tagAt("DM", 1000), tagAt("HR", 1)});
    int written = 0;
    const auto feed = [&] {
        while (line.core->pending() < 20) {
            line.write("DM", 500, {static_cast<quint16>(++written)});
        }
        return false;
    };
    line.runUntil(feed, 3 * SECOND);
    EXPECT_TRUE(line.core->board().allFresh());
    EXPECT_GT(line.scans, 20);
    EXPECT_GT(line.writes.size(), 900U); // of 1500 exchanges
}

TEST(LinePoll, scansThatAreAlwaysLate_doNotStarveWrites) {
    LineSettings settings = lineSettings();
    settings.scanMs = 10;
    SimulatedLine line(settings);
    QVector<Tag> tags;
    for (int index = 0; index < 20; ++index) {
        tags.append(tagAt("DM", index * 1000));
    }
    line.setTags(tags);
    line.run(SECOND);
    const qint64 begun = line.clock.time;
    line.write("HR", 5, {1});
    ASSERT_TRUE(line.settle());
    EXPECT_LE(line.clock.time - begun, 3 * 2 * line.usual);
}

TEST(LinePoll, tagThatIsWrittenWithoutEnd_isStillRead) {
    SimulatedLine line(lineSettings());
    line.setTags({tagAt("DM", 10)});
    int written = 0;
    line.runUntil(
        [&] {
            while (line.core->pending() < 10) {
                line.write("DM", 10, {static_cast<quint16>(++written)});
            }
            return false;
        },
        3 * SECOND);
    EXPECT_EQ(line.status(0).state, TagState::Fresh);
    EXPECT_TRUE(line.status(0).pending);
    EXPECT_GT(line.status(0).changes, 10);
}

TEST(LinePoll, eventLoopHeldUp_valueIsAsOldAsItIsWhenAskedFor) {
    SimulatedLine line(lineSettings());
    line.setTags({tagAt("DM", 100), tagAt("DM", 200)});
    ASSERT_TRUE(line.runUntil([&] { return line.freshTags() == 2; }, SECOND));
    EXPECT_TRUE(line.core->allFresh());
    line.clock.time += 2 * SECOND; // and nobody has called turn()
    EXPECT_EQ(line.core->status(1).state, TagState::Stale);
    EXPECT_FALSE(line.core->status(1).value());
    EXPECT_FALSE(line.core->allFresh());
    EXPECT_TRUE(line.runUntil([&] { return line.core->allFresh(); }, SECOND));
}

TEST(LinePoll, valueShown_isNeverOneThatThePlcDidNotHold) {
    // While a write is in the driver's hands its cache shows what is being written.
    SimulatedLine line(lineSettings());
    line.setTags({tagAt("DM", 10), tagAt("DM", 2000)});
    line.machine.refusals.push_back({0x82, 10, 10, 0x2102, false, true});
    bool wrong = false;
    line.onTags = [&](const QVector<int>&) {
        wrong = wrong || (line.status(0).value() && line.shown(0) != "0");
    };
    for (int round = 0; round < 400; ++round) {
        line.write("DM", 10, {77});
        line.run(1300);
    }
    EXPECT_FALSE(wrong);
    ASSERT_TRUE(line.settle());
}

// --- Statistics and witnesses --------------------------------------------------------------------

class Recorder : public FrameWitness {
public:
    void sent(const QByteArray&, int attempt) override { attempts.push_back(attempt); }
    void received(const QByteArray&, Verdict verdict) override { verdicts.push_back(verdict); }
    void timedOut(const QByteArray&) override { ++timeouts; }
    void portRefused() override { ++refusedPorts; }
    std::vector<int> attempts;
    std::vector<Verdict> verdicts;
    int timeouts = 0;
    int refusedPorts = 0;
};

TEST(LineWitness, sentReceivedAndTimedOut_areSeenByAllAndCounted) {
    SimulatedLine line(lineSettings());
    Recorder one;
    Recorder other;
    line.core->addWitness(&one);
    line.core->addWitness(&other);
    line.fate = [](const QByteArray&, int number) {
        Fate fate;
        fate.loseReply = number == 1;
        fate.replies = number == 2 ? 2 : 1;
        return fate;
    };
    line.write("DM", 1, {1});
    ASSERT_TRUE(line.settle());
    line.core->portRefused();
    line.run(10000);
    EXPECT_EQ(one.attempts, (std::vector<int>{1, 2}));
    EXPECT_EQ(one.verdicts, (std::vector<Verdict>{Verdict::Reply, Verdict::NothingInFlight}));
    EXPECT_EQ(one.timeouts, 1);
    EXPECT_EQ(one.refusedPorts, 1);
    EXPECT_EQ(other.attempts, one.attempts);
    line.core->removeWitness(&other);
    line.write("DM", 1, {2});
    ASSERT_TRUE(line.settle());
    EXPECT_EQ(one.attempts.size(), 3U);
    EXPECT_EQ(other.attempts.size(), 2U);
    const LinkStatistics& statistics = line.core->statistics();
    EXPECT_EQ(statistics.exchanges(), 2);
    EXPECT_EQ(statistics.retries(), 1);
    EXPECT_EQ(statistics.timeouts(), 1);
    EXPECT_EQ(statistics.dropped(), 1);
    EXPECT_EQ(statistics.failures(), 0);
    EXPECT_EQ(statistics.roundTrips().count(), 1);
    EXPECT_EQ(statistics.roundTrips().percentile(50), 2000);
}

TEST(LineStatistics, silenceAndErrors_areRemembered) {
    SimulatedLine line(lineSettings());
    line.fate = [](const QByteArray&, int number) {
        Fate fate;
        fate.loseReply = number <= 3;
        fate.endCode = number > 3 ? 0x2102 : 0;
        return fate;
    };
    line.read("DM", 1, 1);
    ASSERT_TRUE(line.settle());
    EXPECT_EQ(line.core->statistics().silentSince(), 1000000);
    EXPECT_EQ(line.core->statistics().lastEndCode(), -1);
    line.read("DM", 1, 1);
    ASSERT_TRUE(line.settle());
    EXPECT_EQ(line.core->statistics().silentSince(), -1);
    EXPECT_EQ(line.core->statistics().lastError(), 0x2102);
    EXPECT_EQ(line.core->statistics().failures(), 2);
}

TEST(LineStatistics, refusedPollReadAndWrite_countAlike) {
    const std::function<void(SimulatedLine&)> kinds[] = {
        [](SimulatedLine& line) { line.read("DM", 1, 1); },
        [](SimulatedLine& line) { line.write("DM", 1, {1}); },
        [](SimulatedLine& line) { line.write("CIO_bit", 1, {1}); }};
    for (const auto& handOver : kinds) {
        SimulatedLine line(lineSettings());
        line.fate = [](const QByteArray&, int) {
            Fate fate;
            fate.endCode = 0x2203;
            return fate;
        };
        handOver(line);
        ASSERT_TRUE(line.settle());
        const LinkStatistics& statistics = line.core->statistics();
        EXPECT_EQ(line.frames.size(), 3U);
        EXPECT_EQ(statistics.exchanges(), 1);
        EXPECT_EQ(statistics.retries(), 2);
        EXPECT_EQ(statistics.failures(), 1);
        EXPECT_EQ(statistics.roundTrips().count(), 1);
        EXPECT_EQ(statistics.roundTrips().percentile(50), 2000);
    }
}

TEST(LineStatistics, refusedPoll_countsAsARefusedWriteDoes) {
    SimulatedLine line(lineSettings());
    line.fate = [](const QByteArray&, int number) {
        Fate fate;
        fate.endCode = number <= 3 ? 0x2203 : 0;
        return fate;
    };
    line.setTags({tagAt("DM", 1)});
    ASSERT_TRUE(line.runUntil([&] { return line.core->statistics().exchanges() > 0; }));
    EXPECT_EQ(line.frames.size(), 3U);
    EXPECT_EQ(line.core->statistics().exchanges(), 1);
    EXPECT_EQ(line.core->statistics().retries(), 2);
    EXPECT_EQ(line.core->statistics().failures(), 1);
    EXPECT_EQ(line.core->statistics().roundTrips().count(), 1);
}

TEST(LineStatistics, writeRefusedAndThenTaken_isNoFailure) {
    SimulatedLine line(lineSettings());
    line.setTags({tagAt("DM", 500)});
    ASSERT_TRUE(line.runUntil([&] { return line.core->board().allFresh(); }));
    const qint64 before = line.core->statistics().exchanges();
    bool refusedOnce = false;
    line.fate = [&](const QByteArray& frame, int) {
        Fate fate;
        fate.endCode = isWriteFrame(frame) && !refusedOnce ? 0x2203 : 0;
        refusedOnce = refusedOnce || isWriteFrame(frame);
        return fate;
    };
    line.write("DM", 1, {1});
    ASSERT_TRUE(line.settle());
    EXPECT_EQ(line.writes.at(0).result, WriteResult::Taken);
    EXPECT_EQ(line.core->statistics().exchanges(), before + 1);
    EXPECT_EQ(line.core->statistics().retries(), 1);
    EXPECT_EQ(line.core->statistics().failures(), 0);
}

} // namespace
