#include "panel/terminal.h"

#include <cctype>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstring>
#include <langinfo.h>
#include <sys/ioctl.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace panel {
namespace {

const char ESCAPE = '\x1b';
const int ESCAPE_WAIT_MS = 50;

struct Sequence {
    const char* bytes;
    Key key;
};

const Sequence SEQUENCES[] = {
    {"[A", Key::Up},      {"[B", Key::Down},      {"OA", Key::Up},    {"OB", Key::Down},
    {"[5~", Key::PageUp}, {"[6~", Key::PageDown}, {"[H", Key::Home},  {"[F", Key::End},
    {"OH", Key::Home},    {"OF", Key::End},       {"[1~", Key::Home}, {"[4~", Key::End},
};

void writeAll(const QByteArray& bytes) {
    const char* at = bytes.constData();
    auto left = static_cast<std::size_t>(bytes.size());
    while (left > 0) {
        const ssize_t written = ::write(STDOUT_FILENO, at, left);
        if (written <= 0) {
            return;
        }
        at += written;
        left -= static_cast<std::size_t>(written);
    }
}

winsize windowSize() {
    winsize size = {};
    ioctl(STDOUT_FILENO, TIOCGWINSZ, &size);
    return size;
}

/// Bytes of the UTF-8 character that starts with this one; 1 for a byte that starts none.
int characterLength(char first) {
    const auto byte = static_cast<unsigned char>(first);
    return byte >= 0xF5 ? 1 : byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : byte >= 0xC2 ? 2 : 1;
}

bool continuesCharacter(char next) {
    return (static_cast<unsigned char>(next) & 0xC0U) == 0x80U;
}

} // namespace

void KeyDecoder::feed(const QByteArray& bytes) {
    m_pending += bytes;
    while (!m_pending.isEmpty() && takeOne()) {
    }
}

void KeyDecoder::flush() {
    if (m_pending.startsWith(ESCAPE)) {
        m_pending.clear();
        onKey(Key::Escape, QString());
    }
}

/// False: more bytes are needed.
bool KeyDecoder::takeOne() {
    const char first = m_pending.at(0);
    if (first == ESCAPE) {
        return takeEscape();
    }
    const int length = characterLength(first);
    int complete = 1;
    while (complete < length && complete < m_pending.size() &&
           continuesCharacter(m_pending.at(complete))) {
        ++complete;
    }
    if (complete < length && complete == m_pending.size()) {
        return false;
    }
    const QString text = QString::fromUtf8(m_pending.left(complete));
    m_pending.remove(0, complete);
    if (text.contains(QChar(QChar::ReplacementCharacter))) {
        return true; // stray bytes, as a bad line gives them; what follows them is a key again
    }
    if (first == '\r' || first == '\n') {
        onKey(Key::Enter, QString());
    } else if (first == '\x7f' || first == '\b') {
        onKey(Key::Backspace, QString());
    } else if (static_cast<unsigned char>(first) >= 0x20) {
        onKey(Key::Text, text);
    }
    return true;
}

bool KeyDecoder::takeEscape() {
    const QByteArray rest = m_pending.mid(1);
    bool mayGrow = rest.isEmpty();
    for (const Sequence& sequence : SEQUENCES) {
        const QByteArray bytes(sequence.bytes);
        if (rest.startsWith(bytes)) {
            m_pending.remove(0, 1 + bytes.size());
            onKey(sequence.key, QString());
            return true;
        }
        mayGrow = mayGrow || bytes.startsWith(rest);
    }
    if (mayGrow) {
        return false;
    }
    // A sequence for a key that means nothing here ends with a letter or "~".
    int end = 1;
    while (end < m_pending.size() && !std::isalpha(static_cast<unsigned char>(m_pending.at(end))) &&
           m_pending.at(end) != '~') {
        ++end;
    }
    m_pending.remove(0, end + 1);
    return true;
}

bool onTerminal() {
    return isatty(STDIN_FILENO) == 1 && isatty(STDOUT_FILENO) == 1;
}

bool terminalIsUnicode() {
    std::setlocale(LC_CTYPE, "");
    return std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0;
}

Terminal::Terminal() {
    tcgetattr(STDIN_FILENO, &m_before);
    termios raw = m_before;
    raw.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    raw.c_iflag &= ~static_cast<tcflag_t>(ICRNL | IXON);
    // Ctrl-C still ends the program in order; Ctrl-Z would leave the terminal as it is now.
    raw.c_cc[VSUSP] = _POSIX_VDISABLE;
    raw.c_cc[VMIN] = 1;
    raw.c_cc[VTIME] = 0;
    tcsetattr(STDIN_FILENO, TCSANOW, &raw);
    // Without line wrap a name of wide characters is cut at the edge and shifts no other line.
    writeAll("\x1b[?1049h\x1b[?25l\x1b[?7l\x1b[2J");
    m_escapeWait.setSingleShot(true);
    QObject::connect(&m_escapeWait, &QTimer::timeout, &m_escapeWait, [this] { m_decoder.flush(); });
    m_decoder.onKey = [this](Key key, const QString& text) { onKey(key, text); };
    m_notifier = std::make_unique<QSocketNotifier>(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(),
                     [this] { readKeys(); });
}

Terminal::~Terminal() {
    writeAll("\x1b[?7h\x1b[?25h\x1b[?1049l");
    tcsetattr(STDIN_FILENO, TCSANOW, &m_before);
}

void Terminal::readKeys() {
    char buffer[256];
    const ssize_t length = ::read(STDIN_FILENO, buffer, sizeof buffer);
    if (length <= 0) {
        m_notifier->setEnabled(false);
        onClosed();
        return;
    }
    m_decoder.feed(QByteArray(buffer, static_cast<int>(length)));
    if (m_decoder.waiting()) {
        m_escapeWait.start(ESCAPE_WAIT_MS);
    }
}

int Terminal::width() const {
    const int columns = windowSize().ws_col;
    return columns > 0 ? columns : 80;
}

int Terminal::height() const {
    const int rows = windowSize().ws_row;
    return rows > 0 ? rows : 24;
}

void Terminal::show(const QStringList& lines, int invertedLine) {
    QByteArray bytes;
    for (int index = 0; index < lines.size(); ++index) {
        const bool same = index < m_shown.size() && m_shown.at(index) == lines.at(index) &&
                          (index == invertedLine) == (index == m_shownInverted);
        if (same) {
            continue;
        }
        // Cleared before it is drawn: after a full line the cursor still stands on its last
        // character.
        bytes += "\x1b[" + QByteArray::number(index + 1) + ";1H\x1b[K";
        bytes += index == invertedLine ? "\x1b[7m" : "";
        bytes += lines.at(index).toUtf8();
        bytes += index == invertedLine ? "\x1b[0m" : "";
    }
    if (m_shown.isEmpty() || m_shown.size() > lines.size()) {
        bytes += "\x1b[" + QByteArray::number(static_cast<int>(lines.size())) + ";1H\x1b[1B\r";
        bytes += lines.size() < height() ? "\x1b[J" : "";
    }
    m_shown = lines;
    m_shownInverted = invertedLine;
    writeAll(bytes);
}

Signals::Signals() {
    sigset_t wanted;
    sigemptyset(&wanted);
    for (const int signal : {SIGINT, SIGTERM, SIGQUIT, SIGHUP, SIGWINCH}) {
        sigaddset(&wanted, signal);
    }
    m_descriptor = signalfd(-1, &wanted, SFD_CLOEXEC | SFD_NONBLOCK);
    if (m_descriptor < 0) {
        m_fault = QStringLiteral("cannot receive signals: ") +
                  QString::fromLocal8Bit(std::strerror(errno));
        return;
    }
    pthread_sigmask(SIG_BLOCK, &wanted, nullptr);
    m_notifier = std::make_unique<QSocketNotifier>(m_descriptor, QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(),
                     [this] { read(); });
}

Signals::~Signals() {
    m_notifier.reset();
    if (m_descriptor >= 0) {
        close(m_descriptor);
    }
}

void Signals::read() {
    signalfd_siginfo info = {};
    while (::read(m_descriptor, &info, sizeof info) == static_cast<ssize_t>(sizeof info)) {
        if (info.ssi_signo == SIGWINCH) {
            if (onResize) {
                onResize();
            }
        } else if (onEnd) {
            onEnd();
        }
    }
}

} // namespace panel
