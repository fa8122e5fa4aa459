// The driver object and its binding to a host, from the outside: what intf_initProperty does, the
// callback's shapes, the host's memory and mutex.

#include "contract/loaded_driver.h"

#include <dlfcn.h>
#include <link.h>

#include <algorithm>

namespace {

host::KeyAddress dmKey(int addr, int len, int countKind = 0) {
    host::KeyAddress key = makeKey("DM", addr, len);
    key.countKind = countKind;
    return key;
}

typedef std::vector<Notice> Notices;

} // namespace

class DriverObjectEdgeCases : public LoadedDriver {
protected:
    void queueOneOfEach() {
        unsigned char word[2] = {1, 2};
        intf.setData(1, QString::fromLatin1("DM"), 1, 1, word, 0);
        intf.addConditionRead(dmKey(2, 1), 0);
        QList<host::KeyAddress> keys;
        keys << dmKey(3, 1);
        intf.addrMerge(keys);
        nextFrame();
    }

    void expectIdle() {
        EXPECT_TRUE(object.readList.isEmpty());
        EXPECT_TRUE(object.writeList.isEmpty());
        EXPECT_TRUE(object.conditionReadList.isEmpty());
        EXPECT_TRUE(object.dataAreaList.isEmpty());
        EXPECT_TRUE(object.frameQueue.isEmpty());
        host::FramePro frame = host::FramePro();
        EXPECT_EQ(intf.getSendFrame(frame), 0U);
    }

    /// Two blocks (DM 100 and DM 200) of one word each.
    void declareTwoRecipeBlocks() {
        QVector<host::RecipeVariable> variables;
        variables << makeRecipeVariable(7, "DM", 100, 1, 0)
                  << makeRecipeVariable(7, "DM", 200, 1, 1);
        EXPECT_EQ(intf.setRcpAddress(variables), 2);
    }
};

TEST_F(DriverObjectEdgeCases, initProperty_fiveItems_setAllFiveFields) {
    EXPECT_EQ(host.bind(intf, "11#12#13#14#15"), 1);
    EXPECT_EQ(object.hostTag, 11);
    EXPECT_EQ(object.writeDisabled, 12);
    EXPECT_EQ(object.propertyItem2, 13);
    EXPECT_EQ(object.retryLimit, 14);
    EXPECT_EQ(object.maxWordsPerFrame, 15);
}

TEST_F(DriverObjectEdgeCases, initProperty_fourItems_fieldsKeptYetAllElseDone) {
    host.bind(intf, "11#0#13#14#15");
    queueOneOfEach();
    Host other;
    EXPECT_EQ(other.bind(intf, "1#0#0#0"), 1);
    EXPECT_EQ(other.initOut, 2);
    EXPECT_EQ(object.hostTag, 11);
    EXPECT_EQ(object.writeDisabled, 0);
    EXPECT_EQ(object.propertyItem2, 13);
    EXPECT_EQ(object.retryLimit, 14);
    EXPECT_EQ(object.maxWordsPerFrame, 15);
    EXPECT_EQ(object.hostBlock, other.block.data());
    EXPECT_EQ(object.hostStatusBlock, other.status.data());
    EXPECT_EQ(object.hostRecipeBuffer, other.recipe.data());
    EXPECT_EQ(object.hostMutex, &other.mutex);
    expectIdle();
}

TEST_F(DriverObjectEdgeCases, initProperty_itemThatIsNoNumber_becomes0) {
    host.bind(intf, "x#x#x#x#x");
    EXPECT_EQ(object.hostTag, 0);
    EXPECT_EQ(object.writeDisabled, 0);
    EXPECT_EQ(object.propertyItem2, 0);
    EXPECT_EQ(object.retryLimit, 0);
    EXPECT_EQ(object.maxWordsPerFrame, 0);
}

TEST_F(DriverObjectEdgeCases, initProperty_item4Is0_allThreeLimits0) {
    host.bind(intf, "7#0#0#3#0");
    EXPECT_EQ(object.maxWordsPerFrame, 0);
    EXPECT_EQ(object.wordsPerFrame, 0);
    EXPECT_EQ(object.maxBitsPerFrame, 0);
}

TEST_F(DriverObjectEdgeCases, initProperty_item4Is64_512BitsAnd64Words) {
    EXPECT_EQ(object.maxBitsPerFrame, 512);
    EXPECT_EQ(object.wordsPerFrame, 64);
    // Seen in the pieces of condition reads: words by 64, with count kind -1 by 512.
    intf.addConditionRead(dmKey(0, 65), 0);
    EXPECT_EQ(object.conditionReadList.size(), 2);
    intf.addConditionRead(dmKey(1000, 512, -1), 0);
    EXPECT_EQ(object.conditionReadList.size(), 3);
    intf.addConditionRead(dmKey(2000, 513, -1), 0);
    EXPECT_EQ(object.conditionReadList.size(), 5);
}

TEST_F(DriverObjectEdgeCases, initProperty_second_recipeAndItsIndexStay) {
    declareTwoRecipeBlocks();
    host.block[60115] = 1;
    EXPECT_EQ(answer(nextFrame()), 1U); // the first block is done
    EXPECT_EQ(object.rcpIndex, 1);

    host.bind(intf);
    EXPECT_EQ(object.rcpVarVector.size(), 2);
    EXPECT_EQ(object.rcpVector.size(), 2);
    EXPECT_EQ(object.rcpBlockFirst, QList<int>() << 0 << 1);
    EXPECT_EQ(object.rcpIndex, 1);
    const host::FramePro frame = nextFrame();
    EXPECT_EQ(frame.var.addr, 200); // the transfer goes on with the second block
}

TEST_F(DriverObjectEdgeCases, getSendFrame_bothRecipeBytes1_onlyTheDownloadIsServed) {
    declareTwoRecipeBlocks();
    host.block[60115] = 1;
    host.block[60116] = 1;
    for (int addr : {100, 200}) {
        const host::FramePro frame = nextFrame();
        EXPECT_EQ(object.requestKind, 5);
        EXPECT_EQ(frame.frame[11], 0x02); // a write
        EXPECT_EQ(frame.var.addr, addr);
        EXPECT_EQ(host.block[60116], 1);
        EXPECT_EQ(answer(frame), 1U);
    }
    EXPECT_EQ(host.block[60115], 0);
    EXPECT_EQ(host.block[60116], 1);
    EXPECT_EQ(nextFrame().frame[11], 0x01); // now the upload's read
    EXPECT_EQ(object.requestKind, 6);
}

class DriverObjectContract : public LoadedDriver {
protected:
    void monitor(const char* regName, int addr, int len) { keys << makeKey(regName, addr, len); }
    void startPolling() { intf.addrMerge(keys); }
    void write(const char* regName, int addr, std::vector<unsigned char> data, int count) {
        intf.setData(1, QString::fromLatin1(regName), addr, count, data.data(), 0);
    }
    /// Three replies that do not come: the request fails.
    void failRequest() {
        EXPECT_EQ(answerBytes(QByteArray()), 8U);
        EXPECT_EQ(answerBytes(QByteArray()), 8U);
        EXPECT_EQ(answerBytes(QByteArray()), 2U);
    }
    /// A recipe upload of one word, a failed write and polled changes: everything that calls back.
    void exchangeEverything();

    QList<host::KeyAddress> keys;
};

void DriverObjectContract::exchangeEverything() {
    monitor("DM", 10, 1);
    monitor("CIO_bit", 35, 2);
    startPolling();
    EXPECT_EQ(answer(nextFrame(), {0x0018}), 1U); // CIO 2: bits 3 and 4
    EXPECT_EQ(answer(nextFrame(), {0x1234}), 1U);
    intf.addConditionRead(dmKey(500, 1), 0);
    EXPECT_EQ(answer(nextFrame(), {1}), 1U);
    write("DM", 10, {1, 0}, 1);
    EXPECT_EQ(answer(nextFrame()), 1U);
    write("CIO_bit", 35, {0}, 1);
    nextFrame();
    failRequest();
    QVector<host::RecipeVariable> variables;
    variables << makeRecipeVariable(7, "DM", 100, 2, 4);
    intf.setRcpAddress(variables);
    host.block[60116] = 1;
    EXPECT_EQ(answer(nextFrame(), {0x1122, 0x3344}), 1U);
    host.block[60115] = 1;
    EXPECT_EQ(answer(nextFrame()), 1U);
}

TEST_F(DriverObjectContract, driverSymbol_size_isThatOfTheDeclaredFields) {
#ifdef VELKOR_SANITIZED
    GTEST_SKIP() << "the sanitizer counts its guard behind the object";
#endif
    Dl_info info = Dl_info();
    void* entry = nullptr;
    ASSERT_NE(dladdr1(&object, &info, &entry, RTLD_DL_SYMENT), 0);
    ASSERT_NE(entry, nullptr);
    EXPECT_STREQ(info.dli_sname, "driver");
    EXPECT_EQ(static_cast<const ElfW(Sym)*>(entry)->st_size, sizeof(host::DriverObject));
}

TEST_F(DriverObjectContract, initProperty_marksInEveryNumber_resetWhereTheHostHasThem) {
    for (int* field :
         {&object.requestKind, &object.requestCount, &object.reserved22, &object.badReplyCount,
          &object.maxBitsPerFrame, &object.wordsPerFrame, &object.lastError, &object.reserved27,
          &object.reserved28, &object.rcpIndex, &object.SNA, &object.SA1, &object.SA2, &object.DNA,
          &object.DA1, &object.DA2, &object.reserved35}) {
        *field = 777;
    }
    object.SID = 77;
    object.nodeLearned = 0;
    host.bind(intf, "7#0#0#3#64");
    for (int value : {object.requestKind, object.requestCount, object.reserved22,
                      object.badReplyCount, object.lastError, object.reserved27}) {
        EXPECT_EQ(value, 0);
    }
    EXPECT_EQ(object.maxBitsPerFrame, 512);
    EXPECT_EQ(object.wordsPerFrame, 64);
    EXPECT_EQ(object.reserved28, 1);
    for (int value : {object.rcpIndex, object.SNA, object.SA1, object.SA2, object.DNA, object.DA1,
                      object.DA2, object.reserved35}) {
        EXPECT_EQ(value, 777);
    }
    EXPECT_EQ(object.SID, 77);
    EXPECT_EQ(object.nodeLearned, 0);
}

TEST_F(DriverObjectContract, initProperty_textBehindTheZero_notRead) {
    host.bind(intf, "11#12#13#14#15\0#99");
    EXPECT_EQ(object.maxWordsPerFrame, 15);
}

TEST_F(DriverObjectContract, callback_wordChanged_hostTagNameAndWord) {
    monitor("DM", 10, 1);
    startPolling();
    answer(nextFrame(), {5});
    EXPECT_EQ(host.takeNotices(), (Notices{{7, 1, "DM", 10}}));
    answer(nextFrame(), {5}); // unchanged: no call
    EXPECT_EQ(host.takeNotices(), Notices());
}

TEST_F(DriverObjectContract, callback_bitsChanged_ascendingAndBeforeTheirWord) {
    monitor("CIO", 2, 1);
    monitor("CIO_bit", 35, 1);
    monitor("CIO_bit", 32, 1);
    startPolling();
    answer(nextFrame(), {0x0001});
    EXPECT_EQ(host.takeNotices(), (Notices{{7, 1, "CIO_bit", 32}, {7, 1, "CIO", 2}}));
    answer(nextFrame(), {0x0008});
    EXPECT_EQ(host.takeNotices(),
              (Notices{{7, 1, "CIO_bit", 32}, {7, 1, "CIO_bit", 35}, {7, 1, "CIO", 2}}));
}

TEST_F(DriverObjectContract, callback_byteChange_nameUnchangedAndBit) {
    monitor("DM_bit", 160, 16); // all bits of DM 10
    startPolling();
    unsigned char before = 0x81;
    unsigned char after = 0x01;
    intf.byteDataChange(&before, &after, 1, QString::fromLatin1("DM"), 10);
    EXPECT_EQ(host.takeNotices(), (Notices{{7, 1, "DM", 17}})); // 10 + bit 7
}

TEST_F(DriverObjectContract, callback_bitWriteEnded_firstBitOncePerBit) {
    write("CIO_bit", 16, {1, 0, 1}, 3);
    host.takeNotices();
    EXPECT_EQ(answer(nextFrame()), 1U);
    EXPECT_EQ(host.takeNotices(),
              (Notices{{7, 1, "CIO_bit", 16}, {7, 1, "CIO_bit", 16}, {7, 1, "CIO_bit", 16}}));
}

TEST_F(DriverObjectContract, callback_conditionReadAnswered_status0) {
    intf.addConditionRead(dmKey(500, 1), 0);
    EXPECT_EQ(answer(nextFrame(), {1}), 1U);
    EXPECT_EQ(host.takeNotices(), (Notices{{-1, -1, "-1", 0}}));
}

TEST_F(DriverObjectContract, callback_conditionReadFailed_statusMinus1AfterTheStatusBytes) {
    intf.addConditionRead(dmKey(500, 1), 0);
    nextFrame();
    failRequest();
    EXPECT_EQ(host.takeNotices(),
              (Notices{{0, -1, "LW", 122022}, {0, -1, "LW", 122023}, {-1, -1, "-1", -1}}));
    EXPECT_EQ(host.status[122022], 4);
    EXPECT_EQ(host.status[122023], 0);
}

TEST_F(DriverObjectContract, callback_recipeUploaded_bufferWordEach) {
    QVector<host::RecipeVariable> variables;
    variables << makeRecipeVariable(7, "DM", 100, 2, 4);
    intf.setRcpAddress(variables);
    host.block[60116] = 1;
    EXPECT_EQ(answer(nextFrame(), {0x1122, 0x3344}), 1U);
    const Notices heard = host.takeNotices();
    EXPECT_EQ(std::count(heard.begin(), heard.end(), (Notice{0, -1, "RWI", 4})), 1);
    EXPECT_EQ(std::count(heard.begin(), heard.end(), (Notice{0, -1, "RWI", 5})), 1);
    EXPECT_EQ(heard.size(), 2U);
    const unsigned char* bytes = reinterpret_cast<const unsigned char*>(host.recipe.data());
    EXPECT_EQ(std::vector<int>(bytes + 8, bytes + 12), (std::vector<int>{0x22, 0x11, 0x44, 0x33}));
}

TEST_F(DriverObjectContract, callback_everyKind_mutexIsFree) {
    int calls = 0;
    host.onNotice = [&](const Notice& notice) {
        ++calls;
        const bool free = host.mutex.tryLock();
        EXPECT_TRUE(free) << notice;
        if (free) {
            host.mutex.unlock();
        }
    };
    exchangeEverything();
    EXPECT_EQ(calls, 11); // 3 polled, 1 condition read, 2 writes, 3 at the failure, 2 uploaded
    EXPECT_TRUE(host.mutex.tryLock());
    host.mutex.unlock();
}

TEST_F(DriverObjectContract, hostMemory_wholeExchange_onlyTheNamedBytesWritten) {
    std::fill(host.block.begin(), host.block.end(), static_cast<unsigned char>(0x77));
    host.block[60115] = host.block[60116] = 0;
    exchangeEverything();
    EXPECT_EQ(host.block[60115], 0);
    EXPECT_EQ(host.block[60116], 0);
    EXPECT_EQ(std::count(host.block.begin(), host.block.end(), 0x77), 60115);
    EXPECT_EQ(host.status[122022], 4);
    EXPECT_EQ(host.status[122023], 0);
    EXPECT_EQ(std::count(host.status.begin(), host.status.end(), 0xEE), 122022);
    EXPECT_EQ(std::count(host.recipe.begin(), host.recipe.end(), 0), 4094);
}

TEST_F(DriverObjectContract, hostMemory_anythingWithoutTheBytes_mutexNotNeeded) {
    // Only the scheduler's look at the request bytes and the end of a recipe take the mutex.
    write("DM", 10, {1, 0}, 1);
    const host::FramePro frame = nextFrame();
    host.mutex.lock(); // a driver that took it below would wait for ever
    host::FramePro again = host::FramePro();
    EXPECT_EQ(intf.getSendFrame(again), 1U); // a frame is queued: the bytes are not looked at
    EXPECT_EQ(sentBytes(again), sentBytes(frame));
    failRequest();
    write("DM", 10, {2, 0}, 1);
    unsigned char value[2];
    intf.getData(1, QString::fromLatin1("DM"), 10, 1, value);
    intf.addConditionRead(dmKey(1, 1), 0);
    startPolling();
    host.mutex.unlock();
    EXPECT_EQ(value[0], 2);
}

// What no installed header declares, and what a host that calls it all the same gets.

TEST_F(DriverObjectContract, connectToServer_asLoaded_replyIsJudgedByItsByte9AndTeachesNothing) {
    intf.setDriverPropertyPage(QLatin1String("6,0,1,0,0,10,0"));
    object.SID = 9;
    intf.connectToServer();
    const host::FramePro request = nextFrame();
    EXPECT_EQ(sentBytes(request), (std::vector<int>{'F', 'I', 'N', 'S', 0, 0, 0, 12, 0, 0,
                                                    0,   0,   0,   0,   0, 0, 0, 0,  0, 0}));
    EXPECT_EQ(request.rcvLen, 24);
    QByteArray reply(24, '\0');
    reply[19] = 0x21;
    reply[23] = 0x43;
    EXPECT_EQ(answerBytes(reply), 8U);
    reply[9] = 9;
    EXPECT_EQ(answerBytes(reply), 1U);
    EXPECT_EQ(object.SA1, 10);
    EXPECT_EQ(object.DA1, 1);
}

TEST_F(DriverObjectContract, connectToServer_nodeLearnedCleared_replyTeachesBothNodes) {
    object.nodeLearned = 0;
    intf.connectToServer();
    nextFrame();
    QByteArray reply(24, '\0');
    reply[19] = 0x21;
    reply[23] = 0x43;
    EXPECT_EQ(answerBytes(reply), 1U);
    EXPECT_EQ(object.nodeLearned, 1);
    EXPECT_EQ(object.SA1, 0x21);
    EXPECT_EQ(object.DA1, 0x43);
}
