// The panel's files when something is wrong with them: full disks, pipes, devices, odd content.

#include "endtoend/fake_plc.h"
#include "endtoend/programs.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

class PanelFiles : public Programs {
protected:
    QByteArray content(const char* name) const {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }

    QString recipe() { return file("recipe.csv", "name,register,address,count\na,DM,1,2\n"); }
};

const char VALUES[] = "name,values\na,0,0\n"; // of an empty PLC

TEST_F(PanelFiles, upload_noRoomForTheValues_keepsTheOldFileAndFails) {
    FakePlc plc;
    m_port = plc.port();
    const QString values = file("values.csv", "name,values\na,7,8\n");
    Running upload;
    upload.start("/bin/sh", {"-c", "trap '' XFSZ; exec \"$@\"", "sh", VELKOR_PANEL_PROGRAM, "--plc",
                             plcAddress(), "recipe", "upload", recipe(), "--values", values});
    plc.serve(&upload, [&](const QNetworkDatagram& frame) {
        // From now on as on a full disk: no file may grow, and writing to it fails.
        const rlimit none = {0, 0};
        EXPECT_EQ(prlimit(static_cast<pid_t>(upload.pid()), RLIMIT_FSIZE, &none, nullptr), 0);
        return FakePlc::replyTo(frame, 0, "00010002");
    });
    const Ended ended = upload.waitForEnd();
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_EQ(plain(ended.out),
              plain("velkor-panel: cannot write " + values + ": File too large\n"));
    EXPECT_EQ(content("values.csv"), "name,values\na,7,8\n");
    EXPECT_EQ(QDir(m_folder.path()).entryList(QDir::Files),
              QStringList({"recipe.csv", "values.csv"}));
}

TEST_F(PanelFiles, upload_namedPipe_isWrittenIntoAndStaysOne) {
    startPlc();
    const QByteArray pipe = path("pipe").toLocal8Bit();
    ASSERT_EQ(mkfifo(pipe.constData(), 0600), 0);
    QFile reader(path("pipe"));
    ASSERT_TRUE(reader.open(QIODevice::ReadWrite | QIODevice::Unbuffered)); // waits for nobody
    const Ended ended = panel({"recipe", "upload", recipe(), "--values", path("pipe")});
    EXPECT_EQ(ended.exitCode, 0) << plain(ended.err);
    struct stat found = {};
    ASSERT_EQ(stat(pipe.constData(), &found), 0);
    ASSERT_TRUE(S_ISFIFO(found.st_mode));
    char buffer[64] = {};
    EXPECT_GT(::read(reader.handle(), buffer, sizeof buffer), 0);
    EXPECT_STREQ(buffer, VALUES);
}

TEST_F(PanelFiles, upload_standardOutputByName_getsTheValuesAndNothingElse) {
    startPlc();
    const QStringList arguments{"recipe", "upload", recipe(), "--values", "/dev/stdout"};
    const Ended piped = panel(arguments);
    EXPECT_EQ(piped.exitCode, 0) << plain(piped.err);
    EXPECT_EQ(plain(piped.out), VALUES);
    const Ended redirected = panelInShell("exec", arguments, "> " + path("out.csv"));
    EXPECT_EQ(redirected.exitCode, 0) << plain(redirected.err);
    EXPECT_EQ(content("out.csv"), VALUES);
}

TEST_F(PanelFiles, zeroByteInAnyFile_isRefusedWithItsPlaceAndNothingIsSent) {
    startPlc();
    const QByteArray zero(1, '\0');
    const QString tags =
        file("tags.csv", "name,register,address,type\na,DM,1,\nb" + zero + ",DM,2,\nc,DM,3,\n");
    const QString bad = file("bad.csv", "name,register,address\na,DM,1" + zero + "00\n");
    const QString values = file("values.csv", "a,1,2" + zero + "\n");
    const struct {
        QStringList arguments;
        QString place;
    } commands[] = {
        {{"watch", tags, "--until-stable", "--seconds", "5"}, tags + ":3:2: "},
        {{"recipe", "upload", bad}, bad + ":2:7: "},
        {{"recipe", "download", recipe(), "--values", values}, values + ":1:6: "},
    };
    for (const auto& command : commands) {
        const Ended ended = panel(command.arguments);
        EXPECT_EQ(ended.exitCode, 2) << plain(command.place);
        EXPECT_TRUE(ended.err.startsWith(command.place + "a control character (code 0)"))
            << plain(ended.err);
    }
    EXPECT_EQ(plcRequests(), 0);
}

TEST_F(PanelFiles, controlCharactersInFilesAndArguments_doNotReachTheTerminal) {
    const QString evil = QString("x") + QChar(0x1B) + "[31m" + QChar(0x9B) + "2J";
    const QString header = file("header.csv", (evil + ",register\n").toUtf8());
    const QStringList commands[] = {
        {"watch", header},
        {"recipe", "upload", header},
        {"watch", evil},
        {"watch", evil + ":1"},
        {"check", evil, "1"},
        {"check", "DM", evil},
        {evil},
        {"--format", evil},
        {"--plc", evil + ":0", "probe"},
        {"--library", evil, "registers"},
    };
    for (const QStringList& command : commands) {
        const Ended ended = bare(command);
        EXPECT_NE(ended.exitCode, 0) << plain(command.join(' '));
        EXPECT_TRUE(ended.err.contains("x\\x1B[31m\\x9B2J")) << plain(ended.err);
        EXPECT_FALSE(ended.err.contains(QChar(0x1B))) << plain(ended.err);
        EXPECT_FALSE(ended.err.contains(QChar(0x9B))) << plain(ended.err);
    }
}

TEST_F(PanelFiles, inputWithoutEnd_isRefused) {
    for (const char* device : {"/dev/zero", "/dev/full"}) {
        const Ended ended = bare({"watch", device});
        EXPECT_EQ(ended.exitCode, 2);
        EXPECT_TRUE(ended.err.contains("longer than 8 MiB (8388608 bytes)")) << plain(ended.err);
    }
}

TEST_F(PanelFiles, pipeWithoutEnd_isRefusedAndOneWithAnEndIsRead) {
    startPlc();
    const Ended endless = panelInShell("yes ,,, |", {"watch", "/dev/stdin"});
    EXPECT_EQ(endless.exitCode, 2);
    EXPECT_TRUE(endless.err.contains("longer than 8 MiB (8388608 bytes)")) << plain(endless.err);
    const Ended read = panelInShell(
        "printf 'name,register,address,type\\nlevel,DM,1,\\n' |",
        {"watch", "/dev/stdin", "--scan-interval", "20", "--until-stable", "--seconds", "15"});
    EXPECT_EQ(read.exitCode, 0) << plain(read.err);
    EXPECT_TRUE(read.out.endsWith("  level  DM 1  0\n")) << plain(read.out);
}

TEST_F(PanelFiles, longestFileOfCommas_isRefusedInModerateMemory) {
    const QString commas = file("commas.csv", QByteArray(8 * 1024 * 1024, ','));
    const Ended ended = bare({"watch", commas});
    rusage used = {};
    ASSERT_EQ(getrusage(RUSAGE_CHILDREN, &used), 0);
    EXPECT_LT(used.ru_maxrss, 1024 * 1024); // KiB
    EXPECT_EQ(ended.exitCode, 2) << plain(ended.err);
    EXPECT_TRUE(ended.err.startsWith(commas + ":1:1: \"\" is no column")) << plain(ended.err);
    EXPECT_TRUE(ended.err.endsWith("... and 980 or more\n")) << plain(ended.err);
}

/// An older capture is worth more than one that has never begun.
TEST_F(PanelFiles, capture_commandThatCannotBegin_keepsTheOldFile) {
    startPlc();
    const QString capture = file("old.pcap", "old");
    const QString bad = file("bad.csv", "name,register,address,type\na,DM,40000,\n");
    const QStringList commands[] = {
        {"--plc", "no.such.host.invalid", "--pcap", capture, "read", "DM", "1"},
        {"--plc", "127.0.0.1:0", "--pcap", capture, "read", "DM", "1"},
        {"--plc", plcAddress(), "--pcap", capture, "read", "DM", "99999"},
        {"--plc", plcAddress(), "--pcap", capture, "watch", bad},
        {"--plc", plcAddress(), "--pcap", capture, "--bind", "192.0.2.1:0", "read", "DM", "1"},
        {"--plc", "a=" + plcAddress(), "--plc", "b=no.such.host.invalid", "--pcap", capture,
         "watch", "a/DM:1"},
    };
    for (const QStringList& command : commands) {
        EXPECT_NE(bare(command).exitCode, 0) << plain(command.join(' '));
        EXPECT_EQ(content("old.pcap"), "old") << plain(command.join(' '));
    }
}

TEST_F(PanelFiles, oneFileNamedTwice_isWrongUsageAndNothingIsTouched) {
    startPlc();
    const QString tags = file("tags.csv", "name,register,address,type\na,DM,1,\n");
    const QString values = file("values.csv", VALUES);
    ASSERT_EQ(::symlink(QFile::encodeName(tags).constData(),
                        QFile::encodeName(path("link.csv")).constData()),
              0);
    const QString around = m_folder.path() + "/./values.csv";
    const QString fresh = path("new");
    const QStringList commands[] = {
        {"--pcap", values, "--values", values, "recipe", "upload", recipe()},
        {"--pcap", around, "--values", values, "recipe", "download", recipe()},
        {"--values", recipe(), "recipe", "upload", recipe()},
        {"--pcap", fresh, "--values", m_folder.path() + "/./new", "recipe", "upload", recipe()},
        {"--pcap", path("link.csv"), "watch", tags},
        {"--pcap", tags, "write", path("link.csv"), "a", "1"},
    };
    for (const QStringList& command : commands) {
        const Ended ended = panel(command);
        EXPECT_EQ(ended.exitCode, 2) << plain(command.join(' '));
        EXPECT_TRUE(ended.err.contains("are one file; right are two")) << plain(ended.err);
    }
    EXPECT_EQ(content("values.csv"), VALUES);
    EXPECT_TRUE(content("tags.csv").startsWith("name,register"));
    EXPECT_FALSE(QFile::exists(fresh));
    EXPECT_EQ(plcRequests(), 0);
}

} // namespace
