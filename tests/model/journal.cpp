#include "model/journal.h"

#include <cstdio>
#include <cstring>

namespace model {

namespace {

std::string hex(const unsigned char* from, std::size_t count) {
    std::string digits;
    for (std::size_t i = 0; i < count; ++i) {
        char two[4];
        std::snprintf(two, sizeof two, "%02x", static_cast<unsigned>(from[i]));
        digits += two;
    }
    return digits;
}

} // namespace

std::string quoted(const QString& text) {
    std::string out = "\"";
    for (int i = 0; i < text.size(); ++i) {
        const unsigned unit = text.at(i).unicode();
        char shown[8];
        std::snprintf(shown, sizeof shown, unit >= 0x20 && unit < 0x7F ? "%c" : "\\u%04x", unit);
        out += shown;
    }
    return out + '"';
}

void Journal::mix(std::uint64_t value) {
    sum_ = (sum_ ^ value) * 0x9E3779B97F4A7C15ULL;
    sum_ ^= sum_ >> 29;
}

void Journal::entry(const char* what) {
    mix(0xE27);
    if (inWords_) {
        lines_.push_back(what);
    }
}

void Journal::number(const char* name, long long value) {
    mix(static_cast<std::uint64_t>(value));
    if (inWords_) {
        lines_.back() += std::string(" ") + name + '=' + std::to_string(value);
    }
}

void Journal::text(const char* name, const QString& value) {
    const std::size_t count = static_cast<std::size_t>(value.size());
    mix(count);
    std::uint64_t four = 0;
    for (std::size_t i = 0; i < count; ++i) {
        four = four << 16 | value.at(static_cast<int>(i)).unicode();
        if (i % 4 == 3 || i + 1 == count) {
            mix(four);
            four = 0;
        }
    }
    if (inWords_) {
        lines_.back() += std::string(" ") + name + '=' + quoted(value);
    }
}

void Journal::bytes(const char* name, const void* from, std::size_t count) {
    const unsigned char* at = static_cast<const unsigned char*>(from);
    mix(count);
    std::uint64_t lanes[4] = {1, 2, 3, 4};
    std::size_t done = 0;
    for (; done + sizeof lanes <= count; done += sizeof lanes) {
        std::uint64_t block[4];
        std::memcpy(block, at + done, sizeof block);
        for (int i = 0; i < 4; ++i) {
            lanes[i] = (lanes[i] ^ block[i]) * 0x9E3779B97F4A7C15ULL;
            lanes[i] ^= lanes[i] >> 31;
        }
    }
    for (int i = 0; i < 4 && done > 0; ++i) {
        mix(lanes[i]);
    }
    while (done < count) {
        std::uint64_t rest = 0;
        const std::size_t some = count - done < sizeof rest ? count - done : sizeof rest;
        std::memcpy(&rest, at + done, some);
        mix(rest);
        done += some;
    }
    if (inWords_) {
        std::size_t used = count;
        while (used > 0 && at[used - 1] == at[count - 1]) {
            --used;
        }
        const std::string rest = count > used ? hex(at + count - 1, 1) + "..." : "";
        lines_.back() += std::string(" ") + name + '=' + hex(at, used) + rest;
    }
}

} // namespace model
