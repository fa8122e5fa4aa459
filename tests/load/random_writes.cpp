#include "load/random_writes.h"

namespace velkor_host {
namespace {

const int LONGEST_BIT_RUN = 20;

struct Place {
    const char* reg;
    int address;
    int count;
};

/// Where single words are written.
const Place WORDS[] = {
    {"DM", 1000, 100}, {"HR", 0, 50}, {"WR", 0, 50}, {"T", 100, 20}, {"C", 100, 20}};

} // namespace

RandomWrite RandomWrites::next() {
    RandomWrite write;
    const int kind = below(100);
    ++m_value;
    if (kind < 45) {
        const Place& place = WORDS[below(5)];
        write = {QLatin1String(place.reg), place.address + below(place.count), {m_value}};
    } else if (kind < 60) {
        write = {QStringLiteral("DM"),
                 1200 + 2 * below(50),
                 {m_value, static_cast<quint16>(m_value ^ 0x5A5A)}};
    } else if (kind < 70) {
        write = {QStringLiteral("DM"), 2000 + below(300), Items(33 + below(100), m_value)};
    } else if (kind < 85) {
        const int count = 1 + below(LONGEST_BIT_RUN);
        write = {QStringLiteral("CIO_bit"), m_bit, Items(count, 1)};
        m_bit += count;
    } else if (kind < 93) {
        write = {QStringLiteral("AR"), below(448), {m_value}};
    } else {
        write = {QStringLiteral("AR"), 448 + below(100), {m_value}};
    }
    return write;
}

QVector<Tag> RandomWrites::page(int number) {
    QVector<Tag> tags;
    const auto add = [&tags](const char* reg, int address, ValueType type, int count) {
        Tag tag;
        tag.reg = QLatin1String(reg);
        tag.address = address;
        tag.type = type;
        tag.count = count;
        tags.append(tag);
    };
    for (int index = 0; index < 25; ++index) {
        add("DM", 1000 + 50 * number + index, ValueType::Uint16, 1);
        add("DM", 1200 + 50 * number + 2 * index, ValueType::Uint32, 1);
        add("HR", 25 * number + index, ValueType::Uint16, 1);
    }
    add("DM", 2000 + 150 * number, ValueType::Uint16, 100); // longer than a frame
    for (int index = 0; index < 20; ++index) {
        add("CIO_bit", 400 * number + 20 * index, ValueType::Bool, 20);
    }
    add("T", 100, ValueType::Uint16, 20);
    add("AR", 448 + 50 * number, ValueType::Uint16, 50);
    return tags;
}

} // namespace velkor_host
