#include "panel/advice.h"

#include "panel/text.h"

#include <gtest/gtest.h>

using namespace panel;

namespace {

LinkSettings settings() {
    LinkSettings result;
    result.plc = {QHostAddress("192.168.250.1"), 9600};
    result.retries = 3;
    result.timeoutMs = 500;
    return result;
}

const QVector<int> NODES{0, 1, 0, 0, 10, 0};

Settled failedRead() {
    Settled settled;
    settled.reg = "DM";
    settled.address = 100;
    settled.length = 2;
    settled.tries = 3;
    settled.silent = 3;
    settled.waited = 1500000;
    return settled;
}

Settled refusedRead(int endCode) {
    Settled settled = failedRead();
    settled.silent = 0;
    settled.endCode = endCode;
    settled.refused = true;
    return settled;
}

TEST(FailureText, silence_namesRequestTriesAndWait) {
    const QString text = failureText(failedRead(), settings(), NODES);
    EXPECT_TRUE(text.startsWith("reading DM 100 (2 words) failed: no usable answer from "
                                "192.168.250.1:9600 in 3 tries of 500 ms each (1.50 s)"))
        << plain(text);
}

TEST(LikelyCauses, silence_startsWithTheAddressAndThenTheNodes) {
    const QStringList causes = likelyCauses(failedRead(), settings(), NODES);
    ASSERT_GE(causes.size(), 4);
    EXPECT_TRUE(causes.at(0).contains("wrong address or port"));
    EXPECT_TRUE(causes.at(1).contains("asked as node 1, this panel is node 10"));
    EXPECT_TRUE(causes.at(3).contains("firewall"));
}

TEST(ShortReason, keyWords_standFirst) {
    EXPECT_EQ(plain(shortReason(failedRead(), settings())),
              "no answer: 3 tries of 500 ms to 192.168.250.1:9600");
    Settled closed = failedRead();
    closed.refusedPort = 1;
    EXPECT_EQ(plain(shortReason(closed, settings())),
              "port unreachable: nothing listens on 192.168.250.1:9600");
    EXPECT_EQ(plain(shortReason(refusedRead(0x2101), settings())),
              "refused: end code 2101 read-only when reading DM 100 (2 words)");
    Settled cut = failedRead();
    cut.silent = 0;
    cut.wrongLength = 3;
    EXPECT_EQ(plain(shortReason(cut, settings())),
              "wrong length: replies of 192.168.250.1:9600 to DM 100 (2 words)");
}

TEST(FailureReason, portUnreachable_isSaid) {
    Settled settled = failedRead();
    settled.refusedPort = 3;
    EXPECT_TRUE(failureReason(settled, settings())
                    .contains("nothing listens on UDP port 9600 of 192.168.250.1"));
}

TEST(FailureReason, refusal_isToldInWords) {
    EXPECT_EQ(plain(failureReason(refusedRead(0x1103), settings())),
              "the PLC refused: end code 1103 address out of range (3 tries)");
}

TEST(LikelyCauses, addressRefused_startsWithThePlcsRange) {
    EXPECT_TRUE(likelyCauses(refusedRead(0x1103), settings(), NODES)
                    .first()
                    .contains("beyond this PLC's range"));
}

TEST(LikelyCauses, modeRefused_startsWithTheMode) {
    EXPECT_TRUE(
        likelyCauses(refusedRead(0x2203), settings(), NODES).first().contains("operating mode"));
}

TEST(FailureReason, refusalAfterModeChange_tellsBoth) {
    Settled settled = refusedRead(0x2206);
    settled.modeChange = true;
    settled.modeChangeEnd = 0;
    EXPECT_TRUE(failureReason(settled, settings()).contains("also after the change to MONITOR"));
}

TEST(FailureReason, refusedModeChange_isWhatDecides) {
    Settled settled = refusedRead(0x2206);
    settled.modeChange = true;
    settled.modeChangeEnd = 0x2002;
    const QString reason = failureReason(settled, settings());
    EXPECT_TRUE(reason.contains("2002 protected, to the change to MONITOR mode")) << plain(reason);
}

TEST(FailureReason, repliesOfAWrongLength_areNoSilence) {
    Settled settled = failedRead();
    settled.silent = 0;
    settled.endCode = 0;
    settled.wrongLength = 3;
    EXPECT_TRUE(failureReason(settled, settings()).contains("wrong length"));
}

TEST(RequestText, oneBit_isAddressedByWordAndBit) {
    Settled settled;
    settled.reg = "CIO_bit";
    settled.address = 53; // 3 * 16 + 5
    settled.length = 1;
    EXPECT_EQ(plain(requestText(settled)), "CIO_bit 3.5 (1 bit)");
}

/// A write of six words from DM 100 on, of which `done` are written and a piece of two has failed.
TransferEnd failedWrite(int done, int perhaps) {
    TransferEnd end;
    end.write = true;
    end.reg = "DM";
    end.address = 100;
    end.length = 6;
    end.done = done;
    end.perhaps = perhaps;
    end.last = failedRead();
    end.last.address = 100 + done;
    return end;
}

std::string leftBehindText(const TransferEnd& end) {
    return plain(leftBehind(end).join('\n'));
}

TEST(LeftBehind, longWrite_tellsOfEachWord) {
    EXPECT_EQ(leftBehindText(failedWrite(2, 0)), "written before that: DM 100 (2 words)\n"
                                                 "not written: DM 102 (4 words)");
    EXPECT_EQ(leftBehindText(failedWrite(2, 2)),
              "written before that: DM 100 (2 words)\n"
              "perhaps written: DM 102 (2 words), though no answer says so\n"
              "not written: DM 104 (2 words)");
    EXPECT_EQ(leftBehindText(failedWrite(0, 0)), "not written: DM 100 (6 words)");
    EXPECT_EQ(leftBehindText(failedWrite(4, 2)),
              "written before that: DM 100 (4 words)\n"
              "perhaps written: DM 104 (2 words), though no answer says so");
}

TEST(LeftBehind, oneFrameThatWasRefused_needsNoMoreWords) {
    TransferEnd end = failedWrite(0, 0);
    end.length = 2;
    EXPECT_EQ(leftBehindText(end), "");
}

TEST(LeftBehind, readOrDoneWrite_leavesNothing) {
    TransferEnd end = failedWrite(2, 0);
    end.write = false;
    EXPECT_EQ(leftBehindText(end), "");
    end = failedWrite(6, 0);
    end.ok = true;
    EXPECT_EQ(leftBehindText(end), "");
}

TEST(RecipeLeftBehind, blocks_areCountedAndTheUnansweredOneIsNamed) {
    Settled last = failedRead();
    EXPECT_EQ(plain(recipeLeftBehind(0, last).join('\n')), "");
    last.perhaps = true;
    EXPECT_EQ(plain(recipeLeftBehind(2, last).join('\n')),
              "the PLC now holds a part of the recipe: blocks written before that: 2\n"
              "perhaps written: DM 100 (2 words), though no answer says so");
}

} // namespace
