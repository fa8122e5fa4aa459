/// copyRecord: assignment of the large records, whole.

#include "driver/record_copy.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <numeric>

using ::testing::ElementsAreArray;

namespace {

VARIABLE filledRequest() {
    VARIABLE request = VARIABLE();
    request.type = 1;
    request.station = -2;
    request.regName = QLatin1String("DM");
    request.addr = 3;
    request.len = -4;
    std::iota(std::begin(request.data), std::end(request.data), static_cast<unsigned char>(5));
    return request;
}

FRAME_PRO filledFrame() {
    FRAME_PRO frame = FRAME_PRO();
    std::iota(std::begin(frame.frame), std::end(frame.frame), static_cast<unsigned char>(6));
    frame.sendLen = 7;
    frame.rcvLen = 8;
    frame.headLen = 9;
    frame.dataLen = 10;
    frame.spare = 11;
    frame.var = filledRequest();
    return frame;
}

void expectFilled(const VARIABLE& request) {
    const VARIABLE expected = filledRequest();
    EXPECT_EQ(request.type, 1);
    EXPECT_EQ(request.station, -2);
    EXPECT_EQ(request.regName, QLatin1String("DM"));
    EXPECT_EQ(request.addr, 3);
    EXPECT_EQ(request.len, -4);
    EXPECT_THAT(request.data, ElementsAreArray(expected.data));
}

} // namespace

TEST(RecordCopy, copyRecord_request_everyFieldAndAll1024Bytes) {
    const VARIABLE from = filledRequest();
    VARIABLE to = VARIABLE();
    to.regName = QLatin1String("what it was before");
    copyRecord(from, to);
    expectFilled(to);
    expectFilled(from);
}

TEST(RecordCopy, copyRecord_frame_everyFieldAndBothBuffers) {
    const FRAME_PRO from = filledFrame();
    FRAME_PRO to = FRAME_PRO();
    copyRecord(from, to);
    EXPECT_THAT(to.frame, ElementsAreArray(from.frame));
    EXPECT_EQ(to.sendLen, 7);
    EXPECT_EQ(to.rcvLen, 8);
    EXPECT_EQ(to.headLen, 9);
    EXPECT_EQ(to.dataLen, 10);
    EXPECT_EQ(to.spare, 11);
    expectFilled(to.var);
}

TEST(RecordCopy, copyRecord_sourceChangedAfterwards_copyStays) {
    VARIABLE from = filledRequest();
    VARIABLE to = VARIABLE();
    copyRecord(from, to);
    from.regName.append(QLatin1Char('x'));
    from.data[0] = 0;
    expectFilled(to);
}
