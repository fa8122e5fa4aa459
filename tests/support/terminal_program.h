#ifndef VELKOR_TESTS_SUPPORT_TERMINAL_PROGRAM_H
#define VELKOR_TESTS_SUPPORT_TERMINAL_PROGRAM_H

/// A program on a pseudo terminal of its own, and what a person would see there.

#include "support/terminal_emulator.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QVector>

#include <functional>
#include <sys/types.h>
#include <termios.h>

class TerminalProgram {
public:
    struct Variable {
        const char* name;
        const char* value; ///< null: unset
    };

    TerminalProgram(int width, int height);
    /// Ends the program.
    ~TerminalProgram();
    TerminalProgram(const TerminalProgram&) = delete;
    TerminalProgram& operator=(const TerminalProgram&) = delete;

    /// The environment is the test's, with an UTF-8 locale, TERM=xterm-256color, without NO_COLOR,
    /// and then as given. `mostFiles`: file descriptors that it may have; 0: as many as the test.
    /// Throws when it does not start, which ends the test: nothing after it could hold.
    void start(QList<QByteArray> command, const QVector<Variable>& environment = {},
               int mostFiles = 0);

    /// Reads on until `seen` holds of what is shown; false when it does not come.
    bool waitUntil(const std::function<bool()>& seen);
    /// Reads on until `text` stands on the screen, or does so no longer.
    bool shows(const QString& text);
    bool hides(const QString& text);

    /// Reads what is there, a page at most, or waits a moment for it. False when the program has
    /// closed the terminal.
    bool readSome();
    void type(const char* keys);
    /// As a window does.
    void resize(int width, int height);
    /// Closes the terminal.
    void hangUp();
    /// False when it does not run.
    bool sendSignal(int signal) const;
    /// How waitpid() tells the end, once all that was written has been read; -1: no end.
    int waitForEnd();
    /// The same, but nothing that it writes is read.
    int waitForEndUnread();
    /// Its end of the terminal, for isStuck(), and its id.
    QString device() const;
    qint64 pid() const { return m_pid; }

    TerminalEmulator& screen() { return m_screen; }
    /// All that it wrote, before the screen has broken it into lines.
    const QByteArray& printed() const { return m_printed; }
    /// The terminal's modes before it was started, and now.
    const termios& modesBefore() const { return m_before; }
    termios modes() const;

private:
    const int m_width;
    const int m_height;
    pid_t m_pid = -1;
    int m_terminal = -1;
    termios m_before = {};
    QByteArray m_printed;
    TerminalEmulator m_screen;
};

#endif
