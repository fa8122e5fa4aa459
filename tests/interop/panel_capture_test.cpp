// Captures of velkor-panel read by Wireshark's dissector: what it sees in each frame must be what
// the panel's trace says that it sent and received.

#include "endtoend/programs.h"

#include <QtCore/QFile>
#include <QtCore/QHash>
#include <QtCore/QRegularExpression>

#include <csignal>

namespace {

/// Area codes of the registers, as the dissector shows them.
const QHash<QString, int> AREAS = {{"CIO_bit", 0x30}, {"WR_bit", 0x31}, {"HR_bit", 0x32},
                                   {"AR_bit", 0x33},  {"DM_bit", 0x02}, {"CIO", 0xB0},
                                   {"WR", 0xB1},      {"HR", 0xB2},     {"AR", 0xB3},
                                   {"T", 0x89},       {"C", 0x89},      {"DM", 0x82}};

QString number(int value) {
    return QString::number(value);
}

/// One line for each frame: "> SID COMMAND AREA WORD BIT COUNT" or "< SID COMMAND ENDCODE".
QStringList framesOfTrace(const QString& trace) {
    static const QRegularExpression sent(
        R"( send sid=(\d+) (\w{4}) [\w ]+?(?: (\S+) (\d+)(?:\.(\d+))? count=(\d+))?, \d+ bytes)");
    static const QRegularExpression received(
        R"( (?:recv|drop) sid=(\d+) (\w{4}) .* ?end=(\w{4}) )");
    QStringList frames;
    for (const QString& line : trace.split('\n')) {
        const QRegularExpressionMatch out = sent.match(line);
        const QRegularExpressionMatch in = received.match(line);
        if (out.hasMatch() && !out.captured(3).isEmpty()) {
            const QString reg = out.captured(3);
            const int word = out.captured(4).toInt() + (reg == "C" ? 0x8000 : 0);
            frames.append(
                QStringList({">", out.captured(1), out.captured(2), number(AREAS.value(reg, -1)),
                             number(word), number(out.captured(5).toInt()), out.captured(6)})
                    .join(' '));
        } else if (out.hasMatch()) {
            frames.append(QStringList({">", out.captured(1), out.captured(2)}).join(' '));
        } else if (in.hasMatch()) {
            frames.append(
                QStringList({"<", in.captured(1), in.captured(2), in.captured(3)}).join(' '));
        }
    }
    return frames;
}

class PanelCapture : public Programs {
protected:
    /// The fields of every frame, as the dissector gives them.
    QList<QStringList> dissect(const QString& capture) {
        QProcess tshark;
        tshark.start("tshark", {"-r", capture,
                                "-d", QString("udp.port==%1,omron").arg(m_port),
                                "-o", "ip.check_checksum:TRUE",
                                "-o", "udp.check_checksum:TRUE",
                                "-T", "fields",
                                "-E", "separator=/t",
                                "-e", "_ws.malformed",
                                "-e", "ip.checksum.status",
                                "-e", "udp.checksum.status",
                                "-e", "omron.sid",
                                "-e", "omron.icf.dtb",
                                "-e", "omron.command",
                                "-e", "omron.memory.area.read",
                                "-e", "omron.memory.address",
                                "-e", "omron.memory.address.bits",
                                "-e", "omron.memory.numitems",
                                "-e", "omron.response.code"});
        EXPECT_TRUE(tshark.waitForStarted(PATIENCE_MS)) << "is tshark installed?";
        EXPECT_TRUE(tshark.waitForFinished(PATIENCE_MS));
        EXPECT_EQ(tshark.exitCode(), 0) << tshark.readAllStandardError().toStdString();
        QList<QStringList> frames;
        for (const QString& line :
             QString::fromUtf8(tshark.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts)) {
            frames.append(line.split('\t'));
        }
        return frames;
    }

    static QStringList framesOfCapture(const QList<QStringList>& dissected) {
        const auto value = [](const QString& hex) { return number(hex.toInt(nullptr, 16)); };
        QStringList frames;
        for (const QStringList& fields : dissected) {
            const QString command = fields.value(5).mid(2);
            const bool reply = value(fields.value(4)) == "1";
            QStringList frame{reply ? "<" : ">", value(fields.value(3)), command};
            if (reply) {
                frame.append(fields.value(10).mid(2).toUpper());
            } else if (!fields.value(6).isEmpty()) {
                frame += QStringList{value(fields.value(6)), value(fields.value(7)),
                                     value(fields.value(8)), fields.value(9)};
            }
            frames.append(frame.join(' '));
        }
        return frames;
    }

    /// Runs the panel with trace and capture; the trace and the dissector must tell the same.
    /// Gives the frames.
    QStringList agreed(const QStringList& arguments, int exitCode = 0) {
        return agreedOnAll({arguments}, exitCode);
    }

    /// The same for several runs, whose captures the dissector reads as one: its start takes longer
    /// than all that is tested.
    QStringList agreedOnAll(const QList<QStringList>& runs, int exitCode = 0) {
        QStringList traced;
        QByteArray captured;
        for (const QStringList& arguments : runs) {
            const Ended ended = panel(QStringList{"--trace", "--pcap", path("c.pcap")} + arguments);
            EXPECT_EQ(ended.exitCode, exitCode) << plain(ended.err);
            const QStringList frames = framesOfTrace(ended.err);
            EXPECT_FALSE(frames.isEmpty()) << plain(arguments.join(' ')) << plain(ended.err);
            traced += frames;
            captured += packetsBehind(captured);
        }
        const QList<QStringList> dissected = dissect(file("all.pcap", captured));
        EXPECT_EQ(plain(framesOfCapture(dissected).join('\n')), plain(traced.join('\n')));
        for (const QStringList& fields : dissected) {
            EXPECT_EQ(plain(fields.value(0)), "") << "malformed: " << plain(fields.join(' '));
            EXPECT_EQ(plain(fields.value(1)), "1") << "IP checksum"; // 1: good
            EXPECT_EQ(plain(fields.value(2)), "1") << "UDP checksum";
        }
        return traced;
    }

    /// The last run's capture, without the file header when packets stand before it.
    QByteArray packetsBehind(const QByteArray& before) {
        const int fileHeader = 24; // bytes
        QFile capture(path("c.pcap"));
        EXPECT_TRUE(capture.open(QIODevice::ReadOnly));
        return capture.readAll().mid(before.isEmpty() ? 0 : fileHeader);
    }

    /// The frames without a request at their end that was in flight when the panel ended.
    static QStringList settled(QStringList frames) {
        if (frames.size() % 2 != 0 && frames.constLast().startsWith('>')) {
            frames.removeLast();
        }
        return frames;
    }

    /// Every reply has the service ID and the command of the frame before it.
    static void expectPairs(const QStringList& frames) {
        ASSERT_EQ(frames.size() % 2, 0);
        for (int index = 0; index < frames.size(); index += 2) {
            EXPECT_EQ(plain(frames.at(index).section(' ', 0, 0)), ">");
            EXPECT_EQ(plain(frames.at(index + 1).section(' ', 0, 0)), "<");
            EXPECT_EQ(plain(frames.at(index).section(' ', 1, 2)),
                      plain(frames.at(index + 1).section(' ', 1, 2)));
        }
    }
};

TEST_F(PanelCapture, readsAndWritesOfEveryRegister_areWhatTheTraceSays) {
    startPlc();
    QList<QStringList> runs{{"write", "AR", "500", "1"}, {"read", "AR", "500"}};
    for (const char* reg : {"CIO", "WR", "HR", "T", "C", "DM"}) {
        runs += QStringList{"write", reg, "300", "1", "2", "3"};
        runs += QStringList{"read", reg, "299", "5"};
    }
    for (const char* reg : {"CIO_bit", "WR_bit", "HR_bit", "AR_bit", "DM_bit"}) {
        runs += QStringList{"write", reg, "450.11", "1", "0", "1"};
        runs += QStringList{"read", reg, "450.11", "8"};
    }
    const QStringList frames = agreedOnAll(runs);
    EXPECT_EQ(frames.size(), 2 * runs.size());
    expectPairs(frames);
}

TEST_F(PanelCapture, read_isReadAsWhatWasAsked) {
    startPlc();
    const QStringList frames = agreed({"read", "C", "10", "3"});
    ASSERT_EQ(frames.size(), 2);
    const QString sid = frames.at(0).section(' ', 1, 1);
    // Area 0x89, word 0x8000 + 10.
    EXPECT_EQ(plain(frames.at(0)), plain("> " + sid + " 0101 137 32778 0 3"));
    EXPECT_EQ(plain(frames.at(1)), plain("< " + sid + " 0101 0000"));
}

TEST_F(PanelCapture, probeAndWatchAndRecipes_areWhatTheTraceSays) {
    startPlc();
    const QString recipe =
        file("recipe.csv", "name,register,address,count\na,DM,1,3\nb,HR,1,2\nc,T,9,1\n");
    const QString values = file("values.csv", "a,1,2,3\nb,4,5\nc,6\n");
    expectPairs(agreed({"probe"}));
    expectPairs(settled(agreed(
        {"watch", "DM:0:5", "CIO_bit:3.4:20", "C:9", "--until-stable", "--scan-interval", "20"})));
    expectPairs(agreed({"recipe", "download", recipe, "--values", values}));
    expectPairs(agreed({"recipe", "upload", recipe}));
}

TEST_F(PanelCapture, refusals_areWhatTheTraceSays) {
    startPlc({"--alarm"});
    expectPairs(agreed({"write", "AR", "5", "1"}, 1));
    expectPairs(agreed({"read", "DM", "0"}));
    startPlc({"--end-code", "8202"});
    expectPairs(agreed({"read", "DM", "0"}, 1));
}

TEST_F(PanelCapture, modeChange_isWhatTheTraceSays) {
    startPlc({"--mode", "program", "--writes-in", "monitor"});
    const QStringList frames = agreed({"--allow-mode-change", "write", "DM", "0", "7"});
    expectPairs(frames);
    EXPECT_EQ(frames.filter(" 0401").size(), 2);
}

TEST_F(PanelCapture, resendsAndDroppedReplies_areWhatTheTraceSays) {
    startPlc({"--faults", "drop 2; duplicate 3; sid+1 5; late 7"});
    agreed({"--timeout", "100", "--words-per-frame", "1", "read", "DM", "0", "10"});
}

TEST_F(PanelCapture, captureOfARunningPanel_isReadable) {
    startPlc();
    Running watch;
    startPanel(&watch, {"--pcap", path("live.pcap"), "watch", "DM:0", "--scan-interval", "20"});
    ASSERT_TRUE(watch.waitFor("DM 0  0"));
    const QList<QStringList> frames = dissect(path("live.pcap"));
    ASSERT_GE(frames.size(), 2);
    for (const QStringList& fields : frames) {
        EXPECT_EQ(plain(fields.value(0)), "");
        EXPECT_EQ(plain(fields.value(5)), "0x0101");
    }
    EXPECT_EQ(watch.stop(SIGTERM).exitCode, 0);
}

TEST_F(PanelCapture, fileThatCannotBeWritten_isSaid) {
    startPlc();
    const Ended ended = panel({"--pcap", path("no/such/folder.pcap"), "read", "DM", "0"});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_TRUE(ended.err.contains("cannot write the capture")) << plain(ended.err);
}

} // namespace
