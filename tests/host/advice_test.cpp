// What a person at the panel is advised to check.

#include "host/request_ends.h"

using namespace request_ends;

namespace {

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
    EXPECT_TRUE(causes.at(1).contains("asked as node 1, this host is node 10"));
    EXPECT_TRUE(causes.at(3).contains("firewall"));
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

TEST(LikelyCauses, silenceBehindAnAnswer_startsWithTheAnswer) {
    RequestEnd end = failedRead();
    end.refusals = 1;
    end.silent = 2;
    end.endCode = 0x1103;
    end.answeredAt = 10000;
    const QStringList causes = likelyCauses(end, settings(), NODES);
    EXPECT_TRUE(causes.first().startsWith(
        "the PLC has stopped answering: its last answer came "
        "1.49 s before the end, so address, port and node numbers are right"))
        << plain(causes.first());
    for (const QString& cause : causes) {
        EXPECT_FALSE(cause.startsWith("a wrong address")) << plain(cause);
        EXPECT_FALSE(cause.startsWith("wrong node numbers")) << plain(cause);
    }
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
    RequestEnd closed = refusedRead(0x1103); // between two requests: nothing was in flight
    closed.closed = true;
    EXPECT_TRUE(failureText(closed, settings(), NODES).contains("the PLC refused: end code 1103"));
}

TEST(LikelyCauses, plcThatHasAnsweredBefore_isNotAskedForByAnotherAddressOrNode) {
    RequestEnd silent = failedRead();
    silent.answeredBefore = 500000;
    RequestEnd unsent = unsentRead(ENETUNREACH);
    unsent.answeredBefore = 500000;
    RequestEnd barred = unsentRead(EPERM);
    barred.answeredBefore = 500000;
    RequestEnd closed = failedRead();
    closed.unreached = 3;
    closed.refusedPort = 3;
    closed.answeredBefore = 500000;
    RequestEnd lost = refusedRead(0x0205);
    lost.answeredBefore = 500000;
    RequestEnd strange = silent;
    strange.strange = 2;
    RequestEnd cut = silent;
    cut.silent = 0;
    cut.wrongLength = 3;
    for (const RequestEnd& end : {silent, unsent, barred, closed, lost, strange, cut}) {
        const QStringList causes = likelyCauses(end, settings(), NODES);
        EXPECT_FALSE(causes.isEmpty());
        for (const QString& cause : causes) {
            EXPECT_FALSE(cause.contains("wrong address")) << plain(cause);
            EXPECT_FALSE(cause.contains("wrong node numbers")) << plain(cause);
        }
    }
    EXPECT_TRUE(likelyCauses(silent, settings(), NODES)
                    .first()
                    .startsWith("the PLC has stopped answering: its last answer came 2.00 s before "
                                "the end, so "));
}

/// What a relay says for want of an answer is none of the PLC's.
TEST(LikelyCauses, silenceBehindAnErrorOnTheWay_stillDoubtsTheNodes) {
    RequestEnd end = failedRead();
    end.refusals = 1;
    end.silent = 2;
    end.endCode = 0x0205;
    end.answeredAt = 10000;
    EXPECT_TRUE(likelyCauses(end, settings(), NODES).at(1).startsWith("wrong node numbers"));
}

TEST(LikelyCauses, whoAnswersSomethingElse_hasPowerAndNoFirewallBeforeIt) {
    RequestEnd cut = failedRead();
    cut.silent = 1;
    cut.wrongLength = 2;
    RequestEnd strange = failedRead();
    strange.strange = 3;
    for (const RequestEnd& end : {cut, strange}) {
        for (const QString& cause : likelyCauses(end, settings(), NODES)) {
            EXPECT_FALSE(cause.contains("power")) << plain(cause);
            EXPECT_FALSE(cause.contains("firewall")) << plain(cause);
            EXPECT_FALSE(cause.contains("switched off")) << plain(cause);
        }
    }
    EXPECT_TRUE(likelyCauses(cut, settings(), NODES)
                    .first()
                    .contains("fewer words a frame (LineSettings::wordsPerFrame, now 256)"));
    const QStringList causes = likelyCauses(strange, settings(), NODES);
    EXPECT_EQ(plain(causes.at(0)), "replies that come too late: a slow link: a longer "
                                   "LineSettings::timeoutMs (now 500 ms)");
    EXPECT_TRUE(causes.at(1).contains("as the same node")) << plain(causes.at(1));
}

TEST(LikelyCauses, nodeNumbers_areNamedWithTheirNetworks) {
    EXPECT_TRUE(likelyCauses(failedRead(), settings(), {2, 1, 0, 3, 10, 0})
                    .at(1)
                    .contains("the PLC is asked as node 1 of network 2, this host is node 10 of "
                              "network 3; "));
}

TEST(LikelyCauses, oneNodeNumberForBoth_isSaid) {
    EXPECT_TRUE(likelyCauses(failedRead(), settings(), {0, 10, 0, 0, 10, 0})
                    .at(1)
                    .contains("this host is node 10 too, and each needs a number of its own"));
}

/// The device that says so was found, and node numbers led to it.
TEST(LikelyCauses, plcOrUnitInTrouble_doubtsNoNodes) {
    for (const int endCode : {0x0001, 0x0202, 0x0204, 0x0301, 0x0302, 0x0304}) {
        for (const QString& cause : likelyCauses(refusedRead(endCode), settings(), NODES)) {
            EXPECT_FALSE(cause.contains("wrong node")) << endCode << plain(cause);
            EXPECT_FALSE(cause.contains("wrong address")) << endCode << plain(cause);
        }
    }
    EXPECT_TRUE(likelyCauses(refusedRead(0x0204), settings(), NODES).first().contains("busy"));
    EXPECT_TRUE(likelyCauses(refusedRead(0x0304), settings(), {0, 1, 16, 0, 10, 0})
                    .first()
                    .contains("unit 16 is asked"));
}

TEST(LikelyCauses, writeToWordsThatOnlyThePlcWrites_saysSo) {
    const auto causesOf = [](const char* reg, int address) {
        RequestEnd end = refusedWrite(0x2101);
        end.reg = reg;
        end.address = address;
        return likelyCauses(end, settings(), NODES);
    };
    const std::string readOnly =
        "AR 0 to 447 are read-only: the PLC alone writes them, and a host may write from AR 448 on";
    for (const QStringList& causes :
         {causesOf("AR", 0), causesOf("AR", 447), causesOf("AR_bit", 447 * 16 + 15)}) {
        ASSERT_EQ(causes.size(), 1);
        EXPECT_EQ(plain(causes.first()), readOnly);
    }
    for (const QStringList& causes :
         {causesOf("AR", 448), causesOf("AR_bit", 448 * 16), causesOf("DM", 5)}) {
        EXPECT_TRUE(causes.first().startsWith("the memory is protected")) << plain(causes.first());
    }
}

TEST(LikelyCauses, modeChangeThatCouldNotBeSent_beginsWithThisComputer) {
    RequestEnd end = refusedWrite(0x2203);
    end.sendError = ENETUNREACH;
    end.modeChangeUnsent = 1;
    const QStringList causes = likelyCauses(end, settings(), NODES);
    EXPECT_TRUE(causes.first().startsWith("this computer's network")) << plain(causes.first());
    EXPECT_FALSE(causes.filter("operating mode").isEmpty());
    EXPECT_TRUE(causes.filter("wrong address").isEmpty());
}

/// The layer has many hosts, and does not know which of them is a panel.
TEST(FailureText, ofAnyHost_speaksOfNoPanel) {
    for (const RequestEnd& end : {failedRead(), refusedRead(0x0205), unsentRead(ENETUNREACH)}) {
        EXPECT_FALSE(failureText(end, settings(), NODES).contains("panel"));
    }
}

} // namespace
