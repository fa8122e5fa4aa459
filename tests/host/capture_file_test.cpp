#include <velkor/host/witness.h>

#include "host/plain_text.h"

#include <gtest/gtest.h>

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

using namespace velkor_host;

namespace {

const int FILE_HEADER = 24;         // bytes, of a capture
const int PACKET = 16 + 20 + 8 + 4; // its own header, IPv4, UDP, four bytes

class CaptureFileTest : public testing::Test {
protected:
    QString path(const char* name) const { return m_folder.filePath(name); }
    qint64 sizeOf(const char* name) const { return QFile(path(name)).size(); }
    std::unique_ptr<FrameWitness> newWitness() {
        return m_capture.witness({QHostAddress("127.0.0.1"), 1}, {QHostAddress("127.0.0.1"), 2});
    }

    QTemporaryDir m_folder;
    CaptureFile m_capture;
};

TEST_F(CaptureFileTest, witnessBeforeOpen_writesNothingAndThenToTheFile) {
    const std::unique_ptr<FrameWitness> witness = newWitness();
    witness->leaving();
    witness->sent("abcd", 1);
    witness->received("abcd", Verdict::Reply);
    EXPECT_EQ(plain(m_capture.fault()), "");
    EXPECT_EQ(plain(m_capture.open(path("a"))), "");
    EXPECT_EQ(sizeOf("a"), FILE_HEADER);
    witness->sent("abcd", 1);
    EXPECT_EQ(sizeOf("a"), FILE_HEADER + PACKET);
}

TEST_F(CaptureFileTest, openedAnew_writesToTheNewFileAlone) {
    EXPECT_EQ(plain(m_capture.open(path("a"))), "");
    const std::unique_ptr<FrameWitness> witness = newWitness();
    witness->sent("abcd", 1);
    EXPECT_EQ(plain(m_capture.open(path("b"))), "");
    witness->received("abcd", Verdict::Reply);
    witness->received("abcd", Verdict::Reply);
    EXPECT_EQ(sizeOf("a"), FILE_HEADER + PACKET);
    EXPECT_EQ(sizeOf("b"), FILE_HEADER + 2 * PACKET);
}

TEST_F(CaptureFileTest, openThatFails_isToldAndNothingIsWrittenToTheOldFile) {
    EXPECT_EQ(plain(m_capture.open(path("a"))), "");
    const std::unique_ptr<FrameWitness> witness = newWitness();
    const QString fault = m_capture.open(path("none/b"));
    EXPECT_TRUE(fault.startsWith("cannot write the capture: ")) << plain(fault);
    EXPECT_EQ(m_capture.fault(), fault);
    witness->sent("abcd", 1);
    EXPECT_EQ(sizeOf("a"), FILE_HEADER);
    EXPECT_EQ(plain(m_capture.open(path("c"))), "");
    EXPECT_EQ(plain(m_capture.fault()), "");
}

} // namespace
