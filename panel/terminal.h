#ifndef VELKOR_PANEL_TERMINAL_H
#define VELKOR_PANEL_TERMINAL_H

/// The terminal: raw keys in, whole screens out, and everything as it was when done.

#include <QtCore/QByteArray>
#include <QtCore/QSocketNotifier>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QTimer>

#include <functional>
#include <memory>

#include <termios.h>

namespace panel {

enum class Key { Text, Up, Down, PageUp, PageDown, Home, End, Enter, Escape, Backspace };

/// Turns what a terminal sends into keys. Sequences may arrive in pieces.
class KeyDecoder {
public:
    /// `text` is the character of Key::Text.
    std::function<void(Key key, const QString& text)> onKey;

    void feed(const QByteArray& bytes);
    /// No more bytes have followed: an escape that was waiting for the rest was the key itself.
    void flush();
    bool waiting() const { return !m_pending.isEmpty(); }

private:
    bool takeOne();
    bool takeEscape();

    QByteArray m_pending;
};

/// Is there a terminal on both ends?
bool onTerminal();

/// Can the terminal's character set show block characters?
bool terminalIsUnicode();

/// Takes the terminal over, gives it back when destroyed.
class Terminal {
public:
    Terminal();
    ~Terminal();
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    std::function<void(Key key, const QString& text)> onKey;
    std::function<void()> onClosed;

    int width() const;
    int height() const;

    /// Writes only the lines that differ from what is shown.
    void show(const QStringList& lines, int invertedLine);
    /// The next show() writes everything.
    void redrawAll() { m_shown.clear(); }

private:
    void readKeys();

    termios m_before = {};
    KeyDecoder m_decoder;
    QTimer m_escapeWait;
    std::unique_ptr<QSocketNotifier> m_notifier;
    QStringList m_shown;
    int m_shownInverted = -1;
};

/// SIGINT, SIGTERM, SIGHUP and SIGWINCH as calls from the event loop.
class Signals {
public:
    /// Takes the signals over, unless fault() says why not; they act as they did before then.
    Signals();
    ~Signals();
    Signals(const Signals&) = delete;
    Signals& operator=(const Signals&) = delete;

    QString fault() const { return m_fault; }

    std::function<void()> onEnd;
    std::function<void()> onResize;

private:
    void read();

    QString m_fault;
    int m_descriptor = -1;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace panel

#endif
