// Each allocation that the driver makes in a whole story finds no memory once.

#include "faults/driver_story.h"
#include "faults/heap.h"

#include <set>

namespace {

/// What a query or the configuration does when it fails; the calls that move something leave it
/// half done at the worst, and a host that repeats them comes to the same end.
const std::set<std::string> LEAVE_NO_TRACE = {"initProperty",
                                              "SetDriverPropertyPage",
                                              "getDriverParameter",
                                              "getDriverPropertyPage",
                                              "getRegDiscription",
                                              "getRegListByType",
                                              "checkAddrValidity",
                                              "multiCopy",
                                              "getData"};

struct Tally {
    long stories = 0;
    long writesLost = 0;
    std::set<std::string> failedIn;
};

/// False: the story has fewer allocations.
bool storyWith(DriverStory::Answer answer, long failing, Tally* tally) {
    DriverStory story(answer, failing);
    story.tell();
    if (!story.failed()) {
        return false;
    }
    ++tally->stories;
    tally->failedIn.insert(story.failedIn());
    const std::string place = "allocation " + std::to_string(failing) + ", in " + story.failedIn();
    EXPECT_EQ(story.wrong(), std::vector<std::string>()) << place;
    if (LEAVE_NO_TRACE.count(story.failedIn()) > 0) {
        EXPECT_TRUE(story.leftNoTrace()) << place;
    }
    if (story.writeLost()) {
        ++tally->writesLost;
        EXPECT_EQ(story.failedIn(), "dealRcvFrame") << place;
    }
    return true;
}

Tally tellAll(DriverStory::Answer answer) {
    Tally tally;
    for (long failing = 1; storyWith(answer, failing, &tally); ++failing) {
    }
    return tally;
}

} // namespace

TEST(EveryAllocation, noneFails_theStoryIsWhole) {
    DriverStory story(DriverStory::GoOn, 0);
    story.tell();
    EXPECT_EQ(story.wrong(), std::vector<std::string>());
    EXPECT_FALSE(story.writeLost());
}

TEST(EveryAllocation, failsOnceAndTheCallIsRepeated_nothingIsLostUntold) {
    const Tally tally = tellAll(DriverStory::Again);
    EXPECT_GT(tally.stories, 500);
    EXPECT_GT(tally.failedIn.size(), 8U);
    // Where it asks for the mode to be changed, and has no memory for that frame, its service ID
    // has gone on: no reply to the write is taken any more, and it fails, and is told as failed.
    EXPECT_LE(tally.writesLost, 2);
}

TEST(EveryAllocation, failsOnceAndTheHostGoesOn_nothingButThatCallIsLostUntold) {
    const Tally tally = tellAll(DriverStory::GoOn);
    EXPECT_GT(tally.stories, 500);
    EXPECT_LE(tally.writesLost, 2);
}

TEST(EveryAllocation, failsOnceAndTheLibraryIsUnloaded_nothingIsHeld) {
    const auto someStories = [](Tally* tally) {
        for (long failing = 1; storyWith(DriverStory::GoOn, failing, tally); failing += 9) {
        }
    };
    Tally tally;
    someStories(&tally); // what is made once and kept is made now
    const long before = heap::blocks();
    someStories(&tally);
    EXPECT_EQ(heap::blocks(), before);
}
