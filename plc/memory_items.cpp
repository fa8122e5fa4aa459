#include "plc/memory_items.h"

#include "plc/fins_codes.h"

namespace plc {

namespace {

constexpr std::uint32_t kBitsOfWord = 16;

std::optional<ItemKind> kindIn(const AreaFacts& facts, std::uint8_t areaCode) {
    if (areaCode == facts.wordCode) {
        return ItemKind::Word;
    }
    if (areaCode == facts.bitCode) {
        return hasCompletionFlags(facts.area) ? ItemKind::Flag : ItemKind::Bit;
    }
    return std::nullopt;
}

bool holds(const AreaFacts& facts, const ItemAddress& start, ItemKind kind) {
    const bool wordExists =
        start.address >= facts.firstAddress && start.address - facts.firstAddress < int(facts.size);
    return wordExists && (kind != ItemKind::Bit || start.bit < kBitsOfWord);
}

std::uint32_t itemsOfWord(ItemKind kind) {
    return kind == ItemKind::Bit ? kBitsOfWord : 1;
}

} // namespace

ItemAddress itemAddressAt(const Bytes& request, std::size_t at) {
    return {request.at(at), get16(request, at + 1), request.at(at + 3)};
}

std::optional<ItemKind> kindOfCode(std::uint8_t areaCode) {
    for (const AreaFacts& facts : areaTable()) {
        if (const auto kind = kindIn(facts, areaCode)) {
            return kind;
        }
    }
    return std::nullopt;
}

std::uint16_t locate(const ItemAddress& start, std::uint32_t count, ItemRun& run) {
    if (!kindOfCode(start.areaCode)) {
        return endcode::kNoSuchArea;
    }
    // Timers and counters share their codes, so the code alone does not settle the area.
    for (const AreaFacts& facts : areaTable()) {
        const auto kind = kindIn(facts, start.areaCode);
        if (!kind || !holds(facts, start, *kind)) {
            continue;
        }
        const std::uint32_t perWord = itemsOfWord(*kind);
        const std::uint32_t word = std::uint32_t{start.address} - facts.firstAddress;
        run.area = facts.area;
        run.kind = *kind;
        run.first = word * perWord + (*kind == ItemKind::Bit ? start.bit : 0U);
        run.count = count;
        return run.first + count > facts.size * perWord ? endcode::kRangeExceeded
                                                        : endcode::kNormal;
    }
    return endcode::kAddressOutOfRange;
}

bool touchesReadOnly(const ItemRun& run) {
    return run.count > 0 && run.first < factsOf(run.area).readOnlySize * itemsOfWord(run.kind);
}

void appendItem(const Memory& memory, const ItemRun& run, std::uint32_t i, Bytes& to) {
    const std::uint32_t item = run.first + i;
    switch (run.kind) {
    case ItemKind::Word:
        append16(to, memory.word(run.area, item));
        break;
    case ItemKind::Bit:
        to.push_back(memory.bit(run.area, item / kBitsOfWord, item % kBitsOfWord) ? 1 : 0);
        break;
    case ItemKind::Flag:
        to.push_back(memory.flag(run.area, item) ? 1 : 0);
        break;
    }
}

void storeItem(Memory& memory, const ItemRun& run, std::uint32_t i, const Bytes& from,
               std::size_t at) {
    const std::uint32_t item = run.first + i;
    switch (run.kind) {
    case ItemKind::Word:
        memory.setWord(run.area, item, get16(from, at));
        break;
    case ItemKind::Bit:
        memory.setBit(run.area, item / kBitsOfWord, item % kBitsOfWord, (from.at(at) & 1U) != 0);
        break;
    case ItemKind::Flag:
        memory.setFlag(run.area, item, (from.at(at) & 1U) != 0);
        break;
    }
}

} // namespace plc
