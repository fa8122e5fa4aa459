// The driver's only accesses to the host's memory, mutex and callback.

#include "driver/host_areas.h"

#include "support/fresh_driver.h"

#include <algorithm>
#include <atomic>
#include <thread>

namespace {

struct RequestRow {
    int downloadByte, uploadByte;
    bool download, upload;
};

// A request is active when its byte is exactly 1.
const RequestRow requestRows[] = {
    {0, 0, false, false}, {1, 0, true, false},    {0, 1, false, true},
    {1, 1, true, true},   {2, 255, false, false}, {128, 3, false, false},
};

} // namespace

class HostAreas : public FreshDriver {
protected:
    bool mutexIsFree() {
        const bool free = mutex.tryLock();
        if (free) {
            mutex.unlock();
        }
        return free;
    }
};

TEST_F(HostAreas, readRecipeRequests_bytes_activeOnlyWhenExactlyOne) {
    for (const RequestRow& row : requestRows) {
        SCOPED_TRACE(::testing::Message() << row.downloadByte << ' ' << row.uploadByte);
        hostBlock[60115] = static_cast<unsigned char>(row.downloadByte);
        hostBlock[60116] = static_cast<unsigned char>(row.uploadByte);
        const RecipeRequests requests = readRecipeRequests();
        EXPECT_EQ(requests.download, row.download);
        EXPECT_EQ(requests.upload, row.upload);
    }
    EXPECT_TRUE(mutexIsFree());
}

TEST_F(HostAreas, readRecipeRequests_mutexHeldElsewhere_waitsForIt) {
    // The other thread must not see the byte before this one lets the mutex go.
    mutex.lock();
    std::atomic<bool> started(false);
    RecipeRequests seen = {false, false};
    std::thread reader([&] {
        started = true;
        seen = readRecipeRequests();
    });
    while (!started) {
        std::this_thread::yield();
    }
    std::this_thread::yield();
    hostBlock[60115] = 1;
    mutex.unlock();
    reader.join();
    EXPECT_TRUE(seen.download);
}

TEST_F(HostAreas, clearRecipeRequest_offset_writesThatByteAlone) {
    std::fill(hostBlock.begin(), hostBlock.end(), static_cast<unsigned char>(0xCC));
    clearRecipeRequest(HOST_RECIPE_DOWNLOAD_REQUEST);
    EXPECT_EQ(hostBlock[60115], 0);
    EXPECT_EQ(std::count(hostBlock.begin(), hostBlock.end(), 0xCC),
              static_cast<std::ptrdiff_t>(hostBlock.size()) - 1);

    clearRecipeRequest(HOST_RECIPE_UPLOAD_REQUEST);
    EXPECT_EQ(hostBlock[60116], 0);
    EXPECT_EQ(std::count(hostBlock.begin(), hostBlock.end(), 0xCC),
              static_cast<std::ptrdiff_t>(hostBlock.size()) - 2);
    EXPECT_TRUE(mutexIsFree());
}

TEST_F(HostAreas, clearRecipeRequest_mutexHeldElsewhere_waitsForIt) {
    hostBlock[60115] = 1;
    mutex.lock();
    std::atomic<bool> started(false);
    std::thread writer([&] {
        started = true;
        clearRecipeRequest(HOST_RECIPE_DOWNLOAD_REQUEST);
    });
    while (!started) {
        std::this_thread::yield();
    }
    std::this_thread::yield();
    const unsigned char whileHeld = hostBlock[60115];
    mutex.unlock();
    writer.join();
    EXPECT_EQ(whileHeld, 1);
    EXPECT_EQ(hostBlock[60115], 0);
}

TEST_F(HostAreas, reportCommunicationFailure_always_bothBytesThenBothNotices) {
    std::vector<int> bytesAtNotice;
    onNotice = [&](const Notice&) {
        bytesAtNotice.push_back(statusBlock[122022]);
        bytesAtNotice.push_back(statusBlock[122023]);
    };
    reportCommunicationFailure();
    EXPECT_EQ(takeNotices(), (std::vector<Notice>{{0, -1, "LW", 122022}, {0, -1, "LW", 122023}}));
    EXPECT_EQ(bytesAtNotice, (std::vector<int>{4, 0, 4, 0}));
    EXPECT_EQ(std::count(statusBlock.begin(), statusBlock.end(), 0xEE),
              static_cast<std::ptrdiff_t>(statusBlock.size()) - 2);
}

TEST_F(HostAreas, reportCommunicationFailure_mutexHeldByTheHost_takesNoLock) {
    mutex.lock(); // a driver that took it here would wait for ever
    reportCommunicationFailure();
    mutex.unlock();
    EXPECT_EQ(statusBlock[122022], 4);
    EXPECT_EQ(statusBlock[122023], 0);
}

TEST_F(HostAreas, storeRecipeWord_word_lowByteAtTheLowerAddressAndAnnounced) {
    storeRecipeWord(3, 0x34, 0x12);
    const unsigned char* bytes = reinterpret_cast<const unsigned char*>(recipeBuffer.data());
    EXPECT_EQ(bytes[6], 0x34);
    EXPECT_EQ(bytes[7], 0x12);
    EXPECT_EQ(bytes[5], 0);
    EXPECT_EQ(bytes[8], 0);
    EXPECT_EQ(takeNotices(), (std::vector<Notice>{{0, -1, "RWI", 3}}));
}

TEST_F(HostAreas, copyFromRecipeBuffer_words_bytesUnchanged) {
    unsigned char* bytes = reinterpret_cast<unsigned char*>(recipeBuffer.data());
    for (int i = 0; i < 10; ++i) {
        bytes[i] = static_cast<unsigned char>(i + 1);
    }
    unsigned char target[6] = {0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE};
    copyFromRecipeBuffer(1, 4, target);
    EXPECT_EQ(std::vector<int>(target, target + 6), (std::vector<int>{3, 4, 5, 6, 0xEE, 0xEE}));
}

TEST_F(HostAreas, notifyValueChange_any_carriesTheHostTag) {
    notifyValueChange(5, QLatin1String("CIO_bit"), -3);
    EXPECT_EQ(takeNotices(), (std::vector<Notice>{{hostTag, 5, "CIO_bit", -3}}));
}

TEST_F(HostAreas, notifyConditionReadEnded_status_isTheAddressArgument) {
    notifyConditionReadEnded(0);
    notifyConditionReadEnded(-1);
    EXPECT_EQ(takeNotices(), (std::vector<Notice>{{-1, -1, "-1", 0}, {-1, -1, "-1", -1}}));
}
