#include "support/stuck_pipe.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>

#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

/// Long enough for a busy machine; nothing waits for it to pass.
const int STUCK_PATIENCE_MS = 20000;
const int PAGE = 4096;

bool writesInto(qint64 pid, const QString& path) {
    QFile file(QStringLiteral("/proc/%1/syscall").arg(pid));
    if (!file.open(QIODevice::ReadOnly)) {
        return false;
    }
    const QList<QByteArray> call = file.readAll().split(' '); // number and arguments
    const int descriptor = call.value(1).toInt(nullptr, 16);
    return call.value(0) == QByteArray::number(SYS_write) &&
           QFile::symLinkTarget(QStringLiteral("/proc/%1/fd/%2").arg(pid).arg(descriptor)) == path;
}

} // namespace

bool isStuck(qint64 pid, const QString& path) {
    const int LOOKS = 5;
    for (int look = 0; look < LOOKS; ++look) {
        if (!writesInto(pid, path)) {
            return false;
        }
        ::poll(nullptr, 0, 20); // a write that is only slow has ended by then
    }
    return true;
}

bool waitUntilStuck(qint64 pid, const QString& path) {
    QElapsedTimer timer;
    timer.start();
    while (!isStuck(pid, path)) {
        if (timer.elapsed() > STUCK_PATIENCE_MS) {
            return false;
        }
        ::poll(nullptr, 0, 5);
    }
    return true;
}

StuckPipe::StuckPipe(const QString& path, Content content) : m_path(path) {
    const QByteArray name = QFile::encodeName(path);
    if (mkfifo(name.constData(), 0600) != 0) {
        throw std::runtime_error("no named pipe");
    }
    m_descriptor = ::open(name.constData(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    if (m_descriptor < 0 || ::fcntl(m_descriptor, F_SETPIPE_SZ, PAGE) != PAGE) {
        throw std::runtime_error("no pipe of a page");
    }
    const QByteArray page(PAGE, 'x');
    if (content == Full && ::write(m_descriptor, page.constData(), PAGE) != PAGE) {
        throw std::runtime_error("the pipe cannot be filled");
    }
}

StuckPipe::~StuckPipe() {
    ::close(m_descriptor);
}

QByteArray StuckPipe::take() const {
    QByteArray bytes(PAGE, '\0');
    const ssize_t length = ::read(m_descriptor, bytes.data(), PAGE);
    return bytes.left(length < 0 ? 0 : static_cast<int>(length));
}
