// The driver object: its fields, their order, and what they start as.

#include "driver/velkor.h"

#include "support/fresh_driver.h"

#include <type_traits>
#include <vector>

namespace {

struct Place {
    const char* name;
    const void* address;
};

/// Every field, in declaration order.
std::vector<Place> fieldPlaces() {
#define PLACE(field)                                                                               \
    { #field, &driver.field }
    return {PLACE(addrValueChangeCallBack),
            PLACE(hostTag),
            PLACE(writeDisabled),
            PLACE(propertyItem2),
            PLACE(retryLimit),
            PLACE(maxWordsPerFrame),
            PLACE(hostBlock),
            PLACE(hostStatusBlock),
            PLACE(hostRecipeBuffer),
            PLACE(hostMutex),
            PLACE(readList),
            PLACE(writeList),
            PLACE(conditionReadList),
            PLACE(dataAreaList),
            PLACE(rcpVarVector),
            PLACE(rcpVector),
            PLACE(rcpBlockFirst),
            PLACE(conditionKey),
            PLACE(currentVar),
            PLACE(requestKind),
            PLACE(requestCount),
            PLACE(reserved22),
            PLACE(badReplyCount),
            PLACE(maxBitsPerFrame),
            PLACE(wordsPerFrame),
            PLACE(lastError),
            PLACE(reserved27),
            PLACE(reserved28),
            PLACE(frameQueue),
            PLACE(rcpIndex),
            PLACE(nodeLearned),
            PLACE(SNA),
            PLACE(SA1),
            PLACE(SA2),
            PLACE(DNA),
            PLACE(DA1),
            PLACE(DA2),
            PLACE(SID),
            PLACE(reserved35)};
#undef PLACE
}

} // namespace

TEST(DriverObject, fields_declaration_inTheFixedOrder) {
    const std::vector<Place> places = fieldPlaces();
    ASSERT_EQ(places.size(), 39U); // 35 rows, of which two hold three ints each
    EXPECT_EQ(places.front().address, static_cast<const void*>(&driver));
    for (std::size_t i = 1; i < places.size(); ++i) {
        EXPECT_LT(static_cast<const char*>(places[i - 1].address),
                  static_cast<const char*>(places[i].address))
            << places[i - 1].name << " before " << places[i].name;
    }
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
