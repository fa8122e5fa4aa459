// The five records: the order, width and type of their fields are a contract with the host.

#include "driver/records.h"

#include "unit/field_layout.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <type_traits>

namespace {

#define EXPECT_FIELD(record, field, ...)                                                           \
    EXPECT_TRUE((std::is_same<decltype(record::field), __VA_ARGS__>::value)) << #field

typedef unsigned char Bytes4[4];
typedef unsigned char Bytes1024[1024];

bool allBytesAre(const unsigned char* bytes, std::size_t count, unsigned char value) {
    return std::all_of(bytes, bytes + count, [value](unsigned char b) { return b == value; });
}

/// A request of one word whose buffer holds something in every byte.
VARIABLE filledRequest() {
    VARIABLE request = VARIABLE();
    request.type = 11;
    request.station = 12;
    request.regName = QLatin1String("CIO_bit");
    request.addr = 13;
    request.len = 1;
    std::memset(request.data, 0xA5, sizeof request.data);
    return request;
}

void expectFilledRequest(const VARIABLE& request) {
    EXPECT_EQ(request.type, 11);
    EXPECT_EQ(request.station, 12);
    EXPECT_EQ(request.regName, QLatin1String("CIO_bit"));
    EXPECT_EQ(request.addr, 13);
    EXPECT_EQ(request.len, 1);
    EXPECT_TRUE(allBytesAre(request.data, 1024, 0xA5));
}

KEY_ADDRESS filledKey() {
    KEY_ADDRESS key = KEY_ADDRESS();
    key.keyText = QLatin1String("one");
    key.keyValue = 21;
    key.rcpOffset = 22;
    key.station = 23;
    key.regName = QLatin1String("DM");
    key.keyText2 = QLatin1String("two");
    key.addr = 24;
    key.countKind = -1;
    key.len = 25;
    std::memset(key.data, 0x5A, sizeof key.data);
    return key;
}

void expectFilledKey(const KEY_ADDRESS& key) {
    EXPECT_EQ(key.keyText, QLatin1String("one"));
    EXPECT_EQ(key.keyValue, 21);
    EXPECT_EQ(key.rcpOffset, 22);
    EXPECT_EQ(key.station, 23);
    EXPECT_EQ(key.regName, QLatin1String("DM"));
    EXPECT_EQ(key.keyText2, QLatin1String("two"));
    EXPECT_EQ(key.addr, 24);
    EXPECT_EQ(key.countKind, -1);
    EXPECT_EQ(key.len, 25);
    EXPECT_TRUE(allBytesAre(key.data, 1024, 0x5A));
}

} // namespace

TEST(Variable, fields_declaration_exactlySixInOrder) {
    const VARIABLE record = VARIABLE();
    expectTightLayout({FIELD_PLACE(record, type), FIELD_PLACE(record, station),
                       FIELD_PLACE(record, regName), FIELD_PLACE(record, addr),
                       FIELD_PLACE(record, len), FIELD_PLACE(record, data)},
                      sizeof record, alignof(VARIABLE));
    EXPECT_FIELD(VARIABLE, type, int);
    EXPECT_FIELD(VARIABLE, station, int);
    EXPECT_FIELD(VARIABLE, regName, QString);
    EXPECT_FIELD(VARIABLE, addr, int);
    EXPECT_FIELD(VARIABLE, len, int);
    EXPECT_FIELD(VARIABLE, data, Bytes1024);
}

TEST(Variable, copy_lengthOfOneWord_takesAll1024Bytes) {
    const VARIABLE original = filledRequest();
    const VARIABLE copy(original); // NOLINT(performance-unnecessary-copy-initialization)
    expectFilledRequest(copy);
}

TEST(Variable, assignment_lengthOfOneWord_takesAll1024Bytes) {
    VARIABLE target = VARIABLE();
    target = filledRequest();
    expectFilledRequest(target);
}

TEST(Variable, defaultMade_text_isEmpty) {
    const VARIABLE request = VARIABLE();
    EXPECT_TRUE(request.regName.isEmpty());
}

TEST(KeyAddress, fields_declaration_exactlyTenInOrder) {
    const KEY_ADDRESS record = KEY_ADDRESS();
    expectTightLayout({FIELD_PLACE(record, keyText), FIELD_PLACE(record, keyValue),
                       FIELD_PLACE(record, rcpOffset), FIELD_PLACE(record, station),
                       FIELD_PLACE(record, regName), FIELD_PLACE(record, keyText2),
                       FIELD_PLACE(record, addr), FIELD_PLACE(record, countKind),
                       FIELD_PLACE(record, len), FIELD_PLACE(record, data)},
                      sizeof record, alignof(KEY_ADDRESS));
    EXPECT_FIELD(KEY_ADDRESS, keyText, QString);
    EXPECT_FIELD(KEY_ADDRESS, keyValue, int);
    EXPECT_FIELD(KEY_ADDRESS, rcpOffset, int);
    EXPECT_FIELD(KEY_ADDRESS, station, int);
    EXPECT_FIELD(KEY_ADDRESS, regName, QString);
    EXPECT_FIELD(KEY_ADDRESS, keyText2, QString);
    EXPECT_FIELD(KEY_ADDRESS, addr, int);
    EXPECT_FIELD(KEY_ADDRESS, countKind, int);
    EXPECT_FIELD(KEY_ADDRESS, len, int);
    EXPECT_FIELD(KEY_ADDRESS, data, Bytes1024);
}

TEST(KeyAddress, copy_anyLength_takesEveryFieldAndTheWholeBuffer) {
    const KEY_ADDRESS original = filledKey();
    const KEY_ADDRESS copy(original); // NOLINT(performance-unnecessary-copy-initialization)
    expectFilledKey(copy);
    KEY_ADDRESS target = KEY_ADDRESS();
    target = copy;
    expectFilledKey(target);
}

TEST(KeyAddress, defaultMade_texts_areEmpty) {
    const KEY_ADDRESS key = KEY_ADDRESS();
    EXPECT_TRUE(key.keyText.isEmpty());
    EXPECT_TRUE(key.regName.isEmpty());
    EXPECT_TRUE(key.keyText2.isEmpty());
}

TEST(FramePro, fields_declaration_exactlySevenInOrder) {
    const FRAME_PRO record = FRAME_PRO();
    expectTightLayout({FIELD_PLACE(record, frame), FIELD_PLACE(record, sendLen),
                       FIELD_PLACE(record, rcvLen), FIELD_PLACE(record, headLen),
                       FIELD_PLACE(record, dataLen), FIELD_PLACE(record, spare),
                       FIELD_PLACE(record, var)},
                      sizeof record, alignof(FRAME_PRO));
    EXPECT_FIELD(FRAME_PRO, frame, Bytes1024);
    EXPECT_FIELD(FRAME_PRO, sendLen, int);
    EXPECT_FIELD(FRAME_PRO, rcvLen, int);
    EXPECT_FIELD(FRAME_PRO, headLen, int);
    EXPECT_FIELD(FRAME_PRO, dataLen, int);
    EXPECT_FIELD(FRAME_PRO, spare, int);
    EXPECT_FIELD(FRAME_PRO, var, VARIABLE);
}

TEST(FramePro, copy_requestOfOneWord_carriesItsWholeBuffer) {
    FRAME_PRO frame = FRAME_PRO();
    std::memset(frame.frame, 0xC3, sizeof frame.frame);
    frame.sendLen = 18;
    frame.rcvLen = 16;
    frame.headLen = 14;
    frame.dataLen = 2;
    frame.spare = 9;
    frame.var = filledRequest();

    const FRAME_PRO copy(frame); // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_TRUE(allBytesAre(copy.frame, 1024, 0xC3));
    EXPECT_EQ(copy.sendLen, 18);
    EXPECT_EQ(copy.rcvLen, 16);
    EXPECT_EQ(copy.headLen, 14);
    EXPECT_EQ(copy.dataLen, 2);
    EXPECT_EQ(copy.spare, 9);
    expectFilledRequest(copy.var);
}

TEST(DataRecord, fields_declaration_exactlyTenInOrder) {
    const _DATA_ record = _DATA_();
    expectTightLayout({FIELD_PLACE(record, firstByteFlag), FIELD_PLACE(record, writePending),
                       FIELD_PLACE(record, pendingBits), FIELD_PLACE(record, wordMonitor),
                       FIELD_PLACE(record, bitMonitor), FIELD_PLACE(record, station),
                       FIELD_PLACE(record, regName), FIELD_PLACE(record, wordAddr),
                       FIELD_PLACE(record, readValue), FIELD_PLACE(record, writeValue)},
                      sizeof record, alignof(_DATA_));
    EXPECT_FIELD(_DATA_, firstByteFlag, unsigned char);
    EXPECT_FIELD(_DATA_, writePending, unsigned char);
    EXPECT_FIELD(_DATA_, pendingBits, int);
    EXPECT_FIELD(_DATA_, wordMonitor, int);
    EXPECT_FIELD(_DATA_, bitMonitor, int);
    EXPECT_FIELD(_DATA_, station, int);
    EXPECT_FIELD(_DATA_, regName, QString);
    EXPECT_FIELD(_DATA_, wordAddr, int);
    EXPECT_FIELD(_DATA_, readValue, Bytes4);
    EXPECT_FIELD(_DATA_, writeValue, Bytes4);
}

TEST(RecipeVariable, fields_declaration_exactlySevenInOrder) {
    const _RCP_VAR_PRO record = _RCP_VAR_PRO();
    expectTightLayout({FIELD_PLACE(record, hostTag), FIELD_PLACE(record, station),
                       FIELD_PLACE(record, regName), FIELD_PLACE(record, addr),
                       FIELD_PLACE(record, len), FIELD_PLACE(record, rcpOffset),
                       FIELD_PLACE(record, spare)},
                      sizeof record, alignof(_RCP_VAR_PRO));
    EXPECT_FIELD(_RCP_VAR_PRO, hostTag, int);
    EXPECT_FIELD(_RCP_VAR_PRO, station, int);
    EXPECT_FIELD(_RCP_VAR_PRO, regName, QString);
    EXPECT_FIELD(_RCP_VAR_PRO, addr, int);
    EXPECT_FIELD(_RCP_VAR_PRO, len, int);
    EXPECT_FIELD(_RCP_VAR_PRO, rcpOffset, int);
    EXPECT_FIELD(_RCP_VAR_PRO, spare, int);
}

TEST(Records, type_every_isAPlainValue) {
    EXPECT_FALSE(std::is_polymorphic<VARIABLE>::value);
    EXPECT_FALSE(std::is_polymorphic<KEY_ADDRESS>::value);
    EXPECT_FALSE(std::is_polymorphic<FRAME_PRO>::value);
    EXPECT_FALSE(std::is_polymorphic<_DATA_>::value);
    EXPECT_FALSE(std::is_polymorphic<_RCP_VAR_PRO>::value);
}
