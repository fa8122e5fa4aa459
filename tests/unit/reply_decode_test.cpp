/// What an accepted data reply does to the cache and which notices it raises. Recipe uploads are in
/// recipe_transfer_test.cpp.

#include "support/exchange.h"

#include "data/data_area.h"
#include "fins/frame_builder.h"

#include <climits>

namespace {

using Notices = std::vector<Notice>;

class ReplyDecode : public Exchange {
protected:
    /// A one-shot read of what nobody monitors, answered with these words.
    void read(const char* regName, int addr, const Words& words, int station = 1) {
        getReadFrame(makeRequest(regName, addr, static_cast<int>(words.size()), station));
        ASSERT_EQ(1U, deal(readReply(driver.SID, words)));
    }

    /// read() once to set the stage, then forget the notices.
    void stands(const char* regName, int addr, const Words& words, int station = 1) {
        read(regName, addr, words, station);
        takeNotices();
    }

    static _DATA_& record(const char* regName, int addr) {
        return driver.dataAreaList[getIndexOfDataArea(1, QString::fromLatin1(regName), addr,
                                                      driver.dataAreaList)];
    }
};

TEST_F(ReplyDecode, dataReply_wordOnTheWire_isHighByteFirst) {
    getReadFrame(makeRequest("DM", 100, 2));
    Bytes reply = endCodeReply(1, 1, 1);
    reply.insert(reply.end(), {0x12, 0x34, 0xAB, 0xCD});
    EXPECT_EQ(1U, deal(reply));
    EXPECT_EQ(0x34, cached(1, "DM", 100).readValue[0]);
    EXPECT_EQ(0x12, cached(1, "DM", 100).readValue[1]);
    EXPECT_EQ(0, cached(1, "DM", 100).readValue[2]);
    EXPECT_EQ(0, cached(1, "DM", 100).readValue[3]);
    EXPECT_EQ(0xCD, cached(1, "DM", 101).readValue[0]);
    EXPECT_EQ(0xAB, cached(1, "DM", 101).readValue[1]);
    unsigned char host[4] = {};
    intf_getData(1, QLatin1String("DM"), 100, 2, host);
    EXPECT_EQ((Bytes{0x34, 0x12, 0xCD, 0xAB}), Bytes(host, host + 4));
}

TEST_F(ReplyDecode, dataReply_unknownWords_areAddedInOrder) {
    read("DM", 100, {1, 2, 3});
    ASSERT_EQ(3, driver.dataAreaList.size());
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(100 + i, driver.dataAreaList.at(i).wordAddr);
        EXPECT_EQ(i + 1, driver.dataAreaList.at(i).readValue[0]);
        EXPECT_EQ(1, driver.dataAreaList.at(i).station);
        EXPECT_EQ(QLatin1String("DM"), driver.dataAreaList.at(i).regName);
    }
}

TEST_F(ReplyDecode, dataReply_zeroForAnUnknownWord_addsItsRecord) {
    read("DM", 100, {0});
    EXPECT_EQ(1, driver.dataAreaList.size());
}

TEST_F(ReplyDecode, dataReply_unmonitoredWord_isStoredWithoutANotice) {
    read("DM", 100, {0xFFFF});
    EXPECT_TRUE(takeNotices().empty());
    EXPECT_EQ(0xFFFF, hostWord("DM", 100));
}

TEST_F(ReplyDecode, dataReply_monitoredWordChanged_isReportedOnce) {
    monitor("DM", 100, 1);
    read("DM", 100, {0x1234});
    EXPECT_EQ((Notices{changed("DM", 100)}), takeNotices());
}

TEST_F(ReplyDecode, dataReply_wordChangedInOneByteOnly_isReported) {
    monitor("DM", 100, 1);
    stands("DM", 100, {0x1234});
    read("DM", 100, {0x1235});
    EXPECT_EQ((Notices{changed("DM", 100)}), takeNotices());
    read("DM", 100, {0x1335});
    EXPECT_EQ((Notices{changed("DM", 100)}), takeNotices());
    EXPECT_EQ(0x1335, hostWord("DM", 100));
}

TEST_F(ReplyDecode, dataReply_wordUnchanged_isNotReported) {
    monitor("DM", 100, 1);
    monitor("DM_bit", 1600, 16);
    stands("DM", 100, {0x1234});
    read("DM", 100, {0x1234});
    EXPECT_TRUE(takeNotices().empty());
}

TEST_F(ReplyDecode, dataReply_wordUnchanged_keepsItsPendingWrite) {
    stands("DM", 100, {0x1111});
    hostWrites("DM", 100, {0x2222});
    read("DM", 100, {0x1111});
    EXPECT_EQ(1, cached(1, "DM", 100).writePending);
    EXPECT_EQ(0x2222, hostWord("DM", 100));
}

TEST_F(ReplyDecode, dataReply_wordChanged_winsOverAPendingWrite) {
    stands("DM", 100, {0x1111});
    hostWrites("DM", 100, {0x2222});
    read("DM", 100, {0x3333});
    EXPECT_EQ(0, cached(1, "DM", 100).writePending);
    EXPECT_EQ(0x3333, hostWord("DM", 100));
}

TEST_F(ReplyDecode, dataReply_changeIsJudgedByTheReadValue_notByWhatTheHostWrote) {
    monitor("DM", 100, 1);
    stands("DM", 100, {0x1111});
    hostWrites("DM", 100, {0x2222});
    takeNotices();
    read("DM", 100, {0x2222}); // the PLC has it already: a change from 0x1111
    EXPECT_EQ((Notices{changed("DM", 100)}), takeNotices());
}

TEST_F(ReplyDecode, dataReply_wordChanged_keepsThePendingBitsMarks) {
    stands("CIO", 2, {0});
    hostWritesBits("CIO_bit", 35, {1});
    read("CIO", 2, {0x0100});
    EXPECT_EQ(0, cached(1, "CIO", 2).writePending);
    EXPECT_EQ(0x0008, cached(1, "CIO", 2).pendingBits);
    EXPECT_EQ(0x0100, hostWord("CIO", 2));
}

TEST_F(ReplyDecode, dataReply_firstByteFlag_isClearedWhetherChangedOrNot) {
    stands("DM", 100, {1, 2});
    record("DM", 100).firstByteFlag = 5;
    record("DM", 101).firstByteFlag = 6;
    read("DM", 100, {1, 9});
    EXPECT_EQ(0, cached(1, "DM", 100).firstByteFlag);
    EXPECT_EQ(0, cached(1, "DM", 101).firstByteFlag);
}

TEST_F(ReplyDecode, dataReply_bits0And3Monitored_reportedAscendingThenTheWord) {
    monitor("CIO_bit", 32, 1);
    monitor("CIO_bit", 35, 1);
    monitor("CIO", 2, 1);
    stands("CIO", 2, {0x0001});
    read("CIO", 2, {0x0008});
    EXPECT_EQ((Notices{changed("CIO_bit", 32), changed("CIO_bit", 35), changed("CIO", 2)}),
              takeNotices());
}

TEST_F(ReplyDecode, dataReply_bits0And3MonitoredButNotTheWord_onlyTheBitsAreReported) {
    monitor("CIO_bit", 32, 1);
    monitor("CIO_bit", 35, 1);
    stands("CIO", 2, {0x0001});
    read("CIO", 2, {0x0008});
    EXPECT_EQ((Notices{changed("CIO_bit", 32), changed("CIO_bit", 35)}), takeNotices());
}

TEST_F(ReplyDecode, dataReply_monitoredBitThatStays_isNotReported) {
    monitor("CIO_bit", 32, 2);
    stands("CIO", 2, {0x0003});
    read("CIO", 2, {0x0001});
    EXPECT_EQ((Notices{changed("CIO_bit", 33)}), takeNotices());
}

TEST_F(ReplyDecode, dataReply_changedBitThatIsNotMonitored_isReportedForTheWordAlone) {
    monitor("CIO_bit", 32, 1);
    monitor("CIO", 2, 1);
    read("CIO", 2, {0x8000});
    EXPECT_EQ((Notices{changed("CIO", 2)}), takeNotices());
}

TEST_F(ReplyDecode, dataReply_allSixteenBits_areReportedAscending) {
    monitor("DM_bit", 1600, 16);
    read("DM", 100, {0xFFFF});
    Notices expected;
    for (int bit = 0; bit < 16; ++bit) {
        expected.push_back(changed("DM_bit", 1600 + bit));
    }
    EXPECT_EQ(expected, takeNotices());
}

TEST_F(ReplyDecode, dataReply_severalWords_areReportedWordByWord) {
    monitor("DM", 100, 3);
    monitor("DM_bit", 1601, 1); // word 100, bit 1
    monitor("DM_bit", 1616, 1); // word 101, bit 0
    read("DM", 100, {0x0002, 0x0001, 0x0001});
    EXPECT_EQ((Notices{changed("DM_bit", 1601), changed("DM", 100), changed("DM_bit", 1616),
                       changed("DM", 101), changed("DM", 102)}),
              takeNotices());
}

TEST_F(ReplyDecode, dataReply_notice_carriesTheHostTagAndTheRequestsStation) {
    init("-42#0#0#3#64");
    monitor("DM", 100, 1, 9);
    monitor("DM", 100, 1, 1);
    read("DM", 100, {5}, 9);
    EXPECT_EQ((Notices{{-42, 9, "DM", 100}}), takeNotices());
    EXPECT_EQ(0, hostWord("DM", 100, 1));
}

TEST_F(ReplyDecode, dataReply_stationsJoinedIntoOneBlock_storeUnderTheFirstOnly) {
    poll({makeKey("DM", 100, 1, 1), makeKey("DM", 101, 1, 2)});
    ASSERT_EQ("read DM 100 2", next());
    takeNotices();
    answer(Words{5, 6});
    EXPECT_EQ((Notices{changed("DM", 100, 1)}), takeNotices());
    EXPECT_EQ(6, hostWord("DM", 101, 1));
    EXPECT_EQ(0, hostWord("DM", 101, 2));
}

TEST_F(ReplyDecode, dataReply_gapReadAlong_isStoredUnreported) {
    poll({makeKey("DM", 100, 1), makeKey("DM", 103, 1)});
    ASSERT_EQ("read DM 100 4", next());
    takeNotices();
    answer(Words{1, 2, 3, 4});
    EXPECT_EQ((Notices{changed("DM", 100), changed("DM", 103)}), takeNotices());
    EXPECT_EQ(2, hostWord("DM", 101));
    EXPECT_EQ(3, hostWord("DM", 102));
}

TEST_F(ReplyDecode, dataReply_bitsPolled_areReportedUnderTheirBitName) {
    poll({makeKey("WR_bit", 15, 2)});
    ASSERT_EQ("read WR 0 2", next());
    takeNotices();
    answer(Words{0x8000, 0x0001});
    EXPECT_EQ((Notices{changed("WR_bit", 15), changed("WR_bit", 16)}), takeNotices());
}

TEST_F(ReplyDecode, dataReply_toABitName_isStoredUnderThatNameWordByWord) {
    read("CIO_bit", 35, {0x1234, 0x5678});
    ASSERT_EQ(2, driver.dataAreaList.size());
    EXPECT_EQ(0x34, cached(1, "CIO_bit", 35).readValue[0]);
    EXPECT_EQ(0x78, cached(1, "CIO_bit", 36).readValue[0]);
}

TEST_F(ReplyDecode, dataReply_addressesBeyond32Bits_wrap) {
    monitor("DM", INT_MIN, 1);
    read("DM", INT_MAX, {0x1111, 0x2222});
    EXPECT_EQ(0x11, cached(1, "DM", INT_MAX).readValue[0]);
    EXPECT_EQ(0x22, cached(1, "DM", INT_MIN).readValue[0]);
    EXPECT_EQ((Notices{changed("DM", INT_MIN)}), takeNotices());
}

TEST_F(ReplyDecode, dataReply_bitAddressBeyond32Bits_wraps) {
    // Word 0x10000001 is at bit address 0x100000010, of which 32 bits leave 16.
    const int word = 0x10000001;
    driver.dataAreaList.append(_DATA_());
    driver.dataAreaList[0].station = 1;
    driver.dataAreaList[0].regName = QLatin1String("DM");
    driver.dataAreaList[0].wordAddr = word;
    driver.dataAreaList[0].bitMonitor = 2;
    read("DM", word, {0xFFFF});
    EXPECT_EQ((Notices{changed("DM_bit", 17)}), takeNotices());
}

TEST_F(ReplyDecode, dataReply_longestRead_isStoredToTheLastWord) {
    Words words;
    for (int i = 0; i < 999; ++i) {
        words.push_back(static_cast<unsigned short>(3 * i + 1));
    }
    read("DM", 100, words);
    EXPECT_EQ(999, driver.dataAreaList.size());
    for (int i = 0; i < 999; ++i) {
        ASSERT_EQ(3 * i + 1, hostWord("DM", 100 + i));
    }
}

TEST_F(ReplyDecode, insideTheNotice_hostStillReadsTheOldValue) {
    monitor("DM_bit", 1600, 16);
    monitor("DM", 100, 2);
    stands("DM", 100, {0x0001, 0x0001});
    int looked = 0;
    onNotice = [&looked](const Notice& notice) {
        ++looked;
        const bool second = notice.address == 101;
        EXPECT_EQ(second ? 0x0008 : 0x0001, hostWord("DM", 100)) << notice;
        EXPECT_EQ(0x0001, hostWord("DM", 101)) << notice;
    };
    read("DM", 100, {0x0008, 0x0009});
    EXPECT_EQ(4, looked);
    EXPECT_EQ(0x0009, hostWord("DM", 101));
}

TEST_F(ReplyDecode, insideTheNotice_pendingWriteIsAlreadyGone) {
    monitor("DM", 100, 1);
    stands("DM", 100, {0x1111});
    hostWrites("DM", 100, {0x2222});
    takeNotices();
    int seen = -1;
    onNotice = [&seen](const Notice&) { seen = hostWord("DM", 100); };
    read("DM", 100, {0x3333});
    EXPECT_EQ(0x1111, seen);
}

TEST_F(ReplyDecode, insideTheNotice_readsOfManyNewWordsMoveTheCache) {
    monitor("DM", 100, 3);
    onNotice = [](const Notice& notice) {
        for (int i = 0; i < 500; ++i) {
            hostWord("HR", 1000 * notice.address + i);
        }
    };
    read("DM", 100, {1, 2, 3, 4});
    EXPECT_EQ((Notices{changed("DM", 100), changed("DM", 101), changed("DM", 102)}), takeNotices());
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(i + 1, hostWord("DM", 100 + i));
    }
    EXPECT_EQ(4 + 1500, driver.dataAreaList.size());
}

TEST_F(ReplyDecode, insideTheNotice_readOfALaterWordOfTheReplyAddsItOnce) {
    monitor("DM", 100, 1);
    onNotice = [](const Notice&) { hostWord("DM", 103); };
    read("DM", 100, {1, 2, 3, 4, 5});
    EXPECT_EQ(5, driver.dataAreaList.size());
    EXPECT_EQ(4, hostWord("DM", 103));
    EXPECT_EQ(5, hostWord("DM", 104));
}

TEST_F(ReplyDecode, insideTheNotice_writeOfTheReportedWord_isPendingAfterwards) {
    monitor("DM", 100, 1);
    onNotice = [this](const Notice&) {
        onNotice = nullptr;
        hostWrites("DM", 100, {0x7777});
    };
    read("DM", 100, {0x1234});
    EXPECT_EQ(0x7777, hostWord("DM", 100));
    EXPECT_EQ(1, cached(1, "DM", 100).writePending);
    EXPECT_EQ(0x34, cached(1, "DM", 100).readValue[0]);
    EXPECT_EQ("write DM 100 1", next());
}

TEST_F(ReplyDecode, insideTheNotice_writeOfALaterWordOfTheReply_losesToTheReply) {
    monitor("DM", 100, 1);
    onNotice = [this](const Notice&) {
        onNotice = nullptr;
        hostWrites("DM", 101, {0x7777});
    };
    read("DM", 100, {1, 2});
    EXPECT_EQ(2, hostWord("DM", 101));
    EXPECT_EQ(0, cached(1, "DM", 101).writePending);
}

TEST_F(ReplyDecode, insideTheNotice_conditionReadsCanBeAdded) {
    poll({makeKey("DM", 100, 1)});
    next();
    onNotice = [](const Notice&) { conditionRead("HR", 5, 2); };
    EXPECT_EQ(1U, answer(Words{9}));
    EXPECT_EQ("read HR 5 2", next());
}

TEST_F(ReplyDecode, insideTheNotice_queriesCanBeMade) {
    monitor("DM", 100, 1);
    int result = -1;
    onNotice = [&result](const Notice&) {
        QString text;
        intf_getDriverParameter(text);
        int address = 0;
        result = intf_checkAddr(QLatin1String("DM"), QLatin1String("12"), &address, 0, 1, 1);
    };
    read("DM", 100, {1});
    EXPECT_EQ(0, result);
}

} // namespace
