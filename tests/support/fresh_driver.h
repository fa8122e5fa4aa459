#ifndef VELKOR_TESTS_SUPPORT_FRESH_DRIVER_H
#define VELKOR_TESTS_SUPPORT_FRESH_DRIVER_H

/// A fixture for tests that are linked with the driver's object files: a driver as it is right
/// after the library has been loaded, bound to a host made of plain memory.

#include "driver/velkor.h"
#include "support/notice.h"
#include "support/rebuild_driver.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

class FreshDriver : public ::testing::Test {
protected:
    /// Rebuilds `driver`, registers the recording callback and calls intf_initProperty with
    /// "7#0#0#3#64".
    FreshDriver();
    ~FreshDriver() override;

    /// Calls intf_initProperty again with other properties.
    void init(const char* properties);
    /// host tag 7, writes enabled, `retryLimit`, `wordsPerFrame`.
    void init(int retryLimit, int wordsPerFrame);
    /// What the callback recorded since the last call.
    std::vector<Notice> takeNotices();
    /// Called inside every callback, after it has been recorded.
    std::function<void(const Notice&)> onNotice;

    std::vector<unsigned char> hostBlock;     ///< 60117 bytes, zero
    std::vector<unsigned char> statusBlock;   ///< 122024 bytes, 0xEE, so that a write of 0 shows
    std::vector<unsigned short> recipeBuffer; ///< 4096 words, zero
    QMutex mutex;
    int initOut = 0;
    static const int hostTag = 7;

private:
    static int record(int tag, int station, QString regName, int address);
    static FreshDriver* current;
    std::vector<Notice> notices;
};

/// Collects what reaches Qt's message handler while it lives.
class MessageRecorder {
public:
    MessageRecorder();
    ~MessageRecorder();
    std::vector<std::string> lines;
};

/// A word-register or bit-register range as a host lists it; every other field zero.
KEY_ADDRESS makeKey(const char* regName, int addr, int len, int station = 1);
/// A request; `type` and data zero.
VARIABLE makeRequest(const char* regName, int addr, int len, int station = 1);
/// The cached record of a word; fails the test when there is none.
const _DATA_& cached(int station, const char* regName, int wordAddr);

#endif
