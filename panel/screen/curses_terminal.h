#ifndef VELKOR_PANEL_SCREEN_CURSES_TERMINAL_H
#define VELKOR_PANEL_SCREEN_CURSES_TERMINAL_H

/// The terminal on standard input and output, by ncurses: pictures out, and everything as it was
/// when done. Keys are read by the caller. There is one at a time in a process.

#include "panel/picture/cells.h"
#include "panel/screen/keys.h"

namespace panel {
namespace screen {

class CursesTerminal {
public:
    CursesTerminal() = default;
    ~CursesTerminal() { close(); }
    CursesTerminal(const CursesTerminal&) = delete;
    CursesTerminal& operator=(const CursesTerminal&) = delete;

    /// Why there can be no screen here, one line; empty: there can.
    static QString refusal();

    /// Takes the terminal over, and sets LC_CTYPE as the environment says. The result is empty, or
    /// says why not. An exception that nobody catches, exit() and a crash give it back too.
    QString open();
    void close();

    int width() const;
    int height() const;
    /// Does it show block and braille characters?
    bool isUnicode() const { return m_unicode; }
    /// What its keys send.
    QVector<KeySequence> keySequences() const;

    void show(const Grid& grid);
    /// Takes the window's new size over.
    void resize();
    /// The next show() draws everything.
    void redrawAll();

    /// It has been closed, or does not take output any more.
    bool isGone() const;
    /// It takes output now; else show() would wait until it does, or until the program is to end.
    bool isReady() const;

private:
    void startColours();
    int attributes(Style style, short* pair) const;

    bool m_open = false;
    bool m_unicode = false;
    bool m_colours = false;
    void* m_screen = nullptr;            ///< ncurses' own
    void (*m_stopBefore)(int) = nullptr; ///< what SIGTSTP did
};

} // namespace screen
} // namespace panel

#endif
