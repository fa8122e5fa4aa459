/// getSSID, getReadFrame, getWriteFrame. The bytes of single frames are held by
/// frame_vectors_test.cpp.

#include "support/exchange.h"

#include "fins/frame_builder.h"

#include <algorithm>
#include <climits>

namespace {

class FrameBuilder : public Exchange {
protected:
    static int zeroBytes(const unsigned char* bytes, int count) {
        return static_cast<int>(std::count(bytes, bytes + count, 0));
    }

    static const FRAME_PRO& queued(int index) { return driver.frameQueue.at(index); }

    /// The data of a request, 1024 bytes, byte i = i modulo 251.
    static VARIABLE full(VARIABLE request) {
        for (int i = 0; i < 1024; ++i) {
            request.data[i] = static_cast<unsigned char>(i % 251);
        }
        return request;
    }
};

TEST_F(FrameBuilder, getSSID_afterConstruction_isOne) {
    EXPECT_EQ(1, getSSID());
    EXPECT_EQ(1, driver.SID);
}

TEST_F(FrameBuilder, getSSID_254thTo256th_are254ThenZeroThenOne) {
    for (int i = 1; i <= 253; ++i) {
        ASSERT_EQ(i, getSSID());
    }
    EXPECT_EQ(254, getSSID());
    EXPECT_EQ(0, getSSID());
    EXPECT_EQ(1, getSSID());
}

TEST_F(FrameBuilder, getSSID_overThousandCalls_neverIssues255) {
    for (int i = 0; i < 1000; ++i) {
        ASSERT_NE(255, getSSID());
        ASSERT_NE(255, driver.SID);
    }
}

TEST_F(FrameBuilder, frames_254thTo256th_carry254ThenZeroThenOne) {
    for (int i = 1; i <= 256; ++i) {
        getReadFrame(makeRequest("DM", i, 1));
    }
    EXPECT_EQ(254, queued(253).frame[9]);
    EXPECT_EQ(0, queued(254).frame[9]);
    EXPECT_EQ(1, queued(255).frame[9]);
}

TEST_F(FrameBuilder, frames_readAndWrite_takeOneServiceIdEach) {
    getReadFrame(makeRequest("DM", 0, 1));
    getWriteFrame(makeRequest("DM", 0, 1));
    getWriteFrame(makeRequest("CIO_bit", 0, 1));
    EXPECT_EQ(1, queued(0).frame[9]);
    EXPECT_EQ(2, queued(1).frame[9]);
    EXPECT_EQ(3, queued(2).frame[9]);
    EXPECT_EQ(3, driver.SID);
}

TEST_F(FrameBuilder, getReadFrame_nodesOfThePage_inTheHeader) {
    intf_SetDriverPropertyPage(QLatin1String("6,11,12,13,14,15,16"));
    getReadFrame(makeRequest("DM", 100, 10));
    const Bytes expected = {0x80, 0, 2, 11, 12, 13, 14, 15, 16, 1, 1, 1, 0x82, 0, 0x64, 0, 0, 10};
    EXPECT_EQ(expected, sentBytes(queued(0)));
}

TEST_F(FrameBuilder, getReadFrame_onQueuedFrames_appendsAtTheTail) {
    getReadFrame(makeRequest("DM", 1, 1));
    getReadFrame(makeRequest("DM", 2, 1));
    getWriteFrame(makeRequest("DM", 3, 1));
    ASSERT_EQ(3, driver.frameQueue.size());
    EXPECT_EQ("read DM 1 1", describe(queued(0)));
    EXPECT_EQ("read DM 2 1", describe(queued(1)));
    EXPECT_EQ("write DM 3 1", describe(queued(2)));
}

TEST_F(FrameBuilder, getReadFrame_requestCopy_isWhole) {
    VARIABLE request = makeRequest("DM", 100, 10, 3);
    request.type = 4;
    getReadFrame(request);
    const VARIABLE& copy = queued(0).var;
    EXPECT_EQ(4, copy.type);
    EXPECT_EQ(3, copy.station);
    EXPECT_EQ(QLatin1String("DM"), copy.regName);
    EXPECT_EQ(100, copy.addr);
    EXPECT_EQ(10, copy.len);
    EXPECT_EQ(1024, zeroBytes(copy.data, 1024));
}

TEST_F(FrameBuilder, getWriteFrame_requestCopy_carriesAll1024BytesWhateverTheLength) {
    VARIABLE request = full(makeRequest("DM", 100, 1, 3));
    request.type = 99;
    getWriteFrame(request);
    const VARIABLE& copy = queued(0).var;
    EXPECT_EQ(99, copy.type);
    EXPECT_EQ(3, copy.station);
    EXPECT_TRUE(std::equal(request.data, request.data + 1024, copy.data));
}

TEST_F(FrameBuilder, getWriteFrame_request_isNotChanged) {
    const VARIABLE request = full(makeRequest("CIO_bit", 35, 3, 2));
    const VARIABLE before = request;
    getWriteFrame(request);
    EXPECT_EQ(before.addr, request.addr);
    EXPECT_EQ(before.len, request.len);
    EXPECT_EQ(before.regName, request.regName);
    EXPECT_TRUE(std::equal(before.data, before.data + 1024, request.data));
}

TEST_F(FrameBuilder, getWriteFrame_afterALongerOne_leavesNoByteOfIt) {
    getWriteFrame(full(makeRequest("DM", 0, 503)));
    getWriteFrame(full(makeRequest("DM", 0, 1)));
    getReadFrame(makeRequest("DM", 0, 500));
    EXPECT_EQ(1024 - 20, zeroBytes(queued(1).frame + 20, 1024 - 20));
    EXPECT_EQ(1024 - 18, zeroBytes(queued(2).frame + 18, 1024 - 18));
}

TEST_F(FrameBuilder, getWriteFrame_503Words_fillsTheFrameExactly) {
    const VARIABLE request = full(makeRequest("DM", 0, 503));
    getWriteFrame(request);
    ASSERT_EQ(1, driver.frameQueue.size());
    EXPECT_EQ(1024, queued(0).sendLen);
    EXPECT_EQ(0x01, queued(0).frame[16]);
    EXPECT_EQ(0xF7, queued(0).frame[17]);
    for (int i = 0; i < 503; ++i) {
        ASSERT_EQ(request.data[2 * i + 1], queued(0).frame[18 + 2 * i]) << i;
        ASSERT_EQ(request.data[2 * i], queued(0).frame[19 + 2 * i]) << i;
    }
}

TEST_F(FrameBuilder, getWriteFrame_1006Bits_fillsTheFrameExactly) {
    const VARIABLE request = full(makeRequest("CIO_bit", 0, 1006));
    getWriteFrame(request);
    ASSERT_EQ(1, driver.frameQueue.size());
    EXPECT_EQ(1024, queued(0).sendLen);
    EXPECT_EQ(0x03, queued(0).frame[16]);
    EXPECT_EQ(0xEE, queued(0).frame[17]);
    EXPECT_TRUE(std::equal(request.data, request.data + 1006, queued(0).frame + 18));
}

TEST_F(FrameBuilder, getWriteFrame_moreThanAFrameHolds_buildsNothingAndTakesNoServiceId) {
    driver.SID = 40;
    for (const int words : {504, 512, 513, 65536, INT_MAX}) {
        getWriteFrame(full(makeRequest("DM", 0, words)));
        ASSERT_TRUE(driver.frameQueue.isEmpty()) << words;
        ASSERT_EQ(40, driver.SID) << words;
    }
    for (const int bits : {1007, 1024, 1025, 65536, INT_MAX}) {
        getWriteFrame(full(makeRequest("CIO_bit", 0, bits)));
        ASSERT_TRUE(driver.frameQueue.isEmpty()) << bits;
        ASSERT_EQ(40, driver.SID) << bits;
    }
}

TEST_F(FrameBuilder, getReadFrame_moreThanAWriteHolds_isBuilt) {
    getReadFrame(makeRequest("DM", 0, 504));
    ASSERT_EQ(1, driver.frameQueue.size());
    EXPECT_EQ(14 + 1008, queued(0).rcvLen);
    EXPECT_EQ(1008, queued(0).dataLen);
}

TEST_F(FrameBuilder, getReadFrame_doubledCountBeyond32Bits_wraps) {
    getReadFrame(makeRequest("DM", 0, INT_MAX)); // 2 * (2^31 - 1) is -2
    EXPECT_EQ(-2, queued(0).dataLen);
    EXPECT_EQ(12, queued(0).rcvLen);
    EXPECT_EQ(0xFF, queued(0).frame[16]);
    EXPECT_EQ(0xFF, queued(0).frame[17]);
    getReadFrame(makeRequest("DM", 0, INT_MIN)); // 2 * -2^31 is 0
    EXPECT_EQ(0, queued(1).dataLen);
    EXPECT_EQ(14, queued(1).rcvLen);
    getReadFrame(makeRequest("DM", 0, 0x40000000)); // 2^31, that is INT_MIN
    EXPECT_EQ(INT_MIN, queued(2).dataLen);
    EXPECT_EQ(INT_MIN + 14, queued(2).rcvLen);
}

TEST_F(FrameBuilder, getReadFrame_negativeCount_isBuiltAsItStands) {
    getReadFrame(makeRequest("DM", 0, -3));
    EXPECT_EQ(18, queued(0).sendLen);
    EXPECT_EQ(8, queued(0).rcvLen);
    EXPECT_EQ(-6, queued(0).dataLen);
    EXPECT_EQ(0xFF, queued(0).frame[16]);
    EXPECT_EQ(0xFD, queued(0).frame[17]);
}

TEST_F(FrameBuilder, getWriteFrame_negativeCount_carriesNoDataAndAShorterLength) {
    getWriteFrame(full(makeRequest("DM", 0, -2)));
    getWriteFrame(full(makeRequest("CIO_bit", 0, -2)));
    ASSERT_EQ(2, driver.frameQueue.size());
    EXPECT_EQ(14, queued(0).sendLen);
    EXPECT_EQ(16, queued(1).sendLen);
    EXPECT_EQ(14, queued(0).rcvLen);
    EXPECT_EQ(1024 - 18, zeroBytes(queued(0).frame + 18, 1024 - 18));
    EXPECT_EQ(1024 - 18, zeroBytes(queued(1).frame + 18, 1024 - 18));
}

TEST_F(FrameBuilder, getWriteFrame_smallestCount_wrapsItsLength) {
    getWriteFrame(makeRequest("DM", 0, INT_MIN)); // 18 + 2 * -2^31 is 18
    getWriteFrame(makeRequest("CIO_bit", INT_MIN, INT_MIN));
    ASSERT_EQ(2, driver.frameQueue.size());
    EXPECT_EQ(18, queued(0).sendLen);
    EXPECT_EQ(INT_MIN + 18, queued(1).sendLen);
}

TEST_F(FrameBuilder, getWriteFrame_countThatWrapsBeyondTheFrame_buildsNothing) {
    getWriteFrame(
        makeRequest("DM", 0, -2147483144)); // twice that wraps to 1008, and 1006 bytes fit
    getWriteFrame(makeRequest("CIO_bit", 0, INT_MIN + 1)); // 18 + that is far below zero
    ASSERT_EQ(1, driver.frameQueue.size());
    EXPECT_EQ(INT_MIN + 19, queued(0).sendLen);
    EXPECT_EQ(1, driver.SID);
}

TEST_F(FrameBuilder, getWriteFrame_bitCounterName_isNoCounter) {
    getWriteFrame(withData(makeRequest("C", 5, 1), {0x34, 0x12}));
    getWriteFrame(withData(makeRequest("C_bit", 5 * 16, 1), {1}));
    EXPECT_EQ(0x80, queued(0).frame[13]);
    EXPECT_EQ(0x00, queued(1).frame[13]);
}

TEST_F(FrameBuilder, getWriteFrame_suffixInCapitals_isAWordWrite) {
    getWriteFrame(withData(makeRequest("CIO_BIT", 35, 1), {0x34, 0x12}));
    EXPECT_EQ(20, queued(0).sendLen);
    EXPECT_EQ(35, queued(0).frame[14]);
    EXPECT_EQ(0, queued(0).frame[15]);
    EXPECT_EQ(0x12, queued(0).frame[18]);
}

TEST_F(FrameBuilder, getWriteFrame_bareSuffixAsName_isABitWrite) {
    getWriteFrame(withData(makeRequest("_bit", 35, 1), {1}));
    EXPECT_EQ(19, queued(0).sendLen);
    EXPECT_EQ(2, queued(0).frame[14]);
    EXPECT_EQ(3, queued(0).frame[15]);
}

TEST_F(FrameBuilder, getWriteFrame_reply_isToldApartByItsDataLengthAlone) {
    getWriteFrame(makeRequest("DM", 0, 1));
    getReadFrame(makeRequest("DM", 0, 0));
    EXPECT_EQ(0, queued(0).headLen);
    EXPECT_EQ(0, queued(0).dataLen);
    EXPECT_EQ(14, queued(0).rcvLen);
    EXPECT_EQ(14, queued(1).headLen);
    EXPECT_EQ(0, queued(1).dataLen);
    EXPECT_EQ(14, queued(1).rcvLen);
}

} // namespace
