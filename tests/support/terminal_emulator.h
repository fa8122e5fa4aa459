#ifndef VELKOR_TESTS_SUPPORT_TERMINAL_EMULATOR_H
#define VELKOR_TESTS_SUPPORT_TERMINAL_EMULATOR_H

/// As much of a terminal of the xterm and vt100 families as a screen needs: what a program has
/// written becomes what a person would see. Anything it does not know is noted in unknown().

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

class TerminalEmulator {
public:
    TerminalEmulator(int width, int height) { resize(width, height); }

    void feed(const QByteArray& bytes);
    /// As a window does: what was shown is not kept.
    void resize(int width, int height);

    /// What is shown, without the blanks at the end; a wide character's right half is left out.
    QString line(int y) const;
    QStringList lines() const;
    /// Column at which `text` stands in the line; -1: nowhere.
    int column(int y, const QString& text) const;
    /// The line that holds `text`; -1: none.
    int find(const QString& text) const;

    bool isAlternate() const { return m_alternate; }
    bool cursorShown() const { return m_cursorShown; }
    bool hasSentColours() const { return m_colours; }
    bool hasSentMoreThanAscii() const { return m_moreThanAscii; }
    QStringList unknown() const { return m_unknown; }

private:
    typedef QVector<QVector<QString>> Cells;

    int takeSequence(int at);
    void control(char byte);
    void command(char final, const QByteArray& parameters);
    void move(char final, const QVector<int>& numbers);
    bool erase(char final, const QVector<int>& numbers);
    void mode(char final, const QByteArray& parameters);
    void attributes(const QVector<int>& numbers);
    void scroll(int lines);
    void print(const QString& text, int width);
    void clear(int y, int from, int end);

    int m_width = 1;
    int m_height = 1;
    Cells m_cells;
    Cells m_main; ///< while the alternate one is shown
    int m_mainX = 0;
    int m_mainY = 0;
    int m_x = 0;
    int m_y = 0;
    int m_top = 0;
    int m_bottom = 0; ///< last line of the part that scrolls
    bool m_alternate = false;
    bool m_cursorShown = true;
    bool m_colours = false;
    bool m_moreThanAscii = false;
    QByteArray m_pending;
    QString m_last;
    QStringList m_unknown;
};

#endif
