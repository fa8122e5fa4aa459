#include "plc/image.h"

#include <array>
#include <cstdio>
#include <sstream>

namespace plc {

namespace {

constexpr std::uint32_t kWordsOfLine = 8;
const char* const kFlagSuffix = "-flag";
const std::string kByteOrderMark = "\xEF\xBB\xBF"; // some editors put it before UTF-8 text

std::string hex4(std::uint16_t value) {
    std::array<char, 8> text{};
    std::snprintf(text.data(), text.size(), "%04X", unsigned{value});
    return text.data();
}

// One line for each eight values that are not all zero. `valueAt` gives a value's text, or an empty
// one for zero.
template <typename ValueAt>
void writeLines(std::ostream& out, const std::string& name, const std::string& zero,
                std::uint32_t size, ValueAt valueAt) {
    for (std::uint32_t first = 0; first < size; first += kWordsOfLine) {
        std::string values;
        bool anything = false;
        for (std::uint32_t i = first; i < size && i < first + kWordsOfLine; ++i) {
            const std::string value = valueAt(i);
            anything = anything || !value.empty();
            values += " " + (value.empty() ? zero : value);
        }
        if (anything) {
            out << name << " " << first << ":" << values << "\n";
        }
    }
}

// A piece of the file for a message: as it is, but no longer than a person reads.
std::string quoted(const std::string& text) {
    constexpr std::size_t kMost = 40; // bytes
    return "'" + (text.size() > kMost ? text.substr(0, kMost) + "..." : text) + "'";
}

bool parseDecimal(const std::string& text, std::uint32_t& value) {
    if (text.empty() || text.size() > 6 ||
        text.find_first_not_of("0123456789") != std::string::npos) {
        return false;
    }
    value = static_cast<std::uint32_t>(std::stoul(text));
    return true;
}

bool parseHex4(const std::string& text, std::uint16_t& value) {
    if (text.size() != 4 || text.find_first_not_of("0123456789ABCDEFabcdef") != std::string::npos) {
        return false;
    }
    value = static_cast<std::uint16_t>(std::stoul(text, nullptr, 16));
    return true;
}

struct Target {
    Area area = Area::Cio;
    bool flags = false;
};

std::optional<Target> targetNamed(const std::string& name) {
    Target target;
    std::string areaName = name;
    const std::size_t suffix = name.find(kFlagSuffix);
    if (suffix != std::string::npos && suffix + std::string(kFlagSuffix).size() == name.size()) {
        target.flags = true;
        areaName = name.substr(0, suffix);
    }
    const auto area = areaNamed(areaName);
    if (!area || (target.flags && !hasCompletionFlags(*area))) {
        return std::nullopt;
    }
    target.area = *area;
    return target;
}

// Puts one value into the memory; the text of what is wrong, or an empty one.
std::string store(Memory& memory, const Target& target, std::uint32_t address,
                  const std::string& value) {
    const AreaFacts& facts = factsOf(target.area);
    if (address >= facts.size) {
        return std::string(facts.name) + " ends at " + std::to_string(facts.size - 1);
    }
    if (target.flags) {
        if (value != "0" && value != "1") {
            return quoted(value) + " is no flag; expected 0 or 1";
        }
        memory.setFlag(target.area, address, value == "1");
        return "";
    }
    std::uint16_t word = 0;
    if (!parseHex4(value, word)) {
        return quoted(value) + " is no word; expected four hex digits as in 04D2";
    }
    memory.setWord(target.area, address, word);
    return "";
}

std::string readLine(const std::string& line, Memory& memory) {
    const std::size_t nul = line.find('\0');
    if (nul != std::string::npos) {
        return "column " + std::to_string(nul + 1) + " is a NUL byte; an image is plain text";
    }
    std::istringstream in(line.substr(0, line.find('#')));
    std::string name;
    if (!(in >> name)) {
        return "";
    }
    const auto target = targetNamed(name);
    if (!target) {
        return quoted(name) +
               " is no area; expected CIO, WR, HR, AR, T, C, DM, EM0, T-flag or C-flag";
    }
    std::string start;
    in >> start;
    std::uint32_t address = 0;
    if (start.empty() || start.back() != ':' ||
        !parseDecimal(start.substr(0, start.size() - 1), address)) {
        return quoted(start) + " is no address; expected a number and a colon as in 100:";
    }
    std::string value;
    bool anything = false;
    for (; in >> value; ++address) {
        anything = true;
        std::string wrong = store(memory, *target, address, value);
        if (!wrong.empty()) {
            return wrong;
        }
    }
    return anything ? "" : "no value follows the address";
}

} // namespace

std::string imageText(const Memory& memory) {
    std::ostringstream out;
    out << "# Memory of velkor-plc: area, first address, words in hex. What is not named is 0.\n";
    for (const AreaFacts& facts : areaTable()) {
        writeLines(out, facts.name, "0000", facts.size, [&](std::uint32_t i) {
            const std::uint16_t value = memory.word(facts.area, i);
            return value == 0 ? std::string() : hex4(value);
        });
        if (hasCompletionFlags(facts.area)) {
            writeLines(out, std::string(facts.name) + kFlagSuffix, "0", facts.size,
                       [&](std::uint32_t i) {
                           return std::string(memory.flag(facts.area, i) ? "1" : "");
                       });
        }
    }
    return out.str();
}

std::optional<ImageError> readImage(const std::string& text, Memory& memory) {
    Memory loaded;
    std::istringstream in(text.compare(0, kByteOrderMark.size(), kByteOrderMark) == 0
                              ? text.substr(kByteOrderMark.size())
                              : text);
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        const std::string wrong = readLine(line, loaded);
        if (!wrong.empty()) {
            return ImageError{number, wrong};
        }
    }
    memory = loaded;
    return std::nullopt;
}

} // namespace plc
