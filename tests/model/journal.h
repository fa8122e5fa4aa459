#ifndef VELKOR_TESTS_MODEL_JOURNAL_H
#define VELKOR_TESTS_MODEL_JOURNAL_H

/// What a driver did, in order: as one running sum, which is fast to compare, or as lines of text,
/// which a person can compare. Two drivers that did the same have equal sums and equal lines.

#include <QtCore/QString>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace model {

class Journal {
public:
    /// With `inWords` the lines are kept, and it is slow.
    explicit Journal(bool inWords) : inWords_(inWords), sum_(0) {}

    /// Begins a new entry; in words, a new line.
    void entry(const char* what);
    void number(const char* name, long long value);
    void text(const char* name, const QString& value);
    void bytes(const char* name, const void* from, std::size_t count);

    bool isInWords() const { return inWords_; }
    std::uint64_t sum() const { return sum_; }
    const std::vector<std::string>& lines() const { return lines_; }

private:
    void mix(std::uint64_t value);

    bool inWords_;
    std::uint64_t sum_;
    std::vector<std::string> lines_;
};

/// The text as printable ASCII, quoted.
std::string quoted(const QString& text);

} // namespace model

#endif
