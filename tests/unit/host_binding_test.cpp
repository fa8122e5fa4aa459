// intf_initProperty and intf_setAddrValueChangeCallBack.

#include "driver/host_interface.h"

#include "support/fresh_driver.h"

#include <climits>
#include <cstring>

namespace {

const int unchanged = 777;

struct PropertyRow {
    const char* properties;
    int hostTag, writeDisabled, propertyItem2, retryLimit, maxWordsPerFrame;
};

// Five items or more: items 0 to 4 are taken, what is no number counts as 0.
const PropertyRow takenRows[] = {
    {"7#1#2#3#64", 7, 1, 2, 3, 64},
    {"7#1#2#3#64#9", 7, 1, 2, 3, 64},
    {"7#1#2#3#64#", 7, 1, 2, 3, 64},
    {"1#2#3#4#5#6#7#8#9#10#11#12#13#14#15#16#17#18#19#20#21#22#23#24#25#26#27#28#29#30#31#32#33#34#"
     "35#36#37#38#39#40",
     1, 2, 3, 4, 5},
    {"####", 0, 0, 0, 0, 0},
    {"x#0#0#3#64", 0, 0, 0, 3, 64},
    {"7#0#0#3#x", 7, 0, 0, 3, 0},
    {"7#0#0#3#0", 7, 0, 0, 3, 0},
    {" 7 # 1#2 #  3#64  ", 7, 1, 2, 3, 64},
    {"-7#+1#-0#-3#+64", -7, 1, 0, -3, 64},
    {"007#01#0002#03#0064", 7, 1, 2, 3, 64},
    {"0x10#1e2#1.5#3,0#6 4", 0, 0, 0, 0, 0},
    {"--1#- 1#+#-#1-", 0, 0, 0, 0, 0},
    {"7,1,2,3,64#1#2#3#64", 0, 1, 2, 3, 64},
    // The ends of the 32-bit range, and one beyond each.
    {"2147483647#-2147483648#2147483648#-2147483649#1", INT_MAX, INT_MIN, 0, 0, 1},
    {"4294967296#4294967295#99999999999999999999999999#1#1", 0, 0, 0, 1, 1},
    {"\xE9#\xFF#\xB2#3#64", 0, 0, 0, 3, 64}, // Latin-1, beyond ASCII
};

// Four items or fewer: the five fields keep their values.
const char* const ignoredStrings[] = {
    "", "1", "1#0", "1#0#0", "1#0#0#0", "###", "#", "1,0,0,3,64", "x", "    ",
};

struct LimitRow {
    const char* properties;
    int maxWords, maxBits;
};

const LimitRow limitRows[] = {
    {"7#0#0#3#64", 64, 512},
    {"7#0#0#3#1", 1, 8},
    {"7#0#0#3#0", 0, 0},
    {"7#0#0#3#x", 0, 0},
    {"7#0#0#3#-5", -5, -40},
    {"7#0#0#3#268435456", 268435456, INT_MIN}, // 8 * 2^28 wraps
    {"7#0#0#3#536870912", 536870912, 0},       // 8 * 2^29 wraps to 0
    {"7#0#0#3#2147483647", INT_MAX, -8},
};

int ignoreNotice(int, int, QString, int) {
    return 0;
}

} // namespace

class HostBinding : public FreshDriver {
protected:
    void markPropertyFields() {
        driver.hostTag = unchanged;
        driver.writeDisabled = unchanged;
        driver.propertyItem2 = unchanged;
        driver.retryLimit = unchanged;
        driver.maxWordsPerFrame = unchanged;
    }

    void expectPropertyFields(const PropertyRow& row) {
        EXPECT_EQ(driver.hostTag, row.hostTag);
        EXPECT_EQ(driver.writeDisabled, row.writeDisabled);
        EXPECT_EQ(driver.propertyItem2, row.propertyItem2);
        EXPECT_EQ(driver.retryLimit, row.retryLimit);
        EXPECT_EQ(driver.maxWordsPerFrame, row.maxWordsPerFrame);
    }

    int initWith(const char* properties) {
        return intf_initProperty(hostBlock.data(), statusBlock.data(), recipeBuffer.data(),
                                 &initOut, properties, &mutex);
    }

    /// Puts one element on every list and a mark into every number, as after long use.
    void fillEverything() {
        driver.readList.append(makeRequest("DM", 1, 1));
        driver.writeList.append(makeRequest("DM", 2, 1));
        driver.conditionReadList.append(makeRequest("DM", 3, 1));
        driver.dataAreaList.append(_DATA_());
        driver.frameQueue.append(FRAME_PRO());
        driver.rcpVarVector.append(_RCP_VAR_PRO());
        driver.rcpVector.append(_RCP_VAR_PRO());
        driver.rcpBlockFirst.append(4);
        driver.conditionKey = makeRequest("WR", 5, 6);
        driver.currentVar = makeRequest("HR", 7, 8);
        driver.requestKind = unchanged;
        driver.requestCount = unchanged;
        driver.reserved22 = unchanged;
        driver.badReplyCount = unchanged;
        driver.maxBitsPerFrame = unchanged;
        driver.wordsPerFrame = unchanged;
        driver.lastError = unchanged;
        driver.reserved27 = unchanged;
        driver.reserved28 = unchanged;
        driver.reserved35 = unchanged;
        driver.rcpIndex = 9;
        driver.nodeLearned = 0;
        driver.SNA = 11;
        driver.SA1 = 12;
        driver.SA2 = 13;
        driver.DNA = 14;
        driver.DA1 = 15;
        driver.DA2 = 16;
        driver.SID = 200;
    }

    void expectKeptFields() {
        EXPECT_EQ(driver.rcpVarVector.size(), 1);
        EXPECT_EQ(driver.rcpVector.size(), 1);
        EXPECT_EQ(driver.rcpBlockFirst, QList<int>() << 4);
        EXPECT_EQ(driver.rcpIndex, 9);
        EXPECT_EQ(driver.conditionKey.regName, QLatin1String("WR"));
        EXPECT_EQ(driver.conditionKey.addr, 5);
        EXPECT_EQ(driver.conditionKey.len, 6);
        EXPECT_EQ(driver.currentVar.regName, QLatin1String("HR"));
        EXPECT_EQ(driver.currentVar.addr, 7);
        EXPECT_EQ(driver.currentVar.len, 8);
        EXPECT_EQ(driver.nodeLearned, 0);
        EXPECT_EQ(driver.SNA, 11);
        EXPECT_EQ(driver.SA1, 12);
        EXPECT_EQ(driver.SA2, 13);
        EXPECT_EQ(driver.DNA, 14);
        EXPECT_EQ(driver.DA1, 15);
        EXPECT_EQ(driver.DA2, 16);
        EXPECT_EQ(driver.SID, 200);
        EXPECT_EQ(driver.reserved35, unchanged);
    }

    void expectResetFields() {
        EXPECT_TRUE(driver.readList.isEmpty());
        EXPECT_TRUE(driver.writeList.isEmpty());
        EXPECT_TRUE(driver.conditionReadList.isEmpty());
        EXPECT_TRUE(driver.dataAreaList.isEmpty());
        EXPECT_TRUE(driver.frameQueue.isEmpty());
        EXPECT_EQ(driver.requestKind, 0);
        EXPECT_EQ(driver.requestCount, 0);
        EXPECT_EQ(driver.reserved22, 0);
        EXPECT_EQ(driver.badReplyCount, 0);
        EXPECT_EQ(driver.lastError, 0);
        EXPECT_EQ(driver.reserved27, 0);
        EXPECT_EQ(driver.reserved28, 1);
    }
};

TEST_F(HostBinding, initProperty_anyProperties_returns1AndStores2) {
    for (const char* properties : ignoredStrings) {
        initOut = -1;
        EXPECT_EQ(initWith(properties), 1) << properties;
        EXPECT_EQ(initOut, 2) << properties;
    }
    for (const PropertyRow& row : takenRows) {
        initOut = -1;
        EXPECT_EQ(initWith(row.properties), 1) << row.properties;
        EXPECT_EQ(initOut, 2) << row.properties;
    }
}

TEST_F(HostBinding, initProperty_outIsOneOfItsOwnFields_2IsStoredFirst) {
    // The later steps overwrite what was stored: a 2 stored last would remain.
    EXPECT_EQ(intf_initProperty(hostBlock.data(), statusBlock.data(), recipeBuffer.data(),
                                &driver.hostTag, "7#0#0#3#64", &mutex),
              1);
    EXPECT_EQ(driver.hostTag, 7);
    EXPECT_EQ(intf_initProperty(hostBlock.data(), statusBlock.data(), recipeBuffer.data(),
                                &driver.hostTag, "9#0#0#3", &mutex),
              1);
    EXPECT_EQ(driver.hostTag, 2);
}

TEST_F(HostBinding, initProperty_fiveItemsOrMore_firstFiveTaken) {
    for (const PropertyRow& row : takenRows) {
        SCOPED_TRACE(row.properties);
        markPropertyFields();
        initWith(row.properties);
        expectPropertyFields(row);
    }
}

TEST_F(HostBinding, initProperty_fourItemsOrFewer_propertyFieldsKept) {
    for (const char* properties : ignoredStrings) {
        SCOPED_TRACE(properties);
        markPropertyFields();
        initWith(properties);
        expectPropertyFields({properties, unchanged, unchanged, unchanged, unchanged, unchanged});
    }
}

TEST_F(HostBinding, initProperty_wordsPerFrame_limitsFollow) {
    for (const LimitRow& row : limitRows) {
        SCOPED_TRACE(row.properties);
        initWith(row.properties);
        EXPECT_EQ(driver.maxWordsPerFrame, row.maxWords);
        EXPECT_EQ(driver.wordsPerFrame, row.maxWords);
        EXPECT_EQ(driver.maxBitsPerFrame, row.maxBits);
    }
}

TEST_F(HostBinding, initProperty_fourItems_limitsRecomputedFromKeptWords) {
    initWith("7#0#0#3#64");
    driver.maxWordsPerFrame = 10;
    initWith("1#0#0#0");
    EXPECT_EQ(driver.wordsPerFrame, 10);
    EXPECT_EQ(driver.maxBitsPerFrame, 80);
}

TEST_F(HostBinding, initProperty_pointers_boundWhateverTheProperties) {
    unsigned char otherBlock = 0;
    unsigned char otherStatus = 0;
    unsigned short otherRecipe = 0;
    QMutex otherMutex;
    for (const char* properties : {"7#0#0#3#64", "1#0#0#0"}) {
        init("7#0#0#3#64");
        EXPECT_EQ(driver.hostBlock, hostBlock.data());
        intf_initProperty(&otherBlock, &otherStatus, &otherRecipe, &initOut, properties,
                          &otherMutex);
        EXPECT_EQ(driver.hostBlock, &otherBlock);
        EXPECT_EQ(driver.hostStatusBlock, &otherStatus);
        EXPECT_EQ(driver.hostRecipeBuffer, &otherRecipe);
        EXPECT_EQ(driver.hostMutex, &otherMutex);
    }
}

TEST_F(HostBinding, initProperty_nullPointers_storedUntested) {
    EXPECT_EQ(intf_initProperty(nullptr, nullptr, nullptr, &initOut, "7#0#0#3#64", nullptr), 1);
    EXPECT_EQ(driver.hostBlock, nullptr);
    EXPECT_EQ(driver.hostStatusBlock, nullptr);
    EXPECT_EQ(driver.hostRecipeBuffer, nullptr);
    EXPECT_EQ(driver.hostMutex, nullptr);
}

TEST_F(HostBinding, initProperty_afterUse_exchangeRestartsFromIdle) {
    for (const char* properties : {"7#0#0#3#64", "1#0#0#0"}) {
        SCOPED_TRACE(properties);
        fillEverything();
        initWith(properties);
        expectResetFields();
        EXPECT_EQ(driver.maxBitsPerFrame, 512);
        EXPECT_EQ(driver.wordsPerFrame, 64);
    }
}

TEST_F(HostBinding, initProperty_afterUse_recipesNodesSidAndCallbackStay) {
    intf_setAddrValueChangeCallBack(&ignoreNotice);
    fillEverything();
    initWith("7#0#0#3#64");
    expectKeptFields();
    EXPECT_TRUE(driver.addrValueChangeCallBack == &ignoreNotice);
}

TEST_F(HostBinding, initProperty_hostMemory_notTouched) {
    std::fill(hostBlock.begin(), hostBlock.end(), static_cast<unsigned char>(1));
    initWith("7#0#0#3#64");
    EXPECT_EQ(std::count(hostBlock.begin(), hostBlock.end(), 1),
              static_cast<std::ptrdiff_t>(hostBlock.size()));
    EXPECT_EQ(std::count(statusBlock.begin(), statusBlock.end(), 0xEE),
              static_cast<std::ptrdiff_t>(statusBlock.size()));
    EXPECT_EQ(std::count(recipeBuffer.begin(), recipeBuffer.end(), 0),
              static_cast<std::ptrdiff_t>(recipeBuffer.size()));
    EXPECT_TRUE(takeNotices().empty());
}

TEST_F(HostBinding, initProperty_mutexHeldByTheHost_takesNoLock) {
    mutex.lock(); // a driver that took it here would wait for ever
    EXPECT_EQ(initWith("7#0#0#3#64"), 1);
    mutex.unlock();
}

TEST_F(HostBinding, initProperty_propertyTextReusedByTheHost_nothingKept) {
    char properties[] = "7#1#2#3#64";
    initWith(properties);
    std::memset(properties, 'x', sizeof properties - 1);
    expectPropertyFields({"", 7, 1, 2, 3, 64});
}

TEST_F(HostBinding, setAddrValueChangeCallBack_pointer_storedAndNothingElse) {
    fillEverything();
    intf_setAddrValueChangeCallBack(&ignoreNotice);
    EXPECT_TRUE(driver.addrValueChangeCallBack == &ignoreNotice);
    expectKeptFields();
    EXPECT_EQ(driver.readList.size(), 1);
    EXPECT_EQ(driver.writeList.size(), 1);
    EXPECT_EQ(driver.conditionReadList.size(), 1);
    EXPECT_EQ(driver.dataAreaList.size(), 1);
    EXPECT_EQ(driver.frameQueue.size(), 1);
    EXPECT_EQ(driver.requestKind, unchanged);
    EXPECT_TRUE(takeNotices().empty());
}

TEST_F(HostBinding, setAddrValueChangeCallBack_null_storedUntested) {
    intf_setAddrValueChangeCallBack(nullptr);
    EXPECT_TRUE(driver.addrValueChangeCallBack == nullptr);
}
