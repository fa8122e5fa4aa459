#include "panel/screen/keys.h"

#include "screen/utf8.h"

#include <gtest/gtest.h>

using namespace panel::screen;

namespace {

class ScreenKeys : public testing::Test {
protected:
    ScreenKeys() {
        m_decoder.onKey = [this](Key key, const QString& text) {
            m_keys.push_back(key);
            m_text += text;
        };
    }

    KeyDecoder m_decoder{{{"\x1bTu", Key::Up}}};
    std::vector<Key> m_keys;
    QString m_text;
};

TEST_F(ScreenKeys, arrows_areDecodedInBothForms) {
    m_decoder.feed("\x1b[A\x1b[B\x1bOA\x1bOB");
    EXPECT_EQ(m_keys, (std::vector<Key>{Key::Up, Key::Down, Key::Up, Key::Down}));
}

TEST_F(ScreenKeys, sequenceOfTheTerminal_isAKey) {
    m_decoder.feed("\x1bTu");
    EXPECT_EQ(m_keys, std::vector<Key>{Key::Up});
}

TEST_F(ScreenKeys, sequenceInPieces_isOneKey) {
    m_decoder.feed("\x1b");
    m_decoder.feed("[");
    EXPECT_TRUE(m_keys.empty());
    m_decoder.feed("A");
    EXPECT_EQ(m_keys, std::vector<Key>{Key::Up});
}

TEST_F(ScreenKeys, escapeAlone_isTheKeyOnceNothingFollows) {
    m_decoder.feed("\x1b");
    EXPECT_TRUE(m_decoder.waiting());
    m_decoder.flush();
    EXPECT_EQ(m_keys, std::vector<Key>{Key::Escape});
    EXPECT_FALSE(m_decoder.waiting());
}

TEST_F(ScreenKeys, escapeBeforeACharacter_areTwoKeys) {
    m_decoder.feed("\x1bq");
    EXPECT_EQ(m_keys, (std::vector<Key>{Key::Escape, Key::Text}));
    EXPECT_EQ(plain(m_text), "q");
}

TEST_F(ScreenKeys, textEnterAndBackspace_areTold) {
    m_decoder.feed("a5\r\x7f\f");
    EXPECT_EQ(m_keys,
              (std::vector<Key>{Key::Text, Key::Text, Key::Enter, Key::Backspace, Key::Redraw}));
    EXPECT_EQ(plain(m_text), "a5");
}

TEST_F(ScreenKeys, characterInPieces_isOne) {
    m_decoder.feed("\xE6\xB0");
    EXPECT_TRUE(m_keys.empty());
    m_decoder.feed("\xB4x");
    EXPECT_EQ(plain(m_text), "\xE6\xB0\xB4x");
    EXPECT_EQ(m_keys, (std::vector<Key>{Key::Text, Key::Text}));
}

TEST_F(ScreenKeys, bytesThatAreNoCharacter_areLeftOut) {
    m_decoder.feed("\xFF"
                   "a");
    EXPECT_EQ(plain(m_text), "a");
}

TEST_F(ScreenKeys, strayBeginningOfACharacter_swallowsNoKey) {
    m_decoder.feed("\xF0");
    m_decoder.feed("q");
    m_decoder.feed("ab");
    EXPECT_EQ(plain(m_text), "qab");
}

TEST_F(ScreenKeys, unknownSequence_isSwallowedWhole) {
    m_decoder.feed("\x1b[15;2~q");
    m_decoder.feed("\x1b[24");
    m_decoder.feed("~w");
    EXPECT_EQ(m_keys, (std::vector<Key>{Key::Text, Key::Text}));
    EXPECT_EQ(plain(m_text), "qw");
}

TEST(HelpLines, help_fitsANarrowTerminal) {
    for (const QString& line : helpLines()) {
        EXPECT_LE(line.size(), 76) << plain(line);
    }
    EXPECT_LE(helpLines().size(), 20);
}

} // namespace
