#include "panel/process/output_stream.h"

#include "panel/process/output_wait.h"

#include <cerrno>
#include <climits>
#include <cstring>
#include <poll.h>
#include <unistd.h>

namespace panel {

int linesForOneWrite(const QByteArray& text) {
    const int within = static_cast<int>(text.left(PIPE_BUF).lastIndexOf('\n'));
    return (within >= 0 ? within : static_cast<int>(text.indexOf('\n'))) + 1;
}

qint64 LineDevice::writeData(const char* data, qint64 size) {
    m_waiting.append(data, static_cast<int>(size));
    for (int lines = linesForOneWrite(m_waiting); lines > 0; lines = linesForOneWrite(m_waiting)) {
        if (!write(m_waiting.constData(), lines)) {
            m_waiting.clear();
            return -1;
        }
        m_waiting.remove(0, lines);
    }
    return size;
}

bool LineDevice::finish() {
    const QByteArray rest = m_waiting;
    m_waiting.clear();
    return write(rest.constData(), static_cast<int>(rest.size()));
}

bool LineDevice::write(const char* at, int size) {
    const OutputWait wait;
    while (size > 0 && !m_drops) {
        const ssize_t written = ::write(m_descriptor, at, static_cast<std::size_t>(size));
        if (written >= 0) {
            at += written;
            size -= static_cast<int>(written);
            continue;
        }
        if (errno != EINTR && errno != EAGAIN) {
            setErrorString(QString::fromLocal8Bit(std::strerror(errno)));
            return false;
        }
        if (outputGivenUp() != GivenUp::No) {
            m_givenUp = true;
            setErrorString(QStringLiteral("its reader has stopped reading"));
            return false;
        }
        if (errno == EAGAIN) { // who shares the descriptor wants it so
            pollfd output = {m_descriptor, POLLOUT, 0};
            ::poll(&output, 1, -1);
        }
    }
    return true;
}

OutputStream::OutputStream(int descriptor) : m_device(descriptor) {
    m_device.open(QIODevice::WriteOnly | QIODevice::Unbuffered);
    setDevice(&m_device);
}

OutputStream::~OutputStream() {
    setDevice(nullptr);
}

void OutputStream::finish() {
    flush();
    if (status() == Ok && !m_device.finish()) {
        setStatus(WriteFailed);
    }
}

void OutputStream::forgive() {
    if (m_device.isGivenUp()) {
        m_device.drop();
        resetStatus();
    }
}

} // namespace panel
