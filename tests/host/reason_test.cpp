// Why a request failed, in one line.

#include "host/request_ends.h"

using namespace request_ends;

namespace {

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

TEST(FailureReason, nothingCouldBeSent_isNoSilence) {
    EXPECT_EQ(plain(failureReason(unsentRead(ENETUNREACH), settings())),
              "cannot send: Network is unreachable (3 tries to 192.168.250.1:9600 in 1.50 s)");
    EXPECT_EQ(plain(shortReason(unsentRead(ENETUNREACH), settings())),
              "cannot send: Network is unreachable, to 192.168.250.1:9600");
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
    end.modeChangeUnsent = 1;
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

TEST(FailureReason, portUnreachable_isSaid) {
    RequestEnd settled = failedRead();
    settled.refusedPort = 3;
    settled.unreached = 3;
    EXPECT_TRUE(failureReason(settled, settings())
                    .contains("nothing listens on UDP port 9600 of 192.168.250.1"));
}

TEST(FailureReason, portUnreachableAtEachTryOfAReadButOfAnEarlierFramePerhaps_isSaid) {
    RequestEnd settled = failedRead();
    settled.refusedPort = 3;
    settled.unreached = 0;
    EXPECT_TRUE(failureReason(settled, settings()).contains("nothing listens on UDP port 9600"));
    EXPECT_EQ(plain(shortReason(settled, settings())),
              "port unreachable: nothing listens on 192.168.250.1:9600");
}

/// One of its frames may have got through, and its outcome is unknown.
TEST(FailureReason,
     portUnreachableAtEachTryOfAWriteButOfAnEarlierFramePerhaps_isNotSaidForCertain) {
    RequestEnd settled = failedRead();
    settled.write = true;
    settled.refusedPort = 3;
    settled.unreached = 2;
    EXPECT_FALSE(settled.surelyNotExecuted());
    EXPECT_EQ(
        plain(failureReason(settled, settings())),
        "nothing seems to listen on UDP port 9600 of 192.168.250.1: that computer says \"port "
        "unreachable\", though perhaps not to every frame (3 tries in 1.50 s)");
    EXPECT_EQ(plain(shortReason(settled, settings())),
              "port unreachable: nothing seems to listen on 192.168.250.1:9600");
}

TEST(FailureReason, portUnreachableAsOftenAsThereWereTries_butThePlcRefusedOne_isNoHeadline) {
    RequestEnd end = failedRead();
    end.silent = 2;
    end.refusals = 1;
    end.endCode = 0x1103;
    end.refusedPort = 3;
    end.unreached = 2;
    EXPECT_TRUE(failureReason(end, settings()).startsWith("no usable answer"));
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

TEST(RequestText, oneBit_isAddressedByWordAndBit) {
    RequestEnd settled;
    settled.reg = "CIO_bit";
    settled.address = 53; // 3 * 16 + 5
    settled.length = 1;
    EXPECT_EQ(plain(requestText(settled)), "CIO_bit 3.5 (1 bit)");
}

TEST(FailureReason, silenceBehindARefusedModeChange_isNoRefusal) {
    RequestEnd end = failedRead();
    end.write = true;
    end.refusals = 1;
    end.silent = 2;
    end.endCode = 0x2203;
    end.refused = false; // the last try had no answer
    end.modeChange = true;
    end.modeChangeEnd = 0x2002;
    EXPECT_EQ(
        plain(failureReason(end, settings())),
        "no usable answer from 192.168.250.1:9600 in 2 of 3 tries of 500 ms each (1.50 s); the "
        "PLC had refused 1 try before that: end code 2203 wrong mode: the PLC is in PROGRAM "
        "mode; it had refused the change to MONITOR mode: end code 2002 protected");
    EXPECT_TRUE(shortReason(end, settings()).startsWith("no answer: "));
}

TEST(FailureReason, otherRefusalBehindARefusedModeChange_isWhatDecides) {
    RequestEnd end = refusedWrite(0x1103);
    end.modeChange = true;
    end.modeChangeEnd = 0x2002;
    EXPECT_EQ(plain(failureReason(end, settings())),
              "the PLC refused: end code 1103 address out of range (3 tries); it had refused the "
              "change to MONITOR mode: end code 2002 protected");
}

TEST(FailureReason, modeChangeRefusedWithTheSameCode_isTold) {
    RequestEnd end = refusedWrite(0x2203);
    end.modeChange = true;
    end.modeChangeEnd = 0x2203;
    EXPECT_EQ(plain(failureReason(end, settings())),
              "the PLC refused: end code 2203 wrong mode: the PLC is in PROGRAM mode, and the same "
              "to the change to MONITOR mode (3 tries)");
    end.modeChangeEnd = 0x2002;
    EXPECT_EQ(plain(failureReason(end, settings())),
              "the PLC refused: end code 2002 protected, to the change to MONITOR mode (3 tries)");
}

TEST(FailureReason, errorThatThePlcHasNotMade_isNoRefusalOfIts) {
    for (const int endCode : {0x0001, 0x0103, 0x0205, 0x8000, 0x0501}) {
        EXPECT_TRUE(failureReason(refusedWrite(endCode), settings())
                        .startsWith("an error on the way to the PLC: end code "))
            << endCode;
    }
    EXPECT_TRUE(failureReason(refusedWrite(0x7711), settings())
                    .startsWith("the answer is an error: end code 7711"));
    EXPECT_TRUE(
        shortReason(refusedRead(0x0205), settings()).startsWith("error on the way: end code 0205"));
    EXPECT_TRUE(shortReason(refusedRead(0x7711), settings()).startsWith("error: end code 7711"));
    EXPECT_TRUE(shortReason(refusedRead(0x2101), settings()).startsWith("refused: end code 2101"));
    EXPECT_TRUE(failureReason(refusedWrite(0x2101), settings()).startsWith("the PLC refused: "));
}

TEST(FailureReason, refusalBehindOtherTroubles_tellsThem) {
    RequestEnd end = refusedRead(0x1103);
    end.tries = 7;
    end.refusals = 1;
    end.silent = 6;
    end.unreached = 1;
    end.unsent = 2;
    end.sendError = ENETUNREACH;
    EXPECT_EQ(plain(failureReason(end, settings())),
              "the PLC refused: end code 1103 address out of range (7 tries); 3 of 7 tries had no "
              "answer; 1 of 7 tries met a closed port; 2 of 7 tries never left this computer: "
              "cannot send: Network is unreachable");
}

TEST(FailureReason, tryThatCouldNotBeSentBeforeARefusal_isNoModeChange) {
    RequestEnd end = refusedWrite(0x1103);
    end.refusals = 1;
    end.silent = 2;
    end.unsent = 2;
    end.sendError = ENETUNREACH;
    EXPECT_FALSE(failureReason(end, settings()).contains("MONITOR"));
}

TEST(FailureReason, secondModeChangeThatCouldNotBeSent_isSaidBesideTheFirst) {
    RequestEnd end = refusedWrite(0x2203);
    end.tries = 1;
    end.refusals = 1;
    end.modeChange = true;
    end.modeChangeUnsent = 1;
    end.sendError = ENETUNREACH;
    EXPECT_EQ(
        plain(failureReason(end, settings())),
        "the PLC refused: end code 2203 wrong mode: the PLC is in PROGRAM mode; the change to "
        "MONITOR mode was not answered, so it may be in that mode; asked for once more: "
        "cannot send: Network is unreachable (1 try)");
}

TEST(FailureReason, closedWhileATryWaits_tellsWhatCameBefore) {
    RequestEnd end = failedRead();
    end.closed = true;
    end.refusals = 1;
    end.silent = 1;
    end.endCode = 0x1103;
    end.refused = true; // the reply that came last; the third try is in flight
    EXPECT_EQ(plain(failureReason(end, settings())),
              "the line was closed before 192.168.250.1:9600 had answered (3 tries in 1.50 s); the "
              "PLC had refused 1 try before that: end code 1103 address out of range");
    EXPECT_EQ(plain(shortReason(end, settings())),
              "no answer: the line to 192.168.250.1:9600 was closed before; the PLC had refused 1 "
              "try before that: end code 1103 address out of range");
    end.refusals = 0;
    end.refused = false;
    end.endCode = -1;
    end.silent = 2;
    end.unreached = 1;
    EXPECT_TRUE(failureReason(end, settings()).endsWith("; 1 of 3 tries met a closed port"));
}

TEST(FailureReason, wrongLengthBesideSilence_countsBoth) {
    RequestEnd end = failedRead();
    end.silent = 2;
    end.wrongLength = 1;
    end.endCode = 0;
    end.strange = 1;
    EXPECT_EQ(plain(failureReason(end, settings())),
              "192.168.250.1:9600 answers, but not with what was asked for: replies of a wrong "
              "length (3 tries in 1.50 s); 2 of 3 tries had no answer; 1 datagram came that was no "
              "reply to it");
}

} // namespace
