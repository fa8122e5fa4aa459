#include "panel/screen/curses_terminal.h"

#include "panel/process/output_wait.h"

#include <algorithm>
#include <clocale>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <langinfo.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

// Behind the others: they are not to see its macros.
#include <curses.h>
#include <term.h>

namespace panel {
namespace screen {
namespace {

const int CRASHES[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT};

/// What gives the terminal back from where ncurses may not be called. Made while all is well.
struct WayBack {
    volatile std::sig_atomic_t needed = 0;
    char bytes[256] = {};
    std::size_t length = 0;
    termios modes = {};
    std::terminate_handler terminate = nullptr;
};

WayBack wayBack; // NOLINT(cppcoreguidelines-avoid-non-const-global-variables)

/// Async-signal-safe.
void goBack() {
    if (wayBack.needed != 0) {
        wayBack.needed = 0;
        const ssize_t written = ::write(STDOUT_FILENO, wayBack.bytes, wayBack.length);
        static_cast<void>(written);
        tcsetattr(STDIN_FILENO, TCSANOW, &wayBack.modes);
    }
}

void crashed(int signal) {
    goBack();
    ::raise(signal); // its default action now
}

void terminated() {
    goBack();
    if (wayBack.terminate != nullptr) {
        wayBack.terminate();
    }
    std::abort();
}

/// A capability that the terminal has; empty: it has not.
QByteArray capability(const char* name) {
    const char* bytes = tigetstr(name);
    const bool unknown = reinterpret_cast<std::intptr_t>(bytes) == -1;
    return bytes == nullptr || unknown ? QByteArray() : QByteArray(bytes);
}

/// Without the pauses "$<5>" that some terminals are given.
QByteArray withoutPauses(QByteArray bytes) {
    for (int start = static_cast<int>(bytes.indexOf("$<")); start >= 0;
         start = static_cast<int>(bytes.indexOf("$<"))) {
        const int end = static_cast<int>(bytes.indexOf('>', start));
        bytes.remove(start, end < 0 ? static_cast<int>(bytes.size()) : end + 1 - start);
    }
    return bytes;
}

void prepareWayBack() {
    QByteArray bytes;
    for (const char* name : {"sgr0", "op", "cnorm", "rmkx", "rmcup"}) {
        bytes += withoutPauses(capability(name));
    }
    bytes += "\r";
    wayBack.length = std::min(sizeof wayBack.bytes, static_cast<std::size_t>(bytes.size()));
    std::memcpy(wayBack.bytes, bytes.constData(), wayBack.length);
    tcgetattr(STDIN_FILENO, &wayBack.modes);
}

void watchForCrashes() {
    static bool watching = false;
    if (watching) {
        return;
    }
    watching = true;
    wayBack.terminate = std::set_terminate(terminated);
    std::atexit(goBack);
    for (const int signal : CRASHES) {
        struct sigaction before = {};
        sigaction(signal, nullptr, &before);
        if (before.sa_handler == SIG_DFL) { // else somebody looks after it already
            struct sigaction action = {};
            action.sa_handler = crashed;
            action.sa_flags = static_cast<int>(SA_RESETHAND | SA_NODEFER);
            sigaction(signal, &action, nullptr);
        }
    }
}

/// Keys are read as they are typed. Ctrl-C still ends the program in order; Ctrl-Z would leave
/// the terminal as it is now, and Ctrl-S would stop the program at its next picture.
void setModes() {
    cbreak();
    noecho();
    nonl();
    termios modes = {};
    tcgetattr(STDIN_FILENO, &modes);
    modes.c_iflag &= ~static_cast<tcflag_t>(IXON | ICRNL | INLCR);
    modes.c_cc[VSUSP] = _POSIX_VDISABLE;
    tcsetattr(STDIN_FILENO, TCSANOW, &modes);
    def_prog_mode();
}

short pairOf(Ink ink) {
    return static_cast<short>(static_cast<int>(ink) + 1);
}

const char* terminalName() {
    const char* name = std::getenv("TERM");
    return name == nullptr ? "" : name;
}

pollfd polled(int descriptor, short events) {
    pollfd result = {descriptor, events, 0};
    ::poll(&result, 1, 0);
    return result;
}

} // namespace

QString CursesTerminal::refusal() {
    if (isatty(STDIN_FILENO) == 0 || isatty(STDOUT_FILENO) == 0) {
        return QStringLiteral("standard input and output are no terminal");
    }
    const QString name = QString::fromLocal8Bit(terminalName());
    if (name.isEmpty()) {
        return QStringLiteral("the environment variable TERM does not say which terminal this is");
    }
    int found = 0;
    if (setupterm(terminalName(), STDOUT_FILENO, &found) != OK && found != 1) {
        return QStringLiteral(
                   "this system knows no terminal \"%1\" (TERM); most are near enough to "
                   "xterm or vt100")
            .arg(name);
    }
    const bool able = !capability("cup").isEmpty() && !capability("clear").isEmpty();
    del_curterm(cur_term);
    return able ? QString()
                : QStringLiteral("a terminal \"%1\" (TERM) cannot move its cursor").arg(name);
}

QString CursesTerminal::open() {
    std::setlocale(LC_CTYPE, "");
    QString wrong = refusal();
    if (!wrong.isEmpty()) {
        return wrong;
    }
    const OutputWait wait(OutputWait::DropsTerminal);
    // At a SIGTSTP ncurses would stop the program, and the polling with it.
    m_stopBefore = std::signal(SIGTSTP, SIG_IGN);
    termios before = {};
    tcgetattr(STDIN_FILENO, &before);
    m_screen = newterm(nullptr, stdout, stdin);
    if (m_screen == nullptr) {
        std::signal(SIGTSTP, m_stopBefore);
        return QStringLiteral("ncurses cannot draw on a terminal \"%1\" (TERM)")
            .arg(QString::fromLocal8Bit(terminalName()));
    }
    m_open = true;
    // The console's font has neither block nor braille characters.
    m_unicode = std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0 &&
                std::strcmp(terminalName(), "linux") != 0;
    prepareWayBack();
    wayBack.modes = before;
    wayBack.needed = 1;
    watchForCrashes();
    setModes();
    keypad(stdscr, TRUE); // the terminal is to send what keySequences() says
    curs_set(0);
    startColours();
    resize();
    return QString();
}

void CursesTerminal::close() {
    if (!m_open) {
        return;
    }
    const OutputWait wait(OutputWait::DropsTerminal);
    m_open = false;
    if (!isReady()) {
        tcflush(STDOUT_FILENO, TCOFLUSH); // else the end would wait for who does not read
    }
    endwin();
    delscreen(static_cast<SCREEN*>(m_screen));
    m_screen = nullptr;
    std::signal(SIGTSTP, m_stopBefore);
    wayBack.needed = 0;
}

/// On the terminal's own background, light or dark: colours that are read on both.
void CursesTerminal::startColours() {
    const char* unwanted = std::getenv("NO_COLOR");
    m_colours = (unwanted == nullptr || *unwanted == '\0') && has_colors() && start_color() == OK;
    if (!m_colours) {
        return;
    }
    const bool ownBackground = use_default_colors() == OK;
    const short foreground = ownBackground ? short(-1) : short(COLOR_WHITE);
    const short background = ownBackground ? short(-1) : short(COLOR_BLACK);
    const bool many = COLORS >= 256;
    const struct {
        Ink ink;
        short of256;
        short of8;
    } colours[] = {
        {Ink::Plain, foreground, foreground},  {Ink::Faint, foreground, foreground},
        {Ink::Strong, foreground, foreground}, {Ink::NotRead, foreground, foreground},
        {Ink::Fresh, 34, COLOR_GREEN},         {Ink::Stale, 172, COLOR_YELLOW},
        {Ink::Refused, 196, COLOR_RED},        {Ink::Outside, 170, COLOR_MAGENTA},
        {Ink::Pending, 37, COLOR_CYAN},
    };
    for (const auto& colour : colours) {
        init_pair(pairOf(colour.ink), many ? colour.of256 : colour.of8, background);
    }
}

int CursesTerminal::attributes(Style style, short* pair) const {
    *pair = m_colours ? pairOf(style.ink) : short(0);
    attr_t result = style.inverse ? A_REVERSE : A_NORMAL;
    switch (style.ink) {
    case Ink::Plain:
    case Ink::Fresh:
        break;
    case Ink::Faint:
    case Ink::NotRead:
        result |= style.inverse ? A_NORMAL : A_DIM;
        break;
    case Ink::Strong:
    case Ink::Refused:
    case Ink::Outside:
        result |= A_BOLD;
        break;
    case Ink::Stale:
    case Ink::Pending:
        result |= m_colours ? A_NORMAL : A_UNDERLINE;
        break;
    }
    return static_cast<int>(result);
}

int CursesTerminal::width() const {
    return std::max(1, getmaxx(stdscr));
}

int CursesTerminal::height() const {
    return std::max(1, getmaxy(stdscr));
}

QVector<KeySequence> CursesTerminal::keySequences() const {
    const struct {
        const char* name;
        Key key;
    } keys[] = {
        {"kcuu1", Key::Up},   {"kcud1", Key::Down}, {"kpp", Key::PageUp}, {"knp", Key::PageDown},
        {"khome", Key::Home}, {"kend", Key::End},   {"kent", Key::Enter},
    };
    QVector<KeySequence> result;
    for (const auto& key : keys) {
        const QByteArray bytes = capability(key.name);
        if (bytes.size() > 1 && bytes.startsWith('\x1b')) {
            result.append({bytes, key.key});
        }
    }
    return result;
}

void CursesTerminal::show(const Grid& grid) {
    for (int y = 0; y < std::min(grid.height(), height()); ++y) {
        for (int x = 0; x < std::min(grid.width(), width()); ++x) {
            const Cell& cell = grid.at(x, y);
            if (cell.text.isEmpty()) {
                continue;
            }
            wchar_t text[CCHARW_MAX + 1] = {};
            const std::wstring all = cell.text.toStdWString();
            all.copy(text, CCHARW_MAX);
            short pair = 0;
            const int attributes = this->attributes(cell.style, &pair);
            cchar_t character;
            setcchar(&character, text, static_cast<attr_t>(attributes), pair, nullptr);
            mvadd_wch(y, x, &character);
        }
    }
    const OutputWait wait(OutputWait::DropsTerminal);
    curs_set(grid.cursorX >= 0 ? 1 : 0);
    move(std::max(0, grid.cursorY), std::max(0, grid.cursorX));
    refresh();
}

void CursesTerminal::resize() {
    winsize size = {};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_row > 0 && size.ws_col > 0) {
        resizeterm(size.ws_row, size.ws_col);
    }
    redrawAll();
}

void CursesTerminal::redrawAll() {
    clearok(stdscr, TRUE);
}

bool CursesTerminal::isGone() const {
    return (polled(STDOUT_FILENO, POLLOUT).revents & (POLLHUP | POLLERR | POLLNVAL)) != 0;
}

bool CursesTerminal::isReady() const {
    return (polled(STDOUT_FILENO, POLLOUT).revents & POLLOUT) != 0;
}

} // namespace screen
} // namespace panel
