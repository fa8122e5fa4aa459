// The panel's files when something is wrong with them: full disks, pipes, devices, odd content.

#include "endtoend/programs.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <sys/stat.h>
#include <unistd.h>

namespace {

class PanelFiles : public Programs {
protected:
    /// Runs the panel from a shell, behind commands that set limits or redirect.
    Ended panelInShell(const QString& before, const QStringList& arguments,
                       const QString& after = QString()) {
        QProcess process;
        process.start("/bin/sh", QStringList{"-c", before + " \"$@\" " + after, "sh",
                                             VELKOR_PANEL_PROGRAM, "--plc", plcAddress()} +
                                     arguments);
        EXPECT_TRUE(process.waitForFinished(PATIENCE_MS));
        return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
                QString::fromUtf8(process.readAllStandardOutput()),
                QString::fromUtf8(process.readAllStandardError())};
    }

    QByteArray content(const char* name) const {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }

    QString recipe() { return file("recipe.csv", "name,register,address,count\na,DM,1,2\n"); }
};

const char VALUES[] = "name,values\na,0,0\n"; // of an empty PLC

/// As on a full disk: no file may grow, and writing to it fails.
const char NO_ROOM[] = "trap '' XFSZ; ulimit -f 0; exec";

TEST_F(PanelFiles, upload_noRoomForTheValues_keepsTheOldFileAndFails) {
    startPlc();
    const QString values = file("values.csv", "name,values\na,7,8\n");
    const Ended ended = panelInShell(NO_ROOM, {"recipe", "upload", recipe(), "--values", values});
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_EQ(plain(ended.err),
              plain("velkor-panel: cannot write " + values + ": File too large\n"));
    EXPECT_EQ(plain(ended.out), "");
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

} // namespace
