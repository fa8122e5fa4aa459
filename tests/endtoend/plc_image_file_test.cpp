// The memory that velkor-plc keeps in a file, when files go wrong above all.
#include "endtoend/plc_program.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QTemporaryDir>

#include <sys/stat.h>

namespace {

class PlcImageFile : public PlcProgram {
protected:
    void write(const QByteArray& content) {
        QFile out(file_);
        ASSERT_TRUE(out.open(QIODevice::WriteOnly));
        ASSERT_EQ(out.write(content), content.size());
    }

    // Refused at the start, as a piece of work that cannot be done.
    void expectRefused(const QStringList& says) {
        expectRefusal({latin("--listen"), latin("127.0.0.1:0"), latin("--image"), file_}, 1, says);
    }

    void makeFifo() { ASSERT_EQ(mkfifo(qPrintable(file_), 0600), 0); }

    bool isFifo() const {
        struct stat found = {};
        return stat(qPrintable(file_), &found) == 0 && S_ISFIFO(found.st_mode);
    }

    QTemporaryDir folder_;
    QString file_ = folder_.filePath(latin("memory.txt"));
};

TEST_F(PlcImageFile, image_isSavedAtTheEndAndLoadedAtTheStart) {
    serve({latin("--image"), file_});
    send("01 0102 82006400 0002 1234 ABCD");
    EXPECT_EQ(receive(), "01 01 02 00 00");
    stop(SIGTERM);
    EXPECT_TRUE(contentOf(file_).contains("\nDM 96: 0000 0000 0000 0000 1234 ABCD 0000 0000\n"));
    socket_.close();
    serve({latin("--image"), file_});
    send("01 0101 82006400 0002");
    EXPECT_EQ(receive(), "01 01 01 00 00 12 34 ab cd");
}

TEST_F(PlcImageFile, image_wrongLine_isNamedWithItsFile) {
    write("DM 0: 0001\nDM 1: 5\n");
    expectRefused({file_ + latin(":2: '5' is no word; expected four hex digits")});
}

TEST_F(PlcImageFile, byteOrderMark_isSkipped) {
    write("\xEF\xBB\xBF"
          "DM 100: 1234\n");
    serve({latin("--image"), file_});
    send("01 0101 82006400 0001");
    EXPECT_EQ(receive(), "01 01 01 00 00 12 34");
}

TEST_F(PlcImageFile, nulByte_isRefusedWithItsPlace) {
    write(QByteArray("DM 0: 0001\nDM 1: 00\0", 21) + "02\n");
    expectRefused({file_ + latin(":2: column 9 is a NUL byte")});
}

TEST_F(PlcImageFile, controlCharacters_areToldAsText) {
    write("DM 0: \x1b[31mred\a\n");
    expectRefused({file_ + latin(":1: '\\x1b[31mred\\x07' is no word")});
}

TEST_F(PlcImageFile, nameWithControlCharacters_isToldAsText) {
    file_ = folder_.filePath(latin("no\x1b[2J/such %2 folder"));
    expectRefused({latin("no\\x1b[2J/such %2 folder")});
}

TEST_F(PlcImageFile, tooLong_isRefusedWithTheBound) {
    QFile sparse(file_); // takes no room on the disk
    ASSERT_TRUE(sparse.open(QIODevice::WriteOnly));
    ASSERT_TRUE(sparse.resize(8 * 1024 * 1024 + 1));
    sparse.close();
    expectRefused({latin("more than 8388608 bytes")});
}

TEST_F(PlcImageFile, longestTaken_isLoaded) {
    const QByteArray comment(1024 * 1024 - 1, '#');
    QByteArray text;
    for (int i = 0; i < 7; ++i) {
        text += comment + '\n';
    }
    const QByteArray last = "\nDM 100: 1234";
    write(text + comment.left(1024 * 1024 - last.size()) + last);
    EXPECT_EQ(QFileInfo(file_).size(), 8 * 1024 * 1024);
    serve({latin("--image"), file_});
    send("01 0101 82006400 0001");
    EXPECT_EQ(receive(), "01 01 01 00 00 12 34");
}

TEST_F(PlcImageFile, placeThatCannotBeWritten_isToldAtTheStart) {
    file_ = folder_.filePath(latin("no/such/folder.txt"));
    expectRefused({latin("cannot save the image ") + file_});
}

TEST_F(PlcImageFile, folder_isRefused) {
    file_ = folder_.path();
    expectRefused({latin("cannot save the image ") + file_ + latin(": it is a folder, a device")});
    EXPECT_TRUE(QFileInfo(file_).isDir());
}

TEST_F(PlcImageFile, fifo_isRefusedAndStays) {
    makeFifo();
    expectRefused({latin("cannot save the image "), latin("a FIFO")});
    EXPECT_TRUE(isFifo());
}

TEST_F(PlcImageFile, device_isRefusedAndStays) {
    ASSERT_TRUE(QFile::link(latin("/dev/full"), file_));
    expectRefused({latin("cannot save the image "), latin("a device")});
    EXPECT_EQ(QFile::symLinkTarget(file_), latin("/dev/full"));
}

TEST_F(PlcImageFile, fifoThatHasTakenItsPlace_staysAndIsTold) {
    serve({latin("--image"), file_});
    makeFifo();
    stop(SIGTERM);
    expectEnd(1);
    EXPECT_TRUE(isFifo());
    EXPECT_TRUE(complaint().contains(latin("cannot save the image ")));
}

TEST_F(PlcImageFile, link_isFollowed) {
    ASSERT_TRUE(QFile::link(folder_.filePath(latin("real.txt")), file_));
    serve({latin("--image"), file_});
    send("01 0102 82006400 0001 1234");
    EXPECT_EQ(receive(), "01 01 02 00 00");
    stop(SIGTERM);
    expectEnd(0);
    EXPECT_TRUE(QFileInfo(file_).isSymLink());
    EXPECT_TRUE(contentOf(folder_.filePath(latin("real.txt"))).contains("1234"));
}

class PlcImageFileFullDisk : public PlcImageFile,
                             public testing::WithParamInterface<const char*> {};

// A file that may not grow meets the same end as one on a disk without room, and needs no disk.
TEST_P(PlcImageFileFullDisk, endWithoutRoom_isToldAndTheOldFileStaysWhole) {
    const QByteArray old = "# of yesterday\nDM 0: 0001 0002 0003 0004 0005 0006 0007 0008\n";
    write(old);
    startThrough(GetParam());
    serve({latin("--image"), file_});
    send("01 0103 82000000 0100 1234"); // 256 words, more than 512 bytes of text
    EXPECT_EQ(receive(), "01 01 03 00 00");
    stop(SIGTERM);
    expectEnd(1);
    EXPECT_EQ(contentOf(file_), old);
    const QString told = complaint();
    EXPECT_TRUE(told.contains(latin("cannot save the image ") + file_ + latin(": File too large")))
        << qPrintable(told);
    EXPECT_EQ(QDir(folder_.path()).entryList(QDir::Files), QStringList{latin("memory.txt")});
}

INSTANTIATE_TEST_SUITE_P(Room, PlcImageFileFullDisk,
                         testing::Values("ulimit -f 0; exec \"$@\"", "ulimit -f 1; exec \"$@\"",
                                         "trap '' XFSZ; ulimit -f 1; exec \"$@\""));

} // namespace
