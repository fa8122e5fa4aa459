// What holds of whole exchanges with a PLC, whatever is polled and written, over good lines and
// bad.

#include "loop/loop_fixture.h"
#include "model/random.h"

#include <algorithm>

namespace {

const int rounds = 120;
const int deedsOfARound = 60;
const int retryLimit = 3;

/// One thing that the host does, or nothing but turns.
struct Deed {
    enum Kind { WriteWords, WriteBits, ReadOnce, Turns } kind;
    std::string reg;
    int addr;
    std::vector<int> values;
};

/// Words 0 to 39 of DM and of CIO, and the bits in them.
Deed randomDeed(model::Random& random) {
    const int what = random.below(10);
    const bool dm = random.percent(50);
    Deed deed = {Deed::Turns, dm ? "DM" : "CIO", random.below(36), {}};
    if (what < 3) {
        deed.kind = Deed::WriteWords;
        for (int i = random.between(1, 4); i > 0; --i) {
            deed.values.push_back(random.below(65536));
        }
    } else if (what < 5) {
        deed.kind = Deed::WriteBits;
        deed.reg += "_bit";
        deed.addr = random.below(16 * 39);
        for (int i = random.between(1, 12); i > 0; --i) {
            deed.values.push_back(random.below(2));
        }
    } else if (what < 6) {
        deed.kind = Deed::ReadOnce;
        deed.values.resize(static_cast<std::size_t>(random.between(1, 4)));
    } else {
        deed.values.resize(static_cast<std::size_t>(random.between(1, 6)));
    }
    return deed;
}

std::vector<Deed> randomStory(unsigned seed) {
    model::Random random(seed);
    std::vector<Deed> story;
    story.reserve(static_cast<std::size_t>(deedsOfARound));
    for (int i = 0; i < deedsOfARound; ++i) {
        story.push_back(randomDeed(random));
    }
    return story;
}

const std::vector<Tag> polledTags = {
    {"DM", 0, 20}, {"DM", 20, 20}, {"CIO", 0, 40}, {"CIO_bit", 0, 640}};

} // namespace

/// What came of a story: all that must not depend on the line.
struct Result {
    std::vector<int> plcWords;
    std::vector<int> hostWords;
    std::vector<Notice> notices;
    std::vector<std::string> requests; ///< each once, however often it was sent
    int frames;
};

class ExchangeProperty : public LoopFixture {
protected:
    /// A line that spoils `percent` of the replies, but never `retryLimit` in a row.
    void setLine(unsigned seed, int percent) {
        line_ = model::Random(seed);
        spoiltPercent_ = percent;
    }

    /// Asks, sends, and hands over what the line makes of the reply; until it is accepted. False:
    /// there is nothing to send.
    bool wholeTurn();
    void perform(const Deed& deed);
    Result tell(const std::vector<Deed>& story);
    /// Turns until nothing waits and all blocks have been read once more.
    void settle();
    int valueInPlc(const std::string& reg, int addr) const { return plcWord(areaOf(reg), addr); }

    int frames_ = 0;
    std::vector<std::string> requests_;

private:
    plc::Bytes spoilt(plc::Bytes reply);

    model::Random line_ = model::Random(0);
    int spoiltPercent_ = 0;
};

plc::Bytes ExchangeProperty::spoilt(plc::Bytes reply) {
    switch (line_.below(4)) {
    case 0:
        return {};
    case 1:
        reply.pop_back();
        return reply;
    case 2:
        reply.push_back(0);
        return reply;
    default: // the reply to another frame
        reply[9] = static_cast<std::uint8_t>(reply[9] + line_.between(1, 255));
        return reply;
    }
}

bool ExchangeProperty::wholeTurn() {
    for (int faults = 0;; ++faults) {
        if (!ask()) {
            return false;
        }
        ++frames_;
        plc::Bytes answer = askPlc();
        const bool good = faults + 1 >= retryLimit || !line_.percent(spoiltPercent_);
        const int result = reply(good ? answer : spoilt(answer));
        EXPECT_EQ(result, good ? 1 : 8);
        if (good) {
            requests_.push_back(out.var.regName.toStdString() + ' ' + std::to_string(out.var.addr) +
                                ' ' + std::to_string(out.var.len) +
                                (out.dataLen > 0 ? " read" : " written"));
            return true;
        }
    }
}

void ExchangeProperty::perform(const Deed& deed) {
    switch (deed.kind) {
    case Deed::WriteWords:
        writeWords(deed.reg.c_str(), deed.addr, deed.values);
        break;
    case Deed::WriteBits:
        writeBits(deed.reg.c_str(), deed.addr, deed.values);
        break;
    case Deed::ReadOnce:
        conditionRead({deed.reg, deed.addr, static_cast<int>(deed.values.size())});
        break;
    case Deed::Turns:
        for (std::size_t i = 0; i < deed.values.size(); ++i) {
            wholeTurn();
        }
        break;
    }
}

void ExchangeProperty::settle() {
    for (int i = 0; i < 4 * deedsOfARound; ++i) { // enough for all that can wait
        ASSERT_TRUE(wholeTurn()) << "something is polled: there is always a next block";
    }
}

Result ExchangeProperty::tell(const std::vector<Deed>& story) {
    plc.memory() = plc::Memory();
    init(retryLimit, 16);
    frames_ = 0;
    requests_.clear();
    takeNotices();
    poll(polledTags);
    for (const Deed& deed : story) {
        perform(deed);
    }
    settle();
    Result result = {{}, {}, takeNotices(), requests_, frames_};
    for (const char* reg : {"DM", "CIO"}) {
        for (int addr = 0; addr < 40; ++addr) {
            result.plcWords.push_back(valueInPlc(reg, addr));
            result.hostWords.push_back(hostWord(reg, addr));
        }
    }
    return result;
}

TEST_F(ExchangeProperty, writes_allSettled_hostShowsWhatThePlcHolds) {
    for (unsigned seed = 1; seed <= rounds; ++seed) {
        setLine(seed, seed % 2 == 0 ? 30 : 0);
        const Result result = tell(randomStory(seed));
        ASSERT_EQ(result.hostWords, result.plcWords) << "seed " << seed;
        ASSERT_NE(std::count(result.plcWords.begin(), result.plcWords.end(), 0), 80);
        if (HasFailure()) {
            return;
        }
    }
}

TEST_F(ExchangeProperty, write_aloneAndSettled_isWhatTheHostReadsAndThePlcHolds) {
    for (unsigned seed = 1; seed <= rounds; ++seed) {
        model::Random random(seed);
        setLine(seed, 30);
        init(retryLimit, 16);
        for (int i = 0; i < 10; ++i) {
            const int addr = random.below(40);
            const int value = random.below(65536);
            writeWords("DM", addr, {value});
            ASSERT_TRUE(wholeTurn());
            ASSERT_EQ(plcWord(plc::Area::Dm, addr), value);
            ASSERT_EQ(hostWord("DM", addr), value);
            conditionRead({"DM", addr, 1});
            ASSERT_TRUE(wholeTurn()); // the read after it changes nothing
            ASSERT_EQ(hostWord("DM", addr), value);
            while (wholeTurn()) {
            }
        }
    }
}

TEST_F(ExchangeProperty, badLine_fewerFaultsInARowThanTheRetryLimit_onlyTheNumberOfFramesDiffers) {
    int moreFrames = 0;
    for (unsigned seed = 1; seed <= rounds; ++seed) {
        const std::vector<Deed> story = randomStory(seed);
        setLine(seed, 0);
        const Result good = tell(story);
        setLine(seed, 40);
        const Result bad = tell(story);
        ASSERT_EQ(bad.requests, good.requests) << "seed " << seed;
        ASSERT_EQ(bad.notices, good.notices) << "seed " << seed;
        ASSERT_EQ(bad.plcWords, good.plcWords) << "seed " << seed;
        ASSERT_EQ(bad.hostWords, good.hostWords) << "seed " << seed;
        moreFrames += bad.frames - good.frames;
        if (HasFailure()) {
            return;
        }
    }
    EXPECT_GT(moreFrames, 10 * rounds);
}
