/// The host's mutex: held for the accesses to bytes 60115 and 60116 of the shared block, and for
/// nothing else.

#include "support/exchange.h"

#include "fins/plc_mode.h"

#include <chrono>
#include <functional>
#include <future>

#include <csignal>
#include <sys/mman.h>

namespace {

/// Long enough for a call that does not wait to end; a call that waits is seen after it.
const std::chrono::milliseconds patience(100);
/// No call may take longer once the mutex is free.
const std::chrono::seconds bound(10);

class HostMutex : public Exchange {
protected:
    /// Runs `call` on another thread while this one holds the mutex; expects it to wait; does
    /// `meanwhile`; frees the mutex; expects the call to end.
    void expectToWait(const std::function<void()>& call, const std::function<void()>& meanwhile) {
        mutex.lock();
        std::future<void> running = std::async(std::launch::async, call);
        EXPECT_EQ(std::future_status::timeout, running.wait_for(patience)) << "it did not wait";
        meanwhile();
        mutex.unlock();
        ASSERT_EQ(std::future_status::ready, running.wait_for(bound));
        running.get();
    }

    /// Runs `call` on another thread while this one holds the mutex; expects it not to need it.
    void expectNotToWait(const std::function<void()>& call) {
        mutex.lock();
        std::future<void> running = std::async(std::launch::async, call);
        EXPECT_EQ(std::future_status::ready, running.wait_for(bound)) << "it waits";
        mutex.unlock();
        running.get();
    }

    void expectFree() {
        const bool free = mutex.tryLock();
        EXPECT_TRUE(free) << "the mutex is held";
        if (free) {
            mutex.unlock();
        }
    }

    /// From now on every callback finds the mutex free.
    void watchCallbacks(int* seen) {
        onNotice = [this, seen](const Notice&) {
            ++*seen;
            expectFree();
        };
    }
};

TEST_F(HostMutex, getSendFrame_readsTheRequestBytes_insideTheLock) {
    recipe({recipeVariable("DM", 500, 1, 0)});
    std::string asked;
    expectToWait([&] { asked = next(); },
                 [this] {
                     EXPECT_EQ(0, driver.SID); // and nothing has been built before
                     requestDownload();        // seen, if the byte is read after the lock
                 });
    EXPECT_EQ("write DM 500 1", asked);
    expectFree();
}

TEST_F(HostMutex, getSendFrame_readsTheUploadByte_insideTheSameLock) {
    recipe({recipeVariable("DM", 500, 1, 0)});
    requestDownload();
    std::string asked;
    expectToWait([&] { asked = next(); },
                 [this] {
                     hostBlock[60115] = 0;
                     requestUpload();
                 });
    EXPECT_EQ("read DM 500 1", asked);
}

TEST_F(HostMutex, getSendFrame_frameQueued_needsNoMutex) {
    poll({makeKey("DM", 100, 1)});
    next();
    std::string asked;
    expectNotToWait([&] { asked = next(); });
    EXPECT_EQ("read DM 100 1", asked);
}

TEST_F(HostMutex, dealRcvFrame_endOfADownload_clearsItsByteInsideTheLock) {
    recipe({recipeVariable("DM", 500, 1, 0)});
    requestDownload();
    next();
    expectToWait([this] { EXPECT_EQ(1U, answer()); }, [this] { EXPECT_EQ(1, downloadByte()); });
    EXPECT_EQ(0, downloadByte());
    expectFree();
}

TEST_F(HostMutex, dealRcvFrame_endOfAnUpload_clearsItsByteInsideTheLock) {
    recipe({recipeVariable("DM", 500, 1, 0)});
    requestUpload();
    next();
    expectToWait([this] { EXPECT_EQ(1U, answer()); },
                 [this] {
                     EXPECT_EQ(1, uploadByte());
                     EXPECT_EQ(1U, takeNotices().size()); // the words were announced before
                 });
    EXPECT_EQ(0, uploadByte());
    expectFree();
}

TEST_F(HostMutex, dealRcvFrame_failureOfATransfer_clearsItsByteInsideTheLock) {
    recipe({recipeVariable("DM", 500, 1, 0)});
    requestUpload();
    next();
    deal({});
    deal({});
    expectToWait([this] { EXPECT_EQ(2U, deal({})); },
                 [this] {
                     EXPECT_EQ(1, uploadByte());
                     EXPECT_EQ(failureThen(), takeNotices());
                 });
    EXPECT_EQ(0, uploadByte());
}

TEST_F(HostMutex, dealRcvFrame_blockThatIsNotTheLast_needsNoMutex) {
    recipe({recipeVariable("DM", 500, 1, 0), recipeVariable("DM", 600, 1, 1)});
    requestDownload();
    next();
    expectNotToWait([this] { EXPECT_EQ(1U, answer()); });
    EXPECT_EQ(1, downloadByte());
}

TEST_F(HostMutex, dealRcvFrame_writesReadsAndFailures_needNoMutex) {
    poll({makeKey("DM", 100, 1)});
    next();
    expectNotToWait([this] { EXPECT_EQ(1U, answer(Words{5})); });
    conditionRead("DM", 200, 1);
    next();
    expectNotToWait([this] { EXPECT_EQ(1U, answer()); });
    hostWrites("DM", 300, {1});
    next();
    expectNotToWait([this] { fail(); }); // the status block is written without it
    EXPECT_EQ(4, statusBlock[122022]);
}

TEST_F(HostMutex, otherEntryPoints_needNoMutex) {
    expectNotToWait([this] {
        hostWrites("DM", 100, {1});
        hostWord("DM", 100);
        conditionRead("DM", 100, 1);
        poll({makeKey("DM", 100, 1)});
        recipe({recipeVariable("DM", 500, 1, 0)});
        init(3, 64);
        connectToServer();
        changePLCModeToMonitor();
    });
}

TEST_F(HostMutex, callbacks_ofEveryKind_findItFree) {
    int seen = 0;
    watchCallbacks(&seen);
    recipe({recipeVariable("DM", 500, 2, 0)});
    monitor("DM_bit", 8000, 16); // the bits of DM 500
    monitor("DM", 500, 2);
    hostWrites("DM", 500, {3});          // two bits and the word
    hostWritesBits("DM_bit", 8016, {1}); // the word
    EXPECT_EQ(4, seen);
    turn();
    turn(); // the end of the bit write
    EXPECT_EQ(5, seen);
    requestUpload();
    next();
    answer(Words{9, 9}); // two bits, two words, two recipe words
    EXPECT_EQ(11, seen);
    conditionRead("DM", 500, 1);
    turn(); // two bits, the word, the end
    EXPECT_EQ(15, seen);
    EXPECT_EQ("nothing", turn());
    conditionRead("DM", 500, 1);
    next();
    fail(); // two bytes, the end
    requestDownload();
    next();
    fail(); // two bytes
    EXPECT_EQ(20, seen);
}

TEST_F(HostMutex, callbacks_ofABlockTooLongToDownload_findItFree) {
    init(3, 4000);
    recipe({recipeVariable("DM", 0, 600, 0)});
    requestDownload();
    int seen = 0;
    watchCallbacks(&seen);
    EXPECT_EQ("nothing", next());
    EXPECT_EQ(2, seen);
    EXPECT_EQ(0, downloadByte());
    expectFree();
}

TEST_F(HostMutex, callback_hostThreadTakingTheMutex_isNotBlocked) {
    recipe({recipeVariable("DM", 500, 1, 0)});
    requestUpload();
    next();
    onNotice = [this](const Notice&) {
        std::future<void> other = std::async(std::launch::async, [this] {
            mutex.lock();
            mutex.unlock();
        });
        ASSERT_EQ(std::future_status::ready, other.wait_for(bound));
    };
    answer();
}

/// Memory that tells, at its first access, whether the mutex was held then.
class WatchedPages {
public:
    WatchedPages(QMutex& mutex, std::size_t size)
        : size_(size), memory_(mmap(nullptr, size_, PROT_READ | PROT_WRITE,
                                    MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)) {
        watched = this;
        mutex_ = &mutex;
        struct sigaction action = {};
        action.sa_handler = &WatchedPages::accessed;
        sigaction(SIGSEGV, &action, &before_);
    }
    ~WatchedPages() {
        sigaction(SIGSEGV, &before_, nullptr);
        munmap(memory_, size_);
        watched = nullptr;
    }
    WatchedPages(const WatchedPages&) = delete;
    WatchedPages& operator=(const WatchedPages&) = delete;

    void* memory() const { return memory_; }
    void watch() { mprotect(memory_, size_, PROT_NONE); }

    bool wasAccessed = false;
    bool mutexWasHeld = false;

private:
    /// Runs in place of the access, on its thread; afterwards the access is made again.
    static void accessed(int) {
        watched->wasAccessed = true;
        watched->mutexWasHeld = !watched->mutex_->tryLock();
        if (!watched->mutexWasHeld) {
            watched->mutex_->unlock();
        }
        mprotect(watched->memory_, watched->size_, PROT_READ | PROT_WRITE);
    }

    static WatchedPages* watched;
    std::size_t size_;
    void* memory_;
    QMutex* mutex_ = nullptr;
    struct sigaction before_ = {};
};

WatchedPages* WatchedPages::watched = nullptr;

TEST_F(HostMutex, downloadFrame_isBuiltWithoutTheMutex) {
    recipe({recipeVariable("DM", 500, 1, 0)});
    WatchedPages pages(mutex, 2);
    auto* words = static_cast<unsigned short*>(pages.memory());
    words[0] = 0x1234;
    driver.hostRecipeBuffer = words;
    requestDownload();
    pages.watch();
    ASSERT_EQ("write DM 500 1", next());
    EXPECT_EQ(0x34, out.frame[19]);
    EXPECT_TRUE(pages.wasAccessed);
    EXPECT_FALSE(pages.mutexWasHeld);
}

TEST_F(HostMutex, requestBytes_areReadAndClearedWithTheMutex) {
    recipe({recipeVariable("DM", 500, 1, 0)});
    WatchedPages pages(mutex, 60117);
    auto* bytes = static_cast<unsigned char*>(pages.memory());
    driver.hostBlock = bytes;
    bytes[60115] = 1;
    pages.watch();
    ASSERT_EQ("write DM 500 1", next());
    EXPECT_TRUE(pages.wasAccessed);
    EXPECT_TRUE(pages.mutexWasHeld);
    pages.wasAccessed = pages.mutexWasHeld = false;
    pages.watch();
    ASSERT_EQ(1U, answer());
    EXPECT_TRUE(pages.wasAccessed);
    EXPECT_TRUE(pages.mutexWasHeld);
    EXPECT_EQ(0, bytes[60115]);
}

TEST_F(HostMutex, uploadedWords_areStoredWithoutTheMutex) {
    recipe({recipeVariable("DM", 500, 1, 0)});
    WatchedPages pages(mutex, 2);
    driver.hostRecipeBuffer = static_cast<unsigned short*>(pages.memory());
    requestUpload();
    next();
    pages.watch();
    ASSERT_EQ(1U, answer(Words{0x1234}));
    EXPECT_TRUE(pages.wasAccessed);
    EXPECT_FALSE(pages.mutexWasHeld);
}

} // namespace
