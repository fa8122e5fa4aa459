// The driver object: its fields, their order, and what they start as.

#include "driver/velkor.h"

#include "support/fresh_driver.h"
#include "unit/field_layout.h"

#include <type_traits>
#include <vector>

namespace {

/// Every field, in declaration order: 35, of which two hold three ints each.
std::vector<FieldPlace> fieldPlaces() {
    return {FIELD_PLACE(driver, addrValueChangeCallBack),
            FIELD_PLACE(driver, hostTag),
            FIELD_PLACE(driver, writeDisabled),
            FIELD_PLACE(driver, propertyItem2),
            FIELD_PLACE(driver, retryLimit),
            FIELD_PLACE(driver, maxWordsPerFrame),
            FIELD_PLACE(driver, hostBlock),
            FIELD_PLACE(driver, hostStatusBlock),
            FIELD_PLACE(driver, hostRecipeBuffer),
            FIELD_PLACE(driver, hostMutex),
            FIELD_PLACE(driver, readList),
            FIELD_PLACE(driver, writeList),
            FIELD_PLACE(driver, conditionReadList),
            FIELD_PLACE(driver, dataAreaList),
            FIELD_PLACE(driver, rcpVarVector),
            FIELD_PLACE(driver, rcpVector),
            FIELD_PLACE(driver, rcpBlockFirst),
            FIELD_PLACE(driver, conditionKey),
            FIELD_PLACE(driver, currentVar),
            FIELD_PLACE(driver, requestKind),
            FIELD_PLACE(driver, requestCount),
            FIELD_PLACE(driver, reserved22),
            FIELD_PLACE(driver, badReplyCount),
            FIELD_PLACE(driver, maxBitsPerFrame),
            FIELD_PLACE(driver, wordsPerFrame),
            FIELD_PLACE(driver, lastError),
            FIELD_PLACE(driver, reserved27),
            FIELD_PLACE(driver, reserved28),
            FIELD_PLACE(driver, frameQueue),
            FIELD_PLACE(driver, rcpIndex),
            FIELD_PLACE(driver, nodeLearned),
            FIELD_PLACE(driver, SNA),
            FIELD_PLACE(driver, SA1),
            FIELD_PLACE(driver, SA2),
            FIELD_PLACE(driver, DNA),
            FIELD_PLACE(driver, DA1),
            FIELD_PLACE(driver, DA2),
            FIELD_PLACE(driver, SID),
            FIELD_PLACE(driver, reserved35)};
}

} // namespace

TEST(DriverObject, fields_declaration_exactlyTheseInTheFixedOrder) {
    const std::vector<FieldPlace> places = fieldPlaces();
    ASSERT_EQ(places.size(), 39U);
    expectTightLayout(places, sizeof(velkor), alignof(velkor));
}

TEST(DriverObject, fields_types_asTheHostContractHasThem) {
#define EXPECT_TYPE(field, ...)                                                                    \
    EXPECT_TRUE((std::is_same<decltype(velkor::field), __VA_ARGS__>::value)) << #field
    EXPECT_TYPE(addrValueChangeCallBack, int (*)(int, int, QString, int));
    EXPECT_TYPE(hostBlock, unsigned char*);
    EXPECT_TYPE(hostStatusBlock, unsigned char*);
    EXPECT_TYPE(hostRecipeBuffer, unsigned short*);
    EXPECT_TYPE(hostMutex, QMutex*);
    EXPECT_TYPE(readList, QList<VARIABLE>);
    EXPECT_TYPE(writeList, QList<VARIABLE>);
    EXPECT_TYPE(conditionReadList, QList<VARIABLE>);
    EXPECT_TYPE(dataAreaList, QList<_DATA_>);
    EXPECT_TYPE(rcpVarVector, QVector<_RCP_VAR_PRO>);
    EXPECT_TYPE(rcpVector, QVector<_RCP_VAR_PRO>);
    EXPECT_TYPE(rcpBlockFirst, QList<int>);
    EXPECT_TYPE(conditionKey, VARIABLE);
    EXPECT_TYPE(currentVar, VARIABLE);
    EXPECT_TYPE(frameQueue, QList<FRAME_PRO>);
    EXPECT_TYPE(nodeLearned, unsigned char);
    EXPECT_TYPE(SID, unsigned char);
    EXPECT_TYPE(hostTag, int);
    EXPECT_TYPE(writeDisabled, int);
    EXPECT_TYPE(propertyItem2, int);
    EXPECT_TYPE(retryLimit, int);
    EXPECT_TYPE(maxWordsPerFrame, int);
    EXPECT_TYPE(requestKind, int);
    EXPECT_TYPE(requestCount, int);
    EXPECT_TYPE(reserved22, int);
    EXPECT_TYPE(badReplyCount, int);
    EXPECT_TYPE(maxBitsPerFrame, int);
    EXPECT_TYPE(wordsPerFrame, int);
    EXPECT_TYPE(lastError, int);
    EXPECT_TYPE(reserved27, int);
    EXPECT_TYPE(reserved28, int);
    EXPECT_TYPE(rcpIndex, int);
    EXPECT_TYPE(SNA, int);
    EXPECT_TYPE(SA1, int);
    EXPECT_TYPE(SA2, int);
    EXPECT_TYPE(DNA, int);
    EXPECT_TYPE(DA1, int);
    EXPECT_TYPE(DA2, int);
    EXPECT_TYPE(reserved35, int);
#undef EXPECT_TYPE
}

TEST(DriverObject, type_velkor_noVirtualFunctions) {
    EXPECT_FALSE(std::is_polymorphic<velkor>::value);
    EXPECT_TRUE(std::is_default_constructible<velkor>::value);
}

/// As the library's load leaves it; no call has been made.
class DriverAtLoad : public ::testing::Test {
protected:
    DriverAtLoad() { rebuildDriver(); }
    ~DriverAtLoad() override { rebuildDriver(); }
};

TEST_F(DriverAtLoad, hostFields_noHostYet_null) {
    EXPECT_TRUE(driver.addrValueChangeCallBack == nullptr);
    EXPECT_EQ(driver.hostBlock, nullptr);
    EXPECT_EQ(driver.hostStatusBlock, nullptr);
    EXPECT_EQ(driver.hostRecipeBuffer, nullptr);
    EXPECT_EQ(driver.hostMutex, nullptr);
}

TEST_F(DriverAtLoad, propertyFields_noHostYet_zero) {
    EXPECT_EQ(driver.hostTag, 0);
    EXPECT_EQ(driver.writeDisabled, 0);
    EXPECT_EQ(driver.propertyItem2, 0);
    EXPECT_EQ(driver.retryLimit, 0);
    EXPECT_EQ(driver.maxWordsPerFrame, 0);
    EXPECT_EQ(driver.maxBitsPerFrame, 0);
    EXPECT_EQ(driver.wordsPerFrame, 0);
}

TEST_F(DriverAtLoad, lists_nothingAsked_empty) {
    EXPECT_TRUE(driver.readList.isEmpty());
    EXPECT_TRUE(driver.writeList.isEmpty());
    EXPECT_TRUE(driver.conditionReadList.isEmpty());
    EXPECT_TRUE(driver.dataAreaList.isEmpty());
    EXPECT_TRUE(driver.rcpVarVector.isEmpty());
    EXPECT_TRUE(driver.rcpVector.isEmpty());
    EXPECT_TRUE(driver.rcpBlockFirst.isEmpty());
    EXPECT_TRUE(driver.frameQueue.isEmpty());
    EXPECT_TRUE(driver.conditionKey.regName.isEmpty());
    EXPECT_TRUE(driver.currentVar.regName.isEmpty());
}

TEST_F(DriverAtLoad, exchangeFields_nothingAsked_idle) {
    EXPECT_EQ(driver.requestKind, 0);
    EXPECT_EQ(driver.requestCount, 0);
    EXPECT_EQ(driver.badReplyCount, 0);
    EXPECT_EQ(driver.lastError, 0);
    EXPECT_EQ(driver.rcpIndex, 0);
    EXPECT_EQ(driver.reserved22, 0);
    EXPECT_EQ(driver.reserved27, 0);
    EXPECT_EQ(driver.reserved28, 0); // becomes 1 with intf_initProperty, not before
    EXPECT_EQ(driver.reserved35, 0);
}

TEST_F(DriverAtLoad, nodeFields_noSettingsYet_zeroButLearned) {
    EXPECT_EQ(driver.nodeLearned, 1);
    EXPECT_EQ(driver.SID, 0);
    EXPECT_EQ(driver.DNA, 0);
    EXPECT_EQ(driver.DA1, 0);
    EXPECT_EQ(driver.DA2, 0);
    EXPECT_EQ(driver.SNA, 0);
    EXPECT_EQ(driver.SA1, 0);
    EXPECT_EQ(driver.SA2, 0);
}
