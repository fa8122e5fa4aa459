#ifndef VELKOR_PANEL_SCREEN_KEYS_H
#define VELKOR_PANEL_SCREEN_KEYS_H

/// What a terminal sends, as keys; and what the keys do, in words.

#include <QtCore/QByteArray>
#include <QtCore/QStringList>
#include <QtCore/QVector>

#include <functional>

namespace panel {
namespace screen {

enum class Key {
    Text, ///< a character
    Up,
    Down,
    PageUp,
    PageDown,
    Home,
    End,
    Enter,
    Escape,
    Backspace,
    Redraw ///< Ctrl-L
};

struct KeySequence {
    QByteArray bytes; ///< begins with an escape
    Key key;
};

/// Turns bytes into keys. Sequences and characters may arrive in pieces. Characters are read in
/// the character set of LC_CTYPE.
class KeyDecoder {
public:
    /// `ofTerminal`: what this terminal sends, beside what most do.
    explicit KeyDecoder(const QVector<KeySequence>& ofTerminal = {});

    /// `text` is the character of Key::Text.
    std::function<void(Key key, const QString& text)> onKey;

    void feed(const QByteArray& bytes);
    /// No more bytes have followed: an escape that was waiting for the rest was the key itself.
    void flush();
    bool waiting() const { return !m_pending.isEmpty(); }

private:
    bool takeOne();
    bool takeEscape();
    bool takeUnknown();
    bool takeCharacter();

    QVector<KeySequence> m_sequences;
    QByteArray m_pending;
};

/// The help, line by line.
QStringList helpLines();

} // namespace screen
} // namespace panel

#endif
