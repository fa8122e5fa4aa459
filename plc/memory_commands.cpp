#include "plc/memory_commands.h"

#include "plc/memory_items.h"

namespace plc {

namespace {

// Area code, address and bit; then the count.
constexpr std::size_t kItemAddressSize = 4;
constexpr std::size_t kCountAt = kParameters + kItemAddressSize;
constexpr std::size_t kDataAt = kCountAt + 2;

// As locate(), in a PLC without these words.
std::uint16_t find(const ItemAddress& start, std::uint32_t count, const Without& without,
                   ItemRun& run) {
    const std::uint16_t located = locate(start, count, run);
    return located == endcode::kNormal && touches(run, without) ? endcode::kAddressOutOfRange
                                                                : located;
}

} // namespace

Answer readMemory(const Memory& memory, const Without& without, const Bytes& request) {
    if (request.size() != kDataAt) {
        return refused(request.size() < kDataAt ? endcode::kTooShort : endcode::kTooLong);
    }
    ItemRun run;
    const std::uint16_t located =
        find(itemAddressAt(request, kParameters), get16(request, kCountAt), without, run);
    if (located != endcode::kNormal) {
        return refused(located);
    }
    Answer answer;
    for (std::uint32_t i = 0; i < run.count; ++i) {
        appendItem(memory, run, i, answer.data);
    }
    return answer;
}

Answer writeMemory(Memory& memory, const Without& without, const Bytes& request) {
    if (request.size() < kDataAt) {
        return refused(endcode::kTooShort);
    }
    const ItemAddress start = itemAddressAt(request, kParameters);
    const std::uint16_t count = get16(request, kCountAt);
    const auto kind = kindOfCode(start.areaCode);
    if (!kind) {
        return refused(endcode::kNoSuchArea);
    }
    if (request.size() - kDataAt != count * sizeOf(*kind)) {
        return refused(endcode::kCountMismatch);
    }
    ItemRun run;
    const std::uint16_t located = find(start, count, without, run);
    if (located != endcode::kNormal) {
        return refused(located);
    }
    if (touchesReadOnly(run)) {
        return refused(endcode::kReadOnly);
    }
    for (std::uint32_t i = 0; i < run.count; ++i) {
        storeItem(memory, run, i, request, kDataAt + i * sizeOf(run.kind));
    }
    return {};
}

Answer fillMemory(Memory& memory, const Without& without, const Bytes& request) {
    constexpr std::size_t kSize = kDataAt + 2;
    if (request.size() != kSize) {
        return refused(request.size() < kSize ? endcode::kTooShort : endcode::kTooLong);
    }
    const ItemAddress start = itemAddressAt(request, kParameters);
    // The fill carries one word, so only words can be filled.
    if (kindOfCode(start.areaCode) != ItemKind::Word) {
        return refused(endcode::kNoSuchArea);
    }
    ItemRun run;
    const std::uint16_t located = find(start, get16(request, kCountAt), without, run);
    if (located != endcode::kNormal) {
        return refused(located);
    }
    if (touchesReadOnly(run)) {
        return refused(endcode::kReadOnly);
    }
    for (std::uint32_t i = 0; i < run.count; ++i) {
        storeItem(memory, run, i, request, kDataAt);
    }
    return {};
}

Answer readMultiple(const Memory& memory, const Without& without, const Bytes& request) {
    const std::size_t length = request.size() - kParameters;
    if (length == 0 || length % kItemAddressSize != 0) {
        return refused(endcode::kTooShort);
    }
    Answer answer;
    for (std::size_t at = kParameters; at < request.size(); at += kItemAddressSize) {
        const ItemAddress item = itemAddressAt(request, at);
        ItemRun run;
        const std::uint16_t located = find(item, 1, without, run);
        if (located != endcode::kNormal) {
            return refused(located);
        }
        answer.data.push_back(item.areaCode);
        appendItem(memory, run, 0, answer.data);
    }
    return answer;
}

} // namespace plc
