#include "panel/files/file_access.h"

#include "panel/text.h"

#include <gtest/gtest.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

using namespace panel;

namespace {

int fsyncFault = 0; ///< errno of every fsync() of this program; 0: as the system does it

} // namespace

/// Takes the place of the C library's in this program, for disks that fail late.
extern "C" int fsync(int descriptor) {
    if (fsyncFault != 0) {
        errno = fsyncFault;
        return -1;
    }
    return fdatasync(descriptor);
}

namespace {

class FileAccess : public testing::Test {
protected:
    ~FileAccess() override { fsyncFault = 0; }

    QString path(const char* name) const { return m_folder.filePath(name); }

    QByteArray content(const char* name) const {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }

    QStringList files() const { return QDir(m_folder.path()).entryList(QDir::Files); }

    QTemporaryDir m_folder;
};

TEST_F(FileAccess, read_file_givesItsBytes) {
    ASSERT_EQ(plain(saveFile(path("a"), QByteArray("a\0b\n", 4))), "");
    QByteArray bytes;
    EXPECT_EQ(plain(readFile(path("a"), &bytes)), "");
    EXPECT_EQ(bytes, QByteArray("a\0b\n", 4));
}

TEST_F(FileAccess, read_longestFile_isTakenAndOneByteMoreIsRefused) {
    QByteArray bytes;
    ASSERT_EQ(plain(saveFile(path("a"), QByteArray(LONGEST_FILE, ','))), "");
    EXPECT_EQ(plain(readFile(path("a"), &bytes)), "");
    EXPECT_EQ(bytes.size(), LONGEST_FILE);
    ASSERT_EQ(plain(saveFile(path("a"), QByteArray(LONGEST_FILE + 1, ','))), "");
    EXPECT_EQ(plain(readFile(path("a"), &bytes)),
              plain("cannot read " + path("a") +
                    ": it is longer than 8 MiB (8388608 bytes), the most that is read"));
}

TEST_F(FileAccess, read_deviceWithoutEnd_isRefused) {
    for (const char* device : {"/dev/zero", "/dev/full"}) {
        QByteArray bytes;
        EXPECT_TRUE(readFile(device, &bytes).contains("longer than 8 MiB")) << device;
    }
}

TEST_F(FileAccess, read_folder_isRefused) {
    QByteArray bytes;
    const QString fault = readFile(m_folder.path(), &bytes);
    EXPECT_TRUE(fault.startsWith("cannot read " + m_folder.path() + ": ")) << plain(fault);
    EXPECT_TRUE(fault.contains("is a directory")) << plain(fault);
}

TEST_F(FileAccess, read_noSuchFile_isRefused) {
    QByteArray bytes;
    EXPECT_EQ(plain(readFile(path("none"), &bytes)),
              plain("cannot read " + path("none") + ": No such file or directory"));
}

TEST_F(FileAccess, read_faultWhileReading_isNoShortFile) {
    QByteArray bytes;
    // The memory of this program, whose address 0 is not there.
    EXPECT_EQ(plain(readFile("/proc/self/mem", &bytes)),
              "cannot read /proc/self/mem: Input/output error");
}

TEST_F(FileAccess, save_newFile_holdsTheBytes) {
    EXPECT_EQ(plain(saveFile(path("a"), "one\n")), "");
    EXPECT_EQ(content("a"), "one\n");
}

TEST_F(FileAccess, save_oldFile_isReplacedAndKeepsItsPermissions) {
    ASSERT_EQ(plain(saveFile(path("a"), "a long old text\n")), "");
    ASSERT_EQ(chmod(path("a").toLocal8Bit().constData(), 0640), 0);
    EXPECT_EQ(plain(saveFile(path("a"), "new\n")), "");
    EXPECT_EQ(content("a"), "new\n");
    struct stat found = {};
    ASSERT_EQ(stat(path("a").toLocal8Bit().constData(), &found), 0);
    EXPECT_EQ(found.st_mode & 0777U, 0640U);
    EXPECT_EQ(files(), QStringList("a"));
}

TEST_F(FileAccess, save_throughALink_replacesWhatItNames) {
    ASSERT_EQ(plain(saveFile(path("a"), "old\n")), "");
    ASSERT_TRUE(QFile::link("a", path("link")));
    EXPECT_EQ(plain(saveFile(path("link"), "new\n")), "");
    EXPECT_EQ(content("a"), "new\n");
    EXPECT_EQ(plain(QFile::symLinkTarget(path("link"))), plain(path("a")));
}

TEST_F(FileAccess, save_diskFailsLate_keepsTheOldFileAndSaysWhy) {
    ASSERT_EQ(plain(saveFile(path("a"), "old\n")), "");
    fsyncFault = ENOSPC;
    EXPECT_EQ(plain(saveFile(path("a"), "new\n")),
              plain("cannot write " + path("a") + ": No space left on device"));
    EXPECT_EQ(content("a"), "old\n");
    EXPECT_EQ(files(), QStringList("a")); // nothing half written is left behind
}

TEST_F(FileAccess, save_fileSystemCannotSynchronise_isNoFault) {
    fsyncFault = EINVAL;
    EXPECT_EQ(plain(saveFile(path("a"), "new\n")), "");
    EXPECT_EQ(content("a"), "new\n");
}

TEST_F(FileAccess, save_namedPipe_goesToItsReader) {
    const QByteArray pipe = path("pipe").toLocal8Bit();
    ASSERT_EQ(mkfifo(pipe.constData(), 0600), 0);
    // Open for both, so that neither side has to wait for the other.
    QFile reader(path("pipe"));
    ASSERT_TRUE(reader.open(QIODevice::ReadWrite | QIODevice::Unbuffered));
    EXPECT_EQ(plain(saveFile(path("pipe"), "values\n")), "");
    char buffer[16] = {};
    EXPECT_EQ(::read(reader.handle(), buffer, sizeof buffer), 7);
    EXPECT_STREQ(buffer, "values\n");
    struct stat found = {};
    ASSERT_EQ(stat(pipe.constData(), &found), 0);
    EXPECT_TRUE(S_ISFIFO(found.st_mode));
}

TEST_F(FileAccess, save_folder_isRefused) {
    EXPECT_EQ(plain(saveFile(m_folder.path(), "x")),
              plain("cannot write " + m_folder.path() + ": Is a directory"));
}

TEST_F(FileAccess, save_noSuchFolder_isRefused) {
    EXPECT_EQ(plain(saveFile(path("none/a"), "x")),
              plain("cannot write " + path("none/a") + ": No such file or directory"));
}

TEST_F(FileAccess, isSameFile_followsLinksWhetherThereIsAFileOrNot) {
    ASSERT_EQ(plain(saveFile(path("a"), "x")), "");
    const QByteArray a = QFile::encodeName(path("a"));
    ASSERT_EQ(::link(a.constData(), QFile::encodeName(path("hard")).constData()), 0);
    ASSERT_EQ(::symlink("a", QFile::encodeName(path("soft")).constData()), 0);
    ASSERT_EQ(::symlink("new", QFile::encodeName(path("nowhere")).constData()), 0);
    ASSERT_EQ(plain(saveFile(path("b"), "x")), "");
    EXPECT_TRUE(isSameFile(path("a"), path("./a")));
    EXPECT_TRUE(isSameFile(path("a"), path("hard")));
    EXPECT_TRUE(isSameFile(path("soft"), path("a")));
    EXPECT_TRUE(isSameFile(path("nowhere"), path("new")));
    EXPECT_FALSE(isSameFile(path("a"), path("b")));
    EXPECT_FALSE(isSameFile(path("a"), path("new")));
    EXPECT_FALSE(isSameFile(path("other"), path("new")));
    EXPECT_FALSE(isSameFile("/dev/null", "/dev/null"));
}

} // namespace
