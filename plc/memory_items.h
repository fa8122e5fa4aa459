// From an area code and address on the wire to items of the memory. An item is a word, a bit of a
// word, or a completion flag; items of one kind are numbered through their area, so that a run of
// bits goes on into the next word.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "plc/bytes.h"
#include "plc/memory.h"

namespace plc {

enum class ItemKind { Word, Bit, Flag };

struct ItemAddress {
    std::uint8_t areaCode = 0;
    std::uint16_t address = 0;
    std::uint8_t bit = 0; // counts for bits only; words and flags ignore it
};

struct ItemRun {
    Area area = Area::Cio;
    ItemKind kind = ItemKind::Word;
    std::uint32_t first = 0; // item number within the area
    std::uint32_t count = 0;
};

// Area code, address and bit as they stand in four bytes of a request.
ItemAddress itemAddressAt(const Bytes& request, std::size_t at);

// No value: no area has this code.
std::optional<ItemKind> kindOfCode(std::uint8_t areaCode);

constexpr std::size_t sizeOf(ItemKind kind) {
    return kind == ItemKind::Word ? 2 : 1;
}

// Fills `run` and returns end code 0000, or returns 1101, 1103 (the first item does not exist) or
// 1104 (the run begins within the area and ends beyond it).
std::uint16_t locate(const ItemAddress& start, std::uint32_t count, ItemRun& run);

bool touchesReadOnly(const ItemRun& run);

// Item number i of the run, appended to or taken from bytes as the wire carries it.
void appendItem(const Memory& memory, const ItemRun& run, std::uint32_t i, Bytes& to);
void storeItem(Memory& memory, const ItemRun& run, std::uint32_t i, const Bytes& from,
               std::size_t at);

} // namespace plc
