// The records that cross the boundary, as a host sees them come out.

#include "contract/loaded_driver.h"

#include <algorithm>
#include <cstring>

class RecordsEdgeCases : public LoadedDriver {};

TEST_F(RecordsEdgeCases, getSendFrame_requestOfOneWord_carriesAll1024DataBytes) {
    // A request that stands on the write list with stale bytes behind its one word.
    host::Variable request = host::Variable();
    request.type = 3;
    request.station = 1;
    request.regName = QString::fromLatin1("DM");
    request.addr = 100;
    request.len = 1;
    std::memset(request.data, 0xA5, sizeof request.data);
    object.writeList.append(request);

    const host::FramePro frame = nextFrame();
    EXPECT_EQ(frame.sendLen, 20); // the frame itself holds the one word
    EXPECT_EQ(frame.var.len, 1);
    EXPECT_EQ(std::count(frame.var.data, frame.var.data + 1024, 0xA5), 1024);
    EXPECT_EQ(std::count(frame.frame + 20, frame.frame + 1024, 0), 1004);
}

TEST_F(RecordsEdgeCases, getSendFrame_writeFrame_headLenAndDataLen0) {
    unsigned char words[4] = {0x34, 0x12, 0xCD, 0xAB};
    intf.setData(1, QString::fromLatin1("DM"), 0, 2, words, 0);
    const host::FramePro frame = nextFrame();
    EXPECT_EQ(frame.sendLen, 22);
    EXPECT_EQ(frame.rcvLen, 14);
    EXPECT_EQ(frame.headLen, 0);
    EXPECT_EQ(frame.dataLen, 0);
    EXPECT_EQ(frame.spare, 0);
}

TEST_F(RecordsEdgeCases, dealRcvFrame_dataLen_tellsReadFromWriteAlone) {
    // Two reads answered with the same end code, a failure: with a dataLen the reply is data, ...
    intf.addConditionRead(makeKey("DM", 0, 1), 0);
    intf.addConditionRead(makeKey("DM", 1, 0), 0);
    const host::FramePro read = nextFrame();
    EXPECT_EQ(read.headLen, 14);
    EXPECT_EQ(read.dataLen, 2);
    QByteArray refused(16, '\0');
    refused[9] = static_cast<char>(read.frame[9]);
    refused[12] = 0x22;
    refused[13] = 0x03;
    refused[15] = 0x55;
    EXPECT_EQ(answerBytes(refused), 1U);
    unsigned char value[2] = {0, 0};
    intf.getData(1, QString::fromLatin1("DM"), 0, 1, value);
    EXPECT_EQ(value[0], 0x55);

    // ... and a read of no words, whose dataLen is 0, is judged as a write is: a mode refusal.
    const host::FramePro empty = nextFrame();
    EXPECT_EQ(empty.dataLen, 0);
    refused.resize(14);
    refused[9] = static_cast<char>(empty.frame[9]);
    EXPECT_EQ(answerBytes(refused), 8U);
    EXPECT_EQ(nextFrame().sendLen, 15); // the mode change went ahead of it
}

TEST_F(RecordsEdgeCases, getSendFrame_readFrame_everyFieldReachesTheHost) {
    host::KeyAddress key = makeKey("DM", 100, 10);
    key.station = 42;
    intf.addConditionRead(key, 9);
    const host::FramePro frame = nextFrame();
    EXPECT_EQ(frame.sendLen, 18);
    EXPECT_EQ(frame.rcvLen, 34);
    EXPECT_EQ(frame.headLen, 14);
    EXPECT_EQ(frame.dataLen, 20);
    EXPECT_EQ(frame.spare, 0);
    EXPECT_EQ(frame.var.type, 9);
    EXPECT_EQ(frame.var.station, 42);
    EXPECT_EQ(frame.var.regName, QLatin1String("DM"));
    EXPECT_EQ(frame.var.addr, 100);
    EXPECT_EQ(frame.var.len, 10);
    EXPECT_EQ(std::count(frame.var.data, frame.var.data + 1024, 0), 1024);
    EXPECT_EQ(std::count(frame.frame + 18, frame.frame + 1024, 0), 1006);
}
