#ifndef VELKOR_TESTS_FUZZ_INPUT_H
#define VELKOR_TESTS_FUZZ_INPUT_H

/// What the fuzzing targets share: an input is read from front to back as a list of decisions, and
/// a law that does not hold ends the process, which is what a fuzzer takes for a finding.

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <cstddef>
#include <cstdint>

/// One input. Two reads in the arguments of one call would have no order of their own: each stands
/// in a statement of its own, so that every compiler reads alike. Behind the end of the bytes
/// everything is zero, so that any input is a whole one and a target ends: it goes on only while
/// empty() is false.
class Input {
public:
    Input(const std::uint8_t* bytes, std::size_t size) : m_bytes(bytes), m_left(size) {}
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;

    bool empty() const { return m_left == 0; }
    std::uint8_t byte();
    bool flag() { return (byte() & 1) != 0; }
    /// 0 to `most`, which is at most 65535.
    int upTo(int most);
    /// Any int: one byte for the small ones and for those at the edges of what is defined.
    int number();
    /// 0 to 255 bytes: their number, then they themselves.
    QByteArray bytes();
    /// The same as UTF-8, sound or not.
    QString text() { return QString::fromUtf8(bytes()); }
    QByteArray rest();

private:
    QByteArray take(std::size_t count);

    const std::uint8_t* m_bytes;
    std::size_t m_left;
};

/// Prints `law` and aborts where it does not hold.
void require(bool holds, const char* law);

#endif
