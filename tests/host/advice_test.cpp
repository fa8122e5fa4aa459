#include <velkor/host/line.h>

#include "panel/text.h"

#include <gtest/gtest.h>

#include <cerrno>

using namespace velkor_host;

namespace {

LineSettings settings() {
    LineSettings result;
    result.plc = {QHostAddress("192.168.250.1"), 9600};
    result.retries = 3;
    result.timeoutMs = 500;
    return result;
}

const QVector<int> NODES{0, 1, 0, 0, 10, 0};

RequestEnd failedRead() {
    RequestEnd settled;
    settled.reg = "DM";
    settled.address = 100;
    settled.length = 2;
    settled.tries = 3;
    settled.silent = 3;
    settled.waited = 1500000;
    return settled;
}

RequestEnd refusedRead(int endCode) {
    RequestEnd settled = failedRead();
    settled.silent = 0;
    settled.endCode = endCode;
    settled.refused = true;
    return settled;
}

RequestEnd refusedWrite(int endCode) {
    RequestEnd settled = refusedRead(endCode);
    settled.write = true;
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
    RequestEnd closed = failedRead();
    closed.refusedPort = 3;
    closed.unreached = 3;
    EXPECT_EQ(plain(shortReason(closed, settings())),
              "port unreachable: nothing listens on 192.168.250.1:9600");
    EXPECT_EQ(plain(shortReason(refusedRead(0x2101), settings())),
              "refused: end code 2101 read-only when reading DM 100 (2 words)");
    RequestEnd cut = failedRead();
    cut.silent = 0;
    cut.wrongLength = 3;
    EXPECT_EQ(plain(shortReason(cut, settings())),
              "wrong length: replies of 192.168.250.1:9600 to DM 100 (2 words)");
}

RequestEnd unsentRead(int sendError) {
    RequestEnd end = failedRead();
    end.unsent = 3;
    end.sendError = sendError;
    return end;
}

TEST(FailureReason, nothingCouldBeSent_isNoSilence) {
    EXPECT_EQ(plain(failureReason(unsentRead(ENETUNREACH), settings())),
              "cannot send: Network is unreachable (3 tries to 192.168.250.1:9600 in 1.50 s)");
    EXPECT_EQ(plain(shortReason(unsentRead(ENETUNREACH), settings())),
              "cannot send: Network is unreachable, to 192.168.250.1:9600");
}

TEST(LikelyCauses, nothingCouldBeSent_startsWithThisComputersNetwork) {
    const QStringList causes = likelyCauses(unsentRead(ENETUNREACH), settings(), NODES);
    EXPECT_TRUE(causes.at(0).startsWith("this computer's network: a cable")) << plain(causes.at(0));
    EXPECT_TRUE(causes.at(1).contains("ip route get 192.168.250.1")) << plain(causes.at(1));
    for (const QString& cause : causes) {
        EXPECT_FALSE(cause.contains("without power")) << plain(cause);
    }
}

TEST(LikelyCauses, notPermitted_startsWithTheFirewall) {
    EXPECT_TRUE(likelyCauses(unsentRead(EPERM), settings(), NODES)
                    .first()
                    .startsWith("a firewall of this computer"));
}

TEST(LikelyCauses, frameTooLong_isShorterFrames) {
    const QStringList causes = likelyCauses(unsentRead(EMSGSIZE), settings(), NODES);
    ASSERT_EQ(causes.size(), 1);
    EXPECT_TRUE(causes.first().contains("LineSettings::wordsPerFrame, now 256"))
        << plain(causes.first());
}

TEST(FailureReason, someTriesCouldNotBeSent_areCounted) {
    RequestEnd end = unsentRead(ENETUNREACH);
    end.unsent = 2;
    EXPECT_EQ(plain(failureReason(end, settings())),
              "no usable answer from 192.168.250.1:9600 in 3 tries of 500 ms each (1.50 s); 2 of 3 "
              "tries never left this computer: cannot send: Network is unreachable");
    EXPECT_TRUE(likelyCauses(end, settings(), NODES).first().startsWith("this computer's network"));
}

TEST(FailureReason, modeChangeThatCouldNotBeSent_isSaid) {
    RequestEnd end = refusedWrite(0x2203);
    end.sendError = ENETUNREACH;
    EXPECT_EQ(
        plain(failureReason(end, settings())),
        "the PLC refused: end code 2203 wrong mode: the PLC is in PROGRAM mode; the change to "
        "MONITOR mode: cannot send: Network is unreachable (3 tries)");
}

TEST(SurelyNotExecuted, everyTryUnsentRefusedOrUnreached_holds) {
    RequestEnd end = unsentRead(ENETUNREACH);
    EXPECT_TRUE(end.surelyNotExecuted());
    end.unsent = 1;
    EXPECT_FALSE(end.surelyNotExecuted());
    end.unreached = 1;
    end.refusals = 1;
    EXPECT_TRUE(end.surelyNotExecuted());
    end.doubtful = 1;
    EXPECT_FALSE(end.surelyNotExecuted());
}

TEST(LikelyCauses, silenceBehindAnAnswer_startsWithTheAnswer) {
    RequestEnd end = failedRead();
    end.refusals = 1;
    end.silent = 2;
    end.endCode = 0x1103;
    end.answeredAt = 10000;
    const QStringList causes = likelyCauses(end, settings(), NODES);
    EXPECT_TRUE(causes.first().startsWith("the PLC has stopped answering: its last answer came "
                                          "1.49 s before the end, so address and port are right"))
        << plain(causes.first());
    for (const QString& cause : causes) {
        EXPECT_FALSE(cause.startsWith("a wrong address")) << plain(cause);
        EXPECT_FALSE(cause.startsWith("wrong node numbers")) << plain(cause);
    }
}

TEST(FailureReason, portUnreachable_isSaid) {
    RequestEnd settled = failedRead();
    settled.refusedPort = 3;
    settled.unreached = 3;
    EXPECT_TRUE(failureReason(settled, settings())
                    .contains("nothing listens on UDP port 9600 of 192.168.250.1"));
}

TEST(FailureReason, portUnreachableAtEachTryButOfAnEarlierFramePerhaps_isSaid) {
    RequestEnd settled = failedRead();
    settled.refusedPort = 3;
    settled.unreached = 0;
    EXPECT_TRUE(failureReason(settled, settings()).contains("nothing listens on UDP port 9600"));
    EXPECT_TRUE(shortReason(settled, settings()).startsWith("port unreachable"));
}

TEST(FailureReason, portUnreachableInSomeTries_isNoHeadline) {
    RequestEnd settled = failedRead();
    settled.refusedPort = 2;
    settled.unreached = 2;
    EXPECT_EQ(plain(failureReason(settled, settings())),
              "no usable answer from 192.168.250.1:9600 in 3 tries of 500 ms each (1.50 s); 2 of 3 "
              "tries met a closed port");
    EXPECT_EQ(plain(shortReason(settled, settings())),
              "no answer: 3 tries of 500 ms to 192.168.250.1:9600; 2 of 3 tries met a closed port");
    EXPECT_TRUE(likelyCauses(settled, settings(), NODES).size() > 2);
    settled.unreached = 0;
    EXPECT_TRUE(failureReason(settled, settings())
                    .endsWith("; \"port unreachable\" came, perhaps to an earlier frame"));
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

/// A PLC answers only its own node number, so whoever has answered was asked by the right one.
TEST(LikelyCauses, refusalByThePlcItself_doubtsNeitherNodesNorAddress) {
    for (const int endCode : {0x1101, 0x1103, 0x1104, 0x110B, 0x2101, 0x2203, 0x3001, 0x4001}) {
        const QStringList causes = likelyCauses(refusedRead(endCode), settings(), NODES);
        EXPECT_FALSE(causes.isEmpty());
        for (const QString& cause : causes) {
            EXPECT_FALSE(cause.contains("node numbers")) << endCode << plain(cause);
            EXPECT_FALSE(cause.contains("wrong address or port")) << endCode << plain(cause);
        }
    }
}

/// Said by whatever stands on the way to the PLC: the frame may have gone astray.
TEST(LikelyCauses, refusalOnTheWay_startsWithTheNodes) {
    EXPECT_TRUE(likelyCauses(refusedRead(0x0205), settings(), NODES)
                    .first()
                    .startsWith("wrong node numbers"));
}

TEST(LikelyCauses, commandThatAnotherUnitDoesNotKnow_namesTheUnitThatIsAsked) {
    const QStringList asked = likelyCauses(refusedRead(0x0401), settings(), {0, 1, 16, 0, 10, 0});
    EXPECT_TRUE(asked.last().contains("unit 16 is asked, the CPU is unit 0"))
        << plain(asked.last());
    EXPECT_EQ(likelyCauses(refusedRead(0x0401), settings(), NODES).size(), 1);
}

TEST(LikelyCauses, modeRefused_startsWithTheMode) {
    EXPECT_TRUE(
        likelyCauses(refusedWrite(0x2203), settings(), NODES).first().contains("operating mode"));
}

TEST(LikelyCauses, refusalThatNoChangeOfTheModeHelps_advisesNone) {
    QVector<RequestEnd> ends{refusedRead(0x2203), refusedRead(0x2101)};
    for (const int endCode : {0x2201, 0x2202, 0x2205}) {
        ends << refusedRead(endCode) << refusedWrite(endCode);
    }
    for (const RequestEnd& end : ends) {
        for (const QString& cause : likelyCauses(end, settings(), NODES)) {
            EXPECT_FALSE(cause.contains("allowModeChange")) << plain(cause);
            EXPECT_FALSE(cause.contains("switch it to MONITOR")) << plain(cause);
        }
    }
}

TEST(LikelyCauses, modeRefusedAndModeChangeForbidden_namesTheSettingAndItsPrice) {
    SettingNames names;
    names.allowModeChange = QStringLiteral("--allow-mode-change");
    const QStringList causes = likelyCauses(refusedWrite(0x2203), settings(), NODES, names);
    EXPECT_TRUE(causes.at(1).contains("--allow-mode-change allows it"));
    EXPECT_TRUE(causes.at(1).contains("starts the program"));
    LineSettings allowed = settings();
    allowed.allowModeChange = true;
    for (const QString& cause : likelyCauses(refusedWrite(0x2203), allowed, NODES, names)) {
        EXPECT_FALSE(cause.contains("--allow-mode-change")) << plain(cause);
    }
}

TEST(ShortReason, nothingHasComeYet_saysThatItWaits) {
    RequestEnd waiting;
    waiting.reg = "DM";
    waiting.length = 1;
    waiting.tries = 1;
    waiting.waited = 1200000;
    EXPECT_EQ(plain(shortReason(waiting, settings())),
              "no answer: still waiting in the first try of 500 ms to 192.168.250.1:9600");
}

TEST(FailureReason, refusalAfterModeChange_tellsBoth) {
    RequestEnd settled = refusedRead(0x2206);
    settled.modeChange = true;
    settled.modeChangeEnd = 0;
    settled.refusedAfterModeChange = true;
    EXPECT_TRUE(failureReason(settled, settings()).contains("also after the change to MONITOR"));
    settled.refusedAfterModeChange = false;
    EXPECT_EQ(
        plain(failureReason(settled, settings())),
        "the PLC refused: end code 2206 wrong mode: the PLC is in RUN mode, before the change "
        "to MONITOR mode (3 tries)");
}

TEST(FailureReason, modeChangeThatWasNotAnswered_isNoChange) {
    RequestEnd settled = refusedRead(0x2203);
    settled.tries = 1;
    settled.modeChange = true;
    EXPECT_EQ(
        plain(failureReason(settled, settings())),
        "the PLC refused: end code 2203 wrong mode: the PLC is in PROGRAM mode; the change to "
        "MONITOR mode was not answered, so it may be in that mode (1 try)");
}

TEST(FailureReason, silenceSinceTheModeChange_isNoRefusal) {
    RequestEnd settled = failedRead();
    settled.tries = 4;
    settled.refusals = 1;
    settled.endCode = 0x2203;
    settled.modeChange = true;
    settled.modeChangeEnd = 0;
    settled.refusalBeforeModeChange = 0x2203;
    EXPECT_EQ(
        plain(failureReason(settled, settings())),
        "no usable answer from 192.168.250.1:9600 in 3 of 4 tries of 500 ms each (1.50 s); the "
        "PLC had refused 1 try before the change to MONITOR mode: end code 2203 wrong mode: "
        "the PLC is in PROGRAM mode");
    EXPECT_TRUE(shortReason(settled, settings()).startsWith("no answer: "));
}

TEST(FailureReason, refusedModeChange_isWhatDecides) {
    RequestEnd settled = refusedRead(0x2206);
    settled.modeChange = true;
    settled.modeChangeEnd = 0x2002;
    const QString reason = failureReason(settled, settings());
    EXPECT_TRUE(reason.contains("2002 protected, to the change to MONITOR mode")) << plain(reason);
}

TEST(FailureReason, repliesOfAWrongLength_areNoSilence) {
    RequestEnd settled = failedRead();
    settled.silent = 0;
    settled.endCode = 0;
    settled.wrongLength = 3;
    EXPECT_TRUE(failureReason(settled, settings()).contains("wrong length"));
}

TEST(FailureReason, lastTryUnansweredAfterRefusals_tellsTheRefusals) {
    RequestEnd end = failedRead();
    end.refusals = 2;
    end.silent = 1;
    end.endCode = 0x1103;
    EXPECT_TRUE(
        failureReason(end, settings())
            .endsWith("; the PLC had refused 2 tries before that: end code 1103 address out "
                      "of range"));
}

TEST(FailureReason, datagramsThatWereNoReply_areCounted) {
    RequestEnd end = failedRead();
    end.strange = 3;
    EXPECT_TRUE(failureReason(end, settings())
                    .endsWith("(1.50 s); 3 datagrams came that were no reply to it"));
}

TEST(FailureText, nothingHasFailed_isEmpty) {
    RequestEnd good = failedRead();
    good.ok = true;
    good.silent = 2;
    good.endCode = 0;
    EXPECT_EQ(plain(failureText(good, settings(), NODES)), "");
    EXPECT_EQ(plain(failureReason(good, settings())), "");
    EXPECT_EQ(plain(shortReason(good, settings())), "");
    EXPECT_TRUE(likelyCauses(good, settings(), NODES).isEmpty());
}

TEST(FailureText, nothingWasSent_namesNoCauses) {
    RequestEnd unsent;
    unsent.write = true;
    unsent.reg = "DM";
    unsent.address = 100;
    unsent.length = 2;
    EXPECT_EQ(plain(failureText(unsent, settings(), NODES)),
              "writing DM 100 (2 words) failed: not sent");
    EXPECT_EQ(plain(shortReason(unsent, settings())), "not sent");
    unsent.closed = true;
    EXPECT_EQ(plain(failureText(unsent, settings(), NODES)),
              "writing DM 100 (2 words) failed: not sent: the line was closed");
    EXPECT_EQ(plain(shortReason(unsent, settings())), "not sent: the line was closed");
    EXPECT_TRUE(likelyCauses(unsent, settings(), NODES).isEmpty());
    EXPECT_EQ(plain(failureText(RequestEnd(), settings(), NODES)), "not sent");
}

TEST(FailureText, closedInTheFirstTry_waitsForNothingAndBlamesNobody) {
    RequestEnd closed = failedRead();
    closed.tries = 1;
    closed.silent = 0;
    closed.waited = 20000;
    closed.closed = true;
    EXPECT_EQ(plain(failureText(closed, settings(), NODES)),
              "reading DM 100 (2 words) failed: the line was closed before 192.168.250.1:9600 had "
              "answered (1 try in 0.02 s)");
    EXPECT_EQ(plain(shortReason(closed, settings())),
              "no answer: the line to 192.168.250.1:9600 was closed before");
}

TEST(FailureText, closedAfterTriesWithoutAnswer_namesTheCauses) {
    RequestEnd closed = failedRead();
    closed.silent = 2;
    closed.closed = true;
    EXPECT_FALSE(likelyCauses(closed, settings(), NODES).isEmpty());
}

TEST(FailureText, closedBehindARefusal_tellsTheRefusal) {
    RequestEnd closed = refusedRead(0x1103);
    closed.closed = true;
    EXPECT_TRUE(failureText(closed, settings(), NODES).contains("end code 1103"));
}

TEST(RequestText, oneBit_isAddressedByWordAndBit) {
    RequestEnd settled;
    settled.reg = "CIO_bit";
    settled.address = 53; // 3 * 16 + 5
    settled.length = 1;
    EXPECT_EQ(plain(requestText(settled)), "CIO_bit 3.5 (1 bit)");
}

} // namespace
