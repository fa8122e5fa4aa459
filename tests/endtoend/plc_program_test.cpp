// What velkor-plc does at its port and with its options.
#include "endtoend/plc_program.h"

#include <QtCore/QDateTime>

namespace {

TEST_F(PlcProgram, exchange_writeAndRead_isAnsweredOverUdp) {
    serve();
    send("01 0102 82000000 0001 1234");
    EXPECT_EQ(receive(), "01 01 02 00 00");
    send("02 0101 82000000 0002");
    EXPECT_EQ(receive(), "02 01 01 00 00 12 34 00 00");
}

TEST_F(PlcProgram, options_areHanded_toThePlc) {
    serve({latin("--mode"), latin("program"), latin("--writes-in"), latin("monitor"),
           latin("--alarm")});
    send("01 0102 82000000 0001 1234");
    EXPECT_EQ(receive(), "01 01 02 22 43");
    send("02 0401 ffff 02");
    EXPECT_EQ(receive(), "02 04 01 00 40");
    send("03 0102 82000000 0001 1234");
    EXPECT_EQ(receive(), "03 01 02 00 40");
}

TEST_F(PlcProgram, refusedWords_areNotThere) {
    serve({latin("--refuse"), latin("DM 0-1"), latin("--refuse"), latin("DM 5")});
    send("01 0101 82000100 0001");
    EXPECT_EQ(receive(), "01 01 01 11 03");
    send("02 0101 82000200 0003");
    EXPECT_EQ(receive(), "02 01 01 00 00 00 00 00 00 00 00");
    send("03 0101 82000200 0004");
    EXPECT_EQ(receive(), "03 01 01 11 03");
}

TEST_F(PlcProgram, endCode_isTheAnswerToEverything) {
    serve({latin("--end-code"), latin("2503")});
    send("01 0101 82000000 0001");
    EXPECT_EQ(receive(), "01 01 01 25 03");
    send("02 0601");
    EXPECT_EQ(receive(), "02 06 01 25 03");
}

TEST_F(PlcProgram, maxMessage_boundsTheReply) {
    serve({latin("--max-message"), latin("64")});
    send("01 0101 82000000 001a");
    EXPECT_EQ(receive(), "01 01 01 11 0b");
}

TEST_F(PlcProgram, clock_tellsTheYearOfTheMachine) {
    serve();
    send("01 0701");
    const QByteArray year = QByteArray::number(QDate::currentDate().year() % 100);
    EXPECT_EQ(receive().mid(0, 17), "01 07 01 00 00 " + year);
}

TEST_F(PlcProgram, drop_theNextReplyComesFirst) {
    serve({latin("--faults"), latin("drop 1")});
    send("01 0102 82000000 0001 1234");
    send("02 0101 82000000 0001");
    EXPECT_EQ(receive(), "02 01 01 00 00 12 34"); // it was executed
}

TEST_F(PlcProgram, silent_isNotExecuted) {
    serve({latin("--faults"), latin("silent 1")});
    send("01 0102 82000000 0001 1234");
    send("02 0101 82000000 0001");
    EXPECT_EQ(receive(), "02 01 01 00 00 00 00");
}

TEST_F(PlcProgram, duplicate_comesTwice) {
    serve({latin("--faults"), latin("duplicate 1")});
    send("01 0101 82000000 0001");
    EXPECT_EQ(receive(), "01 01 01 00 00 00 00");
    EXPECT_EQ(receive(), "01 01 01 00 00 00 00");
}

TEST_F(PlcProgram, truncate_comesCutShort) {
    serve({latin("--faults"), latin("truncate 1 to 13")});
    send("01 0101 82000000 0001");
    EXPECT_EQ(receive(), "01 01 01 00");
}

TEST_F(PlcProgram, delay_isOvertakenByTheNextReply) {
    serve({latin("--faults"), latin("delay 1 by 200ms")});
    QElapsedTimer timer;
    timer.start();
    send("01 0101 82000000 0001");
    send("02 0101 82000000 0001");
    EXPECT_EQ(receive(), "02 01 01 00 00 00 00");
    EXPECT_EQ(receive(), "01 01 01 00 00 00 00");
    EXPECT_GE(timer.elapsed(), 199); // whole milliseconds, cut off
}

TEST_F(PlcProgram, late_comesWithTheNextRequest) {
    serve({latin("--faults"), latin("late 1")});
    send("01 0101 82000000 0001");
    send("02 0101 82000000 0001");
    EXPECT_EQ(receive(), "01 01 01 00 00 00 00");
    EXPECT_EQ(receive(), "02 01 01 00 00 00 00");
}

TEST_F(PlcProgram, sidPlusOne_comesWithTheWrongSid) {
    serve({latin("--faults"), latin("sid+1 1")});
    send("01 0101 82000000 0001");
    EXPECT_EQ(receive(), "02 01 01 00 00 00 00");
}

TEST_F(PlcProgram, delayRequest_isExecutedWhenItsTimeHasCome) {
    serve({latin("--faults"), latin("delay-request 1 by 200ms"), latin("--trace")});
    QElapsedTimer timer;
    timer.start();
    send("01 0102 82000000 0001 1111");
    send("02 0102 82000000 0001 2222");
    EXPECT_EQ(receive(), "02 01 02 00 00");
    EXPECT_EQ(receive(), "01 01 02 00 00");
    EXPECT_GE(timer.elapsed(), 199); // whole milliseconds, cut off
    send("03 0101 82000000 0001");
    EXPECT_EQ(receive(), "03 01 01 00 00 11 11"); // the older write was executed last
    const QString from = QStringLiteral("127.0.0.1:%1").arg(socket_.localPort());
    const QString write = latin("sid %1 node 5 to 0: 0102 write DM 0, 1 word: ");
    const QString older = write.arg(latin("01")) + latin("11 11");
    const QString newer = write.arg(latin("02")) + latin("22 22");
    EXPECT_EQ(readLine(), latin("#1 from %1: %2 [delay-request by 200ms]").arg(from, older));
    EXPECT_EQ(readLine(), latin("#2 from %1: %2").arg(from, newer));
    EXPECT_EQ(readLine(), latin("#2 to %1: sid 02: 0000 normal").arg(from));
    EXPECT_EQ(readLine(), latin("#1 arrives: ") + older);
    EXPECT_EQ(readLine(), latin("#1 to %1: sid 01: 0000 normal").arg(from));
}

TEST_F(PlcProgram, lateRequest_isOvertakenByTheNext) {
    serve({latin("--faults"), latin("late-request 1; duplicate-request 2")});
    send("01 0102 82000000 0001 1111");
    send("02 0102 82000000 0001 2222");
    EXPECT_EQ(receive(), "02 01 02 00 00");
    EXPECT_EQ(receive(), "02 01 02 00 00");
    EXPECT_EQ(receive(), "01 01 02 00 00");
    send("03 0101 82000000 0001");
    EXPECT_EQ(receive(), "03 01 01 00 00 11 11");
}

TEST_F(PlcProgram, corrupt_sameSeed_isTheSameAndNotTheReply) {
    serve({latin("--faults"), latin("corrupt 1"), latin("--seed"), latin("5")});
    send("01 0101 82000000 0001");
    ASSERT_TRUE(socket_.waitForReadyRead(kPatienceMs));
    const QByteArray first = socket_.receiveDatagram().data();
    EXPECT_EQ(first.size(), 16);
    EXPECT_NE(first.toHex(), QByteArray("c0000200050000010001010100000000"));
    stop(SIGTERM);
    socket_.close();
    serve({latin("--faults"), latin("corrupt 1"), latin("--seed"), latin("5")});
    send("01 0101 82000000 0001");
    ASSERT_TRUE(socket_.waitForReadyRead(kPatienceMs));
    EXPECT_EQ(socket_.receiveDatagram().data().toHex(), first.toHex());
}

TEST_F(PlcProgram, sigterm_endsWithCountsAndExitCode0) {
    serve({latin("--faults"), latin("drop 1-2; duplicate 3")});
    send("01 0101 82000000 0001");
    send("02 0101 82000000 0001");
    send("03 0101 83000000 0001");
    EXPECT_EQ(receive(), "03 01 01 11 01");
    EXPECT_EQ(receive(), "03 01 01 11 01");
    stop(SIGTERM);
    EXPECT_EQ(process_.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(process_.exitCode(), 0);
    EXPECT_EQ(output(), "stopped: requests 3, replies 2, refused 1, ignored 0; "
                        "faults: drop 2, duplicate 1\n");
}

TEST_F(PlcProgram, strayDatagrams_areCountedAndDoNotStopIt) {
    serve();
    const QHostAddress plc(QHostAddress::LocalHost);
    socket_.writeDatagram(QByteArray(), plc, port_);
    socket_.writeDatagram("FINS", plc, port_);
    socket_.writeDatagram(QByteArray(60000, '\x40'), plc, port_);
    send("01 0101 82000000 0001");
    EXPECT_EQ(receive(), "01 01 01 00 00 00 00");
    stop(SIGTERM);
    EXPECT_EQ(output(), "stopped: requests 1, replies 1, refused 0, ignored 3; faults: none\n");
}

TEST_F(PlcProgram, sigint_endsWithExitCode0) {
    serve();
    stop(SIGINT);
    EXPECT_EQ(process_.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(process_.exitCode(), 0);
    EXPECT_EQ(output(), "stopped: requests 0, replies 0, refused 0, ignored 0; faults: none\n");
}

TEST_F(PlcProgram, trace_printsRequestAndReply) {
    serve({latin("--trace"), latin("--faults"), latin("sid+1 1")});
    send("2A 0101 82006400 0001");
    receive();
    const QString from = QStringLiteral("127.0.0.1:%1").arg(socket_.localPort());
    EXPECT_EQ(readLine(),
              latin("#1 from %1: sid 2A node 5 to 0: 0101 read DM 100, 1 word [sid+1]").arg(from));
    EXPECT_EQ(readLine(), latin("#1 to %1: sid 2B: 0000 normal, 2 bytes: 00 00").arg(from));
}

TEST_F(PlcProgram, tank_fillsAsTimePasses) {
    serve({latin("--process"), latin("tank")});
    QElapsedTimer timer;
    timer.start();
    int level = 0; // 0.1 l; 20 l at the start
    while (level <= 210 && timer.elapsed() < kPatienceMs) {
        send("01 0101 82000000 0001");
        level = QByteArray::fromHex(receive()).mid(5).toHex().toInt(nullptr, 16);
    }
    EXPECT_GT(level, 210);
}

TEST_F(PlcProgram, addressInUse_isNamedWithWhatToDo) {
    QUdpSocket other;
    ASSERT_TRUE(
        other.bind(QHostAddress(QHostAddress::LocalHost), 0, QAbstractSocket::DontShareAddress));
    const QString address = QStringLiteral("127.0.0.1:%1").arg(other.localPort());
    expectRefusal({latin("--listen"), address}, 1,
                  {address + latin(" is in use"), latin("--listen")});
}

TEST_F(PlcProgram, faults_wrongScript_isRefusedWithItsColumn) {
    expectRefusal({latin("--faults"), latin("drop 3; lose 4")}, 2,
                  {latin("--faults, column 9: expected a fault: drop,"),
                   latin("\n  drop 3; lose 4\n          ^\n")});
    expectRefusal({latin("--faults"), latin("drop 3;\n\tlose 4")}, 2,
                  {latin("--faults, column 10: expected a fault: drop,"),
                   latin("\n  drop 3;  lose 4\n           ^\n")});
}

TEST_F(PlcProgram, wrongUsage_isRefusedWithWhatWouldBeRight) {
    const QString tooHigh = latin("70000");
    for (const QStringList& row : QVector<QStringList>{
             {latin("Unknown option 'bogus'"), latin("--bogus")},
             {latin("--listen \"9600\": expected an IPv4 address and a port"), latin("--listen"),
              latin("9600")},
             {latin("--listen \"127.0.0.1:70000\": expected"), latin("--listen"),
              latin("127.0.0.1:") + tooHigh},
             {latin("--node \"255\": expected a number from 1 to 254"), latin("--node"),
              latin("255")},
             {latin("--mode \"fast\": expected program, debug, monitor or run"), latin("--mode"),
              latin("fast")},
             {latin("--writes-in \"x\": expected any, program, monitor or run"),
              latin("--writes-in"), latin("x")},
             {latin("--max-message \"63\": expected a number from 64 to 65507"),
              latin("--max-message"), latin("63")},
             {latin("--end-code \"25\": expected four hex digits"), latin("--end-code"),
              latin("25")},
             {latin("--refuse \"DM 9-8\": expected an area (CIO, WR, HR"), latin("--refuse"),
              latin("DM 9-8")},
             {latin("--process \"pump\": expected none or tank"), latin("--process"),
              latin("pump")},
             {latin("--seed \"-1\": expected a number from 0 to 4294967295"), latin("--seed"),
              latin("-1")},
             {latin("--image \"\": expected the name of a file"), latin("--image"), QString()},
             {latin("\"extra\": expected options only"), latin("extra")},
         }) {
        expectRefusal(row.mid(1), 2, {row.first()});
    }
}

TEST_F(PlcProgram, version_isPrinted) {
    start({latin("--version")});
    ASSERT_TRUE(process_.waitForFinished(kPatienceMs));
    EXPECT_EQ(process_.exitCode(), 0);
    EXPECT_EQ(output(), "velkor-plc " VELKOR_VERSION "\n");
}

TEST_F(PlcProgram, help_namesEveryOption) {
    start({latin("--help")});
    ASSERT_TRUE(process_.waitForFinished(kPatienceMs));
    EXPECT_EQ(process_.exitCode(), 0);
    const std::string help = output();
    for (const char* option :
         {"--listen", "--node", "--mode", "--writes-in", "--max-message", "--alarm", "--end-code",
          "--process", "--image", "--faults", "--seed", "--trace", "--help", "--version"}) {
        EXPECT_NE(help.find(option), std::string::npos) << option;
    }
}

} // namespace
