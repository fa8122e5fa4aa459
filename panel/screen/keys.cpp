#include "panel/screen/keys.h"

#include <cwchar>

namespace panel {
namespace screen {
namespace {

const char ESCAPE = '\x1b';

const struct {
    const char* bytes;
    Key key;
} COMMON[] = {
    {"\x1b[A", Key::Up},   {"\x1b[B", Key::Down},    {"\x1bOA", Key::Up},
    {"\x1bOB", Key::Down}, {"\x1b[5~", Key::PageUp}, {"\x1b[6~", Key::PageDown},
    {"\x1b[H", Key::Home}, {"\x1b[F", Key::End},     {"\x1bOH", Key::Home},
    {"\x1bOF", Key::End},  {"\x1b[1~", Key::Home},   {"\x1b[4~", Key::End},
};

bool isFinal(char byte) {
    return byte >= 0x40 && byte <= 0x7E;
}

} // namespace

KeyDecoder::KeyDecoder(const QVector<KeySequence>& ofTerminal) : m_sequences(ofTerminal) {
    for (const auto& sequence : COMMON) {
        m_sequences.append({sequence.bytes, sequence.key});
    }
}

void KeyDecoder::feed(const QByteArray& bytes) {
    m_pending += bytes;
    while (!m_pending.isEmpty() && takeOne()) {
    }
}

void KeyDecoder::flush() {
    const bool escape = m_pending.startsWith(ESCAPE);
    m_pending.clear();
    if (escape) {
        onKey(Key::Escape, QString());
    }
}

/// False: more bytes are needed.
bool KeyDecoder::takeOne() {
    const char first = m_pending.at(0);
    if (first == ESCAPE) {
        return takeEscape();
    }
    if (static_cast<unsigned char>(first) >= 0x20 && first != '\x7f') {
        return takeCharacter();
    }
    m_pending.remove(0, 1);
    if (first == '\r' || first == '\n') {
        onKey(Key::Enter, QString());
    } else if (first == '\x7f' || first == '\b') {
        onKey(Key::Backspace, QString());
    } else if (first == '\f') {
        onKey(Key::Redraw, QString());
    }
    return true;
}

bool KeyDecoder::takeCharacter() {
    wchar_t character = 0;
    std::mbstate_t state = {};
    const std::size_t length = std::mbrtowc(&character, m_pending.constData(),
                                            static_cast<std::size_t>(m_pending.size()), &state);
    if (length == static_cast<std::size_t>(-2)) {
        return false;
    }
    const bool valid = length != static_cast<std::size_t>(-1) && length > 0;
    m_pending.remove(0, valid ? static_cast<int>(length) : 1);
    if (valid) {
        onKey(Key::Text, QString::fromWCharArray(&character, 1));
    }
    return true;
}

bool KeyDecoder::takeEscape() {
    bool mayGrow = false;
    for (const KeySequence& sequence : m_sequences) {
        if (m_pending.startsWith(sequence.bytes)) {
            const Key key = sequence.key;
            m_pending.remove(0, sequence.bytes.size());
            onKey(key, QString());
            return true;
        }
        mayGrow = mayGrow || sequence.bytes.startsWith(m_pending);
    }
    return !mayGrow && takeUnknown();
}

/// A key that means nothing here is swallowed whole; an escape before something else is the key.
bool KeyDecoder::takeUnknown() {
    const char second = m_pending.at(1);
    if (second != '[' && second != 'O') {
        m_pending.remove(0, 1);
        onKey(Key::Escape, QString());
        return true;
    }
    for (int end = 2; end < m_pending.size(); ++end) {
        if (isFinal(m_pending.at(end))) {
            m_pending.remove(0, end + 1);
            return true;
        }
    }
    return false;
}

QStringList helpLines() {
    return {
        QStringLiteral("Up Down PgUp PgDn Home End  select a tag"),
        QStringLiteral("Enter   write the selected tag: type a value, Enter sends it,"),
        QStringLiteral("        Escape leaves. ! behind a value writes it although it"),
        QStringLiteral("        lies outside the tag's limits: 95!"),
        QStringLiteral("/       show the tags whose names hold a text; Escape: all again"),
        QStringLiteral("s       sort: by name, by age, by change, as given"),
        QStringLiteral("Space   mark a tag for the trend; u unmarks all"),
        QStringLiteral("t       trend of the marked tags, or of the selected one"),
        QStringLiteral("  + -   fewer or more minutes"),
        QStringLiteral("  o     all tags on one scale, or each on its own"),
        QStringLiteral("  arrows  the other tags, when they do not all fit"),
        QStringLiteral("  t     back to the table"),
        QStringLiteral("Ctrl-L  draw the screen anew"),
        QStringLiteral("q       quit, as do Ctrl-C and Ctrl-\\"),
        QString(),
        QStringLiteral("STATE  (blank) the value is fresh    LOW HIGH  outside its limits"),
        QStringLiteral("       stale    (12) was read, but not lately"),
        QStringLiteral("       refused  the PLC does not give it"),
        QStringLiteral("       writing  a write to it is under way"),
    };
}

} // namespace screen
} // namespace panel
