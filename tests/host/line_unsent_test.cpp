// What a line tells of frames that this computer could not send.

#include "host/simulated_line.h"

#include <cerrno>

using namespace velkor_host;

namespace {

/// Those frames do not leave of which `which` holds; numbers count from 1.
void keepBack(SimulatedLine* line, const std::function<bool(const QByteArray&, int)>& which) {
    line->fate = [which](const QByteArray& frame, int number) {
        Fate fate;
        fate.sendError = which(frame, number) ? ENETUNREACH : 0;
        return fate;
    };
}

bool every(const QByteArray& /*frame*/, int /*number*/) {
    return true;
}

TEST(LineUnsent, writeOfWhichNothingLeaves_isNotReached) {
    SimulatedLine line(lineSettings());
    keepBack(&line, every);
    line.write("DM", 100, {7});
    ASSERT_TRUE(line.settle());
    const WriteOutcome& outcome = line.writes.at(0);
    EXPECT_EQ(outcome.result, WriteResult::NotReached);
    EXPECT_EQ(outcome.unknown, 0);
    EXPECT_EQ(outcome.last.unsent, 3);
    EXPECT_EQ(outcome.last.sendError, ENETUNREACH);
    EXPECT_EQ(line.core->statistics().unsent(), 3);
    EXPECT_EQ(line.core->statistics().timeouts(), 0);
    EXPECT_TRUE(line.core->statistics().cannotSend());
}

/// Notes where the line sends from.
class Moves : public FrameWitness {
public:
    void sent(const QByteArray& /*frame*/, int /*attempt*/) override {}
    void received(const QByteArray& /*datagram*/, Verdict /*verdict*/) override {}
    void timedOut(const QByteArray& /*frame*/) override {}
    void portRefused() override {}
    void moved(const Endpoint& local) override { ports.append(local.port); }

    QVector<int> ports;
};

TEST(LineUnsent, lineThatHasMoved_sendsByItsNewNodeFromThenOnAndTellsWitnesses) {
    const int SOURCE_NODE = 7; // its place in a frame
    SimulatedLine line(lineSettings());
    Moves moves;
    line.core->addWitness(&moves);
    line.onPrepare = [&] {
        if (line.frames.empty()) {
            line.core->moved({QHostAddress("10.1.1.77"), 9700}, {0, 1, 0, 0, 77, 0});
        }
    };
    line.read("DM", 100, 1);
    ASSERT_TRUE(line.settle());
    EXPECT_TRUE(line.reads.at(0).ok);
    EXPECT_EQ(line.frames.at(0).at(SOURCE_NODE), 77);
    EXPECT_EQ(moves.ports, QVector<int>{9700});
}

/// The one that has left may have been executed, whichever it was, though its reply is lost.
TEST(LineUnsent, writeOfWhichOneTryLeaves_isUnknown) {
    for (int left = 1; left <= 3; ++left) {
        SimulatedLine line(lineSettings());
        line.fate = [left](const QByteArray&, int number) {
            Fate fate;
            fate.sendError = number == left ? 0 : EHOSTUNREACH;
            fate.loseReply = true;
            return fate;
        };
        line.write("DM", 100, {7});
        ASSERT_TRUE(line.settle());
        EXPECT_EQ(line.writes.at(0).result, WriteResult::Unknown) << left;
        EXPECT_EQ(line.writes.at(0).unknown, 1);
        EXPECT_EQ(line.machine.dm(100), 7);
        EXPECT_FALSE(line.core->statistics().cannotSend());
    }
}

TEST(LineUnsent, writeWhoseSecondTryLeaves_isTakenOnce) {
    SimulatedLine line(lineSettings());
    keepBack(&line, [](const QByteArray&, int number) { return number == 1; });
    line.write("DM", 100, {7});
    ASSERT_TRUE(line.settle());
    EXPECT_EQ(line.writes.at(0).result, WriteResult::Taken);
    EXPECT_EQ(line.machine.writes.size(), 1U);
}

TEST(LineUnsent, pieceOfALongWrite_endsItThere) {
    LineSettings settings = lineSettings();
    settings.wordsPerFrame = 2;
    SimulatedLine line(settings);
    keepBack(&line, [](const QByteArray&, int number) { return number > 1; });
    line.write("DM", 100, {1, 2, 3, 4, 5, 6});
    ASSERT_TRUE(line.settle());
    const WriteOutcome& outcome = line.writes.at(0);
    EXPECT_EQ(outcome.result, WriteResult::NotReached);
    EXPECT_EQ(outcome.taken, 2);
    EXPECT_EQ(outcome.unknown, 0);
    EXPECT_EQ(line.machine.writes.size(), 1U);
}

TEST(LineUnsent, refusalThenNothingLeaves_isRefused) {
    SimulatedLine line(lineSettings());
    line.fate = [](const QByteArray&, int number) {
        Fate fate;
        fate.endCode = 0x2101;
        fate.sendError = number > 1 ? ENETUNREACH : 0;
        return fate;
    };
    line.write("DM", 100, {7});
    ASSERT_TRUE(line.settle());
    const WriteOutcome& outcome = line.writes.at(0);
    EXPECT_EQ(outcome.result, WriteResult::Refused);
    EXPECT_EQ(outcome.last.refusals, 1);
    EXPECT_EQ(outcome.last.unsent, outcome.last.tries - 1);
}

TEST(LineUnsent, changeOfTheMode_isNotSaidToBeUnknown) {
    LineSettings settings = lineSettings();
    settings.allowModeChange = true;
    SimulatedLine line(settings);
    line.machine.refusals.push_back({0x82, 100, 100, 0x2203});
    keepBack(&line, [](const QByteArray& frame, int) { return isModeChangeFrame(frame); });
    line.write("DM", 100, {7});
    ASSERT_TRUE(line.settle());
    EXPECT_EQ(line.writes.at(0).result, WriteResult::Refused);
    EXPECT_FALSE(line.writes.at(0).modeSwitched);
    EXPECT_FALSE(line.writes.at(0).modeUnknown);
    EXPECT_TRUE(line.machine.modeChanges.empty());
}

TEST(LineUnsent, tags_areStaleWithTheSystemsReasonAndFreshOnceItSends) {
    SimulatedLine line(lineSettings());
    line.setTags({tagAt("DM", 100)});
    ASSERT_TRUE(line.runUntil([&] { return line.core->board().allFresh(); }));
    keepBack(&line, every);
    ASSERT_TRUE(line.runUntil([&] { return line.status(0).state == TagState::Stale; }, 2000000));
    EXPECT_EQ(line.status(0).reason.toStdString(),
              "cannot send: Network is unreachable, to 192.168.250.1:9600");
    line.fate = nullptr;
    EXPECT_TRUE(line.runUntil([&] { return line.core->board().allFresh(); }, 2000000));
    EXPECT_FALSE(line.core->statistics().cannotSend());
}

/// Each frame waits for its deadline, as for a reply: no busy loop.
TEST(LineUnsent, tries_keepTheirPace) {
    LineSettings settings = lineSettings();
    SimulatedLine line(settings);
    line.setTags({tagAt("DM", 100)});
    keepBack(&line, every);
    const std::size_t before = line.frames.size();
    line.run(1000000);
    EXPECT_LE(line.frames.size() - before, std::size_t(1000 / settings.timeoutMs + 1));
}

TEST(LineUnsent, closedWhileItWaits_isNotReached) {
    SimulatedLine line(lineSettings());
    keepBack(&line, every);
    line.write("DM", 100, {7});
    line.close();
    ASSERT_EQ(line.writes.size(), 1U);
    EXPECT_EQ(line.writes.at(0).result, WriteResult::NotReached);
}

TEST(LineUnsent, closedWhileATryBeforeHasLeft_isUnknown) {
    SimulatedLine line(lineSettings());
    line.fate = [](const QByteArray&, int number) {
        Fate fate;
        fate.loseReply = true;
        fate.sendError = number > 1 ? ENETUNREACH : 0;
        return fate;
    };
    line.write("DM", 100, {7});
    ASSERT_TRUE(line.runUntil([&] { return line.frames.size() == 2; }));
    line.close();
    EXPECT_EQ(line.writes.at(0).result, WriteResult::Unknown);
}

TEST(LineUnsent, blockOfADownload_isNotMoved) {
    SimulatedLine line(lineSettings());
    keepBack(&line, [](const QByteArray&, int number) { return number > 1; });
    line.download({variable("DM", 100, {1, 2}), variable("HR", 5, {3})});
    ASSERT_TRUE(line.settle());
    const RecipeOutcome& outcome = line.recipes.at(0);
    EXPECT_EQ(outcome.result, RecipeResult::NotReached);
    EXPECT_EQ(recipeBlocksText(outcome).count("not written"), 1);
    EXPECT_FALSE(recipeBlocksText(outcome).contains("not known"));
}

TEST(LineUnsent, downloadClosedWhileNothingOfABlockHasLeft_isNotMoved) {
    SimulatedLine line(lineSettings());
    keepBack(&line, every);
    line.download({variable("DM", 100, {1, 2})});
    line.close();
    ASSERT_EQ(line.recipes.size(), 1U);
    EXPECT_EQ(recipeBlocksText(line.recipes.at(0)).toStdString(), "DM 100 to 101 not written");
}

class Recorder : public FrameWitness {
public:
    void sent(const QByteArray& frame, int /*attempt*/) override { left.push_back(frame); }
    void notSent(const QByteArray& frame, int attempt, int error) override {
        kept.push_back(frame);
        attempts.push_back(attempt);
        lastError = error;
    }
    void received(const QByteArray& /*datagram*/, Verdict /*verdict*/) override {}
    void timedOut(const QByteArray& /*frame*/) override { ++timeouts; }
    void portRefused() override {}
    std::vector<QByteArray> left;
    std::vector<QByteArray> kept;
    std::vector<int> attempts;
    int lastError = 0;
    int timeouts = 0;
};

TEST(LineUnsent, witness_isToldOfWhatLeftAndOfWhatDidNot) {
    SimulatedLine line(lineSettings());
    Recorder witness;
    line.core->addWitness(&witness);
    keepBack(&line, [](const QByteArray&, int number) { return number < 3; });
    line.write("DM", 100, {7});
    ASSERT_TRUE(line.settle());
    EXPECT_EQ(witness.kept.size(), 2U);
    EXPECT_EQ(witness.attempts, (std::vector<int>{1, 2}));
    EXPECT_EQ(witness.lastError, ENETUNREACH);
    EXPECT_EQ(witness.left.size(), 1U);
    EXPECT_EQ(witness.timeouts, 0);
}

} // namespace
