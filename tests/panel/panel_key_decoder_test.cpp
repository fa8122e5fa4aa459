#include "panel/terminal.h"

#include "panel/text.h"

#include <gtest/gtest.h>

using namespace panel;

namespace {

class Keys : public testing::Test {
protected:
    Keys() {
        m_decoder.onKey = [this](Key key, const QString& text) {
            m_keys.push_back(key);
            m_text += text;
        };
    }

    KeyDecoder m_decoder;
    std::vector<Key> m_keys;
    QString m_text;
};

TEST_F(Keys, arrows_areDecodedInBothForms) {
    m_decoder.feed("\x1b[A\x1b[B\x1bOA\x1bOB");
    EXPECT_EQ(m_keys, (std::vector<Key>{Key::Up, Key::Down, Key::Up, Key::Down}));
}

TEST_F(Keys, sequenceInPieces_isOneKey) {
    m_decoder.feed("\x1b");
    m_decoder.feed("[");
    EXPECT_TRUE(m_keys.empty());
    m_decoder.feed("A");
    EXPECT_EQ(m_keys, std::vector<Key>{Key::Up});
}

TEST_F(Keys, escapeAlone_isTheKeyOnceNothingFollows) {
    m_decoder.feed("\x1b");
    EXPECT_TRUE(m_decoder.waiting());
    m_decoder.flush();
    EXPECT_EQ(m_keys, std::vector<Key>{Key::Escape});
}

TEST_F(Keys, textEnterAndBackspace_areTold) {
    m_decoder.feed("a5\r\x7f");
    EXPECT_EQ(m_keys, (std::vector<Key>{Key::Text, Key::Text, Key::Enter, Key::Backspace}));
    EXPECT_EQ(plain(m_text), "a5");
}

TEST_F(Keys, utf8InPieces_isOneCharacter) {
    m_decoder.feed("\xC2");
    m_decoder.feed("\xB0");
    EXPECT_EQ(plain(m_text), "\xC2\xB0");
    EXPECT_EQ(m_keys, std::vector<Key>{Key::Text});
}

/// A byte that announces a character of several bytes does not take the next keys for these.
TEST_F(Keys, strayByte_isSwallowedAlone) {
    for (const char* stray : {"\xF0", "\xE2", "\xC3", "\x80", "\xBF", "\xC0", "\xF8", "\xFF",
                              "\xF0\x9F", "\xE2\x82", "\xED\xA0\x80"}) {
        m_keys.clear();
        m_text.clear();
        m_decoder.feed(stray);
        m_decoder.feed("q\x1b[A5");
        EXPECT_EQ(m_keys, (std::vector<Key>{Key::Text, Key::Up, Key::Text})) << plain(m_text);
        EXPECT_EQ(plain(m_text), "q5");
    }
}

TEST_F(Keys, strayByteBeforeACharacter_isSwallowedAlone) {
    m_decoder.feed("\xF0\xC2\xB0\xF0\x9F\x98\x80");
    EXPECT_EQ(plain(m_text), "\xC2\xB0\xF0\x9F\x98\x80");
}

TEST_F(Keys, unknownSequence_isSwallowedWhole) {
    m_decoder.feed("\x1b[15~q");
    EXPECT_EQ(m_keys, std::vector<Key>{Key::Text});
    EXPECT_EQ(plain(m_text), "q");
}

} // namespace
