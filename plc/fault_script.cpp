#include "plc/fault_script.h"

#include <array>
#include <cctype>

namespace plc {

namespace {

constexpr unsigned long kMaxRequest = 999999999;
constexpr unsigned long kMaxBytes = 65507; // of a UDP datagram
constexpr unsigned long kMaxDelayMs = 600000;

struct VerbName {
    FaultVerb verb;
    const char* name;
};

// A sid rule carries its amount in its verb and is read apart.
constexpr std::array<VerbName, kFaultVerbCount> kVerbs = {{
    {FaultVerb::Drop, "drop"},
    {FaultVerb::Duplicate, "duplicate"},
    {FaultVerb::Truncate, "truncate"},
    {FaultVerb::Delay, "delay"},
    {FaultVerb::Late, "late"},
    {FaultVerb::Sid, "sid"},
    {FaultVerb::Corrupt, "corrupt"},
    {FaultVerb::Silent, "silent"},
    {FaultVerb::DuplicateRequest, "duplicate-request"},
    {FaultVerb::TruncateRequest, "truncate-request"},
    {FaultVerb::DelayRequest, "delay-request"},
    {FaultVerb::LateRequest, "late-request"},
}};

// Reads a script from left to right; the first thing that is wrong is thrown.
class Reader {
public:
    explicit Reader(const std::string& text) : text_(text) {}

    std::vector<FaultRule> script() {
        std::vector<FaultRule> rules;
        do {
            rules.push_back(rule());
        } while (take(';'));
        if (!atEnd()) {
            fail("expected ';' and another fault, or the end");
        }
        return rules;
    }

private:
    FaultRule rule() {
        FaultRule rule;
        readVerb(rule);
        do {
            rule.which.push_back(selector());
        } while (take(','));
        if (rule.verb == FaultVerb::Truncate || rule.verb == FaultVerb::TruncateRequest) {
            expectWord("to", "expected 'to' and the bytes that are left, as in 'truncate 8 to 13'");
            rule.amount = int(number("a number of bytes", 0, kMaxBytes));
        } else if (rule.verb == FaultVerb::Delay || rule.verb == FaultVerb::DelayRequest) {
            expectWord("by", "expected 'by' and a time, as in 'delay 9 by 300ms'");
            rule.amount = int(number("a number of milliseconds", 1, kMaxDelayMs));
            expectWord("ms", "expected 'ms' after the time, as in 'delay 9 by 300ms'");
        }
        return rule;
    }

    void readVerb(FaultRule& rule) {
        const std::size_t start = skipBlanks();
        const std::string name = word();
        for (const VerbName& verb : kVerbs) {
            if (name == verb.name) {
                rule.verb = verb.verb;
                if (rule.verb == FaultVerb::Sid) {
                    rule.amount = sidOffset();
                }
                return;
            }
        }
        position_ = start;
        fail("expected a fault: drop, duplicate, truncate, delay, late, sid+N, sid-N, corrupt, "
             "silent, duplicate-request, truncate-request, delay-request or late-request");
    }

    int sidOffset() {
        const bool minus = peek() == '-';
        if (!minus && peek() != '+') {
            fail("expected '+' or '-' and what is added to the SID, as in 'sid+1 10'");
        }
        ++position_;
        const int amount = int(number("a number to add to the SID", 1, 255));
        return minus ? -amount : amount;
    }

    FaultSelector selector() {
        FaultSelector selector;
        const std::size_t start = skipBlanks();
        selector.first =
            number("a request number, a range as 5-6 or a share as 10%", 0, kMaxRequest);
        if (take('%')) {
            selector.percent =
                unsigned(inRange(selector.first, start, "a share in percent", 1, 100));
            return selector;
        }
        inRange(selector.first, start, "a request number", 1, kMaxRequest);
        selector.last = selector.first;
        if (take('-')) {
            selector.last =
                number("the last request number of the range", selector.first, kMaxRequest);
        }
        return selector;
    }

    unsigned long number(const std::string& what, unsigned long lowest, unsigned long highest) {
        const std::size_t start = skipBlanks();
        unsigned long value = 0;
        while (std::isdigit(static_cast<unsigned char>(peek())) != 0) {
            if (value <= kMaxRequest) { // a longer number stays too large
                value = value * 10 + static_cast<unsigned long>(peek() - '0');
            }
            ++position_;
        }
        if (position_ == start) {
            fail("expected " + what);
        }
        return inRange(value, start, what, lowest, highest);
    }

    unsigned long inRange(unsigned long value, std::size_t start, const std::string& what,
                          unsigned long lowest, unsigned long highest) {
        if (value < lowest || value > highest) {
            position_ = start;
            fail("expected " + what + " from " + std::to_string(lowest) + " to " +
                 std::to_string(highest));
        }
        return value;
    }

    void expectWord(const std::string& expected, const std::string& otherwise) {
        const std::size_t start = skipBlanks();
        if (word() != expected) {
            position_ = start;
            fail(otherwise);
        }
    }

    // Letters, and hyphens between them: the one of "sid-1" belongs to the number.
    std::string word() {
        const std::size_t start = position_;
        while (letterAt(position_) || (peek() == '-' && letterAt(position_ + 1))) {
            ++position_;
        }
        return text_.substr(start, position_ - start);
    }

    bool take(char c) {
        skipBlanks();
        const bool there = !atEnd() && peek() == c;
        position_ += there ? 1 : 0;
        return there;
    }

    // Line breaks are blanks: long scripts are written over several lines.
    std::size_t skipBlanks() {
        while (std::isspace(static_cast<unsigned char>(peek())) != 0) {
            ++position_;
        }
        return position_;
    }

    bool letterAt(std::size_t at) const {
        return at < text_.size() && std::isalpha(static_cast<unsigned char>(text_[at])) != 0;
    }

    bool atEnd() const { return position_ >= text_.size(); }
    char peek() const { return atEnd() ? '\0' : text_[position_]; }

    [[noreturn]] void fail(const std::string& message) const {
        throw FaultScriptError{position_ + 1, message};
    }

    const std::string& text_;
    std::size_t position_ = 0;
};

} // namespace

const char* nameOf(FaultVerb verb) {
    return kVerbs.at(static_cast<std::size_t>(verb)).name;
}

ParsedFaults parseFaultScript(const std::string& script) {
    ParsedFaults parsed;
    try {
        parsed.rules = Reader(script).script();
    } catch (const FaultScriptError& error) {
        parsed.error = error;
    }
    return parsed;
}

} // namespace plc
