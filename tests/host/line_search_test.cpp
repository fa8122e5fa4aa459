// The search for refused words while the line, or the PLC, has other troubles: what has been found
// is kept, and what has been read on the way counts.

#include "host/simulated_line.h"
#include "host/wire/fins_decode.h"

#include <algorithm>
#include <map>
#include <utility>

using namespace velkor_host;

namespace {

const qint64 SECOND = 1000000;

LineSettings longFrames() {
    LineSettings settings = lineSettings();
    settings.wordsPerFrame = 256;
    return settings;
}

/// DM 1000 to 1099, of which DM 1037 is refused.
class LineSearch : public testing::Test {
protected:
    LineSearch() : line(longFrames()) {
        line.machine.refusals.push_back({0x82, 1037, 1037, 0x1103});
        for (int index = 0; index < 100; ++index) {
            tags.append(tagAt("DM", 1000 + index));
        }
    }

    static bool isBlock(const QByteArray& frame) { return decodeFins(frame).count == 100; }

    bool foundWithin(qint64 microseconds) {
        return line.runUntil([this] { return line.freshTags() == 99; }, microseconds) &&
               line.shown(37) == "refused";
    }

    SimulatedLine line;
    QVector<Tag> tags;
};

/// Any one of the reads of the search meets silence, in all of its tries.
class OneReadUnanswered : public LineSearch, public testing::WithParamInterface<int> {};

TEST_P(OneReadUnanswered, isRepeatedAlone) {
    std::vector<std::pair<int, int>> order; // first words and lengths, as they are asked for
    int tries = 0;                          // of the chosen read
    line.fate = [&](const QByteArray& frame, int) {
        Fate fate;
        if (!isBlock(frame)) {
            const FinsFrame read = decodeFins(frame);
            const std::pair<int, int> words(read.word, read.count);
            if (order.empty() || order.back() != words) {
                order.push_back(words);
            }
            const bool chosen = static_cast<int>(order.size()) - 1 == GetParam();
            fate.loseReply = chosen && ++tries <= line.settings.retries;
        }
        return fate;
    };
    line.setTags(tags);
    ASSERT_TRUE(line.runUntil([this] { return line.shown(37) == "refused"; }, 3 * SECOND));
    std::map<std::pair<int, int>, int> turns;
    for (const std::pair<int, int>& words : order) {
        ++turns[words];
    }
    for (const auto& turn : turns) {
        EXPECT_EQ(turn.second, 1) << "DM " << turn.first.first << '+' << turn.first.second;
    }
    EXPECT_TRUE(foundWithin(SECOND));
}

INSTANTIATE_TEST_SUITE_P(Reads, OneReadUnanswered, testing::Range(0, 12));

TEST_F(LineSearch, onALineWhereTwoOfFiveRequestsFail_ends) {
    // One that began anew at each of them would never get through its fourteen reads.
    int requests = 0;
    int lastSid = -1;
    line.fate = [&](const QByteArray& frame, int) {
        const int sid = decodeFins(frame).sid; // that of a resend is the same
        requests += sid != lastSid ? 1 : 0;
        lastSid = sid;
        Fate fate;
        fate.loseReply = requests % 5 == 1 || requests % 5 == 3;
        return fate;
    };
    line.setTags(tags);
    EXPECT_TRUE(line.runUntil([this] { return line.shown(37) == "refused"; }, 20 * SECOND));
}

TEST_F(LineSearch, whatItReads_isFreshBeforeItHasEnded) {
    line.usual = 6000;
    line.setTags(tags);
    int most = 0;
    line.onTags = [&](const QVector<int>&) {
        most = line.shown(37) == "refused" ? most : std::max(most, line.freshTags());
    };
    ASSERT_TRUE(foundWithin(5 * SECOND));
    EXPECT_EQ(most, 49); // of the half with DM 1037; the other one is read last
}

/// The block is refused on and on meanwhile: of the words that the search has read that says
/// nothing.
TEST_F(LineSearch, refusalsOfItsBlock_takeNothingBackOfWhatItHasRead) {
    line.usual = 6000;
    line.setTags(tags);
    bool lost = false;
    int fresh = 0;
    line.onTags = [&](const QVector<int>&) {
        lost = lost || line.freshTags() < fresh;
        fresh = line.freshTags();
    };
    ASSERT_TRUE(foundWithin(5 * SECOND));
    EXPECT_FALSE(lost);
    const auto refused =
        std::count_if(line.requests.begin(), line.requests.end(), [](const RequestEnd& request) {
            return request.length == 100 && request.refused;
        });
    EXPECT_GE(refused, 2) << "the block was not polled meanwhile";
}

/// In the middle of a scan that is still to ask for its block, by the plan of before.
TEST_F(LineSearch, endsBeforeItsBlockIsRefusedOnceMore_takesNothingBack) {
    const int before = 22; // blocks asked for in each scan before its own
    for (int block = 0; block < before; ++block) {
        tags.append(tagAt("CIO", 300 * block)); // the last one is beyond the area, and refused, too
    }
    std::rotate(tags.begin(), tags.end() - before, tags.end());
    line.usual = 6000;
    line.setTags(tags);
    const int refused = before + 37;
    bool refusedOnceMore = false;
    QStringList lost;
    QVector<bool> wasFresh(tags.size());
    line.onTags = [&](const QVector<int>& changed) {
        for (const int tag : changed) {
            const TagStatus& status = line.status(tag);
            if (wasFresh.at(tag) && status.state != TagState::Fresh) {
                lost.append(QString::number(tag) + ": " + status.reason);
            }
            wasFresh[tag] = status.state == TagState::Fresh;
        }
    };
    ASSERT_TRUE(line.runUntil([&] { return line.shown(refused) == "refused"; }, 5 * SECOND));
    std::size_t seen = line.requests.size();
    line.run(SECOND);
    EXPECT_EQ(line.freshTags(), tags.size() - 2);
    for (; seen < line.requests.size(); ++seen) {
        const RequestEnd& request = line.requests.at(seen);
        refusedOnceMore = refusedOnceMore || (request.refused && request.length == 100);
    }
    EXPECT_TRUE(refusedOnceMore) << "the search has ended elsewhere in the scan";
    EXPECT_EQ(lost.size(), 0) << qPrintable(lost.join('\n'));
}

TEST_F(LineSearch, pieceWithoutAnswer_isStaleWithItsReason) {
    line.setTags(tags);
    line.fate = [](const QByteArray& frame, int) {
        Fate fate;
        fate.loseReply = !isBlock(frame);
        return fate;
    };
    line.run(SECOND);
    EXPECT_EQ(line.shown(0), "not read");
    EXPECT_TRUE(line.status(0).reason.startsWith("no answer: "))
        << qPrintable(line.status(0).reason);
    line.fate = nullptr;
    EXPECT_TRUE(foundWithin(SECOND));
}

/// An error that tells nothing of the address comes at once, and would come a thousand times a
/// second.
TEST_F(LineSearch, otherErrorInBetween_isAskedAgainNoOftenerThanOnceAScan) {
    line.setTags(tags);
    line.fate = [](const QByteArray& frame, int) {
        Fate fate;
        fate.endCode = isBlock(frame) ? 0 : 0x0204;
        return fate;
    };
    line.run(2 * SECOND);
    const int scans = line.scans;
    int asked = 0;
    for (const RequestEnd& request : line.requests) {
        asked += request.length != 100 ? 1 : 0;
    }
    EXPECT_GE(asked, 2);
    EXPECT_LE(asked, scans + 1);
    line.fate = nullptr;
    EXPECT_TRUE(foundWithin(SECOND));
}

TEST_F(LineSearch, blockThatIsGivenAfterAll_endsItWithNothingRefused) {
    line.setTags(tags);
    bool searched = false;
    line.fate = [&](const QByteArray& frame, int) {
        Fate fate;
        fate.loseReply = !isBlock(frame); // the search gets no further
        searched = searched || !isBlock(frame);
        return fate;
    };
    ASSERT_TRUE(line.runUntil([&] { return searched; }, SECOND));
    line.machine.refusals.clear();
    ASSERT_TRUE(line.runUntil([this] { return line.freshTags() == 100; }, 3 * SECOND));
    line.fate = nullptr;
    const std::size_t requests = line.requests.size();
    line.run(2 * SECOND);
    for (std::size_t index = requests; index < line.requests.size(); ++index) {
        EXPECT_EQ(line.requests.at(index).length, 100) << "the search goes on";
    }
    EXPECT_EQ(line.freshTags(), 100);
}

/// Words that never get an answer must not keep the search of another block from its end.
TEST_F(LineSearch, thatGetsNoAnswer_letsTheOthersHaveTheirTurn) {
    line.machine.refusals.push_back({0x82, 5001, 5001, 0x1103});
    for (const int word : {5000, 5001, 5002}) {
        tags.append(tagAt("DM", word));
    }
    line.fate = [](const QByteArray& frame, int) {
        const FinsFrame read = decodeFins(frame);
        Fate fate;
        fate.loseReply = read.word < 5000 && !isBlock(frame);
        return fate;
    };
    line.setTags(tags);
    EXPECT_TRUE(line.runUntil([this] { return line.shown(101) == "refused"; }, 10 * SECOND));
    EXPECT_TRUE(line.runUntil([this] { return line.freshTags() == 2; }, SECOND));
}

} // namespace
