/// intf_setData: the write requests. What it does to the cache is in host_write_cache_test.cpp.

#include "support/fresh_driver.h"
#include "unit/expected.h"

#include <gmock/gmock.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

/// A byte that tells its place: never 0, and the same only every 251 bytes.
unsigned char patternByte(int index) {
    return static_cast<unsigned char>(1 + index % 251);
}

class HostWrite : public FreshDriver {
protected:
    HostWrite() : pattern(4096) {
        for (std::size_t i = 0; i < pattern.size(); ++i) {
            pattern[i] = patternByte(static_cast<int>(i));
        }
    }

    /// Writes `count` items of the pattern and returns what the entry point returned.
    int write(const char* regName, int addr, int count, int type = 9, int station = 1) {
        return intf_setData(station, QLatin1String(regName), addr, count, pattern.data(), type);
    }

    static std::vector<Range> queued() { return rangesOf(driver.writeList); }

    /// Queues one-word writes to DM 0, 10, 20, ...
    static void queueDistinct(int count) {
        for (int i = 0; i < count; ++i) {
            driver.writeList.append(makeRequest("DM", 10 * i, 1));
        }
    }

    /// Expects the first `count` data bytes of a request to be the pattern from byte `from` on, and
    /// the rest to be zero.
    static void expectData(const VARIABLE& request, int from, int count) {
        for (int i = 0; i < VELKOR_DATA_SIZE; ++i) {
            ASSERT_EQ(request.data[i], i < count ? patternByte(from + i) : 0)
                << "byte " << i << " of " << rangeOf(request);
        }
    }

    std::vector<unsigned char> pattern;
};

// One request

TEST_F(HostWrite, intf_setData_words_requestWithArgumentsAsGiven) {
    EXPECT_EQ(write("DM", 100, 3, -7, 44), 1);
    ASSERT_THAT(queued(), ElementsAre(Range{"DM", 100, 3}));
    EXPECT_EQ(driver.writeList.at(0).type, -7);
    EXPECT_EQ(driver.writeList.at(0).station, 44);
    expectData(driver.writeList.at(0), 0, 6);
}

TEST_F(HostWrite, intf_setData_bits_requestKeepsNameBitAddressAndOneByteForEachBit) {
    EXPECT_EQ(write("CIO_bit", 37, 3), 1);
    ASSERT_THAT(queued(), ElementsAre(Range{"CIO_bit", 37, 3}));
    expectData(driver.writeList.at(0), 0, 3);
}

TEST_F(HostWrite, intf_setData_unknownName_queuedAsGiven) {
    EXPECT_EQ(write("nonsense", -5, 1, 9, -1), 1);
    EXPECT_THAT(queued(), ElementsAre(Range{"nonsense", -5, 1}));
}

// Pieces

TEST_F(HostWrite, intf_setData_150WordsIn64s_threeRequestsWithTheirData) {
    write("DM", 100, 150, 5, 3);
    ASSERT_THAT(queued(),
                ElementsAre(Range{"DM", 100, 64}, Range{"DM", 164, 64}, Range{"DM", 228, 22}));
    expectData(driver.writeList.at(0), 0, 128);
    expectData(driver.writeList.at(1), 128, 128);
    expectData(driver.writeList.at(2), 256, 44);
    for (const VARIABLE& request : driver.writeList) {
        EXPECT_EQ(request.type, 5);
        EXPECT_EQ(request.station, 3);
    }
}

TEST_F(HostWrite, intf_setData_128WordsIn64s_exactlyTwoRequests) {
    write("DM", 100, 128);
    EXPECT_THAT(queued(), ElementsAre(Range{"DM", 100, 64}, Range{"DM", 164, 64}));
}

TEST_F(HostWrite, intf_setData_64And65Words_oneAndTwoRequests) {
    write("DM", 100, 64);
    write("WR", 100, 65);
    EXPECT_THAT(queued(),
                ElementsAre(Range{"DM", 100, 64}, Range{"WR", 100, 64}, Range{"WR", 164, 1}));
}

TEST_F(HostWrite, intf_setData_150Bits_piecesOfTheSame64) {
    write("CIO_bit", 5, 150);
    ASSERT_THAT(queued(), ElementsAre(Range{"CIO_bit", 5, 64}, Range{"CIO_bit", 69, 64},
                                      Range{"CIO_bit", 133, 22}));
    expectData(driver.writeList.at(0), 0, 64);
    expectData(driver.writeList.at(1), 64, 64);
    expectData(driver.writeList.at(2), 128, 22);
}

TEST_F(HostWrite, intf_setData_countBelow1_noRequestAndNoRecord) {
    for (int count : {0, -1, -64, lowestInt}) {
        EXPECT_EQ(write("DM", 100, count), 1);
        EXPECT_EQ(write("DM_bit", 100, count), 1);
    }
    EXPECT_THAT(queued(), IsEmpty());
    EXPECT_THAT(cachedWords(), IsEmpty());
}

TEST_F(HostWrite, intf_setData_wordsPerFrameAbove503_piecesOf503Words) {
    init(3, 504);
    write("DM", 100, 504);
    ASSERT_THAT(queued(), ElementsAre(Range{"DM", 100, 503}, Range{"DM", 603, 1}));
    expectData(driver.writeList.at(0), 0, 1006);
    expectData(driver.writeList.at(1), 1006, 2);
}

TEST_F(HostWrite, intf_setData_wordsPerFrame503_onePieceOf503Words) {
    init(3, 503);
    write("DM", 100, 503);
    EXPECT_THAT(queued(), ElementsAre(Range{"DM", 100, 503}));
}

TEST_F(HostWrite, intf_setData_wordsPerFrame600_bitsStillInPiecesOf600) {
    init(3, 600);
    write("DM_bit", 0, 601);
    EXPECT_THAT(queued(), ElementsAre(Range{"DM_bit", 0, 600}, Range{"DM_bit", 600, 1}));
}

TEST_F(HostWrite, intf_setData_wordsPerFrameAbove1006_piecesOf1006Bits) {
    init(3, highestInt);
    write("DM_bit", 0, 1007);
    ASSERT_THAT(queued(), ElementsAre(Range{"DM_bit", 0, 1006}, Range{"DM_bit", 1006, 1}));
    expectData(driver.writeList.at(0), 0, 1006);
    expectData(driver.writeList.at(1), 1006, 1);
}

TEST_F(HostWrite, intf_setData_wordsPerFrameZeroOrNegative_piecesAsLongAsAFrameCarries) {
    for (int wordsPerFrame : {0, -1, lowestInt}) {
        init(3, wordsPerFrame);
        write("DM", 100, 504);
        write("WR_bit", 0, 1007);
        EXPECT_THAT(queued(), ElementsAre(Range{"DM", 100, 503}, Range{"DM", 603, 1},
                                          Range{"WR_bit", 0, 1006}, Range{"WR_bit", 1006, 1}))
            << wordsPerFrame;
    }
}

TEST_F(HostWrite, intf_setData_pieceAddressBeyondHighestInt_wraps) {
    write("DM", highestInt - 1, 65); // 2^31 - 2 + 64 - 2^32
    EXPECT_THAT(queued(), ElementsAre(Range{"DM", 2147483646, 64}, Range{"DM", -2147483586, 1}));
}

// The queue

TEST_F(HostWrite, intf_setData_sameWriteQueuedBehindTheHead_replacedInPlace) {
    queueDistinct(4);
    write("DM", 20, 1, 44);
    ASSERT_THAT(queued(), ElementsAre(Range{"DM", 0, 1}, Range{"DM", 10, 1}, Range{"DM", 20, 1},
                                      Range{"DM", 30, 1}));
    EXPECT_EQ(driver.writeList.at(2).type, 44);
    expectData(driver.writeList.at(2), 0, 2);
}

TEST_F(HostWrite, intf_setData_sameWriteAtElement1OfTwo_replacedInPlace) {
    queueDistinct(2);
    write("DM", 10, 1, 44);
    ASSERT_EQ(driver.writeList.size(), 2);
    EXPECT_EQ(driver.writeList.at(1).type, 44);
}

TEST_F(HostWrite, intf_setData_sameWriteIsTheHead_appendedBehindIt) {
    write("DM", 0, 1, 1);
    write("DM", 0, 1, 2);
    ASSERT_THAT(queued(), ElementsAre(Range{"DM", 0, 1}, Range{"DM", 0, 1}));
    EXPECT_EQ(driver.writeList.at(0).type, 1);
    EXPECT_EQ(driver.writeList.at(1).type, 2);
}

TEST_F(HostWrite, intf_setData_matchesOnlyTheHeadOfThree_appended) {
    queueDistinct(3);
    write("DM", 0, 1, 44);
    EXPECT_THAT(queued(), ElementsAre(Range{"DM", 0, 1}, Range{"DM", 10, 1}, Range{"DM", 20, 1},
                                      Range{"DM", 0, 1}));
    EXPECT_EQ(driver.writeList.at(0).type, 0);
}

TEST_F(HostWrite, intf_setData_twoSameWritesQueued_theNewestIsReplaced) {
    for (int addr : {0, 10, 20, 10, 30}) {
        driver.writeList.append(makeRequest("DM", addr, 1));
    }
    write("DM", 10, 1, 44);
    ASSERT_EQ(driver.writeList.size(), 5);
    EXPECT_EQ(driver.writeList.at(1).type, 0);
    EXPECT_EQ(driver.writeList.at(3).type, 44);
}

TEST_F(HostWrite, intf_setData_oneFieldDiffers_appended) {
    queueDistinct(2);
    write("DM", 10, 1, 9, 2);
    write("WR", 10, 1);
    write("DM", 11, 1);
    write("DM", 10, 2);
    EXPECT_EQ(driver.writeList.size(), 6);
}

TEST_F(HostWrite, intf_setData_512Queued_appended) {
    queueDistinct(512);
    write("WR", 1, 1);
    ASSERT_EQ(driver.writeList.size(), 513);
    EXPECT_EQ(rangeOf(driver.writeList.at(512)), (Range{"WR", 1, 1}));
}

TEST_F(HostWrite, intf_setData_513Queued_eachFurtherOverwritesElement512) {
    queueDistinct(513);
    for (int addr : {1, 2, 3}) {
        write("WR", addr, 1);
        ASSERT_EQ(driver.writeList.size(), 513);
        EXPECT_EQ(rangeOf(driver.writeList.at(512)), (Range{"WR", addr, 1}));
    }
    EXPECT_EQ(rangeOf(driver.writeList.at(0)), (Range{"DM", 0, 1}));
    EXPECT_EQ(rangeOf(driver.writeList.at(511)), (Range{"DM", 5110, 1}));
}

TEST_F(HostWrite, intf_setData_513QueuedAndSameAsElement5_replacesElement5) {
    queueDistinct(513);
    write("DM", 50, 1, 44);
    EXPECT_EQ(driver.writeList.at(5).type, 44);
    EXPECT_EQ(rangeOf(driver.writeList.at(512)), (Range{"DM", 5120, 1}));
}

TEST_F(HostWrite, intf_setData_513QueuedAndSameAsTheHead_overwritesElement512) {
    queueDistinct(513);
    write("DM", 0, 1, 44);
    ASSERT_EQ(driver.writeList.size(), 513);
    EXPECT_EQ(driver.writeList.at(0).type, 0);
    EXPECT_EQ(rangeOf(driver.writeList.at(512)), (Range{"DM", 0, 1}));
    EXPECT_EQ(driver.writeList.at(512).type, 44);
}

TEST_F(HostWrite, intf_setData_600PiecesOfOneWrite_lastPieceTakesElement512) {
    init(3, 1);
    write("DM", 1000, 600);
    ASSERT_EQ(driver.writeList.size(), 513);
    EXPECT_EQ(rangeOf(driver.writeList.at(511)), (Range{"DM", 1511, 1}));
    EXPECT_EQ(rangeOf(driver.writeList.at(512)), (Range{"DM", 1599, 1}));
    expectData(driver.writeList.at(512), 1198, 2);
}

// Writing disabled

TEST_F(HostWrite, intf_setData_writeDisabled_nothingQueuedTableUpdatedAndReturns1) {
    for (const char* properties : {"7#1#0#3#64", "7#-1#0#3#64"}) {
        init(properties);
        EXPECT_EQ(write("DM", 10, 1), 1);
        EXPECT_THAT(queued(), IsEmpty());
        EXPECT_THAT(hostWords("DM", 10, 1), ElementsAre(0x0201));
        EXPECT_EQ(cached(1, "DM", 10).writePending, 1);
    }
}

TEST_F(HostWrite, intf_setData_writeDisabled_monitoredChangeStillReported) {
    init("7#1#0#3#64");
    cacheRecord("DM", 10).wordMonitor = 1;
    write("DM", 10, 1);
    EXPECT_THAT(takeNotices(), ElementsAre(dataNotice("DM", 10)));
}

TEST_F(HostWrite, intf_setData_writeDisabled_noDebugLine) {
    init("7#1#0#3#64");
    MessageRecorder messages;
    write("DM", 10, 1);
    EXPECT_THAT(messages.lines, IsEmpty());
}

// Debug lines

TEST_F(HostWrite, intf_setData_eachPiece_aDebugLineWithItsFirstByteAsACharacter) {
    std::vector<unsigned char> data(300, ' ');
    data[0] = 'A';
    data[128] = 'z';
    data[256] = '"';
    MessageRecorder messages;
    intf_setData(1, QLatin1String("DM"), 100, 150, data.data(), 0);
    EXPECT_THAT(messages.lines, ElementsAre("write: \"DM\" 100 64 A ", "write: \"DM\" 164 64 z ",
                                            "write: \"DM\" 228 22 \" "));
}

TEST_F(HostWrite, intf_setData_bitWrite_debugLineHasTheBitNameAndValue) {
    unsigned char one = 1;
    MessageRecorder messages;
    intf_setData(1, QLatin1String("CIO_bit"), -3, 1, &one, 0);
    EXPECT_THAT(messages.lines, ElementsAre("write: \"CIO_bit\" -3 1 \x01 "));
}

TEST_F(HostWrite, intf_setData_firstByte0_endsTheDebugLineAfterTheBlank) {
    unsigned char word[2] = {0, 'B'};
    MessageRecorder messages;
    intf_setData(1, QLatin1String("DM"), 100, 1, word, 0);
    EXPECT_THAT(messages.lines, ElementsAre("write: \"DM\" 100 1 "));
}

TEST_F(HostWrite, intf_setData_quoteInTheName_isNotEscapedInTheDebugLine) {
    unsigned char word[2] = {'A', 0};
    MessageRecorder messages;
    intf_setData(1, QLatin1String("D\"M"), 1, 1, word, 0);
    EXPECT_THAT(messages.lines, ElementsAre("write: \"D\"M\" 1 1 A "));
}

TEST_F(HostWrite, intf_setData_replacingAQueuedWrite_debugLineToo) {
    queueDistinct(3);
    unsigned char word[2] = {'A', 0};
    MessageRecorder messages;
    intf_setData(1, QLatin1String("DM"), 20, 1, word, 0);
    EXPECT_THAT(messages.lines, ElementsAre("write: \"DM\" 20 1 A "));
}

// Order of the steps

TEST_F(HostWrite, intf_setData_insideTheCallback_allPiecesAreQueuedAlready) {
    cacheRecord("DM", 100).wordMonitor = 1;
    int queuedThen = -1;
    onNotice = [&queuedThen](const Notice&) {
        queuedThen = static_cast<int>(driver.writeList.size());
    };
    write("DM", 100, 150);
    EXPECT_EQ(queuedThen, 3);
}

} // namespace
