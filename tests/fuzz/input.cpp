#include "fuzz/input.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstdio>
#include <cstdlib>

namespace {

const int SMALL = 160; ///< numbers below stand for themselves

/// Behind the small numbers: where the driver's arithmetic, its frames and its registers end.
const std::array<int, 48> EDGES = {
    INT_MAX,     INT_MIN,     -1,          -2,          -7,   -15,   -16,   -17,   -255,  -256,
    INT_MAX - 1, INT_MIN + 1, INT_MAX / 2, INT_MIN / 2,
    134217727, // words of the highest and the lowest bit address
    134217728,   -134217728,  -134217729,  255,         256,  447,   448,   502,   503,   504,
    511,         512,         513,         959,         960,  1005,  1006,  1007,  1023,  1024,
    1025,        4095,        4096,        6143,        6144, 32767, 32768, 65535, 65536,
    98303, // bits of the largest bit registers
    98304,       524287,      524288};

} // namespace

std::uint8_t Input::byte() {
    if (m_left == 0) {
        return 0;
    }
    --m_left;
    return *m_bytes++;
}

int Input::upTo(int most) {
    int value = byte();
    if (most > 255) {
        value = value * 256 + byte();
    }
    return value % (most + 1);
}

int Input::number() {
    const int first = byte();
    if (first < SMALL) {
        return first;
    }
    const std::size_t edge = static_cast<std::size_t>(first - SMALL);
    if (edge < EDGES.size()) {
        return EDGES.at(edge);
    }
    std::uint32_t bits = 0;
    const bool wide = first >= 240;
    for (int i = 0; i < (wide ? 4 : 2); ++i) {
        bits = bits << 8U | byte();
    }
    return static_cast<int>(bits);
}

QByteArray Input::take(std::size_t count) {
    const std::size_t taken = std::min(count, m_left);
    QByteArray out(reinterpret_cast<const char*>(m_bytes), static_cast<int>(taken));
    m_bytes += taken;
    m_left -= taken;
    return out;
}

QByteArray Input::bytes() {
    const std::size_t count = byte();
    return take(count);
}

QByteArray Input::rest() {
    return take(m_left);
}

void require(bool holds, const char* law) {
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", law);
        std::abort();
    }
}
