// What the capped request lists share.

#include "driver/request_list.h"

#include "support/fresh_driver.h"

#include <climits>

namespace {

/// `count` requests that differ in their address: DM 0, DM 1, ...
QList<VARIABLE> distinctRequests(int count) {
    QList<VARIABLE> list;
    for (int i = 0; i < count; ++i) {
        list.append(makeRequest("DM", i, 1));
    }
    return list;
}

VARIABLE tagged(VARIABLE request, int type) {
    request.type = type;
    return request;
}

struct PiecesRow {
    int length, limit, count;
    int lastOffset, lastSize;
};

const PiecesRow piecesRows[] = {
    {130, 64, 3, 128, 2},
    {150, 64, 3, 128, 22},
    {128, 64, 2, 64, 64},
    {64, 64, 1, 0, 64},
    {65, 64, 2, 64, 1},
    {63, 64, 1, 0, 63},
    {1, 64, 1, 0, 1},
    {3, 1, 3, 2, 1},
    // Zero and negative lengths are one piece, unchanged.
    {0, 64, 1, 0, 0},
    {-5, 64, 1, 0, -5},
    {INT_MIN, 64, 1, 0, INT_MIN},
    {INT_MAX, INT_MAX, 1, 0, INT_MAX},
    {INT_MAX, 1, INT_MAX, INT_MAX - 1, 1},
    {INT_MAX, 2, 1073741824, 2147483646, 1},
    {INT_MAX, INT_MAX - 1, 2, INT_MAX - 1, 1},
};

} // namespace

TEST(RequestList, isSameRequest_keyFieldsEqual_tagAndDataIgnored) {
    VARIABLE a = makeRequest("DM", 100, 4, 2);
    VARIABLE b = a;
    b.type = 99;
    b.data[0] = 0xFF;
    b.data[1023] = 0xFF;
    EXPECT_TRUE(isSameRequest(a, b));
}

TEST(RequestList, isSameRequest_anyKeyFieldDiffers_no) {
    const VARIABLE a = makeRequest("DM", 100, 4, 2);
    EXPECT_FALSE(isSameRequest(a, makeRequest("DM", 100, 4, 3)));
    EXPECT_FALSE(isSameRequest(a, makeRequest("dm", 100, 4, 2)));
    EXPECT_FALSE(isSameRequest(a, makeRequest("DM ", 100, 4, 2)));
    EXPECT_FALSE(isSameRequest(a, makeRequest("DM", 101, 4, 2)));
    EXPECT_FALSE(isSameRequest(a, makeRequest("DM", 100, 5, 2)));
}

TEST(RequestList, putRequest_emptyList_appendedAtIndex0) {
    QList<VARIABLE> list;
    putRequest(list, makeRequest("DM", 5, 1));
    ASSERT_EQ(list.size(), 1);
    EXPECT_EQ(list.at(0).addr, 5);
}

TEST(RequestList, putRequest_equalToElement0Only_appended) {
    QList<VARIABLE> list = distinctRequests(1);
    putRequest(list, tagged(list.at(0), 7));
    ASSERT_EQ(list.size(), 2);
    EXPECT_EQ(list.at(0).type, 0);
    EXPECT_EQ(list.at(1).type, 7);

    list = distinctRequests(3);
    putRequest(list, tagged(list.at(0), 7));
    ASSERT_EQ(list.size(), 4);
    EXPECT_EQ(list.at(0).type, 0);
    EXPECT_EQ(list.at(3).type, 7);
}

TEST(RequestList, putRequest_equalToElement3Of5_overwrittenWholeInPlace) {
    QList<VARIABLE> list = distinctRequests(5);
    VARIABLE request = tagged(list.at(3), 7);
    request.data[0] = 0x12;
    request.data[1023] = 0x34;
    putRequest(list, request);
    ASSERT_EQ(list.size(), 5);
    EXPECT_EQ(list.at(3).type, 7);
    EXPECT_EQ(list.at(3).data[0], 0x12);
    EXPECT_EQ(list.at(3).data[1023], 0x34);
    for (int i : {0, 1, 2, 4}) {
        EXPECT_EQ(list.at(i).type, 0) << i;
        EXPECT_EQ(list.at(i).addr, i) << i;
    }
}

TEST(RequestList, putRequest_twoEqualOnes_newestIsOverwritten) {
    QList<VARIABLE> list = distinctRequests(5);
    list[4] = list.at(2);
    putRequest(list, tagged(list.at(2), 7));
    ASSERT_EQ(list.size(), 5);
    EXPECT_EQ(list.at(2).type, 0);
    EXPECT_EQ(list.at(4).type, 7);
}

TEST(RequestList, putRequest_512Queued_appendedAs513th) {
    QList<VARIABLE> list = distinctRequests(512);
    putRequest(list, makeRequest("DM", 9000, 1));
    ASSERT_EQ(list.size(), 513);
    EXPECT_EQ(list.at(511).addr, 511);
    EXPECT_EQ(list.at(512).addr, 9000);
}

TEST(RequestList, putRequest_513Queued_newestTakesIndex512) {
    QList<VARIABLE> list = distinctRequests(513);
    putRequest(list, makeRequest("DM", 9000, 1));
    putRequest(list, makeRequest("DM", 9001, 1));
    ASSERT_EQ(list.size(), 513);
    EXPECT_EQ(list.at(0).addr, 0);
    EXPECT_EQ(list.at(511).addr, 511);
    EXPECT_EQ(list.at(512).addr, 9001);
}

TEST(RequestList, putRequest_513QueuedAndEqualToElement0_takesIndex512) {
    QList<VARIABLE> list = distinctRequests(513);
    putRequest(list, tagged(list.at(0), 7));
    ASSERT_EQ(list.size(), 513);
    EXPECT_EQ(list.at(0).type, 0);
    EXPECT_EQ(list.at(512).addr, 0);
    EXPECT_EQ(list.at(512).type, 7);
}

TEST(RequestList, putRequest_513QueuedAndEqualToOneOfThem_thatOneIsOverwritten) {
    QList<VARIABLE> list = distinctRequests(513);
    putRequest(list, tagged(list.at(1), 7));
    ASSERT_EQ(list.size(), 513);
    EXPECT_EQ(list.at(1).type, 7);
    EXPECT_EQ(list.at(512).addr, 512);
    EXPECT_EQ(list.at(512).type, 0);
}

TEST(RequestList, putRequest_elementOfTheListItself_safe) {
    QList<VARIABLE> list = distinctRequests(2);
    putRequest(list, list.at(0));
    ASSERT_EQ(list.size(), 3);
    EXPECT_EQ(list.at(2).addr, 0);
    EXPECT_EQ(list.at(2).regName, QLatin1String("DM"));
}

TEST(RangePieces, countAndLastPiece_range_coverItExactly) {
    for (const PiecesRow& row : piecesRows) {
        SCOPED_TRACE(::testing::Message() << row.length << " by " << row.limit);
        const RangePieces pieces(row.length, row.limit);
        EXPECT_EQ(pieces.count(), row.count);
        EXPECT_EQ(pieces.offset(row.count - 1), row.lastOffset);
        EXPECT_EQ(pieces.size(row.count - 1), row.lastSize);
        EXPECT_EQ(pieces.offset(0), 0);
    }
}

TEST(RangePieces, everyPieceButTheLast_range_hasTheLimit) {
    const RangePieces pieces(130, 64);
    EXPECT_EQ(pieces.offset(0), 0);
    EXPECT_EQ(pieces.size(0), 64);
    EXPECT_EQ(pieces.offset(1), 64);
    EXPECT_EQ(pieces.size(1), 64);
}
