// Each datagram of a whole story goes wrong once, in every way that can be noticed: what the line
// has told is so, and it goes on.

#include "faults/datagram_fault.h"
#include "faults/line_story.h"
#ifdef VELKOR_HEAP_WATCHED
#include "faults/heap.h"
#endif

#include <cstdlib>
#include <ostream>

namespace {

/// Every so many-th story is told, always the same, so that the quick tests are quick.
int stride() {
    return std::getenv("VELKOR_EVERY_FAULT") != nullptr ? 1 : 41;
}

struct Shape {
    bool requests; ///< go wrong; else replies
    bool atOnce;
    int retries;
};

void PrintTo(const Shape& shape, std::ostream* out) {
    *out << (shape.requests ? "requests, " : "replies, ")
         << (shape.atOnce ? "all at once, " : "one by one, ") << shape.retries << " tries";
}

/// 0 where somebody else watches.
long blocksHeld() {
#ifdef VELKOR_HEAP_WATCHED
    return heap::blocks();
#else
    return 0;
#endif
}

struct Tally {
    int stories = 0;
    int lies = 0; ///< end codes made others
    int believed = 0;
};

/// False: the story has fewer datagrams of that direction.
bool storyWith(const Shape& shape, int number, const DatagramFault& fault, Tally* tally) {
    LineStory story(shape.atOnce, shape.retries);
    SpoiltWire wire(shape.requests, number, fault);
    story.line().wire = [&](const QByteArray& datagram, bool there) {
        return wire.carry(datagram, there);
    };
    story.tell();
    const std::vector<std::string> untruths = story.untruths();
    ++tally->stories;
    tally->lies += wire.lied() ? 1 : 0;
    tally->believed += wire.lied() && !untruths.empty() ? 1 : 0;
    // What a lie is about nobody can know better. Everything else still is so.
    const std::size_t allowed = wire.lied() ? 1 : 0;
    EXPECT_LE(untruths.size(), allowed)
        << testing::PrintToString(shape) << ", number " << number << ", " << fault.name() << ":\n  "
        << testing::PrintToString(untruths) << "\n  told: " << story.told();
    return wire.met();
}

Tally tellAll(const Shape& shape) {
    Tally tally;
    int turn = 0;
    for (const DatagramFault& fault : faultsOf(shape.requests)) {
        int number = 1 + turn++ % stride();
        while (storyWith(shape, number, fault, &tally) && !testing::Test::HasFailure()) {
            number += stride();
        }
    }
    return tally;
}

class EveryDatagram : public testing::TestWithParam<Shape> {};

} // namespace

TEST(Story, nothingGoesWrong_allIsDoneAndTheWriteToThePlcsOwnWordIsRefused) {
    for (const bool atOnce : {false, true}) {
        for (const int retries : {1, 3}) {
            LineStory story(atOnce, retries);
            story.tell();
            EXPECT_EQ(story.untruths(), std::vector<std::string>());
            // A change of the mode takes a second try.
            EXPECT_EQ(story.told(),
                      std::string("taken, taken, taken, refused, taken, read, read, done, done, ") +
                          (retries > 1 ? "taken" : "refused"));
            EXPECT_EQ(story.line().machine.modeChanges.size(), retries > 1 ? 1U : 0U);
        }
    }
}

TEST(Story, lineIsDestroyed_nothingOfItsMemoryIsHeld) {
    const auto everyFault = [] {
        Tally tally;
        for (const DatagramFault& fault : faultsOf(false)) {
            storyWith({false, true, 1}, 30, fault, &tally);
        }
    };
    everyFault(); // what is made once and kept is made now
    const long before = blocksHeld();
    everyFault();
    EXPECT_EQ(blocksHeld(), before);
}

/// That a changed end code is believed is no wish: FINS has nothing against it. But nothing else is
/// told wrongly.
TEST(Story, endCodeBecomesAnother_isBelievedOfThatRequestAlone) {
    Tally tally;
    for (const int code : {0x0000, 0x2101}) {
        int number = 1;
        while (storyWith({false, false, 3}, number, {DatagramFault::EndCode, code}, &tally)) {
            ++number;
        }
    }
    EXPECT_GT(tally.lies, 0);
    EXPECT_GT(tally.believed, 0);
    EXPECT_LT(tally.believed, tally.lies); // the other tries told better
}

TEST_P(EveryDatagram, goesWrongOnce_whatIsToldIsSo) {
    const Tally tally = tellAll(GetParam());
    RecordProperty("stories", tally.stories);
    EXPECT_GT(tally.stories, 100);
}

INSTANTIATE_TEST_SUITE_P(Shapes, EveryDatagram,
                         testing::Values(Shape{true, false, 3}, Shape{true, false, 1},
                                         Shape{true, true, 3}, Shape{true, true, 1},
                                         Shape{false, false, 3}, Shape{false, false, 1},
                                         Shape{false, true, 3}, Shape{false, true, 1}));
