#ifndef VELKOR_TESTS_HOST_TAG_BOARD_FIXTURE_H
#define VELKOR_TESTS_HOST_TAG_BOARD_FIXTURE_H

/// A board of tags in DM, with a clock and words of the test's own.

#include "host/poll/tag_board.h"

#include <gtest/gtest.h>

namespace tag_board {

using namespace velkor_host;

constexpr qint64 SECOND = 1000000;
constexpr qint64 LIMIT = 2 * SECOND;

inline Tag tagAt(const char* reg, int address, int count = 1, ValueType type = ValueType::Uint16) {
    Tag tag;
    tag.reg = reg;
    tag.address = address;
    tag.count = count;
    tag.type = type;
    return tag;
}

class HostTagBoard : public testing::Test {
protected:
    void tags(const QVector<Tag>& list) {
        m_board = TagBoard(list);
        m_board.timePasses(m_now, LIMIT);
    }
    FetchFunction fetch() {
        return [this](const WordRange& range) {
            ++m_fetches;
            Items items;
            for (int word = range.address; word < range.end(); ++word) {
                items.append(m_words.value(word, m_value));
            }
            return items;
        };
    }
    void read(int address, int length) {
        m_board.wordsRead({"DM", address, length}, fetch(), m_now, m_now);
    }
    void fail(int address, int length) {
        m_board.readFailed({"DM", address, length}, "no answer", m_now, m_now);
    }
    void scanEnds() { m_board.scanEnded(fetch(), m_now); }
    void pass(qint64 time) {
        m_now += time;
        m_board.timePasses(m_now, LIMIT);
    }
    TagState state(int index) const { return m_board.at(index).state; }
    /// The fresh value's first item; -1: none is shown.
    int shown(int index) const {
        const std::optional<Items> value = m_board.at(index).value();
        return value && !value->isEmpty() ? value->first() : -1;
    }

    TagBoard m_board;
    qint64 m_now = 10 * SECOND;
    quint16 m_value = 0;
    QHash<int, quint16> m_words;
    int m_fetches = 0;
};

} // namespace tag_board

#endif
