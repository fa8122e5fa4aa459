/// The host calls the driver from inside the callbacks that cache and host writes raise.

#include "data/change_notice.h"
#include "data/write_completion.h"
#include "support/fresh_driver.h"
#include "unit/expected.h"

#include <gmock/gmock.h>

#include <tuple>

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

namespace {

const int ownWords = 300; ///< what the host reads or writes inside one callback

class HostInsideCallback : public FreshDriver {
protected:
    /// Does something inside each callback that the call under test raises, not inside those that
    /// it raises itself. Its argument counts the callbacks from 0.
    void insideEachCallback(const std::function<void(int)>& action) {
        onNotice = [this, action](const Notice&) {
            if (!inside) {
                inside = true;
                action(calls++);
                inside = false;
            }
        };
    }

    static void setWords(const char* regName, int addr, std::vector<unsigned char> bytes) {
        intf_setData(1, QLatin1String(regName), addr, static_cast<int>(bytes.size()) / 2,
                     bytes.data(), 0);
    }
    static void setBits(const char* regName, int addr, std::vector<unsigned char> bits) {
        intf_setData(1, QLatin1String(regName), addr, static_cast<int>(bits.size()), bits.data(),
                     0);
    }

    int calls = 0;
    bool inside = false;
};

// Every point against every call that is allowed there

/// What the host does inside a callback: it makes the driver's lists grow, and touches nothing that
/// the call under test works on.
struct HostAction {
    const char* name;
    void (*run)(int call);
};

std::ostream& operator<<(std::ostream& out, const HostAction& action) {
    return out << action.name;
}

void readUnseenWords(int call) {
    std::vector<unsigned char> buffer(2 * ownWords);
    intf_getData(50 + call, QLatin1String("HR"), 0, ownWords, buffer.data());
}

void readUnseenBits(int call) {
    std::vector<unsigned char> buffer(16 * ownWords);
    intf_getData(50 + call, QLatin1String("HR_bit"), 0, 16 * ownWords, buffer.data());
}

void writeUnseenWords(int call) {
    std::vector<unsigned char> data(2 * ownWords, 0x41);
    intf_setData(50 + call, QLatin1String("HR"), 0, ownWords, data.data(), 0);
}

void writeUnseenBits(int call) {
    std::vector<unsigned char> data(16 * ownWords, 1);
    intf_setData(50 + call, QLatin1String("HR_bit"), 0, 16 * ownWords, data.data(), 0);
}

void addConditionReads(int call) {
    intf_addConditionRead(makeKey("HR", 0, 64 * ownWords, 50 + call), 0);
}

void doAll(int call) {
    writeUnseenWords(3 * call);
    readUnseenBits(3 * call + 1);
    addConditionReads(3 * call + 2);
}

/// A call that raises callbacks, and what the cache must hold and the host be told in the end,
/// whatever the host did inside.
struct CallbackPoint {
    const char* name;
    void (*raise)();
    std::vector<Notice> notices;
    std::vector<int> readValues;  ///< of DM 10 and 11
    std::vector<int> writeValues; ///< of DM 10 and 11
    std::vector<int> pendingBits; ///< of DM 10 and 11
    std::vector<int> pending;     ///< of DM 10 and 11
};

std::ostream& operator<<(std::ostream& out, const CallbackPoint& point) {
    return out << point.name;
}

void writeTwoWords() {
    unsigned char data[4] = {0x01, 0x00, 0x02, 0x80};
    intf_setData(1, QLatin1String("DM"), 10, 2, data, 0);
}

void writeBitsAcrossWords() {
    unsigned char data[3] = {1, 1, 1}; // bits 14 and 15 of DM 10, bit 0 of DM 11
    intf_setData(1, QLatin1String("DM_bit"), 174, 3, data, 0);
}

/// As after a write of 0x0101 to both words.
void makeBothPending(int pendingBits) {
    for (int addr : {10, 11}) {
        _DATA_& record = cacheRecord("DM", addr);
        setWriteValue(record, 0x0101);
        record.writePending = 1;
        record.pendingBits = pendingBits;
    }
}

void failTwoWords() {
    makeBothPending(0);
    _write_FailOrSuc(1, QLatin1String("DM"), 10, 2, 0);
}

void completeBits(int result) {
    makeBothPending(0x0001);
    cacheRecord("DM", 10).pendingBits = 0x8000;
    _write_FailOrSuc(1, QLatin1String("DM_bit"), 175, 2, result);
}

void succeedBits() {
    completeBits(1);
}

void failBits() {
    completeBits(0);
}

void noticeWordChange() {
    const int oldValue = 0;
    const int newValue = 0x8001;
    _wordDataChange(&oldValue, &newValue, 1, QLatin1String("DM"), 10, 0);
}

void noticeByteChange() {
    unsigned char oldValue = 0;
    unsigned char newValue = 0x03;
    _byteDataChange(&oldValue, &newValue, 1, QLatin1String("DM"), 10);
}

std::vector<CallbackPoint> callbackPoints() {
    return {
        {"wordsWritten",
         writeTwoWords,
         {dataNotice("DM_bit", 160), dataNotice("DM", 10), dataNotice("DM_bit", 177),
          dataNotice("DM_bit", 191), dataNotice("DM", 11)},
         {0, 0},
         {0x0001, 0x8002},
         {0, 0},
         {1, 1}},
        {"bitsWritten",
         writeBitsAcrossWords,
         {dataNotice("DM_bit", 174), dataNotice("DM", 10), dataNotice("DM_bit", 175),
          dataNotice("DM", 10), dataNotice("DM_bit", 176), dataNotice("DM", 11)},
         {0, 0},
         {0xC000, 0x0001},
         {0xC000, 0x0001},
         {1, 1}},
        {"wordsFailed",
         failTwoWords,
         {dataNotice("DM_bit", 160), dataNotice("DM_bit", 168), dataNotice("DM", 10),
          dataNotice("DM_bit", 176), dataNotice("DM_bit", 184), dataNotice("DM", 11)},
         {0, 0},
         {0x0101, 0x0101},
         {0, 0},
         {0, 0}},
        {"bitsSucceeded", // bit 15 of DM 10 was written 0, bit 0 of DM 11 1
         succeedBits,
         {dataNotice("DM_bit", 175), dataNotice("DM_bit", 175)},
         {0, 0x0001},
         {0x0101, 0x0101},
         {0, 0},
         {0, 0}},
        {"bitsFailed",
         failBits,
         {dataNotice("DM_bit", 175), dataNotice("DM_bit", 175)},
         {0, 0},
         {0x0101, 0x0101},
         {0, 0},
         {0, 0}},
        {"wordChangeNoticed",
         noticeWordChange,
         {dataNotice("DM_bit", 160), dataNotice("DM_bit", 175), dataNotice("DM", 10)},
         {0, 0},
         {0, 0},
         {0, 0},
         {0, 0}},
        {"byteChangeNoticed",
         noticeByteChange,
         {dataNotice("DM", 10), dataNotice("DM", 11)},
         {0, 0},
         {0, 0},
         {0, 0},
         {0, 0}},
    };
}

const HostAction hostActions[] = {
    {"readingWords", readUnseenWords},           {"readingBits", readUnseenBits},
    {"writingWords", writeUnseenWords},          {"writingBits", writeUnseenBits},
    {"addingConditionReads", addConditionReads}, {"doingAll", doAll},
};

class HostCallsInsideCallback
    : public HostInsideCallback,
      public ::testing::WithParamInterface<std::tuple<CallbackPoint, HostAction>> {};

TEST_P(HostCallsInsideCallback, anyCallbackPoint_hostMakesTheListsGrow_resultIsTheSame) {
    const CallbackPoint& point = std::get<0>(GetParam());
    for (int addr : {10, 11}) {
        cacheRecord("DM", addr).wordMonitor = 1;
        cacheRecord("DM", addr).bitMonitor = 0xFFFF;
    }
    insideEachCallback(std::get<1>(GetParam()).run);
    MessageRecorder quiet; // hundreds of writes, each with its debug line

    point.raise();

    EXPECT_EQ(calls, static_cast<int>(point.notices.size()));
    EXPECT_THAT(takeNotices(), ElementsAreArray(point.notices));
    const _DATA_& first = cached(1, "DM", 10);
    const _DATA_& second = cached(1, "DM", 11);
    EXPECT_THAT(point.readValues, ElementsAre(readWord(first), readWord(second)));
    EXPECT_THAT(point.writeValues, ElementsAre(writtenWord(first), writtenWord(second)));
    EXPECT_THAT(point.pendingBits, ElementsAre(first.pendingBits, second.pendingBits));
    EXPECT_THAT(point.pending, ElementsAre(first.writePending, second.writePending));
}

INSTANTIATE_TEST_SUITE_P(
    Reentrancy, HostCallsInsideCallback,
    ::testing::Combine(::testing::ValuesIn(callbackPoints()), ::testing::ValuesIn(hostActions)),
    [](const ::testing::TestParamInfo<HostCallsInsideCallback::ParamType>& pair) {
        return std::string(std::get<0>(pair.param).name) + "_" + std::get<1>(pair.param).name;
    });

// What the host's calls inside a callback do themselves

TEST_F(HostInsideCallback, intf_getData_insideAWriteCallback_createsRecordsBehindTheOthers) {
    cacheRecord("DM", 10).wordMonitor = 1;
    insideEachCallback([](int) { hostWords("DM", 11, 2); });
    setWords("DM", 10, {1, 0, 2, 0, 3, 0});
    EXPECT_THAT(cachedWords(), ElementsAre("DM 10", "DM 11", "DM 12"));
    EXPECT_THAT(hostWords("DM", 10, 3), ElementsAre(1, 2, 3));
}

TEST_F(HostInsideCallback, intf_setData_insideAWriteCallback_isQueuedBehindTheOuterWrite) {
    cacheRecord("DM", 10).wordMonitor = 1;
    insideEachCallback([](int) { setWords("WR", 5, {7, 0}); });
    setWords("DM", 10, {1, 0});
    EXPECT_THAT(rangesOf(driver.writeList), ElementsAre(Range{"DM", 10, 1}, Range{"WR", 5, 1}));
    EXPECT_THAT(hostWords("WR", 5, 1), ElementsAre(7));
}

TEST_F(HostInsideCallback, intf_setData_sameWordInsideItsCallback_outerValueIsStoredLast) {
    cacheRecord("DM", 10).wordMonitor = 1;
    insideEachCallback([](int) { setWords("DM", 10, {5, 0}); });
    setWords("DM", 10, {1, 0});
    // The inner write is reported too: the cache still holds 0 then.
    EXPECT_THAT(takeNotices(), ElementsAre(dataNotice("DM", 10), dataNotice("DM", 10)));
    EXPECT_THAT(hostWords("DM", 10, 1), ElementsAre(1));
    EXPECT_EQ(driver.writeList.size(), 2);
}

TEST_F(HostInsideCallback, intf_setData_laterWordInsideTheCallback_comparedWithItWhenItsTurnComes) {
    cacheRecord("DM", 10).wordMonitor = 1;
    cacheRecord("DM", 11).wordMonitor = 1;
    insideEachCallback([this](int) {
        if (calls == 1) {
            setWords("DM", 11, {2, 0});
        }
    });
    setWords("DM", 10, {1, 0, 2, 0});
    // The inner write has already shown DM 11 its new value: no second call for it.
    EXPECT_THAT(takeNotices(), ElementsAre(dataNotice("DM", 10), dataNotice("DM", 11)));
    EXPECT_THAT(hostWords("DM", 10, 2), ElementsAre(1, 2));
}

TEST_F(HostInsideCallback, intf_setData_otherBitOfTheByteInsideItsCallback_outerByteIsStoredLast) {
    cacheRecord("CIO", 2).bitMonitor = 0x0008;
    insideEachCallback([](int) { setBits("CIO_bit", 36, {1}); });
    setBits("CIO_bit", 35, {1});
    // The outer byte was made before the callback, so the inner bit is not in it.
    EXPECT_EQ(writtenWord(cached(1, "CIO", 2)), 0x0008);
    EXPECT_EQ(cached(1, "CIO", 2).pendingBits, 0x0018);
    EXPECT_EQ(cached(1, "CIO", 2).writePending, 1);
}

TEST_F(HostInsideCallback, intf_setData_bitOfTheOtherByteInsideItsCallback_isKept) {
    cacheRecord("CIO", 2).bitMonitor = 0x0008;
    insideEachCallback([](int) { setBits("CIO_bit", 44, {1}); });
    setBits("CIO_bit", 35, {1});
    // When the outer byte is stored the word is pending already: its other byte is kept.
    EXPECT_EQ(writtenWord(cached(1, "CIO", 2)), 0x1008);
    EXPECT_EQ(cached(1, "CIO", 2).pendingBits, 0x1008);
}

TEST_F(HostInsideCallback, intf_setData_sameWordInsideItsFailureCallback_isPendingAgain) {
    cacheRecord("DM", 10).wordMonitor = 1;
    setWords("DM", 10, {1, 0});
    insideEachCallback([](int) { setWords("DM", 10, {9, 0}); });
    _write_FailOrSuc(1, QLatin1String("DM"), 10, 1, 0);
    EXPECT_EQ(cached(1, "DM", 10).writePending, 1);
    EXPECT_THAT(hostWords("DM", 10, 1), ElementsAre(9));
}

TEST_F(HostInsideCallback, intf_setData_sameBitInsideItsCompletionCallback_isPendingAgain) {
    setBits("CIO_bit", 35, {1});
    insideEachCallback([](int) { setBits("CIO_bit", 35, {0}); });
    _write_FailOrSuc(1, QLatin1String("CIO_bit"), 35, 1, 1);
    EXPECT_EQ(cached(1, "CIO", 2).pendingBits, 0x0008);
    EXPECT_EQ(cached(1, "CIO", 2).writePending, 1);
    EXPECT_EQ(readWord(cached(1, "CIO", 2)), 0x0008);
    EXPECT_THAT(hostBits("CIO_bit", 35, 1), ElementsAre(0));
}

TEST_F(HostInsideCallback, intf_addConditionRead_insideAWriteCallback_isQueued) {
    cacheRecord("DM", 10).wordMonitor = 1;
    insideEachCallback([](int) { intf_addConditionRead(makeKey("DM", 10, 1), 3); });
    setWords("DM", 10, {1, 0});
    EXPECT_THAT(rangesOf(driver.conditionReadList), ElementsAre(Range{"DM", 10, 1}));
    EXPECT_EQ(rangeOf(driver.conditionKey), (Range{"DM", 10, 1}));
}

TEST_F(HostInsideCallback, intf_getData_everyCallbackOfALongWrite_cacheStaysRight) {
    const int count = 200;
    std::vector<unsigned char> data;
    for (int i = 0; i < count; ++i) {
        cacheRecord("DM", 2 * i).wordMonitor = 1; // every other word is new
        data.push_back(static_cast<unsigned char>(i + 1));
        data.push_back(0);
    }
    insideEachCallback([](int call) { hostWords("WR", 100 * call, 40); });
    setWords("DM", 0, data);
    EXPECT_EQ(calls, 100);
    const std::vector<int> words = hostWords("DM", 0, count);
    for (int i = 0; i < count; ++i) {
        ASSERT_EQ(words[static_cast<std::size_t>(i)], i + 1);
    }
    EXPECT_EQ(driver.dataAreaList.size(), 200 + 100 + 100 * 40);
}

} // namespace
