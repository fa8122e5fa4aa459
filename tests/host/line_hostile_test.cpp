// Somebody else in the network: what of it a line never takes, and what it cannot know better.

#include "host/line_fixture.h"

#include <velkor/host/witness.h>

using namespace velkor_host;

namespace {

const QByteArray MARK = "mark"; // answers nothing

/// Counts what has come through the socket, and what of it was taken for a reply.
class Heard : public FrameWitness {
public:
    void sent(const QByteArray& frame, int) override { serviceIds.append(quint8(frame.at(9))); }
    void received(const QByteArray& datagram, Verdict verdict) override {
        ++all;
        marks += datagram == MARK ? 1 : 0;
        replies += verdict == Verdict::Reply ? 1 : 0;
    }
    void timedOut(const QByteArray&) override {}
    void portRefused() override {}

    int all = 0;
    int marks = 0;
    int replies = 0;
    QVector<quint8> serviceIds; ///< of the frames sent
};

class LineHostile : public LineFixture {
protected:
    ~LineHostile() override { line.removeWitness(&heard); }

    static LineSettings patient(LineSettings settings) {
        settings.timeoutMs = 60000; // nothing ends a try but what comes
        return settings;
    }

    void open() {
        ASSERT_EQ(line.open(), QString());
        line.addWitness(&heard);
        line.onRead = [this](const ReadOutcome& outcome) { reads.append(outcome); };
        line.onWrite = [this](const WriteOutcome& outcome) { writes.append(outcome); };
    }
    /// Until the PLC has the n-th frame.
    void waitForFrames(int number) {
        ASSERT_TRUE(waitUntil([&] { return plc.frames().size() >= number; }));
    }
    /// Everything that has been sent to the line up to now has been judged: a last datagram has
    /// come, which answers nothing.
    void letItCome() {
        const int before = heard.marks;
        plc.sendTo(plc.clientPort(), MARK);
        ASSERT_TRUE(waitUntil([&] { return heard.marks > before; }));
    }
    /// The right reply to the last frame, but for its words: nothing is executed.
    QByteArray forged(quint16 word) const {
        const QByteArray frame = plc.frames().last();
        QByteArray reply = QByteArray::fromHex("C00002");
        reply += frame.mid(6, 3) + frame.mid(3, 3) + frame.mid(9, 3) + QByteArray(2, '\0');
        if (frame.mid(10, 2).toHex() == "0101") {
            reply.append(static_cast<char>(word >> 8));
            reply.append(static_cast<char>(word & 0xFF));
        }
        return reply;
    }

    Heard heard;
    Line line{patient(settings())};
    QVector<ReadOutcome> reads;
    QVector<WriteOutcome> writes;
};

TEST_F(LineHostile, strangerFloodsWithRightRepliesOfEveryServiceId_nothingComesThrough) {
    plc.set(1, 100);
    open();
    QUdpSocket elsewhere;
    ASSERT_TRUE(elsewhere.bind(QHostAddress(QStringLiteral("127.0.0.2")), 0));
    QUdpSocket otherPort; // at the PLC's address
    ASSERT_TRUE(otherPort.bind(QHostAddress(QHostAddress::LocalHost), 0));
    plc.answering = false;
    for (int round = 1; round <= 20; ++round) {
        line.read(QStringLiteral("DM"), 1, 1);
        waitForFrames(round);
        for (int sid = 0; sid < 256; ++sid) {
            QByteArray reply = forged(0xBEEF);
            reply[9] = static_cast<char>(sid);
            for (QUdpSocket* stranger : {&elsewhere, &otherPort}) {
                stranger->writeDatagram(reply, QHostAddress(QHostAddress::LocalHost),
                                        plc.clientPort());
            }
        }
        plc.answerLast();
        ASSERT_TRUE(waitUntil([&] { return reads.size() == round; }));
        EXPECT_EQ(reads.last().items, Items{100});
    }
    EXPECT_EQ(heard.all, 20);
}

TEST_F(LineHostile, fromThePlcsOwnPort_whatIsNoReplyToTheFrameInFlightIsNotTaken) {
    plc.answering = false;
    open();
    plc.set(1, 100);
    line.read(QStringLiteral("DM"), 1, 1);
    waitForFrames(1);
    const QByteArray right = forged(0xBEEF);
    const int sid = static_cast<unsigned char>(right.at(9));
    for (int other = 0; other < 256; ++other) {
        QByteArray reply = right;
        reply[9] = static_cast<char>(other);
        if (other != sid) {
            plc.sendTo(plc.clientPort(), reply);
        }
        if (other % 32 == 0) { // no more than a socket holds
            letItCome();
        }
    }
    for (int length = 0; length < 14; ++length) {
        plc.sendTo(plc.clientPort(), right.left(length));
    }
    plc.sendTo(plc.clientPort(), plc.frames().last());       // its own request
    plc.sendTo(plc.clientPort(), QByteArray(65507, '\xC0')); // the longest there is
    letItCome();
    EXPECT_EQ(heard.replies, 0);
    EXPECT_TRUE(reads.isEmpty());
    plc.answerLast();
    ASSERT_TRUE(waitUntil([&] { return reads.size() == 1; }));
    EXPECT_EQ(reads.last().items, Items{100});
}

TEST_F(LineHostile, earlierReplyIsReplayed_isNotTaken) {
    open();
    plc.set(1, 100);
    line.read(QStringLiteral("DM"), 1, 1);
    ASSERT_TRUE(waitUntil([&] { return reads.size() == 1; }));
    const QByteArray recorded = plc.replyTo(plc.frames().last());
    plc.set(1, 200);
    plc.answering = false;
    line.read(QStringLiteral("DM"), 1, 1);
    waitForFrames(2);
    plc.sendTo(plc.clientPort(), recorded);
    letItCome();
    EXPECT_EQ(reads.size(), 1);
    plc.answerLast();
    ASSERT_TRUE(waitUntil([&] { return reads.size() == 2; }));
    EXPECT_EQ(reads.last().items, Items{200});
}

/// Of another length than was asked for: it ends the try, as a damaged reply does, and is no value.
TEST_F(LineHostile, forgedReplyOfAnotherLength_isNoValue) {
    plc.answering = false;
    open();
    plc.set(1, 100);
    line.read(QStringLiteral("DM"), 1, 1);
    waitForFrames(1);
    plc.sendTo(plc.clientPort(), forged(0xBEEF) + QByteArray(2000, '\x55'));
    waitForFrames(2); // the request goes out again
    plc.answerLast();
    ASSERT_TRUE(waitUntil([&] { return reads.size() == 1; }));
    EXPECT_EQ(reads.last().items, Items{100});
}

// What FINS cannot protect. These are no wishes: they hold that docs/security.md says what is so.

TEST_F(LineHostile, forgedReplyFromThePlcsPortWithTheRightServiceId_isBelieved) {
    plc.answering = false;
    open();
    plc.set(1, 100);
    line.read(QStringLiteral("DM"), 1, 1);
    waitForFrames(1);
    plc.sendTo(plc.clientPort(), forged(0xBEEF));
    ASSERT_TRUE(waitUntil([&] { return reads.size() == 1; }));
    EXPECT_EQ(reads.last().items, Items{0xBEEF});
    line.write(QStringLiteral("DM"), 1, {7});
    waitForFrames(2);
    plc.sendTo(plc.clientPort(), forged(0));
    ASSERT_TRUE(waitUntil([&] { return writes.size() == 1; }));
    EXPECT_EQ(writes.last().result, WriteResult::Taken);
    EXPECT_EQ(plc.dm(1), 100);
}

TEST_F(LineHostile, serviceIds_ofOneLine_countUpAndCanBeForetold) {
    open();
    for (int read = 1; read <= 3; ++read) {
        line.read(QStringLiteral("DM"), 1, 1);
        ASSERT_TRUE(waitUntil([&] { return reads.size() == read; }));
    }
    const auto following = [](quint8 sid) { return quint8(sid == 255 ? 1 : sid + 1); };
    EXPECT_EQ(heard.serviceIds.at(1), following(heard.serviceIds.at(0)));
    EXPECT_EQ(heard.serviceIds.at(2), following(heard.serviceIds.at(1)));
}

TEST_F(LineHostile, anybodysCommand_isExecutedByThePlc) {
    QUdpSocket stranger;
    ASSERT_TRUE(stranger.bind(QHostAddress(QStringLiteral("127.0.0.2")), 0));
    stranger.writeDatagram(QByteArray::fromHex("800002000100000200FF0102820001000001BEEF"),
                           QHostAddress(QHostAddress::LocalHost), plc.endpoint().port);
    ASSERT_TRUE(waitUntil([&] { return plc.frames().size() == 1; }));
    EXPECT_EQ(plc.dm(1), 0xBEEF);
}

} // namespace
