#include "panel/process/output_stream.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

using namespace panel;

namespace {

class PanelOutputStream : public testing::Test {
protected:
    PanelOutputStream() { EXPECT_EQ(::pipe2(m_pipe, O_NONBLOCK | O_CLOEXEC), 0); }
    ~PanelOutputStream() override {
        ::close(m_pipe[0]);
        ::close(m_pipe[1]);
    }

    QByteArray arrived() const {
        QByteArray bytes(65536, '\0');
        const ssize_t length = ::read(m_pipe[0], bytes.data(), 65536);
        return bytes.left(length < 0 ? 0 : static_cast<int>(length));
    }

    int m_pipe[2] = {-1, -1};
};

TEST_F(PanelOutputStream, linesForOneWrite_lineThatHasNotEnded_isNotWritten) {
    EXPECT_EQ(linesForOneWrite(""), 0);
    EXPECT_EQ(linesForOneWrite("one"), 0);
    EXPECT_EQ(linesForOneWrite(QByteArray(5000, 'x')), 0);
}

TEST_F(PanelOutputStream, linesForOneWrite_shortLines_areAsManyAsAPipeTakesWhole) {
    EXPECT_EQ(linesForOneWrite("one\ntwo\nthr"), 8);
    EXPECT_EQ(linesForOneWrite(QByteArray("123456789\n").repeated(1000)), 4090);
    EXPECT_EQ(linesForOneWrite(QByteArray(4095, 'x') + "\n1\n"), 4096);
}

TEST_F(PanelOutputStream, linesForOneWrite_lineLongerThanThat_goesAlone) {
    EXPECT_EQ(linesForOneWrite(QByteArray(4096, 'x') + "\n1\n"), 4097);
    EXPECT_EQ(linesForOneWrite("1\n" + QByteArray(5000, 'x') + "\n"), 2);
}

TEST_F(PanelOutputStream, flush_writesWholeLinesAndFinishTheRest) {
    OutputStream out(m_pipe[1]);
    out << "one\ntw";
    out.flush();
    EXPECT_EQ(arrived(), "one\n");
    out << "o\nthree";
    out.flush();
    EXPECT_EQ(arrived(), "two\n");
    out.finish();
    EXPECT_EQ(arrived(), "three");
    EXPECT_EQ(out.status(), QTextStream::Ok);
}

TEST_F(PanelOutputStream, readerGone_isTold) {
    OutputStream out(open("/dev/full", O_WRONLY | O_CLOEXEC));
    out << "one\n";
    out.finish();
    EXPECT_EQ(out.status(), QTextStream::WriteFailed);
    EXPECT_EQ(out.device()->errorString().toStdString(), "No space left on device");
    out.forgive(); // no reader was given up
    EXPECT_EQ(out.status(), QTextStream::WriteFailed);
}

} // namespace
