#include "support/terminal_program.h"

#include "support/process_signal.h"

#include <gtest/gtest.h>

#include <QtCore/QElapsedTimer>

#include <cstring>
#include <poll.h>
#include <pty.h>
#include <stdexcept>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utmp.h>
#include <vector>

namespace {

/// Long enough for a busy machine; nothing waits for it to pass.
const int TERMINAL_PATIENCE_MS = 20000;

winsize windowOf(int width, int height) {
    winsize size = {};
    size.ws_row = static_cast<unsigned short>(height);
    size.ws_col = static_cast<unsigned short>(width);
    return size;
}

/// In the child.
[[noreturn]] void runProgram(int terminal, char** argv,
                             const QVector<TerminalProgram::Variable>& environment, int mostFiles) {
    login_tty(terminal);
    if (mostFiles > 0) {
        const rlimit most = {static_cast<rlim_t>(mostFiles), static_cast<rlim_t>(mostFiles)};
        setrlimit(RLIMIT_NOFILE, &most);
    }
    setenv("LC_ALL", "C.UTF-8", 1);
    setenv("TERM", "xterm-256color", 1);
    unsetenv("NO_COLOR");
    for (const TerminalProgram::Variable& variable : environment) {
        variable.value == nullptr ? unsetenv(variable.name)
                                  : setenv(variable.name, variable.value, 1);
    }
    execv(argv[0], argv);
    _exit(127);
}

} // namespace

TerminalProgram::TerminalProgram(int width, int height)
    : m_width(width), m_height(height), m_screen(width, height) {}

TerminalProgram::~TerminalProgram() {
    if (sendSignal(SIGKILL)) {
        waitpid(m_pid, nullptr, 0);
    }
    hangUp();
}

void TerminalProgram::start(QList<QByteArray> command, const QVector<Variable>& environment,
                            int mostFiles) {
    std::vector<char*> argv;
    for (QByteArray& argument : command) {
        argv.push_back(argument.data());
    }
    argv.push_back(nullptr);
    const winsize size = windowOf(m_width, m_height);
    int slave = -1;
    if (openpty(&m_terminal, &slave, nullptr, nullptr, &size) != 0) {
        throw std::runtime_error("no pseudo terminal");
    }
    tcgetattr(slave, &m_before);
    m_pid = fork();
    if (m_pid == 0) {
        close(m_terminal);
        runProgram(slave, argv.data(), environment, mostFiles);
    }
    close(slave);
    if (m_pid < 0) {
        throw std::runtime_error("the program did not start");
    }
}

bool TerminalProgram::waitUntil(const std::function<bool()>& seen) {
    QElapsedTimer timer;
    timer.start();
    while (!seen()) {
        if (timer.elapsed() > TERMINAL_PATIENCE_MS || !readSome()) {
            return seen();
        }
    }
    return true;
}

bool TerminalProgram::shows(const QString& text) {
    return waitUntil([&] { return m_screen.find(text) >= 0; });
}

bool TerminalProgram::hides(const QString& text) {
    return waitUntil([&] { return m_screen.find(text) < 0; });
}

bool TerminalProgram::readSome() {
    pollfd wait = {m_terminal, POLLIN, 0};
    if (::poll(&wait, 1, 100) <= 0) {
        return true;
    }
    char buffer[4096];
    const ssize_t length = ::read(m_terminal, buffer, sizeof buffer);
    if (length <= 0) {
        return false;
    }
    const QByteArray read(buffer, static_cast<int>(length));
    m_printed += read;
    m_screen.feed(read);
    return true;
}

void TerminalProgram::type(const char* keys) {
    ASSERT_EQ(::write(m_terminal, keys, strlen(keys)), static_cast<ssize_t>(strlen(keys)));
}

void TerminalProgram::resize(int width, int height) {
    const winsize size = windowOf(width, height);
    m_screen.resize(width, height);
    ASSERT_EQ(ioctl(m_terminal, TIOCSWINSZ, &size), 0);
}

void TerminalProgram::hangUp() {
    if (m_terminal >= 0) {
        close(m_terminal);
        m_terminal = -1;
    }
}

bool TerminalProgram::sendSignal(int signal) const {
    return signalProcess(m_pid, signal);
}

int TerminalProgram::waitForEnd() {
    QElapsedTimer timer;
    timer.start();
    int status = 0;
    while (timer.elapsed() < TERMINAL_PATIENCE_MS) {
        const bool open = m_terminal >= 0 && readSome();
        if (waitpid(m_pid, &status, open ? WNOHANG : 0) == m_pid) {
            while (m_terminal >= 0 && readSome()) {
            }
            m_pid = -1;
            return status;
        }
    }
    return -1;
}

int TerminalProgram::waitForEndUnread() {
    QElapsedTimer timer;
    timer.start();
    int status = 0;
    while (timer.elapsed() < TERMINAL_PATIENCE_MS) {
        if (waitpid(m_pid, &status, WNOHANG) == m_pid) {
            m_pid = -1;
            return status;
        }
        ::poll(nullptr, 0, 10);
    }
    return -1;
}

QString TerminalProgram::device() const {
    return QString::fromLocal8Bit(ptsname(m_terminal));
}

termios TerminalProgram::modes() const {
    termios now = {};
    EXPECT_EQ(tcgetattr(m_terminal, &now), 0);
    return now;
}
