/// What a poll in steady state allocates. This program counts every malloc of its process, the
/// library's and Qt's included, while it is told to.

#include "contract/loaded_driver.h"
#include "support/silence.h"

#include <gmock/gmock.h>

#include <cstdlib>

using ::testing::Each;
using ::testing::IsEmpty;
using ::testing::Le;
using ::testing::SizeIs;

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
}

namespace {

const int mostCounted = 10000;
bool counting = false;
int counted = 0;
size_t sizes[mostCounted];

void count(size_t size) {
    if (counting && counted < mostCounted) {
        sizes[counted++] = size;
    }
}

/// The sizes of what is allocated while this lives.
class AllocationCount {
public:
    AllocationCount() {
        counted = 0;
        counting = true;
    }
    ~AllocationCount() { counting = false; }
    static std::vector<size_t> stop() {
        counting = false;
        return std::vector<size_t>(sizes, sizes + counted);
    }
};

} // namespace

extern "C" void* malloc(size_t size) {
    count(size);
    return __libc_malloc(size);
}

extern "C" void* calloc(size_t items, size_t size) {
    count(items * size);
    return __libc_calloc(items, size);
}

extern "C" void* realloc(void* block, size_t size) {
    count(size);
    return __libc_realloc(block, size);
}

namespace {

const int blocks = 15;
const int wordsPerBlock = 64;

class Allocation : public LoadedDriver {
protected:
    /// Polls 15 blocks of 64 words, and has read each of them twice.
    Allocation() {
        QList<host::KeyAddress> keys;
        for (int i = 0; i < blocks * wordsPerBlock; ++i) {
            keys.append(makeKey("DM", i, 1));
        }
        EXPECT_EQ(intf.addrMerge(keys), blocks);
        for (int i = 0; i < 2 * blocks; ++i) {
            const host::FramePro frame = nextFrame();
            EXPECT_EQ(answer(frame, std::vector<int>(wordsPerBlock, 0)), 1U);
        }
    }

private:
    Silence m_silence; // debug lines are formatted all the same
};

TEST_F(Allocation, anAllocationOfTheLibrary_isCounted) {
    AllocationCount allocations;
    const QString text(1000, QLatin1Char('x'));
    EXPECT_THAT(allocations.stop(), SizeIs(1));
}

TEST_F(Allocation, getSendFrame_steadyPoll_atMostTheRecordOfTheFrameQueue) {
    host::FramePro frame = host::FramePro();
    for (int i = 0; i < 4 * blocks; ++i) {
        AllocationCount allocations;
        ASSERT_EQ(intf.getSendFrame(frame), 1U);
        const std::vector<size_t> sizesOfIt = allocations.stop();
        ASSERT_THAT(sizesOfIt, SizeIs(Le(1U))); // none where the queue keeps its room, as with Qt 6
        ASSERT_THAT(sizesOfIt, Each(sizeof(host::FramePro)));
        ASSERT_EQ(answer(frame, std::vector<int>(wordsPerBlock, 0)), 1U);
    }
}

TEST_F(Allocation, dealRcvFrame_nothingChanged_nothing) {
    for (int i = 0; i < 4 * blocks; ++i) {
        const host::FramePro frame = nextFrame();
        QByteArray reply(14 + 2 * wordsPerBlock, '\0');
        reply[9] = static_cast<char>(frame.frame[9]);
        AllocationCount allocations;
        ASSERT_EQ(intf.dealRcvFrame(&reply, &message), 1U);
        ASSERT_THAT(allocations.stop(), IsEmpty());
    }
}

TEST_F(Allocation, getData_aBlockOfKnownWords_nothing) {
    const QString name = QLatin1String("DM");
    unsigned char values[2 * wordsPerBlock];
    AllocationCount allocations;
    ASSERT_EQ(intf.getData(1, name, wordsPerBlock, wordsPerBlock, values), 1);
    EXPECT_THAT(allocations.stop(), IsEmpty());
}

} // namespace
